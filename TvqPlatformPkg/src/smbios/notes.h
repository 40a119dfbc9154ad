/** @file
  What is worth a warning when a table is read.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_NOTES_H_
#define TVQ_PLATFORM_SMBIOS_NOTES_H_

#include "table.h"

namespace tvqplatform {

enum class NoteKind : UINT8 {
  kEntryLength,  ///< stated, usual
  kEntryChecksum,
  kIntermediateAnchor,
  kIntermediateChecksum,
  kTableOffset,     ///< stated, used
  kTableLength,     ///< stated, there
  kStructureCount,  ///< stated, counted
  kNoEndOfTable,
  kBehindEndOfTable,  ///< bytes
  kCutOff,
  kLooseBytes,  ///< bytes
  kOnly64Bit,
  kShortHeader,  ///< length of the first structure
};

struct Note {
  NoteKind Kind;
  UINT64 First;
  UINT64 Second;
};

/// A few notes, each kind once.
class Notes {
 public:
  void Add(NoteKind kind, UINT64 first = 0, UINT64 second = 0) {
    if (mSize < ARRAY_SIZE(mNotes)) {
      mNotes[mSize++] = {kind, first, second};
    }
  }
  void Clear() { mSize = 0; }
  UINTN Size() const { return mSize; }
  const Note& operator[](UINTN i) const { return mNotes[i]; }

 private:
  Note mNotes[16];
  UINTN mSize = 0;
};

/// Notes what is wrong with an entry point.
void NoteDefects(const smbios::EntryPoint& entry, Notes& notes);

/// The note as an English sentence without a full stop.
void FormatNote(const Note& note, CHAR8* buffer, UINTN size);

}  // namespace tvqplatform

#endif
