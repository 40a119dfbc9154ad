/*
 * The machine of this boot as a snapshot: its table as published, what it says of itself, and every device, also those without a
 * record.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "images/driver.h"
#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/agent/stored_state.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/boot_snapshot.h"
#include "TvqPlatformPkg/src/agent/start.h"
#include "TvqPlatformPkg/src/smbios/publication.h"
#include <TvqVersion.h>

namespace tvq::test {
namespace {

using testing::ElementsAre;
using tvqplatform::BootSnapshot;
using tvqplatform::Snapshot;
using tvqplatform::SnapshotDevice;
using tvqplatform::WhyNoRecord;

Table Server() {
  return Table::Of(Bios{}, System{.handle = 0x100}, BaseBoard{}, Chassis{},
                   Processor{.handle = 0x400, .designation = "CPU1"},
                   MemoryDevice{.handle = 0x1100, .locator = "DIMM_A1"},
                   MemoryDevice{.handle = 0x1101, .locator = "DIMM_A2"}, End{});
}

class BootSnapshotOfTable : public AgentTest {
 protected:
  // Starts the driver on the table, and takes the snapshot.
  void Boot(const Table& table, bool asIs = false, UINT32 options = 0) {
    mTable = table.Bytes();
    mDriverTable = mTable;
    if (asIs) {
      ASSERT_TRUE(mLabels.Collect(View(mTable)));
    } else {
      ASSERT_FALSE(tvqplatform::IsRefused(mConformed.Conform(View(mTable))));
      ASSERT_TRUE(mLabels.Collect(mConformed.Devices(), mConformed.Structures()));
      mDriverTable = Copy(mConformed.Structures());
    }
    for (const host::Image* image : {&host::images::platform, &host::images::driver}) {
      ASSERT_EQ(Firmware().StartImage(Firmware().LoadImage(*image)), EFI_SUCCESS);
    }
    const auto count = static_cast<UINT16>(Parse(mDriverTable).size());
    ASSERT_EQ(mPublication.Publish({3, 2, count, View(mDriverTable)}), EFI_SUCCESS);
    mIsStarted = !EFI_ERROR(tvqplatform::StartDriver());
    ASSERT_TRUE(Take(options));
  }
  bool Take(UINT32 options = 0) {
    tvqplatform::Inventory inventory;
    EXPECT_EQ(inventory.Collect(), EFI_SUCCESS);
    return mSnapshot.Take(
        inventory, {{3, 2, 7, View(mTable)}, View(mDriverTable), mLabels, mIsStarted, options},
        1234);
  }
  const Snapshot& Taken() const { return mSnapshot.Get(); }
  const tvqplatform::DeviceLabels& NoLabels() const { return mNoLabels; }
  // Why each device of the table has no record, where there is none at all.
  std::vector<WhyNoRecord> ReasonsWithoutRecords(const Table& table) {
    const Bytes& bytes = table.Bytes();
    const tvqplatform::SmbiosTable published = {3, 2, 7, View(bytes)};
    BootSnapshot snapshot;
    EXPECT_TRUE(
        snapshot.Take(tvqplatform::Inventory(), {published, View(bytes), mNoLabels, true, 0}, 0));
    std::vector<WhyNoRecord> reasons;
    for (const SnapshotDevice& device : snapshot.Get().Devices) {
      reasons.push_back(device.Why);
    }
    return reasons;
  }

  // "FQDD handle reason", one for each device.
  std::vector<std::string> Devices() const {
    std::vector<std::string> devices;
    for (const SnapshotDevice& device : Taken().Devices) {
      char text[80];
      snprintf(text, sizeof(text), "%s %04X %d", Utf8(device.Fqdd).c_str(), device.Handle,
               static_cast<int>(device.Why));
      devices.emplace_back(text);
    }
    return devices;
  }

 private:
  Bytes mTable;
  Bytes mDriverTable;
  bool mIsStarted = false;
  tvqplatform::ConformedTable mConformed;
  tvqplatform::DeviceLabels mLabels;
  tvqplatform::DeviceLabels mNoLabels;
  tvqplatform::Publication mPublication;
  BootSnapshot mSnapshot;
};

TEST_F(BootSnapshotOfTable, HasEveryRecordWithItsStructureAndBlobs) {
  Boot(Server());
  EXPECT_THAT(Devices(), ElementsAre("CPU.Socket.1 0400 0", "DIMM.Socket.A1 1100 0",
                                     "DIMM.Socket.A2 1101 0", "System.Embedded.1 0100 0"));
  EXPECT_EQ(Taken().Devices[0].ComponentClass, static_cast<UINT32>(TVQ_CLASS_CPU));
  tvqplatform::Inventory inventory;
  ASSERT_EQ(inventory.Collect(), EFI_SUCCESS);
  for (UINTN i = 0; i < inventory.Size(); i++) {
    Bytes blobs;
    for (UINTN slot = 0; slot < tvqplatform::kBlobCount; slot++) {
      const Bytes blob = Copy(tvqplatform::BlobBytes(inventory[i], slot));
      blobs.insert(blobs.end(), blob.begin(), blob.end());
    }
    EXPECT_FALSE(blobs.empty());
    EXPECT_EQ(Copy(Taken().Devices[i].Blobs), blobs) << i;
  }
}

TEST_F(BootSnapshotOfTable, HasTheTableAsItWasPublishedAndWhatItSaysOfTheMachine) {
  Boot(Server());
  EXPECT_EQ(Copy(Taken().Table.Structures), Server().Bytes());
  EXPECT_EQ(Taken().Table.Major, 3);
  EXPECT_EQ(Taken().Table.StructureCount, 7);
  EXPECT_EQ(SpelledOut(Taken().Machine.SystemSerial), "ABC1234");
  EXPECT_EQ(SpelledOut(Taken().Machine.BoardSerial), "BRD0001");
  EXPECT_EQ(SpelledOut(Taken().Machine.ChassisSerial), "CHS0001");
  ASSERT_TRUE(Taken().Machine.HasUuid);
  EXPECT_EQ(Bytes(std::begin(Taken().Machine.Uuid), std::end(Taken().Machine.Uuid)), System{}.uuid);
  EXPECT_EQ(Taken().NamingRules, tvqplatform::kNamingRules);
  EXPECT_EQ(Taken().Time, 1234u);
  EXPECT_EQ(SpelledOut(Taken().Program), TVQ_VERSION);
}

TEST_F(BootSnapshotOfTable, ThatIsRedactedSaysNothingOfTheMachine) {
  Boot(Server(), false, tvqplatform::kSnapshotRedacted);
  EXPECT_FALSE(Taken().Machine.HasUuid);
  EXPECT_EQ(SpelledOut(Taken().Machine.SystemSerial), "(none)");
  EXPECT_EQ(SpelledOut(Taken().Machine.BoardSerial), "(none)");
  EXPECT_EQ(SpelledOut(Taken().Machine.ChassisSerial), "(none)");
  EXPECT_EQ(Taken().Options, static_cast<UINT32>(tvqplatform::kSnapshotRedacted));
}

TEST_F(BootSnapshotOfTable, SaysOfDevicesWithoutARecordWhy) {
  Boot(Table::Of(Bios{}, Processor{.handle = 0x400, .designation = "CPU1"},
                 Processor{.handle = 0x401, .designation = "CPU1"},
                 Processor{.handle = 0x402, .designation = "CPU3"},
                 FqddMap{.groups = {{"CPU.Socket.9", 0x402}}}, End{}),
       /*asIs=*/true);
  EXPECT_THAT(Devices(), ElementsAre("CPU.Socket.1 0400 0", "CPU.Socket.1 0401 1",
                                     "CPU.Socket.9 0402 3", " FFFF 2"));
  EXPECT_EQ(Taken().Devices[1].ComponentClass, static_cast<UINT32>(TVQ_CLASS_CPU));
  EXPECT_EQ(Taken().Devices[3].ComponentClass, static_cast<UINT32>(TVQ_CLASS_SYSTEM));
  EXPECT_TRUE(Taken().Devices[1].Blobs.Empty());
}

