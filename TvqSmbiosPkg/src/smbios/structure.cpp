/** @file
  One bounded view of an SMBIOS structure.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "structure.h"

namespace tvq {

UINTN Structure::Length() const {
  return Now().Formatted().Size();
}

UINT8 Structure::StatedLength() const {
  return SmbiosByteAt(Address() + smbios::kLengthOffset);
}

UINT8 Structure::Type() const {
  return Now().Type();
}

UINT16 Structure::OwnHandle() const {
  return Now().Handle();
}

bool Structure::Has(UINTN offset, UINTN size) const {
  return Now().Has(offset, size);
}

UINT8 Structure::Byte(UINTN offset) const {
  return Now().Byte(offset);
}

UINT64 Structure::Number(UINTN offset, UINTN width, UINT64 missing) const {
  return Now().GetNumber(offset, width, missing);
}

// A routine for each width, which stays one: so a field costs the image a call with one argument.

[[gnu::noinline]] UINT16 Structure::Word(UINTN offset) const {
  return static_cast<UINT16>(Number(offset, sizeof(UINT16), 0));
}

[[gnu::noinline]] UINT16 Structure::HandleAt(UINTN offset) const {
  return static_cast<UINT16>(Number(offset, sizeof(UINT16), kSmbiosNoHandle));
}

[[gnu::noinline]] UINT32 Structure::Dword(UINTN offset) const {
  return static_cast<UINT32>(Number(offset, sizeof(UINT32), 0));
}

[[gnu::noinline]] UINT64 Structure::Qword(UINTN offset) const {
  return Number(offset, sizeof(UINT64), 0);
}

UINT64 Structure::PeekNumber(UINTN offset, UINTN width) const {
  return Now().PeekNumber(offset, width);
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
