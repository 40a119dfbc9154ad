/** @file
  Publishes the builders' records.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "../common/publish.h"

#include "entry.h"
#include "tvq.h"
#include "zvep.h"

namespace tvq {

namespace {

ZVEP_PROTOCOL* MakeEntry(const TVQ_DEVICE* device) {
  switch (device->generic.DeviceType) {
    case TVQ_DEVICE_TYPE_CPU:
      return MakeCPUZVEP(device);
    case TVQ_DEVICE_TYPE_DIMM:
      return MakeDIMMZVEP(device);
    default:
      return MakeSYSTEMZVEP(device);
  }
}

}  // namespace

void FillOperations(smTVQ* record) {
  record->Protocol.SMTVQIdentify = SMTVQIdentify;
  record->Protocol.SMTVQGet = SMTVQGet;
  record->Protocol.SMTVQSet = SMTVQSet;
  record->Protocol.SMTVQVerify = SMTVQVerify;
  record->Valid = 1;
}

// Deliberate: an entry for which there is no memory is left out, and a record that cannot be
// installed stays in the pool.
EFI_STATUS PublishRecord(smTVQ* record) {
  EFI_HANDLE handle = nullptr;
  const EFI_STATUS status = gBS->InstallMultipleProtocolInterfaces(
      &handle, &gTvqRecordGuid, record, &gTvqInventoryProtocolGuid, InventoryOf(record),
      &gZvEntryProtocolGuid, MakeEntry(&record->device), &gEfiDevicePathProtocolGuid,
      record->DevicePath, nullptr);
  if (!EFI_ERROR(status)) {
    VOID* opened;
    (void)gBS->OpenProtocol(handle, &gTvqRecordGuid, &opened, gTvqImageHandle, handle,
                            EFI_OPEN_PROTOCOL_BY_DRIVER);
  }
  return status;
}

}  // namespace tvq
