/** @file
  Changes of the firmware's SMBIOS table through the firmware's own SMBIOS driver.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "faults.h"

extern "C" {
#include <Guid/SmBios.h>
#include <IndustryStandard/SmBios.h>
#include <Library/UefiLib.h>
#include <Protocol/Smbios.h>
}

#include <IndustryStandard/SmbiosTvq.h>

namespace tvqplatform {

namespace {

/// A page of the table is full long before.
constexpr UINTN kMaximumStructures = 1000;

EFI_SMBIOS_PROTOCOL* FindSmbios() {
  VOID* found = nullptr;
  const EFI_STATUS status = gBS->LocateProtocol(&gEfiSmbiosProtocolGuid, nullptr, &found);
  return EFI_ERROR(status) ? nullptr : static_cast<EFI_SMBIOS_PROTOCOL*>(found);
}

/// Where the table lies by the 32-bit entry point; 0 without one.
UINT32 TableAddress() {
  VOID* entry = nullptr;
  EfiGetSystemConfigurationTable(&gEfiSmbiosTableGuid, &entry);
  return entry == nullptr ? 0 : static_cast<SMBIOS_TABLE_ENTRY_POINT*>(entry)->TableAddress;
}

/// Adds a structure of its header, further formatted bytes and strings, all in `record`.
[[nodiscard]] EFI_STATUS Add(EFI_SMBIOS_PROTOCOL* smbios, VOID* record) {
  EFI_SMBIOS_HANDLE handle = SMBIOS_HANDLE_PI_RESERVED;
  return smbios->Add(smbios, nullptr, &handle, static_cast<EFI_SMBIOS_TABLE_HEADER*>(record));
}

#pragma pack(1)
struct EmptyMap {
  SMBIOS_TABLE_TYPE225 Map;
  CHAR8 NoStrings[2];
};
struct OemString {
  SMBIOS_TABLE_TYPE11 Table;
  CHAR8 Text[60];
  CHAR8 End;
};
#pragma pack()

[[nodiscard]] EFI_STATUS AddOemString(EFI_SMBIOS_PROTOCOL* smbios) {
  OemString structure = {};
  structure.Table.Hdr.Type = SMBIOS_TYPE_OEM_STRINGS;
  structure.Table.Hdr.Length = sizeof(structure.Table);
  structure.Table.StringCount = 1;
  SetMem(structure.Text, sizeof(structure.Text) - 1, 'x');
  return Add(smbios, &structure);
}

[[nodiscard]] EFI_STATUS ChangeServiceTag(EFI_SMBIOS_PROTOCOL* smbios) {
  EFI_SMBIOS_HANDLE handle = SMBIOS_HANDLE_PI_RESERVED;
  EFI_SMBIOS_TYPE type = SMBIOS_TYPE_SYSTEM_INFORMATION;
  EFI_SMBIOS_TABLE_HEADER* record = nullptr;
  const EFI_STATUS status = smbios->GetNext(smbios, &handle, &type, &record, nullptr);
  if (EFI_ERROR(status)) {
    return status;
  }
  UINTN number = reinterpret_cast<SMBIOS_TABLE_TYPE1*>(record)->SerialNumber;
  CHAR8 tag[] = "MOVED01";
  return smbios->UpdateString(smbios, &handle, &number, tag);
}

}  // namespace

EFI_STATUS AddNames() {
  EFI_SMBIOS_PROTOCOL* smbios = FindSmbios();
  if (smbios == nullptr) {
    return EFI_UNSUPPORTED;
  }
  EmptyMap structure = {};
  structure.Map.Hdr.Type = SMBIOS_TYPE_TVQ_FQDD_MAP;
  structure.Map.Hdr.Length = sizeof(structure.Map);
  structure.Map.Format = SMBIOS_TVQ_FQDD_MAP_FORMAT;
  return Add(smbios, &structure);
}

EFI_STATUS MoveTable() {
  EFI_SMBIOS_PROTOCOL* smbios = FindSmbios();
  const UINT32 before = TableAddress();
  if (smbios == nullptr || before == 0) {
    return EFI_UNSUPPORTED;
  }
  UINTN count = 0;
  while (TableAddress() == before) {
    const EFI_STATUS status = count == kMaximumStructures ? EFI_ABORTED : AddOemString(smbios);
    if (EFI_ERROR(status)) {
      return status;
    }
    count++;
  }
  AsciiPrint("TvqFaults: the table moved from 0x%x to 0x%x with the %dth structure\n", before,
             TableAddress(), static_cast<UINT32>(count));
  return ChangeServiceTag(smbios);
}

}  // namespace tvqplatform
