/*
 * What the system record lists: chassis, memory arrays, firmware, base boards and slots.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

// --- Chassis ---

TEST_F(SystemRecord, ListsTheChassisInTableOrder) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  EXPECT_THAT(Fields().ChassisInfo, ElementsAre(record::Chassis{.Manufacturer = "Chassis Works",
                                                                .ServiceTag = "CHS0001",
                                                                .AssetTag = "Asset 7",
                                                                .BootUpState = 3,
                                                                .PowerSupplyState = 3,
                                                                .ThermalState = 3,
                                                                .SecurityStatus = 2,
                                                                .Height = 2},
                                                record::Chassis{.Manufacturer = "Blade Works",
                                                                .ServiceTag = "CHS0002",
                                                                .AssetTag = "Asset 8",
                                                                .BootUpState = 9,
                                                                .PowerSupplyState = 5,
                                                                .ThermalState = 6,
                                                                .SecurityStatus = 7,
                                                                .Height = 8}));
}

TEST_F(SystemRecord, ListsAChassisThatSaysLittle) {
  ASSERT_EQ(Make(Table::Of(System{}, Chassis{.manufacturer = std::nullopt,
                                             .serial = std::nullopt,
                                             .assetTag = std::nullopt}
                                         .Build()
                                         .CutTo(0x11))),
            EFI_SUCCESS);
  EXPECT_THAT(
      Fields().ChassisInfo,
      ElementsAre(record::Chassis{
          .BootUpState = 3, .PowerSupplyState = 3, .ThermalState = 3, .SecurityStatus = 2}));
}

// --- Memory arrays ---

TEST_F(SystemRecord, ListsTheMemoryArraysInTableOrder) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  EXPECT_THAT(Fields().PMAInfo,
              ElementsAre(record::MemoryArray{.Name = "System Memory",
                                              .Location = 3,
                                              .Use = 3,
                                              .MemoryErrorCorrection = 6,
                                              .MaximumCapacity = 0x10000000,
                                              .MemoryErrorInfoHandle = 0xFFFE,
                                              .NumberOfMemoryDevices = 16},
                          record::MemoryArray{.Name = "Non-Volatile RAM",
                                              .Location = 0x0A,
                                              .Use = 6,
                                              .MemoryErrorCorrection = 5,
                                              .MaximumCapacity = 0x80000000,
                                              .MemoryErrorInfoHandle = 0x1801,
                                              .NumberOfMemoryDevices = 0x0102,
                                              .ExtendedMaximumCapacity = 0x0000100000000000}));
}

struct UseCase {
  uint8_t use;
  const char* name;
};

class MemoryArrayUse : public SystemRecord, public testing::WithParamInterface<UseCase> {};

TEST_P(MemoryArrayUse, HasAName) {
  ASSERT_EQ(Make(Table::Of(System{}, MemoryArray{.use = GetParam().use})), EFI_SUCCESS);
  EXPECT_EQ(Fields().PMAInfo[0]->Name, GetParam().name);
  EXPECT_EQ(Fields().PMAInfo[0]->Use, GetParam().use);
  EXPECT_THAT(log, Contains(std::string("MakeSYSTEM: PMA Name in smTVQ struct: ") +
                            GetParam().name + "\n"));
}

INSTANTIATE_TEST_SUITE_P(Uses, MemoryArrayUse,
                         testing::Values(UseCase{0, ""}, UseCase{1, "Other"}, UseCase{2, "Unknown"},
                                         UseCase{3, "System Memory"}, UseCase{4, "Video Memory"},
                                         UseCase{5, "Flash Memory"}, UseCase{6, "Non-Volatile RAM"},
                                         UseCase{7, "Cache Memory"}, UseCase{8, ""},
                                         UseCase{255, ""}),
                         [](const auto& info) { return "Use" + std::to_string(info.param.use); });

TEST_F(SystemRecord, ListsAMemoryArrayOfAnOlderStandard) {
  ASSERT_EQ(Make(Table::Of(System{}, MemoryArray{.errorHandle = 0x1801,
                                                 .deviceCount = 4,
                                                 .extendedMaximumCapacity = 0x1111111111111111}
                                         .Build()
                                         .CutTo(0x0F))),
            EFI_SUCCESS);
  EXPECT_THAT(Fields().PMAInfo, ElementsAre(record::MemoryArray{.Name = "System Memory",
                                                                .Location = 3,
                                                                .Use = 3,
                                                                .MemoryErrorCorrection = 6,
                                                                .MaximumCapacity = 0x10000000,
                                                                .MemoryErrorInfoHandle = 0x1801,
                                                                .NumberOfMemoryDevices = 4}));
}

TEST_F(SystemRecord, ReadsAnErrorHandlePastTheFormattedPartAsNone) {
  ASSERT_EQ(Make(Table::Of(System{}, MemoryArray{}.Build().CutTo(0x0B))), EFI_SUCCESS);
  EXPECT_EQ(Fields().PMAInfo[0]->MemoryErrorInfoHandle, 0xFFFF);
}

// --- Firmware ---

TEST_F(SystemRecord, TellsTheFirmware) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  EXPECT_EQ(Fields().BIOSInfo,
            (record::Bios{.BIOSVersion = "2.4.6", .BIOSReleaseDate = "03/14/2021"}));
}

TEST_F(SystemRecord, TellsOfAFirmwareWithoutTexts) {
  ASSERT_EQ(Make(Table::Of(System{}, Bios{.version = std::nullopt, .releaseDate = std::nullopt})),
            EFI_SUCCESS);
  EXPECT_EQ(Fields().BIOSInfo, record::Bios{});
}

// Deliberately unlike two systems, which end the builder.
TEST_F(SystemRecord, LeavesTheFirmwareOutWhenThereAreTwo) {
  ASSERT_EQ(Make(Table::Of(System{}, Bios{}, Bios{})), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(Fields().BIOSInfo, std::nullopt);
  EXPECT_THAT(log,
              Contains("MakeSYSTEM: Did not find or found way too many BIOS SMBIOS structures\n"));
  EXPECT_THAT(log, Contains("MakeSYSTEM: Found 2 BIOS SMBIOS structures\n"));
  EXPECT_THAT(log, Not(Contains(HasSubstr("BIOS Version"))));
  EXPECT_THAT(blocks, Not(Contains(HasSubstr("SmbiosGetStructuresByType"))));
}

// --- Base boards ---

TEST_F(SystemRecord, ListsTheBaseBoardsInTableOrder) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  EXPECT_THAT(
      Fields().BaseBoardInfo,
      ElementsAre(record::BaseBoard{.LocationInChassis = "Main Tray", .ChassisHandle = 0x300},
                  record::BaseBoard{.LocationInChassis = "Riser 1", .ChassisHandle = 0x3AB}));
}

TEST_F(SystemRecord, ListsABaseBoardOfAnOlderStandard) {
  ASSERT_EQ(Make(Table::Of(System{}, BaseBoard{}.Build().CutTo(8))), EFI_SUCCESS);
  EXPECT_THAT(Fields().BaseBoardInfo, ElementsAre(record::BaseBoard{.ChassisHandle = 0xFFFF}));
}

// --- Slots ---

TEST_F(SystemRecord, ListsTheSlotsInTableOrder) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  EXPECT_THAT(Fields().PCISlotInfo, ElementsAre(record::Slot{.Desig = "PCIe Slot 1",
                                                             .Type = 0xA5,
                                                             .Width = 0x0D,
                                                             .Usage = 3,
                                                             .Len = 4,
                                                             .ID = 1,
                                                             .HotPlug = 1},
                                                record::Slot{.Desig = "OCP 1",
                                                             .Type = 0x26,
                                                             .Width = 0x0B,
                                                             .Usage = 4,
                                                             .Len = 5,
                                                             .ID = 0x1AB,
                                                             .Bus = 0x3B,
                                                             .HotPlug = 0x0F}));
}

TEST_F(SystemRecord, TellsBusDeviceAndFunctionOfASlot) {
  ASSERT_EQ(Make(Table::Of(System{}, Slot{.bus = 0x3B, .devFn = 0x00})), EFI_SUCCESS);
  EXPECT_THAT(DocumentOf(), HasSubstr("<BDF>3B00</BDF>"));
}

TEST_F(SystemRecord, ListsSlotsOfEveryKindAndUsage) {
  ASSERT_EQ(Make(Table::Of(System{}, Slot{.slotType = 0x01, .usage = 1},
                           Slot{.slotType = 0xFF, .usage = 5})),
            EFI_SUCCESS);
  EXPECT_EQ(Fields().NumPCISlots, 2);
  EXPECT_EQ(Fields().PCISlotInfo[0]->Type, 0x01);
  EXPECT_EQ(Fields().PCISlotInfo[1]->Type, 0xFF);
}

TEST_F(SystemRecord, ListsASlotOfAnOlderStandard) {
  ASSERT_EQ(Make(Table::Of(
                System{},
                Slot{.designation = std::nullopt, .bus = 0x3B, .devFn = 0x20}.Build().CutTo(0x0D))),
            EFI_SUCCESS);
  EXPECT_THAT(Fields().PCISlotInfo,
              ElementsAre(record::Slot{
                  .Type = 0xA5, .Width = 0x0D, .Usage = 3, .Len = 4, .ID = 1, .HotPlug = 1}));
}

// The count has eight bits and says how many slots the array has.
TEST_F(SystemRecord, ListsTheFirst255Slots) {
  std::vector<Slot> slots;
  for (uint16_t id = 1; id <= 300; ++id) {
    slots.push_back({.id = id});
  }
  ASSERT_EQ(Make(Table::Of(System{}, slots)), EFI_SUCCESS);
  const record::System system = Fields();
  ASSERT_EQ(system.NumPCISlots, 255);
  for (uint16_t i = 0; i < 255; ++i) {
    ASSERT_NE(system.PCISlotInfo[i], std::nullopt);
    EXPECT_EQ(system.PCISlotInfo[i]->ID, i + 1);
  }
  EXPECT_THAT(log, Contains("MakeSYSTEM: Found 300 PCI Slot structures\n"));
  ExpectServes(0);
}

TEST_F(SystemRecord, ListsTheFirst255ChassisBoardsAndMemoryArrays) {
  Table table = Table::Of(System{});
  for (uint16_t n = 1; n <= 256; ++n) {
    table.Add(Chassis{.height = static_cast<uint8_t>(n)});
    table.Add(BaseBoard{.chassisHandle = n});
    table.Add(MemoryArray{.deviceCount = n});
  }
  ASSERT_EQ(Make(table), EFI_SUCCESS);
  const record::System system = Fields();
  EXPECT_EQ(system.NumChassis, 255);
  EXPECT_EQ(system.NumBaseBoards, 255);
  EXPECT_EQ(system.NumPMA, 255);
  EXPECT_EQ(system.ChassisInfo[254]->Height, 255);
  EXPECT_EQ(system.BaseBoardInfo[254]->ChassisHandle, 255);
  EXPECT_EQ(system.PMAInfo[254]->NumberOfMemoryDevices, 255);
  const VOID* const chassis = Record()->device.system.ChassisInfo;
  EXPECT_EQ(harness.Memory().Find(chassis)->size, 255 * sizeof(VOID*));
}

// --- String numbers out of range ---

TEST_F(SystemRecord, TakesTheRestOfAChassisFromTheStructureBehind) {
  Structure first = Chassis{.serial = "one", .height = 1}.Build();
  first.SetByte(4, 99);
  ASSERT_EQ(Make(Table::Of(System{}, first, Chassis{.serial = "two", .height = 2})), EFI_SUCCESS);
  EXPECT_EQ(Fields().ChassisInfo[0]->Manufacturer, std::nullopt);
  EXPECT_EQ(Fields().ChassisInfo[0]->ServiceTag, "two");
  EXPECT_EQ(Fields().ChassisInfo[0]->Height, 2);
  EXPECT_EQ(Fields().ChassisInfo[1]->ServiceTag, "two");
}

TEST_F(SystemRecord, TakesTheRestOfASlotFromTheStructureBehind) {
  Structure first = Slot{.id = 1}.Build();
  first.SetByte(4, 99);
  ASSERT_EQ(Make(Table::Of(System{}, first, Slot{.designation = "two", .id = 2})), EFI_SUCCESS);
  EXPECT_EQ(Fields().PCISlotInfo[0]->Desig, std::nullopt);
  EXPECT_EQ(Fields().PCISlotInfo[0]->ID, 2);
}

// --- Sections that are abandoned for lack of memory ---

// Two arrays of type 1, record, marketing name, product, manufacturer, serial number; then two
// arrays per section.
constexpr uint64_t kSections = 8;

struct SectionCase {
  const char* name;
  uint64_t allocation;       // that fails, counted from the section's two arrays on
  size_t count;              // what the record says
  std::vector<bool> filled;  // which slots of the array are; without one there are none
};

class AbandonedSection : public SystemRecord, public testing::WithParamInterface<SectionCase> {
 protected:
  // Builds a record of a section and those behind it; `arrays` is how many arrays sections before
  // it take.
  void MakeWith(const std::vector<Structure>& structures, uint64_t arrays) {
    std::vector<Structure> all = structures;
    if (structures[0].type != 9) {
      all.push_back(Slot{}.Build());
    }
    Prepare(Table::Of(System{}, all));
    FailAllocation(kSections + arrays + GetParam().allocation);
    ASSERT_EQ(Make(), EFI_SUCCESS);
    ASSERT_EQ(RecordCount(), 1u);
    ExpectServes(0);
    EXPECT_THAT(blocks, Not(Contains(HasSubstr("SmbiosGetStructuresByType"))));
    if (structures[0].type != 9) {
      EXPECT_NE(Fields().PCISlotInfo[0], std::nullopt) << "the sections behind are filled";
    }
  }
  template <typename Info>
  static std::vector<bool> Filled(const std::vector<std::optional<Info>>& list) {
    std::vector<bool> filled;
    for (const std::optional<Info>& slot : list) {
      filled.push_back(slot.has_value());
    }
    return filled;
  }
};

class AbandonedChassis : public AbandonedSection {};

TEST_P(AbandonedChassis, LeavesItsSlotsNull) {
  MakeWith({Chassis{}.Build(), Chassis{}.Build(), Chassis{}.Build()}, 0);
  EXPECT_EQ(Fields().NumChassis, GetParam().count);
  EXPECT_EQ(Filled(Fields().ChassisInfo), GetParam().filled);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, AbandonedChassis,
    testing::Values(SectionCase{"Array", 2, 3, {}},
                    SectionCase{"FirstEntry", 3, 3, {false, false, false}},
                    SectionCase{"FirstManufacturer", 4, 3, {false, false, false}},
                    SectionCase{"SecondEntry", 7, 3, {true, false, false}},
                    SectionCase{"SecondServiceTag", 9, 3, {true, false, false}},
                    SectionCase{"ThirdAssetTag", 14, 3, {true, true, false}}),
    [](const auto& info) { return info.param.name; });

class AbandonedArrays : public AbandonedSection {};

TEST_P(AbandonedArrays, LeaveTheirSlotsNull) {
  MakeWith({MemoryArray{}.Build(), MemoryArray{}.Build()}, 2);
  EXPECT_EQ(Fields().NumPMA, GetParam().count);
  EXPECT_EQ(Filled(Fields().PMAInfo), GetParam().filled);
}

INSTANTIATE_TEST_SUITE_P(Blocks, AbandonedArrays,
                         testing::Values(SectionCase{"Array", 2, 2, {}},
                                         SectionCase{"FirstEntry", 3, 2, {false, false}},
                                         SectionCase{"FirstName", 4, 2, {false, false}},
                                         SectionCase{"SecondEntry", 5, 2, {true, false}},
                                         SectionCase{"SecondName", 6, 2, {true, false}}),
                         [](const auto& info) { return info.param.name; });

class AbandonedBoards : public AbandonedSection {};

TEST_P(AbandonedBoards, LeaveTheirSlotsNull) {
  MakeWith({BaseBoard{}.Build(), BaseBoard{}.Build()}, 6);
  EXPECT_EQ(Fields().NumBaseBoards, GetParam().count);
  EXPECT_EQ(Filled(Fields().BaseBoardInfo), GetParam().filled);
}

INSTANTIATE_TEST_SUITE_P(Blocks, AbandonedBoards,
                         testing::Values(SectionCase{"Array", 2, 2, {}},
                                         SectionCase{"FirstEntry", 3, 2, {false, false}},
                                         SectionCase{"FirstLocation", 4, 2, {false, false}},
                                         SectionCase{"SecondEntry", 5, 2, {true, false}},
                                         SectionCase{"SecondLocation", 6, 2, {true, false}}),
                         [](const auto& info) { return info.param.name; });

class AbandonedSlots : public AbandonedSection {};

TEST_P(AbandonedSlots, LeaveTheirSlotsNull) {
  MakeWith({Slot{}.Build(), Slot{}.Build(), Slot{}.Build()}, 8);
  EXPECT_EQ(Fields().NumPCISlots, GetParam().count);
  EXPECT_EQ(Filled(Fields().PCISlotInfo), GetParam().filled);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, AbandonedSlots,
    testing::Values(
        SectionCase{"Array", 2, 3, {}}, SectionCase{"FirstEntry", 3, 3, {false, false, false}},
        SectionCase{"SecondDesignation", 6, 3, {true, false, false}},
        // Deliberate: a slot for which there is no entry takes all earlier ones with it.
        SectionCase{"ThirdEntry", 7, 3, {false, false, false}},
        SectionCase{"ThirdDesignation", 8, 3, {true, true, false}}),
    [](const auto& info) { return info.param.name; });

struct CollectionCase {
  const char* name;
  uint64_t arrays;  // of the sections before it
  std::vector<Structure> structures;
  std::vector<const char*> lines;
};

class UncollectedSection : public SystemRecord,
                           public testing::WithParamInterface<CollectionCase> {};

TEST_P(UncollectedSection, IsAsIfNothingWereThereButForItsCount) {
  Prepare(Table::Of(System{}, GetParam().structures));
  FailAllocation(kSections + GetParam().arrays + 1);
  ASSERT_EQ(Make(), EFI_SUCCESS);
  const auto first =
      std::find(log.begin(), log.end(), std::string("MakeSYSTEM: ") + GetParam().lines[0]);
  ASSERT_NE(first, log.end());
  EXPECT_EQ(first[1], std::string("MakeSYSTEM: ") + GetParam().lines[1]);
  EXPECT_EQ(Fields().NumChassis, 0);
  EXPECT_EQ(Fields().NumPMA, 0);
  EXPECT_EQ(Fields().NumBaseBoards, 0);
  EXPECT_EQ(Fields().NumPCISlots, 0);
  EXPECT_EQ(Fields().BIOSInfo, std::nullopt);
  EXPECT_THAT(blocks, Not(Contains(HasSubstr("SmbiosGetStructuresByType"))));
}

INSTANTIATE_TEST_SUITE_P(
    Types, UncollectedSection,
    testing::Values(CollectionCase{"Chassis",
                                   0,
                                   {Chassis{}.Build()},
                                   {"Did not find any CHASSIS SMBIOS structures\n",
                                    "Found 1 CHASSIS SMBIOS structures\n"}},
                    CollectionCase{"MemoryArrays",
                                   2,
                                   {MemoryArray{}.Build()},
                                   {"Did not find any PMA SMBIOS structures\n",
                                    "Found 1 PMA SMBIOS structures\n"}},
                    CollectionCase{"Firmware",
                                   4,
                                   {Bios{}.Build()},
                                   {"Did not find or found way too many BIOS SMBIOS structures\n",
                                    "Found 1 BIOS SMBIOS structures\n"}},
                    CollectionCase{"BaseBoards",
                                   6,
                                   {BaseBoard{}.Build()},
                                   {"Did not find any Base Board SMBIOS structures\n",
                                    "Found 1 Base Board structures\n"}},
                    CollectionCase{"Slots",
                                   8,
                                   {Slot{}.Build()},
                                   {"Did not find any PCI Slot SMBIOS structures\n",
                                    "Found 1 PCI Slot structures\n"}}),
    [](const auto& info) { return info.param.name; });

struct FirmwareCase {
  const char* name;
  uint64_t allocation;
};

class AbandonedFirmware : public SystemRecord, public testing::WithParamInterface<FirmwareCase> {};

TEST_P(AbandonedFirmware, IsLeftOut) {
  Prepare(Table::Of(System{}, Bios{}, Slot{}));
  FailAllocation(kSections + 4 + GetParam().allocation);
  ASSERT_EQ(Make(), EFI_SUCCESS);
  EXPECT_EQ(Fields().BIOSInfo, std::nullopt);
  EXPECT_NE(Fields().PCISlotInfo[0], std::nullopt);
  ExpectServes(0);
}

INSTANTIATE_TEST_SUITE_P(Blocks, AbandonedFirmware,
                         testing::Values(FirmwareCase{"Entry", 2}, FirmwareCase{"Version", 3},
                                         FirmwareCase{"ReleaseDate", 4}),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace tvq::test