TEST_F(BootSnapshotOfTable, WhereTheDriverDidNotStartSaysSoOfEveryDevice) {
  Boot(Server(), /*asIs=*/true);
  EXPECT_THAT(Devices(), ElementsAre("CPU.Socket.1 0400 5", "DIMM.Socket.A1 1100 5",
                                     "DIMM.Socket.A2 1101 5", " 0100 5"));
  EXPECT_EQ(Taken().Devices[1].ComponentClass, static_cast<UINT32>(TVQ_CLASS_DIMM));
}

// Whatever record is missing after a start that succeeded.
TEST_F(BootSnapshotOfTable, SaysWhyRecordsAreMissingThatTheDriverEndedAt) {
  EXPECT_THAT(ReasonsWithoutRecords(Server()),
              ElementsAre(WhyNoRecord::kRefused, WhyNoRecord::kRefused, WhyNoRecord::kBehind,
                          WhyNoRecord::kRefused))
      << "the processor, two modules and the system";
  EXPECT_THAT(ReasonsWithoutRecords(Table::Of(System{.handle = 0x100}, Structure{1, 0xFFFF},
                                              MemoryDevice{.handle = 0x1100}, End{})),
              ElementsAre(WhyNoRecord::kBehindTable, WhyNoRecord::kRefused));
}

