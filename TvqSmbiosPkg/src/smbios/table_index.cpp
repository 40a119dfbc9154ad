/** @file
  Index over the table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "table_index.h"

#include "access.h"
#include "walk.h"

namespace tvq {

namespace {

/// A header and the two NULs behind it: no well-formed structure is smaller.
constexpr UINTN kSmallestStructure = smbios::kHeaderSize + 2;

/// Type and handle in a structure's header.
UINT8 TypeOf(const UINT8* structure) {
  return structure[smbios::kTypeOffset];
}
UINT16 HandleOf(const UINT8* structure) {
  return smbios::Read16(structure + smbios::kHandleOffset);
}

TableIndex* gIndex;

}  // namespace

TableIndex::TableIndex() : mTable(SmbiosTable()) {
  const UINTN room =
      MIN(static_cast<UINTN>(SmbiosStructureCount()), mTable.Size() / kSmallestStructure);
  if (room != 0 && Allocate(room) && AddStructures(room)) {
    LinkStructures();
    gIndex = this;
  }
}

TableIndex::~TableIndex() {
  gIndex = nullptr;
}

TableIndex* TableIndex::Current() {
  if (gIndex != nullptr) {
    const Span<UINT8> table = SmbiosTable();
    if (table.begin() != gIndex->mTable.begin() || table.end() != gIndex->mTable.end()) {
      gIndex = nullptr;
    }
  }
  return gIndex;
}

UINT16 TableIndex::FindHandle(UINT16 handle, UINT8 type) const {
  UINT16 entry = FindHandle(handle);
  while (entry != kNone && TypeOf(Address(entry)) != type) {
    entry = SkipOthers(mEntries[entry].NextInBucket, handle);
  }
  return entry;
}

bool TableIndex::Allocate(UINTN room) {
  while (mBucketCount < room) {
    mBucketCount *= 2;
  }
  mEntries.Reset(
      static_cast<Entry*>(AllocatePool(room * sizeof(Entry) + mBucketCount * sizeof(mBuckets[0]))));
  if (!mEntries) {
    return false;
  }
  mBuckets = reinterpret_cast<UINT16*>(mEntries.Get() + room);
  return true;
}

/// Enters all structures by position. Tells whether there was room.
bool TableIndex::AddStructures(UINTN room) {
  StructureWalk walk;
  while (walk.Next()) {
    if (mCount == room) {
      return false;
    }
    const auto offset = static_cast<UINT16>(walk.Address() - mTable.begin());
    mEntries[mCount] = {offset, walk.Size(), kNone, kNone, kNone};
    mCount++;
  }
  return true;
}

/// Links the structures of a type, and those of a bucket. The last structure comes first, so that
/// the chains have the order of the table.
void TableIndex::LinkStructures() {
  SetMem(mFirstOfType, sizeof(mFirstOfType), 0xFF);
  SetMem(mBuckets, mBucketCount * sizeof(mBuckets[0]), 0xFF);
  for (UINT16 i = mCount; i-- != 0;) {
    UINT16& ofType = mFirstOfType[TypeOf(Address(i))];
    mEntries[i].NextOfType = ofType;
    ofType = i;
    UINT16& inBucket = Bucket(HandleOf(Address(i)));
    mEntries[i].NextInBucket = inBucket;
    inBucket = i;
  }
}

/// The first entry with the handle, from this one of the bucket on.
UINT16 TableIndex::SkipOthers(UINT16 entry, UINT16 handle) const {
  while (entry != kNone && HandleOf(Address(entry)) != handle) {
    entry = mEntries[entry].NextInBucket;
  }
  return entry;
}

}  // namespace tvq
