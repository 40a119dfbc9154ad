/** @file
  What the builders share.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "record.h"

namespace tvq {

EFI_DEVICE_PATH_PROTOCOL* gTvqDevicePath;

namespace {

const TVQ_DEVICE_PATH mTvqDevicePathTemplate = {
    {{HARDWARE_DEVICE_PATH, HW_VENDOR_DP, {static_cast<UINT8>(sizeof(VENDOR_DEVICE_PATH) + 7), 0}},
     TVQ_DEVICE_PATH_VENDOR_GUID},
    {},
    {END_DEVICE_PATH_TYPE, END_ENTIRE_DEVICE_PATH_SUBTYPE, {sizeof(EFI_DEVICE_PATH_PROTOCOL), 0}}};

}  // namespace

RecordOwner::RecordOwner(UINT8 deviceType, FreeContents freeContents)
    : mRecord(static_cast<smTVQ*>(AllocateZeroPool(sizeof(smTVQ)))), mFreeContents(freeContents) {
  if (mRecord != nullptr) {
    mRecord->Signature = TVQ_RECORD_SIGNATURE;
    mRecord->device.generic.DeviceType = deviceType;
  }
}

void RecordOwner::Free() {
  if (mRecord != nullptr) {
    mFreeContents(mRecord);
    ZvFreePool(mRecord);
    mRecord = nullptr;
  }
}

smTVQ* RecordOwner::Leave() {
  smTVQ* record = mRecord;
  mRecord = nullptr;
  return record;
}

Outcome AttachDevicePath(smTVQ* record, Span<const UINT8> instance) {
  auto* path = static_cast<TVQ_DEVICE_PATH*>(
      AllocateCopyPool(sizeof(mTvqDevicePathTemplate), &mTvqDevicePathTemplate));
  gTvqDevicePath = reinterpret_cast<EFI_DEVICE_PATH_PROTOCOL*>(path);
  if (path == nullptr) {
    return Outcome::NoMemory();
  }
  path->Data[0] = record->device.generic.DeviceType;
  for (UINTN i = 0; i < instance.Size() && i + 1 < ARRAY_SIZE(path->Data); i++) {
    path->Data[i + 1] = instance[i];
  }
  record->DevicePath = gTvqDevicePath;
  return Outcome::Done();
}

}  // namespace tvq
