/** @file
  Index over the table: finds structures by type and by handle without walking the table again.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_SMBIOS_TABLE_INDEX_H_
#define TVQ_SMBIOS_TABLE_INDEX_H_

#include <TvqCpp.h>

namespace tvq {

/// What one walk over the table found, in one block of pool. The object on the stack of the start
/// makes the index for as long as the start takes; whoever looks for structures meanwhile finds it
/// with Current().
///
/// The index saves time and changes no result. It is left out where there is no memory for it or
/// where the entry point states too few structures, and nobody uses it once the table has moved.
class TableIndex {
 public:
  static constexpr UINT16 kNone = MAX_UINT16;

  TableIndex();
  ~TableIndex();
  TableIndex(const TableIndex&) = delete;
  TableIndex& operator=(const TableIndex&) = delete;

  /// The index of the table that the entry point describes now; null when there is none.
  static TableIndex* Current();

  /// The entry of the first structure of a type, and of the next one; kNone when there is none.
  UINT16 FirstOfType(UINT8 type) const { return mFirstOfType[type]; }
  UINT16 NextOfType(UINT16 entry) const { return mEntries[entry].NextOfType; }

  /// The entry of the first structure with a handle, and with a type too; kNone when there is none.
  UINT16 FindHandle(UINT16 handle) const { return SkipOthers(Bucket(handle), handle); }
  UINT16 FindHandle(UINT16 handle, UINT8 type) const;

  UINT8* Address(UINT16 entry) const { return mTable.begin() + mEntries[entry].Offset; }
  UINT16 Size(UINT16 entry) const { return mEntries[entry].Size; }

  /// Position of the first group of the FQDD map that names the structure; kNone until it is set.
  UINT16& MapPosition(UINT16 entry) { return mEntries[entry].MapPosition; }

 private:
  struct Entry {
    UINT16 Offset;
    UINT16 Size;
    UINT16 NextOfType;
    UINT16 NextInBucket;
    UINT16 MapPosition;
  };

  [[nodiscard]] bool Allocate(UINTN room);
  [[nodiscard]] bool AddStructures(UINTN room);
  void LinkStructures();
  UINT16 SkipOthers(UINT16 entry, UINT16 handle) const;
  UINT16& Bucket(UINT16 handle) const { return mBuckets[handle & (mBucketCount - 1)]; }

  Span<UINT8> mTable;
  PoolPtr<Entry> mEntries;
  UINT16* mBuckets = nullptr;  ///< Behind the entries, in the same block.
  UINTN mBucketCount = 1;      ///< A power of two.
  UINT16 mCount = 0;
  UINT16 mFirstOfType[256];
};

}  // namespace tvq

#endif
