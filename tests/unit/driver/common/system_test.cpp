/*
 * The record of the system.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

#include "TvqSmbiosPkg/src/common/record.h"
#include "TvqSmbiosPkg/src/uefi/tvq.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

Strings UuidLines() {
  return LinesOf(
      "MakeSYSTEM",
      {"UUID in smTVQ struct: 51\n", "UUID in smTVQ struct: 34\n", "UUID in smTVQ struct: 17\n",
       "UUID in smTVQ struct: 0\n", "UUID in smTVQ struct: 85\n", "UUID in smTVQ struct: 68\n",
       "UUID in smTVQ struct: 119\n", "UUID in smTVQ struct: 102\n", "UUID in smTVQ struct: 136\n",
       "UUID in smTVQ struct: 153\n", "UUID in smTVQ struct: 170\n", "UUID in smTVQ struct: 187\n",
       "UUID in smTVQ struct: 204\n", "UUID in smTVQ struct: 221\n", "UUID in smTVQ struct: 238\n",
       "UUID in smTVQ struct: 255\n"});
}

// --- What is logged ---

TEST_F(SystemRecord, LogsEveryStep) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  EXPECT_TRUE(SameLines(
      log,
      Joined(
          {LinesOf("MakeSYSTEM",
                   {"Entry MakeSYSTEM\n", "Found 1 SYSTEM SMBIOS structures\n",
                    "Product Name String exists\n", "Product Name in smTVQ struct: Rack One\n",
                    "Socket in smTVQ struct: 1\n", "Manufacturer in smTVQ struct: Server Works\n"}),
           UuidLines(),
           LinesOf("MakeSYSTEM", {"Serial Number in smTVQ struct: ABC1234\n",
                                  "Found 2 CHASSIS SMBIOS structures\n",
                                  "Chassis Manufacturer in smTVQ struct: Chassis Works\n",
                                  "Chassis Manufacturer in smTVQ struct: Blade Works\n",
                                  "Found 2 PMA SMBIOS structures\n",
                                  "PMA Name in smTVQ struct: System Memory\n",
                                  "PMA Name in smTVQ struct: Non-Volatile RAM\n",
                                  "Found 1 BIOS SMBIOS structures\n",
                                  "BIOS Version in smTVQ struct: 2.4.6\n",
                                  "BIOS Release Date in smTVQ struct: 03/14/2021\n",
                                  "Found 2 Base Board structures\n",
                                  "Base board location in chassis in smTVQ struct: Main Tray\n",
                                  "Base board Chassis Handle in smTVQ struct: 300\n",
                                  "Base board location in chassis in smTVQ struct: Riser 1\n",
                                  "Base board Chassis Handle in smTVQ struct: 3AB\n",
                                  "Found 2 PCI Slot structures\n",
                                  "PCI Slot designation in smTVQ struct: PCIe Slot 1\n",
                                  "PCI SLot ID in smTVQ struct: 1\n",
                                  "PCI Slot designation in smTVQ struct: OCP 1\n",
                                  "PCI SLot ID in smTVQ struct: 1AB\n",
                                  "Leaving MakeSYSTEM\n"})})));
}

TEST_F(SystemRecord, LogsWhatIsMissingAndGoesOn) {
  ASSERT_EQ(Make(Table::Of(System{})), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 1u);
  const Strings sections(log.end() - 11, log.end());
  EXPECT_TRUE(SameLines(
      sections,
      LinesOf(
          "MakeSYSTEM",
          {"Did not find any CHASSIS SMBIOS structures\n", "Found 0 CHASSIS SMBIOS structures\n",
           "Did not find any PMA SMBIOS structures\n", "Found 0 PMA SMBIOS structures\n",
           "Did not find or found way too many BIOS SMBIOS structures\n",
           "Found 0 BIOS SMBIOS structures\n", "Did not find any Base Board SMBIOS structures\n",
           "Found 0 Base Board structures\n", "Did not find any PCI Slot SMBIOS structures\n",
           "Found 0 PCI Slot structures\n", "Leaving MakeSYSTEM\n"})));
}

TEST_F(SystemRecord, WithoutTextsLogsFewerLines) {
  System bare;
  bare.manufacturer = bare.serial = std::nullopt;
  ASSERT_EQ(Make(Table::Of(bare, Bios{.version = std::nullopt, .releaseDate = std::nullopt},
                           Chassis{.manufacturer = std::nullopt},
                           BaseBoard{.location = std::nullopt}, Slot{.designation = std::nullopt})),
            EFI_SUCCESS);
  EXPECT_TRUE(SameLines(
      log,
      Joined(
          {LinesOf("MakeSYSTEM",
                   {"Entry MakeSYSTEM\n", "Found 1 SYSTEM SMBIOS structures\n",
                    "Product Name String exists\n", "Product Name in smTVQ struct: Rack One\n",
                    "Socket in smTVQ struct: 1\n"}),
           UuidLines(),
           LinesOf(
               "MakeSYSTEM",
               {"Found 1 CHASSIS SMBIOS structures\n", "Did not find any PMA SMBIOS structures\n",
                "Found 0 PMA SMBIOS structures\n", "Found 1 BIOS SMBIOS structures\n",
                "Found 1 Base Board structures\n",
                "Base board Chassis Handle in smTVQ struct: 300\n", "Found 1 PCI Slot structures\n",
                "PCI SLot ID in smTVQ struct: 1\n", "Leaving MakeSYSTEM\n"})})));
}

// --- Whether there is a record ---

TEST_F(SystemRecord, IsNotFoundWithoutASystem) {
  EXPECT_EQ(Make(Table::Of(Bios{})), EFI_NOT_FOUND);
  EXPECT_EQ(log, LinesOf("MakeSYSTEM", {"Entry MakeSYSTEM\n",
                                        "Did not find or found too many SYSTEM SMBIOS structures\n",
                                        "Found 0 SYSTEM SMBIOS structures\n"}));
  EXPECT_EQ(RecordCount(), 0u);
}

TEST_F(SystemRecord, IsNotFoundWithTwoSystems) {
  EXPECT_EQ(Make(Table::Of(System{}, System{})), EFI_NOT_FOUND);
  EXPECT_EQ(log, LinesOf("MakeSYSTEM", {"Entry MakeSYSTEM\n",
                                        "Did not find or found too many SYSTEM SMBIOS structures\n",
                                        "Found 2 SYSTEM SMBIOS structures\n"}));
  EXPECT_EQ(RecordCount(), 0u);
}

TEST_F(SystemRecord, IsNotBuiltWithoutAProductName) {
  EXPECT_EQ(Make(Table::Of(System{.product = std::nullopt})), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 0u);
  EXPECT_EQ(log, LinesOf("MakeSYSTEM", {"Entry MakeSYSTEM\n", "Found 1 SYSTEM SMBIOS structures\n",
                                        "Leaving MakeSYSTEM\n"}));
  EXPECT_THAT(blocks, IsEmpty());
}

TEST_F(SystemRecord, IsNotBuiltWithAProductNamePastTheStrings) {
  Structure system = System{}.Build();
  system.SetByte(5, 99);
  EXPECT_EQ(Make(Table::Of(system)), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 0u);
}

// --- The record ---

TEST_F(SystemRecord, HoldsWhatTheStructuresSayAndNothingElse) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  record::System expected = {.MarketingName = "System and Chassis Information",
                             .DeviceType = 4,
                             .Socket = 1,
                             .NumChassis = 2,
                             .NumPMA = 2,
                             .NumBaseBoards = 2,
                             .NumPCISlots = 2,
                             .ProductName = "Rack One",
                             .Manufacturer = "Server Works",
                             .ServiceTag = "ABC1234",
                             // What they list is another file's business.
                             .ChassisInfo = Fields().ChassisInfo,
                             .PMAInfo = Fields().PMAInfo,
                             .BIOSInfo = Fields().BIOSInfo,
                             .BaseBoardInfo = Fields().BaseBoardInfo,
                             .PCISlotInfo = Fields().PCISlotInfo};
  const Bytes uuid = System{}.uuid;
  std::copy(uuid.begin(), uuid.end(), expected.UUID.begin());
  EXPECT_THAT(Fields(), Is(expected));
  ExpectNothingBesides(sizeof(TVQ_SYSTEM));
  EXPECT_EQ(harness.Memory().Find(Value(Record()->device.generic.MarketingName))->size,
            32 * sizeof(CHAR16));
}

TEST_F(SystemRecord, IsPublishedWithItsProtocolsOnAHandleOfItsOwn) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  ExpectPublishedWhole(0);
  ExpectServes(0);
  EXPECT_EQ(FqddOf(), "System.Embedded.1");
  EXPECT_EQ(PathData(), (Bytes{4, 1, 0, 0, 0, 0, 0}));
  EXPECT_EQ(Value(Record()->DevicePath), gTvqDevicePath);
}

TEST_F(SystemRecord, HasNoTextsThatAreNotInTheTable) {
  ASSERT_EQ(Make(Table::Of(System{.manufacturer = std::nullopt, .serial = std::nullopt})),
            EFI_SUCCESS);
  EXPECT_EQ(Fields().Manufacturer, std::nullopt);
  EXPECT_EQ(Fields().ServiceTag, std::nullopt);
  EXPECT_EQ(Fields().ProductName, "Rack One");
}

TEST_F(SystemRecord, WidensTextsWithSignExtension) {
  ASSERT_EQ(Make(Table::Of(System{.manufacturer = "\x80", .product = "\xFF", .serial = "A\xAE"})),
            EFI_SUCCESS);
  EXPECT_EQ(Units(Record()->device.system.Manufacturer, 2), std::u16string(u"\xFF80\0", 2));
  EXPECT_EQ(Units(Record()->device.system.ProductName, 2), std::u16string(u"\xFFFF\0", 2));
  EXPECT_EQ(Units(Record()->device.system.ServiceTag, 3), std::u16string(u"A\xFFAE\0", 3));
}

TEST_F(SystemRecord, TakesTheRestFromTheStructureBehindAManufacturerPastTheStrings) {
  Structure system = System{}.Build();
  system.SetByte(4, 99);
  Structure behind = {.type = 0x80, .handle = 0x123};
  behind.Byte(1).Byte(1).Byte(1).String("Next serial");
  for (uint8_t i = 0; i < 16; ++i) {
    behind.Byte(i);
  }
  ASSERT_EQ(Make(Table::Of(system, behind)), EFI_SUCCESS);
  EXPECT_EQ(Fields().Manufacturer, std::nullopt);
  EXPECT_EQ(Fields().ProductName, "Rack One");
  EXPECT_EQ(Fields().ServiceTag, "Next serial");
  EXPECT_EQ(Fields().UUID[15], 15);
}

TEST_F(SystemRecord, ReadsFieldsPastTheFormattedPartAsZero) {
  ASSERT_EQ(Make(Table::Of(System{}.Build().CutTo(0x10))), EFI_SUCCESS);
  EXPECT_EQ(Fields().UUID[7], 0x66);
  EXPECT_EQ(Fields().UUID[8], 0);
  EXPECT_THAT(log, Contains("MakeSYSTEM: UUID in smTVQ struct: 0\n").Times(9));
}

// --- Failures of the record itself ---

struct FatalCase {
  const char* name;
  uint64_t allocation;
};

class SystemWithoutMemory : public SystemRecord, public testing::WithParamInterface<FatalCase> {};

TEST_P(SystemWithoutMemory, EndsAndGivesEverythingBack) {
  Prepare(WholeSystem());
  FailAllocation(GetParam().allocation);
  EXPECT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  EXPECT_THAT(blocks, IsEmpty());
  EXPECT_EQ(RecordCount(), 0u);
  EXPECT_THAT(log, Not(Contains("MakeSYSTEM: Leaving MakeSYSTEM\n")));
}

TEST_P(SystemWithoutMemory, GivesBackTheNewestBlockFirst) {
  Prepare(WholeSystem());
  FailAllocation(GetParam().allocation);
  RecordFrees();
  ASSERT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  EXPECT_THAT(FreesOf({"MakeSYSTEM"}), IsNewestFirst());
}

INSTANTIATE_TEST_SUITE_P(Blocks, SystemWithoutMemory,
                         testing::Values(FatalCase{"Record", 3}, FatalCase{"MarketingName", 4},
                                         FatalCase{"ProductName", 5}, FatalCase{"Manufacturer", 6},
                                         FatalCase{"SerialNumber", 7}),
                         [](const auto& info) { return info.param.name; });

TEST_F(SystemRecord, WithoutMemoryForItsDevicePathGivesEverythingBack) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  const uint64_t devicePath = allocations - 1;  // the entry comes behind it
  ASSERT_EQ(Make(), EFI_ALREADY_STARTED);       // a second record, which stays
  FailAllocation(devicePath);
  RecordFrees();
  EXPECT_EQ(Make(), EFI_OUT_OF_RESOURCES);
  EXPECT_THAT(blocks, IsEmpty());
  EXPECT_THAT(FreesOf({"MakeSYSTEM"}), IsNewestFirst());
}

TEST_F(SystemRecord, IsPublishedWithoutTheEntryForWhichThereIsNoMemory) {
  Prepare(Table::Of(System{}));
  FailAllocation(19);  // behind twelve arrays, the record, four texts and the device path
  ASSERT_EQ(Make(), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(harness.Records()[0].entryInterface, nullptr);
  ExpectServes(0);
}

TEST_F(SystemRecord, IsNotFoundWhenItCannotBeCollected) {
  Prepare(WholeSystem());
  FailAllocation(1);
  EXPECT_EQ(Make(), EFI_NOT_FOUND);
  EXPECT_EQ(log[1], "MakeSYSTEM: Did not find or found too many SYSTEM SMBIOS structures\n");
  EXPECT_THAT(blocks, IsEmpty());
}

TEST_F(SystemRecord, StaysWhenItCannotBeInstalled) {
  Prepare(WholeSystem());
  FailInstall(1, EFI_ACCESS_DENIED);
  EXPECT_EQ(Make(), EFI_ACCESS_DENIED);
  EXPECT_THAT(blocks, Contains("MakeSYSTEM"));
  EXPECT_EQ(blocks.back(), "MakeSYSTEMZVEP");
  EXPECT_THAT(blocks, Not(Contains(HasSubstr("SmbiosGetStructuresByType"))));
  EXPECT_THAT(log, Not(Contains("MakeSYSTEM: Leaving MakeSYSTEM\n")));
}

TEST_F(SystemRecord, IsPublishedThoughItCannotBeOpened) {
  Prepare(WholeSystem());
  harness.Firmware().FailCall(host::images::driver, host::Service::OpenProtocol, 1,
                              EFI_ACCESS_DENIED);
  EXPECT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 1u);
}

TEST_F(SystemRecord, GivesAllArraysBackInTheEnd) {
  ASSERT_EQ(Make(Table::Of(System{}, MemoryArray{})), EFI_SUCCESS);
  EXPECT_THAT(blocks, Not(Contains(HasSubstr("SmbiosGetStructuresByType"))));
}

}  // namespace
}  // namespace tvq::test
