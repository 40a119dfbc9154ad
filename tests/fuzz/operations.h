/*
 * What an agent and the platform can ask of a driver that was started: every operation of a record, every attribute.
 * Each result is read to its end, so that a text or blob that lies shows, and what is the caller's is given back.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_FUZZ_OPERATIONS_H_
#define TVQ_TESTS_FUZZ_OPERATIONS_H_

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "host/firmware/firmware.h"

#include <Protocol/TvqInventory.h>
#include <Protocol/TvqPlatform.h>
#include <Protocol/ZvEntry.h>

namespace tvq::fuzz {

// What stands on the handle of a record.
struct Record {
  TVQ_INVENTORY_PROTOCOL* inventory = nullptr;
  ZVEP_PROTOCOL* entry = nullptr;
  EFI_DEVICE_PATH_PROTOCOL* path = nullptr;
};

// Devices by their blobs.
using DeviceSet = std::set<std::vector<uint8_t>>;

// The mode text with which parts are compared.
extern const char kNormalMode[];

class Operations {
 public:
  // With `verified`, devices whose blobs are in there already are not verified again, and others are added.
  explicit Operations(host::Firmware& firmware, DeviceSet* verified = nullptr);

  // In the order of installation.
  std::vector<Record> FindRecords();
  // Every operation of a record, Verify against the data that it gives itself.
  void AskRecord(const Record& record);
  void AskAttributes();

  // The three blobs, one behind the other, as an agent stores them.
  std::vector<uint8_t> Get(const Record& record);
  // Asks whether the part was replaced since the data was stored.
  EFI_STATUS Verify(const Record& record, const std::vector<uint8_t>& stored,
                    const std::string& mode = kNormalMode);

 private:
  template <typename Interface>
  Interface* On(EFI_HANDLE handle, EFI_GUID& guid);
  void Identify(const Record& record);
  void RefuseToSet(const Record& record);
  void RefuseToVerify(const Record& record, const std::vector<uint8_t>& stored);
  void AskNames(const Record& record);
  void AskText(const wchar_t* nameSpace, const wchar_t* name);
  void AskBiosInfo();
  void AskForSlots();
  EFI_STATUS GetAttribute(const wchar_t* nameSpace, const wchar_t* name, UINT64* value);
  // Gives a block back that the driver handed out.
  void Free(void* block);
  // Complains when the driver holds another number of blocks than before.
  void ExpectBlocks(size_t before, const char* operation);

  host::Firmware& mFirmware;
  DeviceSet* mVerified;
  EFI_BOOT_SERVICES& mServices;
  TVQ_PLATFORM_PROTOCOL* mPlatform = nullptr;
};

// A complaint ends a fuzzer and fails a test.
void Expect(bool condition, const std::string& complaint);

}  // namespace tvq::fuzz

#endif  // TVQ_TESTS_FUZZ_OPERATIONS_H_
