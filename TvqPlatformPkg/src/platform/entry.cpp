/** @file
  Entry point and unload handler of the reference platform.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <TvqCpp.h>

extern "C" {
#include <Library/PcdLib.h>
}

#include <Library/TvqManagementLib.h>
#include <Library/TvqStartLib.h>
#include <Library/TvqXmlParserLib.h>
#include <Library/TvqZviLib.h>
#include <Protocol/TvqPlatformPresence.h>

#include "../log/debug_log.h"
#include "../management/stored_data.h"
#include "../services/services_table.h"
#include "../loaded_image.h"
#include "platform_protocol.h"

namespace tvqplatform {

namespace {

/// Interface of the protocols whose presence alone matters.
UINT64 gPresence;

EFI_HANDLE gHandle;

bool HasServicesTable() {
  for (UINTN i = 0; i < gST->NumberOfTableEntries; i++) {
    if (CompareGuid(&gST->ConfigurationTable[i].VendorGuid, &gZvServicesTableGuid)) {
      return true;
    }
  }
  return false;
}

/// One list for both directions: calls operation(GUID, interface, ..., NULL).
template <typename Operation>
[[nodiscard]] EFI_STATUS WithProtocols(Operation operation) {
  return operation(&gTvqPlatformProtocolGuid, &gPlatformProtocol,  //
                   &gDebugLogProtocolGuid, &gTvqDebugLog,          //
                   &gTvqPrerequisiteProtocolGuid, &gPresence,      //
                   &gZvAuxProtocolGuid, &gPresence,                //
                   &gZvLibraryProtocolGuid, &gTvqZviTable,         //
                   &gTvqManagementProtocolGuid, &gTvqManagement,   //
                   &gXmlParserProtocolGuid, &gTvqXmlParser,        //
                   static_cast<EFI_GUID*>(nullptr));
}

[[nodiscard]] EFI_STATUS InstallProtocols() {
  return WithProtocols(
      [](auto... list) { return gBS->InstallMultipleProtocolInterfaces(&gHandle, list...); });
}

[[nodiscard]] EFI_STATUS UninstallProtocols() {
  return WithProtocols(
      [](auto... list) { return gBS->UninstallMultipleProtocolInterfaces(gHandle, list...); });
}

}  // namespace

/**
  Installs everything that TVQSMBIOS locates.

  The services table comes before the protocols: the driver's dependency expression waits for the
  protocols alone, and without the table its entry point ends with EFI_NOT_FOUND and is not tried
  again.

  Built for a firmware volume (PcdTvqStartAtReadyToBoot), it also starts the driver when the firmware is
  ready to boot. Loaded by an agent it leaves that to the agent.

  @retval EFI_SUCCESS           Everything is there.
  @retval EFI_ALREADY_STARTED   The system has a platform services table; nothing is changed.
  @retval Others                Something could not be installed; nothing is left behind.
**/
extern "C" EFI_STATUS EFIAPI TvqPlatformEntry(EFI_HANDLE, EFI_SYSTEM_TABLE*) {
  if (HasServicesTable()) {
    return EFI_ALREADY_STARTED;
  }
  EFI_STATUS status = gBS->InstallConfigurationTable(&gZvServicesTableGuid, &gTvqServicesTable);
  if (EFI_ERROR(status)) {
    return status;
  }
  status = InstallProtocols();
  if (EFI_ERROR(status)) {
    (void)gBS->InstallConfigurationTable(&gZvServicesTableGuid, nullptr);
    return status;
  }
  if (FeaturePcdGet(PcdTvqStartAtReadyToBoot)) {
    // Deliberate: without the start, what was installed still serves an agent.
    (void)TvqStartAtReadyToBoot();
  }
  return EFI_SUCCESS;
}

/**
  Takes everything off again.

  @retval EFI_SUCCESS         Nothing is left.
  @retval EFI_ACCESS_DENIED   TVQSMBIOS is, or may be, loaded and uses the tables.
  @retval Others              Somebody holds a protocol open; nothing is changed.
**/
extern "C" EFI_STATUS EFIAPI TvqPlatformUnload(EFI_HANDLE) {
  // The driver keeps pointers to the tables for good.
  if (FindLoadedDriver().Status != EFI_NOT_FOUND) {
    return EFI_ACCESS_DENIED;
  }
  const EFI_STATUS status = UninstallProtocols();
  if (EFI_ERROR(status)) {
    return status;
  }
  TvqCancelStart();
  (void)gBS->InstallConfigurationTable(&gZvServicesTableGuid, nullptr);
  gAttributeStore.Free();
  gDebugLogStore.Free();
  gStoredData.Free();
  return EFI_SUCCESS;
}

}  // namespace tvqplatform
