/** @file
  One bounded view of an SMBIOS structure, and the list of all structures of a type.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_SMBIOS_STRUCTURE_H_
#define TVQ_SMBIOS_STRUCTURE_H_

#include <TvqCpp.h>

#include "access.h"

namespace tvq {

/// A structure, read through its slot in a StructureList.
///
/// A field that lies past the formatted length reads as 0, a handle there as FFFFh, and a string
/// number there names no string.
///
/// Deliberate: a string number past the structure's last string moves the slot to the structure
/// that follows, and whatever is read afterwards comes from that one.
class Structure {
 public:
  explicit Structure(UINT8** slot) : mSlot(slot) {}

  /// Length of the formatted part, cut by the end of the table; 0 when the slot has left it.
  UINTN Length() const;
  /// Handle in the header; FFFFh when the slot has left the table.
  UINT16 OwnHandle() const;

  bool Has(UINTN offset, UINTN size) const { return offset + size <= Length(); }
  UINT8 Byte(UINTN offset) const;
  UINT16 Word(UINTN offset) const;
  UINT32 Dword(UINTN offset) const;
  UINT64 Qword(UINTN offset) const;
  UINT16 Handle(UINTN offset) const;
  /// The string whose number stands at `offset`, or null. May move the slot.
  CHAR8* String(UINTN offset) const { return SmbiosGetString(mSlot, Byte(offset)); }

  /// Fields as they stand, without a test of the formatted length; bytes past the table read 0.
  UINT8 TableByte(UINTN offset) const { return static_cast<UINT8>(TableBytes(offset, 1)); }
  UINT16 TableWord(UINTN offset) const { return static_cast<UINT16>(TableBytes(offset, 2)); }
  UINT32 TableDword(UINTN offset) const { return static_cast<UINT32>(TableBytes(offset, 4)); }
  UINT64 TableQword(UINTN offset) const { return TableBytes(offset, 8); }
  /// The string whose number stands at `offset`, wherever that lies. May move the slot.
  CHAR8* TableString(UINTN offset) const { return SmbiosGetString(mSlot, TableByte(offset)); }

  /// Address of the structure; where the slot is now.
  UINT8* Address() const { return *mSlot; }

 private:
  /// Bytes from the structure to the end of the table; 0 when the slot has left it.
  UINTN Left() const;
  /// Up to eight bytes from the table as one little-endian value.
  UINT64 TableBytes(UINTN offset, UINTN size) const;

  UINT8** mSlot;
};

/// The byte at `position`, 0 outside the table.
UINT8 SmbiosByteAt(const UINT8* position);

/// Owns the two arrays of SmbiosGetStructuresByType.
class StructureList {
 public:
  /// Collects the structures of a type; see SmbiosGetStructuresByType.
  [[nodiscard]] EFI_STATUS Collect(UINT8 type);

  /// Tells whether there is at least one structure.
  bool Any() const { return mRecords && mCount != 0; }
  /// What the collection reported, also when it failed after counting.
  UINT16 Count() const { return mCount; }
  Structure operator[](UINTN i) const { return Structure(mRecords.Get() + i); }

  UINT8** Records() const { return mRecords.Get(); }
  const UINT16* Sizes() const { return mSizes.Get(); }

  /// Frees both arrays now.
  void Free() {
    mSizes.Reset();
    mRecords.Reset();
  }
  /// Leaves both arrays in the pool for good.
  void Leave() {
    (void)mSizes.Release();
    (void)mRecords.Release();
  }

 private:
  PoolPtr<UINT8*> mRecords;
  PoolPtr<UINT16> mSizes;
  UINT16 mCount = 0;
};

}  // namespace tvq

#endif