TEST_F(BootSnapshotOfTable, HasAllDevicesWithoutARecordOrIsNone) {
  Boot(Server(), /*asIs=*/true);
  ASSERT_EQ(Devices().size(), 4u);
  uint64_t n = 0;
  bool isTaken = false;
  while (!isTaken && n < 20) {
    tvqplatform::Inventory inventory;
    Firmware().Memory().FailAllocation(++n, host::images::agent);
    BootSnapshot snapshot;
    isTaken = snapshot.Take(inventory,
                            {Taken().Table, Taken().Table.Structures, NoLabels(), false, 0}, 0);
    Firmware().Memory().StopFailing();
    EXPECT_EQ(isTaken, snapshot.Get().Devices.Size() == 4) << n;
  }
  EXPECT_GT(n, 2u);
}

TEST_F(BootSnapshotOfTable, CutsANameThatIsTooLong) {
  const FakeRecord record(Firmware(), {.fqdd = std::u16string(40, u'x')});
  ASSERT_TRUE(Take());
  EXPECT_EQ(Devices()[0], std::string(31, 'x') + " FFFF 0");
}

TEST_F(BootSnapshotOfTable, MayBeTakenAgain) {
  Boot(Server());
  ASSERT_TRUE(Take());
  EXPECT_EQ(Devices().size(), 4u);
}

TEST_F(BootSnapshotOfTable, NeedsMemory) {
  Boot(Table::Of(Bios{}, System{.handle = 0x100}, Processor{.handle = 0x400, .designation = "CPU1"},
                 Processor{.handle = 0x401, .designation = "CPU1"},
                 FqddMap{.groups = {{"CPU.Socket.1", 0x400}}}, End{}),
       /*asIs=*/true);
  ASSERT_EQ(Devices().size(), 3u);
  tvqplatform::Inventory inventory;
  ASSERT_EQ(inventory.Collect(), EFI_SUCCESS);
  const tvqplatform::DeviceLabels labels;
  const size_t before = AgentBlocks();
  bool hasFailed = true;
  uint64_t n = 0;
  while (hasFailed) {
    BootSnapshot snapshot;
    const uint64_t failures = Firmware().Memory().FailedAllocations();
    Firmware().Memory().FailAllocation(++n, host::images::agent);
    const bool isTaken =
        snapshot.Take(inventory, {Taken().Table, Taken().Table.Structures, labels, true, 0}, 0);
    Firmware().Memory().StopFailing();
    hasFailed = Firmware().Memory().FailedAllocations() != failures;
    EXPECT_EQ(isTaken, !hasFailed) << n;
  }
  EXPECT_GE(n, 4u);
  EXPECT_EQ(AgentBlocks(), before);
}

}  // namespace
}  // namespace tvq::test
