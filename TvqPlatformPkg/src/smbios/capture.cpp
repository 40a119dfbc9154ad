/** @file
  SMBIOS tables from where they are kept.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "capture.h"

namespace tvqplatform {

using smbios::EntryPoint;
using smbios::EntryPointKind;
using smbios::Structure;
using smbios::Summary;

namespace {

/// Remarks on a table as it will be read.
void Inspect(Capture& capture, UINTN statedCount) {
  const Bytes table = capture.Table.Structures;
  const Summary summary = smbios::Summarize(table);
  if (table[1] < smbios::kHeaderSize) {
    capture.Remarks.Add(NoteKind::kShortHeader, table[1]);
  }
  if (statedCount != summary.Count) {
    capture.Remarks.Add(NoteKind::kStructureCount, statedCount, summary.Count);
  }
  if (summary.EndOfTableEnd == 0) {
    capture.Remarks.Add(NoteKind::kNoEndOfTable);
  } else if (summary.EndOfTableEnd < table.Size()) {
    capture.Remarks.Add(NoteKind::kBehindEndOfTable, table.Size() - summary.EndOfTableEnd);
  }
  if (!summary.IsLastComplete) {
    capture.Remarks.Add(NoteKind::kCutOff);
  }
  if (summary.End < table.Size()) {
    capture.Remarks.Add(NoteKind::kLooseBytes, table.Size() - summary.End);
  }
}

UINT16 CountStructures(Bytes table) {
  return static_cast<UINT16>(smbios::Summarize(table).Count);
}

/// The length of a 64-bit entry point is a maximum: the table ends after its first end-of-table
/// structure. Nothing behind that is read, because a maximum may reach into memory of devices.
Bytes UpToEndOfTable(Bytes table) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (structure.Type() == smbios::kEndOfTable) {
      const UINTN strings = structure.Length();
      const bool hasNone = structure.PeekByte(strings) == 0 && structure.PeekByte(strings + 1) == 0;
      return table.First(hasNone ? structure.Offset() + strings + 2 : structure.End());
    }
  }
  return table;
}

/// `available` begins with the table that the entry point describes.
void TakeTable(const EntryPoint& entry, Bytes available, Capture& capture) {
  capture.Kind = entry.Kind;
  capture.Table.Major = entry.Major;
  capture.Table.Minor = entry.Minor;
  Bytes table = available.First(entry.TableLength);
  if (table.Size() < smbios::kHeaderSize) {
    capture.Error = CaptureError::kNothingBehind;
    return;
  }
  if (entry.Kind == EntryPointKind::k64Bit) {
    table = UpToEndOfTable(table);
    capture.Remarks.Add(NoteKind::kOnly64Bit);
  }
  const bool isMaximum =
      entry.Kind == EntryPointKind::k64Bit && smbios::Summarize(table).EndOfTableEnd != 0;
  if (available.Size() < entry.TableLength && !isMaximum) {
    capture.Remarks.Add(NoteKind::kTableLength, entry.TableLength, available.Size());
  }
  capture.Table.Structures = table;
  const UINT16 counted = CountStructures(table);
  // Deliberate: a count that is wrong stays so, because slot queries go by it.
  capture.Table.StructureCount =
      entry.Kind == EntryPointKind::k32Bit ? entry.StructureCount : counted;
  Inspect(capture, capture.Table.StructureCount);
}

/// Strings are texts, so that a file of something else is not taken for a table by accident.
bool HasTextsOnly(const Structure& structure) {
  for (const UINT8 byte : structure.Whole().From(structure.Length())) {
    if (byte != 0 && byte < ' ') {
      return false;
    }
  }
  return true;
}

/// True for a sequence of complete structures up to an end-of-table structure, where the first one
/// may state any length, as captures exist that begin with something else.
bool RunsToEndOfTable(Bytes file) {
  for (const Structure& structure : smbios::Walk(file)) {
    if (!structure.IsComplete() ||
        (structure.Offset() != 0 && structure.Length() < smbios::kHeaderSize)) {
      return false;
    }
    if (structure.Type() == smbios::kEndOfTable && structure.Length() == smbios::kHeaderSize) {
      return true;
    }
  }
  return false;
}

bool BeginsWithStructure(Bytes file) {
  const Structure first(file, 0);
  return first.IsWellFormed() && first.Type() != smbios::kEndOfTable && HasTextsOnly(first);
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
  notes.Add(NoteKind::kTableOffset, entry.TableAddress, smbios::kDumpedTableOffset);
  return MIN(smbios::kDumpedTableOffset, file.Size());
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
  const EntryPoint entry = smbios::ReadEntryPoint(file);
  if (!entry) {
    TakeBareTable(file, capture);
    return;
  }
  NoteDefects(entry, capture.Remarks);
  TakeTable(entry, file.From(TableOffset(file, entry, capture.Remarks)), capture);
}

void ReadSeparateTable(Bytes entryPoint, Bytes structures, Capture& capture) {
  capture.Clear();
  const EntryPoint entry = smbios::ReadEntryPoint(entryPoint);
  if (!entry) {
    capture.Error = CaptureError::kNoTable;
    return;
  }
  NoteDefects(entry, capture.Remarks);
  TakeTable(entry, structures, capture);
}

}  // namespace tvqplatform
