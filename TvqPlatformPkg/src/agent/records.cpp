/** @file
  The records' handles.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "records.h"

extern "C" {
#include <Protocol/DevicePath.h>
}

#include <Protocol/TvqRecord.h>
#include <Protocol/ZvEntry.h>

#include "../handle_list.h"
#include "../loaded_image.h"

namespace tvqplatform {

namespace {

/// Who has a record open by driver, as the driver has each of its own; null where nobody has. Firmware
/// lets one open it so (UEFI 7.3.9).
EFI_HANDLE OwnerOf(EFI_HANDLE record) {
  EFI_OPEN_PROTOCOL_INFORMATION_ENTRY* opens = nullptr;
  UINTN count = 0;
  if (EFI_ERROR(gBS->OpenProtocolInformation(record, &gTvqRecordGuid, &opens, &count))) {
    return nullptr;
  }
  const tvq::PoolPtr<EFI_OPEN_PROTOCOL_INFORMATION_ENTRY> guard(opens);
  for (const EFI_OPEN_PROTOCOL_INFORMATION_ENTRY& open :
       tvq::Span<const EFI_OPEN_PROTOCOL_INFORMATION_ENTRY>(opens, count)) {
    if ((open.Attributes & EFI_OPEN_PROTOCOL_BY_DRIVER) != 0) {
      return open.AgentHandle;
    }
  }
  return nullptr;
}

/// All three or none: the firmware puts back what it took off when a later one is held.
[[nodiscard]] EFI_STATUS TakeOffProtocols(EFI_HANDLE record) {
  return gBS->UninstallMultipleProtocolInterfaces(
      record, &gTvqInventoryProtocolGuid, InterfaceOn<VOID>(record, gTvqInventoryProtocolGuid),
      &gZvEntryProtocolGuid, InterfaceOn<VOID>(record, gZvEntryProtocolGuid),
      &gEfiDevicePathProtocolGuid, InterfaceOn<VOID>(record, gEfiDevicePathProtocolGuid), nullptr);
}

bool IsServed(EFI_HANDLE record) {
  return InterfaceOn<VOID>(record, gTvqInventoryProtocolGuid) != nullptr;
}

/// EFI_SUCCESS also for a record that was taken off before. The driver that is loaded has it open by
/// driver until it is unloaded.
[[nodiscard]] EFI_STATUS TakeOff(EFI_HANDLE record, bool isDriverLoaded) {
  if (IsServed(record)) {
    const EFI_STATUS status = TakeOffProtocols(record);
    if (EFI_ERROR(status)) {
      return status;
    }
  }
  return isDriverLoaded ? EFI_SUCCESS
                        : gBS->UninstallProtocolInterface(
                              record, &gTvqRecordGuid, InterfaceOn<VOID>(record, gTvqRecordGuid));
}

}  // namespace

bool IsLeftBehind(EFI_HANDLE handle) {
  if (InterfaceOn<VOID>(handle, gTvqRecordGuid) == nullptr) {
    return false;
  }
  // Nobody's handle is no loaded image either.
  return LoadedImageOn(OwnerOf(handle)) == nullptr;
}

bool HasRecords() {
  for (EFI_HANDLE handle : HandleList(gTvqInventoryProtocolGuid)) {
    if (!IsLeftBehind(handle)) {
      return true;
    }
  }
  return false;
}

TakenOff TakeOffRecords() {
  const HandleList records(gTvqRecordGuid);
  const bool isDriverLoaded = FindLoadedDriver().Status != EFI_NOT_FOUND;
  TakenOff result = {records.Status(), 0, 0};
  for (EFI_HANDLE record : records) {
    const bool wasServed = IsServed(record);
    const EFI_STATUS status = TakeOff(record, isDriverLoaded);
    if (EFI_ERROR(status)) {
      result.Status = EFI_ERROR(result.Status) ? result.Status : status;
      result.Kept++;
    } else if (wasServed) {
      result.Count++;
    }
  }
  return result;
}

}  // namespace tvqplatform
