/*
 * A device's record that is none of the driver's: whatever the agent asks of it, the test has said before.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_RECORD_H_
#define TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_RECORD_H_

#include <optional>
#include <string>

#include "host/firmware/firmware.h"
#include "tests/unit/shared/table.h"

#include <TvqCpp.h>
#include <Protocol/TvqInventory.h>
#include <Protocol/ZvEntry.h>

namespace tvq::test {

struct FakeDevice {
  std::optional<std::u16string> fqdd = u"DIMM.Socket.A1";
  UINT32 componentClass = TVQ_CLASS_DIMM;
  std::string serial{};  // of the inventory blob; without one when empty
  std::string document = "<Configuration/>";
  std::u16string name = u"name";
  std::string marketingName{};  // of the inventory blob; without one when empty
  EFI_STATUS identityStatus = EFI_SUCCESS;
  EFI_STATUS getStatus = EFI_SUCCESS;
  EFI_STATUS nameStatus = EFI_SUCCESS;
  EFI_STATUS verifyStatus = EFI_SUCCESS;
  UINT32 verifyResult = 0;
  std::optional<UINTN> missingSlot{};  // of the blob that it does not give
};

// The inventory, configuration and end blob of a device as they are saved, one behind the other.
Bytes InventoryBlob(const FakeDevice& device);
Bytes ConfigurationBlob(const FakeDevice& device);
Bytes EndBlob();
Bytes BlobsOf(const FakeDevice& device);

class FakeRecord {
 public:
  FakeRecord(host::Firmware& machine, const FakeDevice& device);
  FakeRecord(const FakeRecord&) = delete;
  FakeRecord& operator=(const FakeRecord&) = delete;
  ~FakeRecord();

  // What it answers from now on.
  FakeDevice device;
  // The data that it was asked to compare with.
  Bytes comparedWith;

 private:
  static EFI_STATUS EFIAPI Identify(TVQ_INVENTORY_PROTOCOL* self, TVQ_IDENTITY* identity);
  static EFI_STATUS EFIAPI Get(TVQ_INVENTORY_PROTOCOL* self, TVQ_REQUEST* request,
                               TVQ_DATA* result);
  static EFI_STATUS EFIAPI Verify(TVQ_INVENTORY_PROTOCOL* self, TVQ_REQUEST* request,
                                  TVQ_DATA* oldData, TVQ_DATA* response, UINT32* result);
  static EFI_STATUS EFIAPI GetName(ZVEP_PROTOCOL* self, EFI_DEVICE_PATH_PROTOCOL* path,
                                   CHAR8* language, CHAR16** name, CHAR16** fqdd);
  VOID* Copy(const VOID* bytes, UINTN size);

  struct Interfaces {
    TVQ_INVENTORY_PROTOCOL inventory;
    FakeRecord* record;
  };
  struct Names {
    ZVEP_PROTOCOL entry;
    FakeRecord* record;
  };

  host::Firmware& mFirmware;
  Interfaces mInventory;
  Names mNames;
  EFI_HANDLE mHandle = nullptr;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_AGENT_FAKE_RECORD_H_
