/** @file
  The structures of a table by type and handle.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_STRUCTURE_INDEX_H_
#define TVQ_PLATFORM_COMPARE_STRUCTURE_INDEX_H_

#include "../smbios/table.h"
#include "groups.h"

namespace tvqplatform {

/// Built once, so that looking up every device of a table takes n log n steps.
class StructureIndex {
 public:
  /// False: there is no memory.
  [[nodiscard]] bool Build(Bytes table) {
    mTable = table;
    for (const smbios::Structure& structure : smbios::Walk(table)) {
      if (!mEntries.Append({KeyOf(structure.Type(), structure.Handle()), structure.Offset()})) {
        return false;
      }
    }
    return Sort(mEntries, [](const Entry& left, const Entry& right) -> INTN {
      return static_cast<INTN>(left.Key) - static_cast<INTN>(right.Key);
    });
  }

  /// The first one in the table; none where there is none.
  smbios::Structure Find(UINT8 type, UINT16 handle) const {
    const UINT32 key = KeyOf(type, handle);
    const UINTN at = FirstNotBelow(mEntries, [key](const Entry& entry) { return entry.Key < key; });
    const bool isFound = at < mEntries.Size() && mEntries[at].Key == key;
    return isFound ? smbios::Structure(mTable, mEntries[at].Offset) : smbios::Structure();
  }

 private:
  struct Entry {
    UINT32 Key;
    UINTN Offset;
  };

  static UINT32 KeyOf(UINT8 type, UINT16 handle) {
    return static_cast<UINT32>(type) << 16 | handle;
  }

  Bytes mTable;
  OwnedArray<Entry> mEntries;
};

}  // namespace tvqplatform

#endif
