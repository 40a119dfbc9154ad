/** @file
  Identify, Get and Set of the inventory protocol.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "tvq.h"

#include <Library/ZorvLib.h>

#include "../documents/blobs.h"
#include "../log.h"

namespace tvq {

namespace {

/// What Get and Set ask of their arguments.
[[nodiscard]] EFI_STATUS CheckRequest(const VOID* interface, const TVQ_REQUEST* request,
                                      const VOID* data) {
  if (interface == nullptr || request == nullptr || data == nullptr ||
      request->Version != TVQ_REQUEST_VERSION) {
    return EFI_INVALID_PARAMETER;
  }
  return request->Selector == 0 ? EFI_SUCCESS : EFI_NOT_FOUND;
}

void FillSlot(TVQ_DATA* slot, TVQ_BLOB_HEADER* blob) {
  if (blob != nullptr) {
    slot->Revision = TVQ_DATA_REVISION;
    slot->Length = blob->sizeInBytes;
    slot->Buffer = blob;
  }
}

/// The class of a device type, 0 for none.
UINT32 ClassOf(UINT8 deviceType) {
  switch (deviceType) {
    case TVQ_DEVICE_TYPE_CPU:
      return TVQ_CLASS_CPU;
    case TVQ_DEVICE_TYPE_DIMM:
      return TVQ_CLASS_DIMM;
    case TVQ_DEVICE_TYPE_SYSTEM:
      return TVQ_CLASS_SYSTEM;
    default:
      return 0;
  }
}

}  // namespace

EFI_STATUS EFIAPI SMTVQIdentify(TVQ_INVENTORY_PROTOCOL* This, TVQ_IDENTITY* Identity) {
  constexpr Logger log("SMTVQIdentify");
  log("Entering \n");
  if (This == nullptr || Identity == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const smTVQ* record = RecordOf(This, __LINE__);
  if (record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  Identity->Version = TVQ_IDENTITY_VERSION;
  Identity->Signature = TVQ_IDENTITY_SIGNATURE;
  Identity->Reserved = 0;
  const UINT32 componentClass = ClassOf(record->device.generic.DeviceType);
  if (componentClass == 0) {
    return EFI_UNSUPPORTED;
  }
  Identity->ComponentClass = componentClass;
  Identity->ClassQualifier = TVQ_IDENTITY_QUALIFIER;
  log("Exiting 0x%08X\n", (static_cast<UINT64>(TVQ_IDENTITY_QUALIFIER) << 32) | componentClass);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SMTVQGet(TVQ_INVENTORY_PROTOCOL* This, TVQ_REQUEST* Request, TVQ_DATA* Result) {
  constexpr Logger log("SMTVQGet");
  log("Entering \n");
  const EFI_STATUS status = CheckRequest(This, Request, Result);
  if (EFI_ERROR(status)) {
    return status;
  }
  smTVQ* record = RecordOf(This, __LINE__);
  if (record == nullptr) {
    return EFI_INVALID_PARAMETER;
  }

  TVQ_BLOB_HEADER* inventory = nullptr;
  log.IfError(getInvBlob(&inventory, record), "GetInvBlob returned Error\n");
  TVQ_BLOB_HEADER* configuration = nullptr;
  log.IfError(getConfigBlob(&configuration, record), "GetConfigBlob returned Error\n");
  TVQ_BLOB_HEADER* end = nullptr;
  log.IfError(getEndBlob(&end), "GetEndBlob returned Error\n");
  auto* slots = static_cast<TVQ_DATA*>(ZvAllocateZero(TVQ_SLOT_COUNT * sizeof(TVQ_DATA)));
  if (slots == nullptr) {
    log("Failed to allocate memory for TVQ Pointer Array \n");
    // Deliberate: the other two blobs stay in the pool.
    if (configuration != nullptr) {
      ZvFreePool(configuration);
    }
    return EFI_OUT_OF_RESOURCES;
  }

  FillSlot(&slots[TVQ_SLOT_INVENTORY], inventory);
  FillSlot(&slots[TVQ_SLOT_CONFIGURATION], configuration);
  FillSlot(&slots[TVQ_SLOT_END], end);
  slots[TVQ_SLOT_TERMINATOR].Revision = TVQ_DATA_REVISION;
  log("Successfully assigned Blob pointers to array \n");
  Result->Revision = TVQ_DATA_REVISION;
  Result->Length = TVQ_SLOT_COUNT * sizeof(TVQ_DATA);
  Result->Buffer = slots;
  printData(slots, record);
  log("Exiting\n");
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SMTVQSet(TVQ_INVENTORY_PROTOCOL* This, TVQ_REQUEST* Request, TVQ_DATA* Data) {
  constexpr Logger log("SMTVQSet");
  log("Entering \n");
  const EFI_STATUS status = CheckRequest(This, Request, Data);
  if (EFI_ERROR(status)) {
    return status;
  }
  log("Exiting\n");
  return EFI_UNSUPPORTED;
}

}  // namespace tvq
