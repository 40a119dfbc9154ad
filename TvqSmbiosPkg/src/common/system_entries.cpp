/** @file
  Entries of the sections of the system record.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "system_entries.h"

namespace tvq {

namespace {

constexpr Logger kLog("MakeSYSTEM");

/// What became of an entry.
enum class EntryResult {
  kFilled,
  kNoEntry,
  kNoText
};

/// A new entry in `*slot`. An entry whose text could not be had is freed again.
[[nodiscard]] EntryResult NewEntry(const EntryKind& kind, VOID** slot, const Structure& structure) {
  VOID* entry = AllocateZeroPool(kind.Size);
  if (entry == nullptr) {
    return EntryResult::kNoEntry;
  }
  if (kind.Fill(entry, structure).Failed()) {
    FreeEntry(kind, entry);
    return EntryResult::kNoText;
  }
  *slot = entry;
  return EntryResult::kFilled;
}

}  // namespace

Entries BuildEntries(const EntryKind& kind) {
  StructureList structures;
  const bool any = !EFI_ERROR(structures.Collect(kind.Type)) && structures.Any();
  if (!any) {
    kLog(kind.None);
  }
  kLog(kind.Found, structures.Count());
  if (!any) {
    return {0, nullptr};
  }

  const UINT8 count = static_cast<UINT8>(MIN(structures.Count(), static_cast<UINT16>(MAX_UINT8)));
  const Entries entries = {count, PoolPtr<VOID*>::Zeroed(count).Release()};
  EntryResult result = EntryResult::kFilled;
  for (UINTN i = 0; entries.Slots != nullptr && i < count && result == EntryResult::kFilled; i++) {
    result = NewEntry(kind, &entries.Slots[i], structures[i]);
  }
  if (result == EntryResult::kNoEntry && kind.WhenMissing == OnMissingEntry::kFreeAll) {
    FreeEntries(kind, entries);
  }
  return entries;
}

VOID* BuildEntry(const EntryKind& kind, const Structure& structure) {
  VOID* entry = nullptr;
  (void)NewEntry(kind, &entry, structure);  // An entry says it all.
  return entry;
}

void FreeEntry(const EntryKind& kind, VOID* entry) {
  if (entry != nullptr) {
    kind.FreeTexts(entry);
    FreeBlock(entry);
  }
}

void FreeEntries(const EntryKind& kind, const Entries& entries) {
  for (UINTN i = entries.Count; entries.Slots != nullptr && i-- != 0;) {
    FreeEntry(kind, entries.Slots[i]);
    entries.Slots[i] = nullptr;
  }
}

}  // namespace tvq
