/** @file
  Publishes a finished record.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "publish.h"

#include "tvq.h"

namespace tvq {

EFI_HANDLE gTvqImageHandle;

void FillOperations(smTVQ* record) {
  record->Protocol.SMTVQIdentify = SMTVQIdentify;
  record->Protocol.SMTVQGet = SMTVQGet;
  record->Protocol.SMTVQSet = SMTVQSet;
  record->Protocol.SMTVQVerify = SMTVQVerify;
  record->Valid = 1;
}

EFI_STATUS PublishRecord(smTVQ* record, ZVEP_PROTOCOL* entry) {
  EFI_HANDLE handle = nullptr;
  const EFI_STATUS status = gBS->InstallMultipleProtocolInterfaces(
      &handle, &gTvqRecordGuid, record, &gTvqInventoryProtocolGuid, InventoryOf(record),
      &gZvEntryProtocolGuid, entry, &gEfiDevicePathProtocolGuid, record->DevicePath, nullptr);
  if (!EFI_ERROR(status)) {
    VOID* opened;
    gBS->OpenProtocol(handle, &gTvqRecordGuid, &opened, gTvqImageHandle, handle,
                      EFI_OPEN_PROTOCOL_BY_DRIVER);
  }
  return status;
}

}  // namespace tvq
