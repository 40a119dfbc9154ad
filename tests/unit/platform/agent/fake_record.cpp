/*
 * A device's record that is none of the driver's.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/fake_record.h"

#include <gtest/gtest.h>

#include <cstring>

#include <IndustryStandard/TvqBlob.h>

namespace tvq::test {
namespace {

template <typename Blob>
Bytes BlobOf(UINT32 type, UINT32 cookie, const std::string& text, Blob blob) {
  blob.header = {TVQ_BLOB_REVISION, type, cookie, static_cast<UINT32>(sizeof(blob) + text.size())};
  const auto* front = reinterpret_cast<const UINT8*>(&blob);
  Bytes bytes(front, front + sizeof(blob));
  bytes.insert(bytes.end(), text.begin(), text.end());
  return bytes;
}

std::string WithTerminator(const std::string& text) {
  return text + '\0';
}

}  // namespace

Bytes InventoryBlob(const FakeDevice& device) {
  TVQ_INVENTORY_BLOB blob = {};
  const std::string serial = WithTerminator(device.serial);
  blob.wwnOffset = device.serial.empty() ? 0 : TVQ_STRING_REFERENCE(0);
  blob.MktnameOffset = device.marketingName.empty() ? 0 : TVQ_STRING_REFERENCE(serial.size());
  return BlobOf(TVQ_BLOB_TYPE_INVENTORY, TVQ_BLOB_COOKIE_INVENTORY,
                serial + WithTerminator(device.marketingName), blob);
}

Bytes ConfigurationBlob(const FakeDevice& device) {
  return BlobOf(TVQ_BLOB_TYPE_CONFIGURATION, TVQ_BLOB_COOKIE_CONFIGURATION,
                WithTerminator(device.document), TVQ_CONFIGURATION_BLOB{});
}

Bytes EndBlob() {
  return BlobOf(TVQ_BLOB_TYPE_END, TVQ_BLOB_COOKIE_END, "", TVQ_END_BLOB{});
}

Bytes BlobsOf(const FakeDevice& device) {
  Bytes all = InventoryBlob(device);
  for (const Bytes& blob : {ConfigurationBlob(device), EndBlob()}) {
    all.insert(all.end(), blob.begin(), blob.end());
  }
  return all;
}

FakeRecord::FakeRecord(host::Firmware& machine, const FakeDevice& answers)
    : device(answers),
      mFirmware(machine),
      mInventory{{Identify, Get, nullptr, Verify}, this},
      mNames{{GetName, nullptr, nullptr}, this} {
  EXPECT_EQ(machine.BootServices()->InstallMultipleProtocolInterfaces(
                &mHandle, &gTvqInventoryProtocolGuid, &mInventory.inventory, &gZvEntryProtocolGuid,
                &mNames.entry, nullptr),
            EFI_SUCCESS);
}

FakeRecord::~FakeRecord() {
  EXPECT_EQ(mFirmware.BootServices()->UninstallMultipleProtocolInterfaces(
                mHandle, &gTvqInventoryProtocolGuid, &mInventory.inventory, &gZvEntryProtocolGuid,
                &mNames.entry, nullptr),
            EFI_SUCCESS);
}

VOID* FakeRecord::Copy(const VOID* bytes, UINTN size) {
  VOID* copy = nullptr;
  EXPECT_EQ(mFirmware.BootServices()->AllocatePool(EfiBootServicesData, size, &copy), EFI_SUCCESS);
  return std::memcpy(copy, bytes, size);
}

EFI_STATUS EFIAPI FakeRecord::Identify(TVQ_INVENTORY_PROTOCOL* self, TVQ_IDENTITY* identity) {
  const FakeDevice& device = reinterpret_cast<Interfaces*>(self)->record->device;
  if (device.identityStatus != EFI_SUCCESS) {
    std::memset(identity, 0xAF, sizeof(*identity));
    return device.identityStatus;
  }
  *identity = {TVQ_IDENTITY_VERSION, device.componentClass, TVQ_IDENTITY_QUALIFIER,
               TVQ_IDENTITY_SIGNATURE, 0};
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeRecord::Get(TVQ_INVENTORY_PROTOCOL* self, TVQ_REQUEST* request,
                                  TVQ_DATA* result) {
  FakeRecord& record = *reinterpret_cast<Interfaces*>(self)->record;
  EXPECT_EQ(request->Version, static_cast<UINT32>(TVQ_REQUEST_VERSION));
  EXPECT_EQ(request->Selector, 0u);
  if (record.device.getStatus != EFI_SUCCESS) {
    return record.device.getStatus;
  }
  TVQ_DATA slots[TVQ_SLOT_COUNT] = {};
  UINTN slot = 0;
  for (const Bytes& blob :
       {InventoryBlob(record.device), ConfigurationBlob(record.device), EndBlob()}) {
    if (slot != record.device.missingSlot) {
      slots[slot] = {TVQ_DATA_REVISION, static_cast<UINT32>(blob.size()),
                     record.Copy(blob.data(), blob.size())};
    }
    ++slot;
  }
  *result = {TVQ_DATA_REVISION, sizeof(slots), record.Copy(slots, sizeof(slots))};
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI FakeRecord::Verify(TVQ_INVENTORY_PROTOCOL* self, TVQ_REQUEST* request,
                                     TVQ_DATA* oldData, TVQ_DATA*, UINT32* result) {
  FakeRecord& record = *reinterpret_cast<Interfaces*>(self)->record;
  EXPECT_EQ(request->Version, static_cast<UINT32>(TVQ_REQUEST_VERSION));
  EXPECT_EQ(request->Selector, 0u);
  EXPECT_EQ(oldData->Revision, static_cast<UINT32>(TVQ_DATA_REVISION));
  EXPECT_EQ(oldData->Length, 2 * sizeof(TVQ_DATA));
  const auto* slots = static_cast<const TVQ_DATA*>(oldData->Buffer);
  const auto* stored = static_cast<const UINT8*>(slots[TVQ_OLD_DATA_STORED].Buffer);
  record.comparedWith.assign(stored, stored + slots[TVQ_OLD_DATA_STORED].Length);
  for (const UINTN slot : {TVQ_OLD_DATA_STORED, TVQ_OLD_DATA_MODE}) {
    EXPECT_EQ(slots[slot].Revision, static_cast<UINT32>(TVQ_DATA_REVISION));
  }
  EXPECT_STREQ(static_cast<const char*>(slots[TVQ_OLD_DATA_MODE].Buffer), "<Mode>Normal</Mode>");
  EXPECT_EQ(slots[TVQ_OLD_DATA_MODE].Length, sizeof("<Mode>Normal</Mode>"));
  *result = record.device.verifyResult;
  return record.device.verifyStatus;
}

EFI_STATUS EFIAPI FakeRecord::GetName(ZVEP_PROTOCOL* self, EFI_DEVICE_PATH_PROTOCOL*, CHAR8*,
                                      CHAR16** name, CHAR16** fqdd) {
  FakeRecord& record = *reinterpret_cast<Names*>(self)->record;
  if (record.device.nameStatus != EFI_SUCCESS) {
    return record.device.nameStatus;
  }
  const auto copy = [&record](const std::u16string& text) {
    return static_cast<CHAR16*>(record.Copy(text.c_str(), (text.size() + 1) * sizeof(CHAR16)));
  };
  *name = copy(record.device.name);
  *fqdd = record.device.fqdd ? copy(*record.device.fqdd) : nullptr;
  return EFI_SUCCESS;
}

}  // namespace tvq::test
