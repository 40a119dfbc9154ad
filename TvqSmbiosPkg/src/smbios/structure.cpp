/** @file
  One bounded view of an SMBIOS structure.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "structure.h"

namespace tvq {

UINTN Structure::Left() const {
  const Span<UINT8> table = SmbiosTable();
  const UINT8* structure = *mSlot;
  return structure < table.begin() || structure > table.end()
             ? 0
             : static_cast<UINTN>(table.end() - structure);
}

UINTN Structure::Length() const {
  const UINTN left = Left();
  return left < kSmbiosHeaderSize ? 0 : MIN(left, static_cast<UINTN>((*mSlot)[1]));
}

UINT16 Structure::OwnHandle() const {
  return Left() < kSmbiosHeaderSize ? kSmbiosNoHandle : HandleOf(*mSlot);
}

UINT8 Structure::Byte(UINTN offset) const {
  return Has(offset, 1) ? (*mSlot)[offset] : UINT8{0};
}

UINT16 Structure::Word(UINTN offset) const {
  return Has(offset, 2) ? smbios::Read16(*mSlot + offset) : UINT16{0};
}

UINT32 Structure::Dword(UINTN offset) const {
  return Has(offset, 4) ? smbios::Read32(*mSlot + offset) : 0;
}

UINT64 Structure::Qword(UINTN offset) const {
  return Has(offset, 8) ? smbios::Read64(*mSlot + offset) : 0;
}

UINT16 Structure::Handle(UINTN offset) const {
  return Has(offset, 2) ? smbios::Read16(*mSlot + offset) : kSmbiosNoHandle;
}

UINT64 Structure::TableBytes(UINTN offset, UINTN size) const {
  const UINTN left = Left();
  UINT64 value = 0;
  for (UINTN i = size; i-- != 0;) {
    value = value << 8 | (offset + i < left ? (*mSlot)[offset + i] : 0);
  }
  return value;
}

UINT8 SmbiosByteAt(const UINT8* position) {
  const Span<UINT8> table = SmbiosTable();
  return position >= table.begin() && position < table.end() ? *position : 0;
}

EFI_STATUS StructureList::Collect(UINT8 type) {
  UINT8** records = nullptr;
  UINT16* sizes = nullptr;
  const EFI_STATUS status = SmbiosGetStructuresByType(type, &records, &sizes, &mCount);
  if (!EFI_ERROR(status)) {
    mRecords.Reset(records);
    mSizes.Reset(sizes);
  }
  return status;
}

}  // namespace tvq
