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
/// A field that does not lie wholly in the formatted part reads as 0, a handle as FFFFh, and a
/// string number there names no string.
///
/// Deliberate: a string number past the structure's last string moves the slot to the structure
/// that follows, and whatever is read afterwards comes from that one.
class Structure {
 public:
  explicit Structure(UINT8** slot) : mSlot(slot) {}

  UINT8 Type() const;
  /// Length of the formatted part, cut by the end of the table; 0 when the slot has left it.
  UINTN Length() const;
  /// The same, as it is stated, also in a header that the end of the table cuts behind it.
  UINT8 StatedLength() const;
  /// Handle in the header; FFFFh when the slot has left the table.
  UINT16 OwnHandle() const;

  template <typename Value>
  bool Has(smbios::Field<Value> field) const {
    return Has(field.Offset, sizeof(Value));
  }
  template <typename Value>
  Value Get(smbios::Field<Value> field) const {
    if constexpr (sizeof(Value) == 1) {
      return Byte(field.Offset);
    } else if constexpr (sizeof(Value) == 2) {
      return Word(field.Offset);
    } else if constexpr (sizeof(Value) == 4) {
      return Dword(field.Offset);
    } else {
      return Qword(field.Offset);
    }
  }
  UINT16 GetHandle(smbios::Field<UINT16> field) const { return HandleAt(field.Offset); }
  /// The string whose number the field holds, or null. May move the slot.
  CHAR8* GetString(smbios::Field<UINT8> field) const { return SmbiosGetString(mSlot, Get(field)); }
  /// The byte at `offset`, 0 past the formatted part.
  UINT8 Byte(UINTN offset) const;

  /// A field as it stands, without a test of the formatted length; bytes past the table are 0.
  template <typename Value>
  Value Peek(smbios::Field<Value> field) const {
    return static_cast<Value>(PeekNumber(field.Offset, sizeof(Value)));
  }
  /// The string whose number the field holds, wherever that lies. May move the slot.
  CHAR8* PeekString(smbios::Field<UINT8> field) const {
    return SmbiosGetString(mSlot, Peek(field));
  }

  /// Address of the structure; where the slot is now.
  UINT8* Address() const { return *mSlot; }

 private:
  smbios::BareStructure Now() const { return SmbiosStructureAt(*mSlot); }

  bool Has(UINTN offset, UINTN width) const;
  UINT16 Word(UINTN offset) const;
  UINT16 HandleAt(UINTN offset) const;
  UINT32 Dword(UINTN offset) const;
  UINT64 Qword(UINTN offset) const;
  UINT64 Number(UINTN offset, UINTN width, UINT64 missing) const;
  UINT64 PeekNumber(UINTN offset, UINTN width) const;

  UINT8** mSlot;
};

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
