/** @file
  What is worth a warning when a table is read.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "notes.h"

namespace tvqplatform {

namespace {

/// Formats take both numbers of the note, as 64-bit values.
const CHAR8* FormatOf(NoteKind kind) {
  switch (kind) {
    case NoteKind::kEntryLength:
      return "the entry point states a length of its own of %lld bytes, where %lld are usual";
    case NoteKind::kEntryChecksum:
      return "the entry point's checksum is wrong";
    case NoteKind::kIntermediateAnchor:
      return "the entry point lacks its intermediate anchor \"_DMI_\"";
    case NoteKind::kIntermediateChecksum:
      return "the entry point's intermediate checksum is wrong";
    case NoteKind::kTableOffset:
      return "the entry point places the table at 0x%llx, which is not in the file; "
             "reading it at 0x%llx";
    case NoteKind::kTableLength:
      return "the entry point states a table of %lld bytes, but only %lld are there; using those";
    case NoteKind::kStructureCount:
      return "the entry point states %lld structures, the table has %lld";
    case NoteKind::kNoEndOfTable:
      return "the table has no end-of-table structure (type 127)";
    case NoteKind::kBehindEndOfTable:
      return "%lld bytes follow the end-of-table structure and are read as further structures";
    case NoteKind::kCutOff:
      return "the last structure is cut off: the table ends before its strings do";
    case NoteKind::kLooseBytes:
      return "the last %lld bytes of the table are no structure";
    case NoteKind::kOnly64Bit:
      return "there is only a 64-bit entry point; on firmware that has only this one, the driver "
             "would answer Not Found";
    case NoteKind::kShortHeader:
      return "the first structure states a length of %lld bytes, which is less than its header; "
             "does the file begin with something else than the table?";
  }
  return "";
}

}  // namespace

void NoteDefects(const smbios::EntryPoint& entry, Notes& notes) {
  using smbios::EntryPointDefect;
  if (entry.Has(EntryPointDefect::kLength)) {
    notes.Add(NoteKind::kEntryLength, entry.Length, smbios::LayoutOf(entry.Kind).Size);
  }
  if (entry.Has(EntryPointDefect::kChecksum)) {
    notes.Add(NoteKind::kEntryChecksum);
  }
  if (entry.Has(EntryPointDefect::kIntermediateAnchor)) {
    notes.Add(NoteKind::kIntermediateAnchor);
  } else if (entry.Has(EntryPointDefect::kIntermediateChecksum)) {
    notes.Add(NoteKind::kIntermediateChecksum);
  }
}

void FormatNote(const Note& note, CHAR8* buffer, UINTN size) {
  AsciiSPrint(buffer, size, FormatOf(note.Kind), note.First, note.Second);
}

}  // namespace tvqplatform
