/** @file
  Starts TVQSMBIOS once, when the firmware is ready to boot.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <TvqCpp.h>

extern "C" {
#include <Guid/EventGroup.h>
#include <Protocol/DevicePath.h>
}

#include <Library/TvqStartLib.h>
#include <Library/TvqTableLib.h>
#include <Protocol/TvqInventory.h>
#include <Protocol/ZvEntry.h>

#include "../loaded_image.h"

namespace tvqplatform {

namespace {

EFI_EVENT gReadyToBoot;  ///< The handler's; closed when it has run.
EFI_EVENT gStart;        ///< What the handler signals.
const VOID* gStartedOn;

void Close(EFI_EVENT& event) {
  if (event != nullptr) {
    (void)gBS->CloseEvent(event);
    event = nullptr;
  }
}

void PrintDevice(EFI_HANDLE handle) {
  auto* entry = InterfaceOn<ZVEP_PROTOCOL>(handle, gZvEntryProtocolGuid);
  auto* path = InterfaceOn<EFI_DEVICE_PATH_PROTOCOL>(handle, gEfiDevicePathProtocolGuid);
  CHAR8 language[] = "en-US";
  CHAR16* name = nullptr;
  CHAR16* fqdd = nullptr;
  if (entry == nullptr || EFI_ERROR(entry->GetDeviceName(entry, path, language, &name, &fqdd))) {
    return;
  }
  const tvq::PoolPtr<CHAR16> ownedName(name);
  const tvq::PoolPtr<CHAR16> ownedFqdd(fqdd);
  DEBUG((DEBUG_INFO, "TVQ: record: %s (%s)\n", fqdd, name));
}

void PrintRecords() {
  if (!DebugPrintEnabled()) {
    return;
  }
  for (EFI_HANDLE handle : HandleList(gTvqInventoryProtocolGuid)) {
    PrintDevice(handle);
  }
}

[[nodiscard]] EFI_STATUS StartNow() {
  if (HandleList(gTvqInventoryProtocolGuid).Size() != 0) {
    return EFI_ALREADY_STARTED;
  }
  const LoadedDriver driver = FindLoadedDriver();
  if (driver.Request == nullptr) {
    return EFI_NOT_READY;
  }
  TVQ_PUBLISHED_TABLE table;
  EFI_STATUS status = TvqPublishTable(&table);
  if (EFI_ERROR(status)) {
    return status;
  }
  status = driver.Request->Start(nullptr);
  // The SMBIOS protocol installs the firmware's own table whenever something is added to it.
  TvqPutBackTable(&table);
  TvqAddFqddsToFirmwareTable(&table);
  // Whatever came of the start, the driver keeps pointers into the table.
  gStartedOn = table.EntryPoint;
  PrintRecords();
  return status;
}

VOID EFIAPI OnStart(EFI_EVENT, VOID*) {
  Close(gStart);
  [[maybe_unused]] const EFI_STATUS status = StartNow();
  DEBUG((EFI_ERROR(status) ? DEBUG_ERROR : DEBUG_INFO, "TVQ: start: %r\n", status));
}

/// The events of the group are all queued before the first of them is handled, and one that a
/// handler signals comes behind those of its priority: when it is handled, every other handler has
/// run.
VOID EFIAPI OnReadyToBoot(EFI_EVENT, VOID*) {
  // The group is signalled for each boot option; the first one counts.
  Close(gReadyToBoot);
  (void)gBS->SignalEvent(gStart);
}

[[nodiscard]] EFI_STATUS AwaitReadyToBoot() {
  if (gReadyToBoot != nullptr || gStart != nullptr || gStartedOn != nullptr) {
    return EFI_ALREADY_STARTED;
  }
  EFI_STATUS status = gBS->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, OnStart, nullptr, &gStart);
  if (EFI_ERROR(status)) {
    return status;
  }
  status = gBS->CreateEventEx(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, OnReadyToBoot, nullptr,
                              &gEfiEventReadyToBootGuid, &gReadyToBoot);
  if (EFI_ERROR(status)) {
    Close(gStart);
  }
  return status;
}

}  // namespace

}  // namespace tvqplatform

EFI_STATUS EFIAPI TvqStartAtReadyToBoot(VOID) {
  return tvqplatform::AwaitReadyToBoot();
}

VOID EFIAPI TvqCancelStart(VOID) {
  tvqplatform::Close(tvqplatform::gReadyToBoot);
  tvqplatform::Close(tvqplatform::gStart);
}

EFI_STATUS EFIAPI TvqStartNow(VOID) {
  return tvqplatform::StartNow();
}

const VOID* EFIAPI TvqStartedOn(VOID) {
  return tvqplatform::gStartedOn;
}
