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

/// Who has a record open. The driver opens each of its own by driver.
class RecordOpens {
 public:
  explicit RecordOpens(EFI_HANDLE record) {
    EFI_OPEN_PROTOCOL_INFORMATION_ENTRY* opens = nullptr;
    if (!EFI_ERROR(gBS->OpenProtocolInformation(record, &gTvqRecordGuid, &opens, &mCount))) {
      mOpens.Reset(opens);
    } else {
      mCount = 0;
    }
  }

  /// Calls operation(open) for each open by driver until one returns true.
  template <typename Operation>
  bool AnyByDriver(Operation operation) const {
    for (UINTN i = 0; i < mCount; i++) {
      if ((mOpens[i].Attributes & EFI_OPEN_PROTOCOL_BY_DRIVER) != 0 && operation(mOpens[i])) {
        return true;
      }
    }
    return false;
  }

 private:
  tvq::PoolPtr<EFI_OPEN_PROTOCOL_INFORMATION_ENTRY> mOpens;
  UINTN mCount = 0;
};

void CloseByDriver(EFI_HANDLE record) {
  RecordOpens(record).AnyByDriver([record](const EFI_OPEN_PROTOCOL_INFORMATION_ENTRY& open) {
    (void)gBS->CloseProtocol(record, &gTvqRecordGuid, open.AgentHandle, open.ControllerHandle);
    return false;
  });
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

/// EFI_SUCCESS also for a record that was taken off before.
[[nodiscard]] EFI_STATUS TakeOff(EFI_HANDLE record, bool isDriverLoaded) {
  CloseByDriver(record);
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
  return !RecordOpens(handle).AnyByDriver([](const EFI_OPEN_PROTOCOL_INFORMATION_ENTRY& open) {
    return LoadedImageOn(open.AgentHandle) != nullptr;
  });
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
