/** @file
  Entries of the sections of the system record: one routine builds those of all kinds.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_SYSTEM_ENTRIES_H_
#define TVQ_SYSTEM_ENTRIES_H_

#include <TvqCpp.h>

#include "../log.h"
#include "../smbios/structure.h"
#include "steps.h"

namespace tvq {

/// What becomes of the entries of a section when there is no memory for one more.
enum class OnMissingEntry : UINT8 {
  kKeepOthers,
  kFreeAll
};

/// A kind of entry.
struct EntryKind {
  UINT8 Type;  ///< Of the structures that are described.
  OnMissingEntry WhenMissing;
  UINT16 Size;
  /// Fills a zeroed entry.
  Outcome (*Fill)(VOID* entry, const Structure& structure);
  void (*FreeTexts)(const VOID* entry);
  LogFormat None;   ///< Logged when there is no such structure.
  LogFormat Found;  ///< Logged with their number, in every case.
};

/// The entries of a section. A slot that could not be filled is null, and so is the array when it
/// could not be allocated; the count stays that of the structures.
struct Entries {
  UINT8 Count;
  VOID** Slots;
};

/// Collects the structures of a kind and builds an entry for each. Deliberate: structures past the
/// 255th get no entry, because the record counts in 8 bits.
Entries BuildEntries(const EntryKind& kind);

/// Builds one entry; null when there was no memory for it or for its texts.
VOID* BuildEntry(const EntryKind& kind, const Structure& structure);

/// Frees an entry and its texts; null is nothing.
void FreeEntry(const EntryKind& kind, VOID* entry);

/// Frees the entries, newest first, and leaves their slots null.
void FreeEntries(const EntryKind& kind, const Entries& entries);

}  // namespace tvq

#endif
