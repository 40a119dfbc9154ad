/** @file
  SMBIOS tables from where they are kept.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "capture.h"

namespace tvqplatform {

namespace {

/// Where the table stands in a file of `dmidecode --dump-bin`.
constexpr UINTN kUsualTableOffset = 0x20;

Bytes From(Bytes bytes, UINTN offset) {
  return {bytes.Data() + offset, bytes.Size() - offset};
}

Bytes UpTo(Bytes bytes, UINTN size) {
  return {bytes.Data(), MIN(size, bytes.Size())};
}

/// Remarks on a table as it will be read.
void Inspect(Capture& capture, UINTN statedCount) {
  const Bytes table = capture.Table.Structures;
  const TableSummary summary = Summarize(table);
  if (table[1] < kStructureHeaderSize) {
    capture.Remarks.Add(NoteKind::kShortHeader, table[1]);
  }
  if (statedCount != summary.StructureCount) {
    capture.Remarks.Add(NoteKind::kStructureCount, statedCount, summary.StructureCount);
  }
  if (summary.EndOfTableEnd == 0) {
    capture.Remarks.Add(NoteKind::kNoEndOfTable);
  } else if (summary.EndOfTableEnd < table.Size()) {
    capture.Remarks.Add(NoteKind::kBehindEndOfTable, table.Size() - summary.EndOfTableEnd);
  }
  if (!summary.LastIsComplete) {
    capture.Remarks.Add(NoteKind::kCutOff);
  }
  if (summary.End < table.Size()) {
    capture.Remarks.Add(NoteKind::kLooseBytes, table.Size() - summary.End);
  }
}

UINT16 CountStructures(Bytes table) {
  return static_cast<UINT16>(Summarize(table).StructureCount);
}

/// The length of a 64-bit entry point is a maximum: the table ends after its first end-of-table
/// structure.
Bytes UpToEndOfTable(Bytes table) {
  const UINTN end = Summarize(table).EndOfTableEnd;
  return end == 0 ? table : UpTo(table, end);
}

/// `available` begins with the table that the entry point describes.
void TakeTable(const EntryPoint& entry, Bytes available, Capture& capture) {
  capture.Kind = entry.Kind;
  capture.Table.Major = entry.Major;
  capture.Table.Minor = entry.Minor;
  Bytes table = UpTo(available, entry.TableLength);
  if (table.Size() < kStructureHeaderSize) {
    capture.Error = CaptureError::kNothingBehind;
    return;
  }
  if (entry.Kind == EntryPointKind::k64Bit) {
    table = UpToEndOfTable(table);
    capture.Remarks.Add(NoteKind::kOnly64Bit);
  }
  const bool isMaximum =
      entry.Kind == EntryPointKind::k64Bit && Summarize(table).EndOfTableEnd != 0;
  if (available.Size() < entry.TableLength && !isMaximum) {
    capture.Remarks.Add(NoteKind::kTableLength, entry.TableLength, available.Size());
  }
  capture.Table.Structures = table;
  const UINT16 counted = CountStructures(table);
  capture.Table.StructureCount =
      entry.Kind == EntryPointKind::k32Bit ? entry.StructureCount : counted;
  Inspect(capture, capture.Table.StructureCount);
}

/// Strings are texts, so that a file of something else is not taken for a table by accident.
bool HasTextsOnly(const TableStructure& structure) {
  const Bytes whole = structure.Whole();
  for (UINTN i = structure.FormattedSize(); i < whole.Size(); i++) {
    if (whole[i] != 0 && whole[i] < ' ') {
      return false;
    }
  }
  return true;
}

/// True for a sequence of complete structures up to an end-of-table structure, where the first one
/// may state any length, as captures exist that begin with something else.
bool RunsToEndOfTable(Bytes file) {
  TableWalk walk(file);
  for (TableStructure structure; walk.Next(structure) && structure.IsComplete();) {
    if (structure.Offset() != 0 && structure.Byte(1) < kStructureHeaderSize) {
      return false;
    }
    if (structure.Type() == kTypeEndOfTable && structure.Byte(1) == kStructureHeaderSize) {
      return true;
    }
  }
  return false;
}

bool BeginsWithStructure(Bytes file) {
  TableWalk walk(file);
  TableStructure first;
  return walk.Next(first) && first.IsComplete() && first.Type() != kTypeEndOfTable &&
         first.FormattedSize() >= kStructureHeaderSize && HasTextsOnly(first);
}

void TakeBareTable(Bytes file, Capture& capture) {
  if (!RunsToEndOfTable(file) && !BeginsWithStructure(file)) {
    capture.Error = CaptureError::kNoTable;
    return;
  }
  const UINT16 counted = CountStructures(file);
  capture.Table = {kBareTableMajor, kBareTableMinor, counted, file};
  Inspect(capture, counted);
}

UINTN TableOffset(Bytes file, const EntryPoint& entry, Notes& notes) {
  if (entry.TableAddress < file.Size()) {
    return static_cast<UINTN>(entry.TableAddress);
  }
  notes.Add(NoteKind::kTableOffset, entry.TableAddress, kUsualTableOffset);
  return MIN(kUsualTableOffset, file.Size());
}

}  // namespace

const CHAR8* CaptureErrorText(CaptureError error) {
  switch (error) {
    case CaptureError::kEmpty:
      return "it is empty";
    case CaptureError::kNoTable:
      return "it has neither an SMBIOS entry point nor does it begin with an SMBIOS structure";
    case CaptureError::kNothingBehind:
      return "it has an SMBIOS entry point, but no table";
    case CaptureError::kNone:
      break;
  }
  return "";
}

void ReadCapturedFile(Bytes file, Capture& capture) {
  capture.Clear();
  if (file.Empty()) {
    capture.Error = CaptureError::kEmpty;
    return;
  }
  const EntryPoint entry = ReadEntryPoint(file, capture.Remarks);
  if (entry.Kind == EntryPointKind::kNone) {
    TakeBareTable(file, capture);
  } else {
    TakeTable(entry, From(file, TableOffset(file, entry, capture.Remarks)), capture);
  }
}

void ReadSeparateTable(Bytes entryPoint, Bytes structures, Capture& capture) {
  capture.Clear();
  const EntryPoint entry = ReadEntryPoint(entryPoint, capture.Remarks);
  if (entry.Kind == EntryPointKind::kNone) {
    capture.Error = CaptureError::kNoTable;
  } else {
    TakeTable(entry, structures, capture);
  }
}

}  // namespace tvqplatform
