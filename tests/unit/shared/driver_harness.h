/*
 * A fresh machine with a platform around the driver: the tests' workbench.
 *
 *     DriverHarness harness;
 *     harness.Publish(MinimalServer());
 *     ASSERT_EQ(harness.Load(), EFI_SUCCESS);     // entry point: the start request is there
 *     ASSERT_EQ(harness.Start(), EFI_SUCCESS);    // through the start request: the records are there
 *     EXPECT_EQ(harness.Records().size(), 3u);
 *     EXPECT_THAT(harness.TakeLog(), Contains(LogIs("MakeSYSTEM", "Entry MakeSYSTEM\n")));
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_SHARED_DRIVER_HARNESS_H_
#define TVQ_TESTS_UNIT_SHARED_DRIVER_HARNESS_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

#include "host/firmware/firmware.h"
#include "images/driver.h"
#include "tests/unit/shared/platform_double.h"
#include "tests/unit/shared/table.h"
#include "tests/unit/shared/text.h"

#include <Guid/TvqAttributes.h>
#include <IndustryStandard/SmbiosTvq.h>
#include <Library/ZorvLib.h>
#include <Protocol/TvqInventory.h>
#include <Protocol/TvqPlatformPresence.h>
#include <Protocol/TvqRecord.h>
#include <Protocol/TvqStartRequest.h>
#include <Protocol/ZvEntry.h>

namespace tvq::test {

// What a platform may lack.
enum class Part {
  kServices,
  kAux,
  kLibrary,
  kPrerequisite,
  kDebugLog,
};

// What stands on the handle of a record; null where nothing is installed.
struct RecordHandle {
  EFI_HANDLE handle = nullptr;
  smTVQ* record = nullptr;
  TVQ_INVENTORY_PROTOCOL* protocol = nullptr;
  ZVEP_PROTOCOL* entryInterface = nullptr;
  EFI_DEVICE_PATH_PROTOCOL* devicePath = nullptr;

  // The object behind the device-list entry's interface.
  const ZVEP_ENTRY* Entry() const { return BASE_CR(entryInterface, ZVEP_ENTRY, Interface); }
};

// What Get of a record's inventory protocol gives: the bytes of each slot, none for a slot without a blob.
struct Served {
  EFI_STATUS status = EFI_SUCCESS;
  std::vector<Bytes> blobs;

  bool IsWhole() const {
    return std::none_of(blobs.begin(), blobs.end(), [](const Bytes& blob) { return blob.empty(); });
  }
};

class DriverHarness {
 public:
  // A platform with everything, but what is left out.
  explicit DriverHarness(std::initializer_list<Part> leftOut = {});

  host::Firmware& Firmware() { return mFirmware; }
  host::Pool& Memory() { return mFirmware.Memory(); }
  EFI_BOOT_SERVICES* BootServices() { return mFirmware.BootServices(); }

  // --- The platform ---

  PlatformDouble platform;
  // Provides a part that was left out.
  void Provide(Part part);
  // The lines logged since the last call.
  std::vector<LogLine> TakeLog();
  // For tests that call functions of the driver themselves: its log lines go to the platform's log.
  void ConnectLog();
  // Asks an attribute through what was registered; EFI_NOT_FOUND for a namespace that never was.
  EFI_STATUS Ask(const std::string& space, const char16_t* name, UINT64* value);

  // --- The SMBIOS table ---

  // Places the table read-only below 4 GiB, an inaccessible page at the end asked for, and puts a
  // 32-bit entry point in the configuration table. A table that was published before stays where it
  // is, but the entry point leaves it.
  void Publish(const Table& table, host::Guard guard = host::Guard::kBehind);
  // The same with a 64-bit entry point alone.
  void PublishWith64BitEntryPoint(const Table& table);
  // Makes earlier tables inaccessible.
  void UnmapEarlierTables();
  UINT8* TableData() const { return mTables.back().Data(); }
  SMBIOS_TABLE_ENTRY_POINT& EntryPoint() { return mEntryPoint; }

  // --- The driver ---

  // Loads the image and runs its entry point.
  EFI_STATUS Load();
  // For tests that call functions of the driver themselves: library constructors and
  // ZorvLibInitialize, no entry point.
  void Construct();
  EFI_HANDLE ImageHandle() { return mFirmware.HandleOf(host::images::driver); }
  EFI_LOADED_IMAGE_PROTOCOL* LoadedImage();
  // Found on the image handle, or null.
  TVQ_START_REQUEST* StartRequest();
  EFI_STATUS Start(VOID* context = nullptr);
  EFI_STATUS Unload() { return mFirmware.UnloadImage(ImageHandle()); }
  // The record handles in the order of installation.
  std::vector<RecordHandle> Records();

  // Asks a record for its blobs, and gives them back to the pool.
  Served Get(const RecordHandle& record);

  // --- Memory of the driver ---

  std::vector<host::Block> Blocks() { return Memory().LiveBlocks(host::images::driver); }
  // Live blocks that were allocated with this function on the stack.
  std::vector<host::Block> BlocksFrom(const std::string& function);
  // Names the routine that wanted a block: the innermost function that is no allocation helper.
  static std::string SiteOf(const host::Block& block);
  // The sites of all live blocks, oldest first.
  std::vector<std::string> Sites();
  // The next allocation of the driver, or the n-th, fails.
  void FailAllocation(uint64_t n = 1) { Memory().FailAllocation(n, host::images::driver); }

  // The interface on a handle, or null.
  template <typename Interface>
  Interface* On(EFI_HANDLE handle, const EFI_GUID& guid) {
    return static_cast<Interface*>(InterfaceOn(handle, guid));
  }

 private:
  void* InterfaceOn(EFI_HANDLE handle, const EFI_GUID& guid);
  void InstallTable(const EFI_GUID& guid, void* table);
  void Install(const EFI_GUID& guid, void* interface);
  void PlaceTable(const Table& table, host::Guard guard);

  host::Firmware mFirmware;
  std::vector<host::LowMapping> mTables;
  SMBIOS_TABLE_ENTRY_POINT mEntryPoint = {};
  SMBIOS_TABLE_3_0_ENTRY_POINT mEntryPoint64 = {};
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_SHARED_DRIVER_HARNESS_H_
