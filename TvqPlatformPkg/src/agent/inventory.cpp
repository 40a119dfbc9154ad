/** @file
  The inventory of all device records, collected through the protocols on their handles.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "inventory.h"

extern "C" {
#include <Library/DevicePathLib.h>
}

#include <Library/TvqBlobLib.h>
#include <Protocol/ZvEntry.h>

#include "../handle_list.h"
#include "records.h"

namespace tvqplatform {

namespace blobs = tvq::blobs;

namespace {

bool IsRecordPath(const EFI_DEVICE_PATH_PROTOCOL* path) {
  return DevicePathType(path) == HARDWARE_DEVICE_PATH && DevicePathSubType(path) == HW_VENDOR_DP &&
         DevicePathNodeLength(path) == OFFSET_OF(TVQ_DEVICE_PATH, End);
}

void CopyDevicePath(const EFI_DEVICE_PATH_PROTOCOL* path, DeviceInventory& device) {
  if (path == nullptr || !IsRecordPath(path)) {
    return;
  }
  device.HasDevicePath = true;
  CopyMem(device.DevicePath, path, sizeof(device.DevicePath));
  device.DeviceType = device.DevicePath[OFFSET_OF(TVQ_DEVICE_PATH, Data)];
}

void AskName(EFI_HANDLE handle, EFI_DEVICE_PATH_PROTOCOL* path, DeviceInventory& device) {
  ZVEP_PROTOCOL* entry = InterfaceOn<ZVEP_PROTOCOL>(handle, gZvEntryProtocolGuid);
  if (entry == nullptr) {
    return;
  }
  CHAR16* name = nullptr;
  CHAR16* fqdd = nullptr;
  CHAR8 language[] = "en-US";
  if (!EFI_ERROR(entry->GetDeviceName(entry, path, language, &name, &fqdd))) {
    device.Name = name;
    device.Fqdd = fqdd;
  }
}

void AskInventory(EFI_HANDLE handle, DeviceInventory& device) {
  TVQ_INVENTORY_PROTOCOL* inventory =
      InterfaceOn<TVQ_INVENTORY_PROTOCOL>(handle, gTvqInventoryProtocolGuid);
  if (inventory == nullptr) {
    return;
  }
  device.Protocol = inventory;
  device.IdentityStatus = inventory->SMTVQIdentify(inventory, &device.Identity);
  if (EFI_ERROR(device.IdentityStatus)) {
    ZeroMem(&device.Identity, sizeof(device.Identity));
  }
  TVQ_REQUEST request = {TVQ_REQUEST_VERSION, 0};
  TVQ_DATA result = {0, 0, nullptr};
  device.GetStatus = inventory->SMTVQGet(inventory, &request, &result);
  if (!EFI_ERROR(device.GetStatus)) {
    device.Blobs = static_cast<TVQ_DATA*>(result.Buffer);
  }
}

/// Into a device that is all zero.
void CollectDevice(EFI_HANDLE handle, DeviceInventory& device) {
  device.IdentityStatus = EFI_NOT_FOUND;
  device.GetStatus = EFI_NOT_FOUND;
  EFI_DEVICE_PATH_PROTOCOL* path =
      InterfaceOn<EFI_DEVICE_PATH_PROTOCOL>(handle, gEfiDevicePathProtocolGuid);
  CopyDevicePath(path, device);
  AskName(handle, path, device);
  AskInventory(handle, device);
}

void FreeIfAny(VOID* block) {
  if (block != nullptr) {
    (void)gBS->FreePool(block);
  }
}

void FreeDevice(const DeviceInventory& device) {
  FreeIfAny(device.Name);
  FreeIfAny(device.Fqdd);
  if (device.Blobs != nullptr) {
    for (UINTN slot = 0; slot < kBlobCount; slot++) {
      FreeIfAny(device.Blobs[slot].Buffer);
    }
    FreeIfAny(device.Blobs);
  }
}

/// Copies a text of the inventory blob. It ends with the blob even where its NUL is missing: a text
/// that was placed behind the stated size is cut there.
void CopyText(blobs::Bytes blob, blobs::Reference reference, CHAR8* buffer, UINTN size) {
  UINTN length = 0;
  for (const UINT8 character : blobs::BytesOf(blob, reference).First(size - 1)) {
    if (character == 0) {
      break;
    }
    buffer[length++] = static_cast<CHAR8>(character);
  }
  buffer[length] = '\0';
}

}  // namespace

tvq::Span<const UINT8> BlobBytes(const DeviceInventory& device, UINTN slot) {
  if (device.Blobs == nullptr || device.Blobs[slot].Buffer == nullptr) {
    return {};
  }
  return {static_cast<const UINT8*>(device.Blobs[slot].Buffer), device.Blobs[slot].Length};
}

void CopyMarketingName(const DeviceInventory& device, CHAR8* buffer, UINTN size) {
  const blobs::Bytes blob = BlobBytes(device, TVQ_SLOT_INVENTORY);
  CopyText(blob, blobs::ReadInventory(blob).MarketingName, buffer, size);
}

void CopySerialNumber(const DeviceInventory& device, CHAR8* buffer, UINTN size) {
  const blobs::Bytes blob = BlobBytes(device, TVQ_SLOT_INVENTORY);
  CopyText(blob, blobs::ReadInventory(blob).Wwn, buffer, size);
}

const CHAR8* ClassInWords(const DeviceInventory& device) {
  switch (device.Identity.ComponentClass) {
    case TVQ_CLASS_CPU:
      return "processor";
    case TVQ_CLASS_DIMM:
      return "memory module";
    case TVQ_CLASS_SYSTEM:
      return "system";
    default:
      return "not known";
  }
}

Inventory::~Inventory() {
  for (const DeviceInventory& device : mDevices) {
    FreeDevice(device);
  }
  mDevices.Free();
}

EFI_STATUS Inventory::Collect() {
  const HandleList handles(gTvqInventoryProtocolGuid);
  if (!mDevices.Reserve(handles.Size())) {
    return EFI_OUT_OF_RESOURCES;
  }
  for (EFI_HANDLE handle : handles) {
    if (IsLeftBehind(handle)) {
      mLeftBehind++;
      continue;
    }
    (void)mDevices.AppendZeroed(1);  // There is room.
    CollectDevice(handle, mDevices[mDevices.Size() - 1]);
  }
  return handles.Status();
}

}  // namespace tvqplatform
