/** @file
  One bounded view of an SMBIOS structure.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "structure.h"

namespace tvq {

UINTN Structure::Left() const {
  const Span<UINT8> table = SmbiosTable();
  if (*mSlot < table.begin() || *mSlot > table.end()) {
    return 0;
  }
  const UINTN left = static_cast<UINTN>(table.end() - *mSlot);
  return left < kSmbiosHeaderSize ? 0 : left;
}

UINTN Structure::Length() const {
  const UINTN left = Left();
  return left == 0 ? 0 : MIN(left, static_cast<UINTN>((*mSlot)[1]));
}

UINT8 Structure::TableByte(UINTN offset) const {
  return SmbiosByteAt(*mSlot + offset);
}

UINT16 Structure::TableWord(UINTN offset) const {
  return static_cast<UINT16>(TableByte(offset) | (TableByte(offset + 1) << 8));
}

UINT32 Structure::TableDword(UINTN offset) const {
  return static_cast<UINT32>(TableWord(offset)) |
         (static_cast<UINT32>(TableWord(offset + 2)) << 16);
}

UINT64 Structure::TableQword(UINTN offset) const {
  return static_cast<UINT64>(TableDword(offset)) |
         (static_cast<UINT64>(TableDword(offset + 4)) << 32);
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
