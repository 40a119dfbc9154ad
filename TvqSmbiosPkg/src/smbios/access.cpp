/** @file
  SMBIOS structure access.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "access.h"

extern "C" {
#include <Guid/SmBios.h>
}

#include "walk.h"

namespace tvq {

UINT8* gSmbiosEntryPoint;
UINT8* gSmbiosTable;
UINT8 gSmbiosMajor;
UINT8 gSmbiosMinor;

namespace {

constexpr const smbios::EntryPointLayout& kEntryPoint = smbios::kEntryPoint32;

UINT8* TableAddress(const UINT8* entryPoint) {
  return reinterpret_cast<UINT8*>(
      static_cast<UINTN>(smbios::Read32(entryPoint + kEntryPoint.TableAddress)));
}

/// A text of the table, which nobody is to change although its address is not that of a constant.
CHAR8* AddressOf(smbios::Text text) {
  return reinterpret_cast<CHAR8*>(const_cast<UINT8*>(text.Data()));
}

/// The structure that begins at `address`; none where that is outside the table.
smbios::BareStructure StructureAt(const Span<UINT8>& table, const UINT8* address) {
  const UINTN left = reinterpret_cast<UINTN>(table.end()) - reinterpret_cast<UINTN>(address);
  return smbios::BareStructure({address, left <= table.Size() ? left : 0});
}

}  // namespace

Span<UINT8> SmbiosTable() {
  if (gSmbiosEntryPoint == nullptr) {
    return {};
  }
  gSmbiosTable = TableAddress(gSmbiosEntryPoint);
  if (gSmbiosTable == nullptr) {
    return {};
  }
  return {gSmbiosTable, smbios::Read16(gSmbiosEntryPoint + kEntryPoint.TableLength)};
}

smbios::BareStructure SmbiosStructureAt(const UINT8* address) {
  return StructureAt(SmbiosTable(), address);
}

UINT16 SmbiosStructureCount() {
  return smbios::Read16(gSmbiosEntryPoint + kEntryPoint.StructureCount);
}

UINTN SmbiosCountStructures() {
  UINTN count = 0;
  StructureWalk walk;
  while (walk.Next()) {
    count++;
  }
  return count;
}

UINT8 SmbiosMajorVersion() {
  return gSmbiosMajor;
}

UINT8 SmbiosMinorVersion() {
  return gSmbiosMinor;
}

EFI_STATUS LocateSmbiosTable() {
  for (UINT32 i = 0; i < gST->NumberOfTableEntries; i++) {
    EFI_CONFIGURATION_TABLE& entry = gST->ConfigurationTable[i];
    if (entry.VendorTable != nullptr && CompareGuid(&entry.VendorGuid, &gEfiSmbiosTableGuid)) {
      gSmbiosEntryPoint = static_cast<UINT8*>(entry.VendorTable);
      gSmbiosTable = TableAddress(gSmbiosEntryPoint);
      gSmbiosMajor = gSmbiosEntryPoint[kEntryPoint.Major];
      gSmbiosMinor = gSmbiosEntryPoint[kEntryPoint.Minor];
      return EFI_SUCCESS;
    }
  }
  return EFI_NOT_FOUND;
}

CHAR8* SmbiosGetString(UINT8** Cursor, UINT16 Index) {
  if (Cursor == nullptr || Index == 0) {
    return nullptr;
  }
  const Span<UINT8> table = SmbiosTable();
  const smbios::BareStructure structure = StructureAt(table, *Cursor);
  smbios::SizeType size;
  const smbios::Text text = structure.StringOrSize(Index, size);
  if (!text) {
    *Cursor = structure ? *Cursor + size : table.end();
  }
  return AddressOf(text);
}

EFI_STATUS SmbiosGetNext(UINT16* Handle, UINT8** Record, UINT16* Size) {
  if (Handle == nullptr || Record == nullptr || Size == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Span<UINT8> rest = SmbiosTable();
  smbios::BareStructure current(rest);
  if (*Handle == kSmbiosNoHandle) {
    *Handle = current.Handle();
  }

  *Size = 0;
  while (current) {
    UINT8* const address = rest.begin();
    rest = rest.From(current.Size());
    const smbios::BareStructure next(rest);
    if (current.Handle() == *Handle) {
      *Size = static_cast<UINT16>(rest.begin() - address);
      *Record = address;
      *Handle = next.Handle();
      return EFI_SUCCESS;
    }
    current = next;
  }
  *Handle = kSmbiosNoHandle;
  return EFI_NOT_FOUND;
}

EFI_STATUS SmbiosGetStructuresByType(UINT8 Type, UINT8*** Records, UINT16** Sizes, UINT16* Count) {
  if (Count == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (!smbios::BareStructure(SmbiosTable())) {
    return EFI_NOT_FOUND;
  }
  UINT16 count = 0;
  for (TypeWalk walk(Type); walk.Next();) {
    count++;
  }
  *Count = count;
  if (Records == nullptr && Sizes == nullptr) {
    return EFI_SUCCESS;
  }
  if (Records == nullptr || Sizes == nullptr) {
    return EFI_INVALID_PARAMETER;
  }

  auto records = PoolPtr<UINT8*>::Zeroed(count);
  // Deliberate: without memory for the second array the caller keeps the address of the freed one.
  *Records = records.Get();
  if (!records) {
    return EFI_OUT_OF_RESOURCES;
  }
  auto sizes = PoolPtr<UINT16>::Zeroed(count);
  if (!sizes) {
    return EFI_OUT_OF_RESOURCES;
  }
  TypeWalk walk(Type);
  for (UINT16 i = 0; i < count && walk.Next(); i++) {
    records[i] = walk.Address();
    sizes[i] = walk.Size();
  }
  (void)records.Release();
  *Sizes = sizes.Release();
  return EFI_SUCCESS;
}

UINT8 SmbiosByteAt(const UINT8* position) {
  const Span<UINT8> table = SmbiosTable();
  return position >= table.begin() && position < table.end() ? *position : 0;
}

CHAR8* SmbiosTextAt(UINT8* position) {
  const Span<UINT8> table = SmbiosTable();
  if (position < table.begin()) {
    return nullptr;
  }
  return AddressOf(smbios::TextAt(table.From(static_cast<UINTN>(position - table.begin()))));
}

}  // namespace tvq
