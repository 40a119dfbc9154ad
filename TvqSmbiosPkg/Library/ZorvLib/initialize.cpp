/** @file
  Sets up the library handle gZV.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <TvqCpp.h>
#include <Library/ZorvLib.h>
#include <Protocol/TvqPlatformPresence.h>

ZV_LIBRARY* gZV;

namespace {

/// The platform services table; the last entry of the configuration table with its GUID wins.
ZV_SERVICES_TABLE* FindServicesTable(const EFI_SYSTEM_TABLE* systemTable) {
  ZV_SERVICES_TABLE* services = nullptr;
  for (UINTN i = 0; i < systemTable->NumberOfTableEntries; i++) {
    EFI_CONFIGURATION_TABLE& entry = systemTable->ConfigurationTable[i];
    if (CompareGuid(&entry.VendorGuid, &gZvServicesTableGuid)) {
      services = static_cast<ZV_SERVICES_TABLE*>(entry.VendorTable);
    }
  }
  return services;
}

/// Gives the handle back to the pool. gZV deliberately keeps the stale address: what failed here
/// ends the load of the driver, so nobody looks at it again.
[[nodiscard]] EFI_STATUS GiveUp(EFI_STATUS status) {
  ZvFreePool(gZV);
  return status;
}

}  // namespace

EFI_STATUS ZorvLibInitialize(EFI_HANDLE, EFI_SYSTEM_TABLE* SystemTable) {
  EFI_BOOT_SERVICES* bs = SystemTable->BootServices;
  VOID* block = nullptr;
  (void)bs->AllocatePool(EfiBootServicesData, sizeof(ZV_LIBRARY), &block);
  gZV = static_cast<ZV_LIBRARY*>(block);
  if (gZV == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }

  ZeroMem(gZV, sizeof(ZV_LIBRARY));
  gZV->ST = SystemTable;
  gZV->BS = bs;
  gZV->RT = SystemTable->RuntimeServices;
  gZV->Services = FindServicesTable(SystemTable);
  if (gZV->Services == nullptr) {
    return GiveUp(EFI_NOT_FOUND);
  }

  const EFI_STATUS status = bs->LocateProtocol(&gZvAuxProtocolGuid, nullptr, &gZV->Aux);
  if (EFI_ERROR(status)) {
    return GiveUp(status);
  }
  return bs->LocateProtocol(&gZvLibraryProtocolGuid, nullptr, reinterpret_cast<VOID**>(&gZV->ZVI));
}
