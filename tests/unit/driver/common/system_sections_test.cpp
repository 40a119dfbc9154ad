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
using testing::HasSubstr;
using testing::Not;

// --- Chassis ---

TEST_F(SystemRecord, ListsTheChassisInTableOrder) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  CHASSIS_INFO* const first = Fields().ChassisInfo[0];
  EXPECT_EQ(Utf8(first->Manufacturer), "Chassis Works");
  EXPECT_EQ(Utf8(first->ServiceTag), "CHS0001");
  CHASSIS_INFO* const second = Fields().ChassisInfo[1];
  EXPECT_EQ(Utf8(second->Manufacturer), "Blade Works");
  EXPECT_EQ(Utf8(second->ServiceTag), "CHS0002");
  EXPECT_EQ(Utf8(second->AssetTag), "Asset 8");
  EXPECT_EQ(second->BootUpState, 9);
  EXPECT_EQ(second->PowerSupplyState, 5);
  EXPECT_EQ(second->ThermalState, 6);
  EXPECT_EQ(second->SecurityStatus, 7);
  EXPECT_EQ(second->Height, 8);
}

TEST_F(SystemRecord, ListsAChassisThatSaysLittle) {
  ASSERT_EQ(Make(Table::Of(System{}, Chassis{.manufacturer = std::nullopt,
                                             .serial = std::nullopt,
                                             .assetTag = std::nullopt}
                                         .Build()
                                         .CutTo(0x11))),
            EFI_SUCCESS);
  CHASSIS_INFO* const chassis = Fields().ChassisInfo[0];
  EXPECT_EQ(Value(chassis->Manufacturer), nullptr);
  EXPECT_EQ(Value(chassis->ServiceTag), nullptr);
  EXPECT_EQ(Value(chassis->AssetTag), nullptr);
  EXPECT_EQ(chassis->SecurityStatus, 2);
  EXPECT_EQ(chassis->Height, 0);
}

// --- Memory arrays ---

TEST_F(SystemRecord, ListsTheMemoryArraysInTableOrder) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Fields().PMAInfo[0]->Name), "System Memory");
  PMA_INFO* const array = Fields().PMAInfo[1];
  EXPECT_EQ(Utf8(array->Name), "Non-Volatile RAM");
  EXPECT_EQ(array->Location, 0x0A);
  EXPECT_EQ(array->Use, 6);
  EXPECT_EQ(array->MemoryErrorCorrection, 5);
  EXPECT_EQ(Value(array->MaximumCapacity), 0x80000000u);
  EXPECT_EQ(Value(array->MemoryErrorInfoHandle), 0x1801);
  EXPECT_EQ(Value(array->NumberOfMemoryDevices), 0x0102);
  EXPECT_EQ(Value(array->ExtendedMaximumCapacity), 0x0000100000000000u);
}

struct UseCase {
  uint8_t use;
  const char* name;
};

class MemoryArrayUse : public SystemRecord, public testing::WithParamInterface<UseCase> {};

TEST_P(MemoryArrayUse, HasAName) {
  ASSERT_EQ(Make(Table::Of(System{}, MemoryArray{.use = GetParam().use})), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Fields().PMAInfo[0]->Name), GetParam().name);
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
  PMA_INFO* const array = Fields().PMAInfo[0];
  EXPECT_EQ(Value(array->NumberOfMemoryDevices), 4);
  EXPECT_EQ(Value(array->ExtendedMaximumCapacity), 0u);
}

TEST_F(SystemRecord, ReadsAnErrorHandlePastTheFormattedPartAsNone) {
  ASSERT_EQ(Make(Table::Of(System{}, MemoryArray{}.Build().CutTo(0x0B))), EFI_SUCCESS);
  EXPECT_EQ(Value(Fields().PMAInfo[0]->MemoryErrorInfoHandle), 0xFFFF);
}

// --- Firmware ---

TEST_F(SystemRecord, TellsTheFirmware) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Fields().BIOSInfo->BIOSVersion), "2.4.6");
  EXPECT_EQ(Utf8(Fields().BIOSInfo->BIOSReleaseDate), "03/14/2021");
}

TEST_F(SystemRecord, TellsOfAFirmwareWithoutTexts) {
  ASSERT_EQ(Make(Table::Of(System{}, Bios{.version = std::nullopt, .releaseDate = std::nullopt})),
            EFI_SUCCESS);
  ASSERT_NE(Value(Fields().BIOSInfo), nullptr);
  EXPECT_EQ(Value(Fields().BIOSInfo->BIOSVersion), nullptr);
  EXPECT_EQ(Value(Fields().BIOSInfo->BIOSReleaseDate), nullptr);
}

// Deliberately unlike two systems, which end the builder.
TEST_F(SystemRecord, LeavesTheFirmwareOutWhenThereAreTwo) {
  ASSERT_EQ(Make(Table::Of(System{}, Bios{}, Bios{})), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(Value(Fields().BIOSInfo), nullptr);
  EXPECT_THAT(log,
              Contains("MakeSYSTEM: Did not find or found way too many BIOS SMBIOS structures\n"));
  EXPECT_THAT(log, Contains("MakeSYSTEM: Found 2 BIOS SMBIOS structures\n"));
  EXPECT_THAT(log, Not(Contains(HasSubstr("BIOS Version"))));
  EXPECT_THAT(blocks, Not(Contains(HasSubstr("SmbiosGetStructuresByType"))));
}

// --- Base boards ---

TEST_F(SystemRecord, ListsTheBaseBoardsInTableOrder) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Fields().BaseBoardInfo[0]->LocationInChassis), "Main Tray");
  EXPECT_EQ(Value(Fields().BaseBoardInfo[0]->ChassisHandle), 0x300);
  EXPECT_EQ(Utf8(Fields().BaseBoardInfo[1]->LocationInChassis), "Riser 1");
  EXPECT_EQ(Value(Fields().BaseBoardInfo[1]->ChassisHandle), 0x3AB);
}

TEST_F(SystemRecord, ListsABaseBoardOfAnOlderStandard) {
  ASSERT_EQ(Make(Table::Of(System{}, BaseBoard{}.Build().CutTo(8))), EFI_SUCCESS);
  EXPECT_EQ(Value(Fields().BaseBoardInfo[0]->LocationInChassis), nullptr);
  EXPECT_EQ(Value(Fields().BaseBoardInfo[0]->ChassisHandle), 0xFFFF);
}

// --- Slots ---

TEST_F(SystemRecord, ListsTheSlotsInTableOrder) {
  ASSERT_EQ(Make(WholeSystem()), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Fields().PCISlotInfo[0]->Desig), "PCIe Slot 1");
  PCI_SLOT_INFO* const slot = Fields().PCISlotInfo[1];
  EXPECT_EQ(Utf8(slot->Desig), "OCP 1");
  EXPECT_EQ(slot->Type, 0x26);
  EXPECT_EQ(slot->Width, 0x0B);
  EXPECT_EQ(slot->Usage, 4);
  EXPECT_EQ(slot->Len, 5);
  EXPECT_EQ(Value(slot->ID), 0x1AB);
  EXPECT_EQ(slot->Bus, 0x3B);
  EXPECT_EQ(slot->DevFn, 0x00);
  EXPECT_EQ(slot->HotPlug, 0x0F);
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
  PCI_SLOT_INFO* const slot = Fields().PCISlotInfo[0];
  EXPECT_EQ(Value(slot->Desig), nullptr);
  EXPECT_EQ(slot->HotPlug, 1);
  EXPECT_EQ(slot->Bus, 0);
  EXPECT_EQ(slot->DevFn, 0);
}

// The count has eight bits and says how many slots the array has.
TEST_F(SystemRecord, ListsTheFirst255Slots) {
  std::vector<Slot> slots;
  for (uint16_t id = 1; id <= 300; ++id) {
    slots.push_back({.id = id});
  }
  ASSERT_EQ(Make(Table::Of(System{}, slots)), EFI_SUCCESS);
  ASSERT_EQ(Fields().NumPCISlots, 255);
  for (uint16_t i = 0; i < 255; ++i) {
    ASSERT_NE(Fields().PCISlotInfo[i], nullptr);
    EXPECT_EQ(Value(Fields().PCISlotInfo[i]->ID), i + 1);
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
  const TVQ_SYSTEM system = Fields();
  EXPECT_EQ(system.NumChassis, 255);
  EXPECT_EQ(system.NumBaseBoards, 255);
  EXPECT_EQ(system.NumPMA, 255);
  EXPECT_EQ(system.ChassisInfo[254]->Height, 255);
  EXPECT_EQ(Value(system.BaseBoardInfo[254]->ChassisHandle), 255);
  EXPECT_EQ(Value(system.PMAInfo[254]->NumberOfMemoryDevices), 255);
  EXPECT_EQ(harness.Memory().Find(system.ChassisInfo)->size, 255 * sizeof(VOID*));
}

// --- String numbers out of range ---

TEST_F(SystemRecord, TakesTheRestOfAChassisFromTheStructureBehind) {
  Structure first = Chassis{.serial = "one", .height = 1}.Build();
  first.SetByte(4, 99);
  ASSERT_EQ(Make(Table::Of(System{}, first, Chassis{.serial = "two", .height = 2})), EFI_SUCCESS);
  EXPECT_EQ(Value(Fields().ChassisInfo[0]->Manufacturer), nullptr);
  EXPECT_EQ(Utf8(Fields().ChassisInfo[0]->ServiceTag), "two");
  EXPECT_EQ(Fields().ChassisInfo[0]->Height, 2);
  EXPECT_EQ(Utf8(Fields().ChassisInfo[1]->ServiceTag), "two");
}

TEST_F(SystemRecord, TakesTheRestOfASlotFromTheStructureBehind) {
  Structure first = Slot{.id = 1}.Build();
  first.SetByte(4, 99);
  ASSERT_EQ(Make(Table::Of(System{}, first, Slot{.designation = "two", .id = 2})), EFI_SUCCESS);
  EXPECT_EQ(Value(Fields().PCISlotInfo[0]->Desig), nullptr);
  EXPECT_EQ(Value(Fields().PCISlotInfo[0]->ID), 2);
}

// --- Sections that are abandoned for lack of memory ---

// Two arrays of type 1, record, marketing name, product, manufacturer, serial number; then two
// arrays per section.
constexpr uint64_t kSections = 8;

struct SectionCase {
  const char* name;
  uint64_t allocation;  // that fails, counted from the section's two arrays on
  bool hasArray;
  std::vector<bool> slots;  // which of its slots are filled
};

Strings FilledSlots(const std::vector<bool>& slots) {
  Strings names;
  for (const bool isFilled : slots) {
    names.push_back(isFilled ? "filled" : "null");
  }
  return names;
}

template <typename Info>
Strings SlotsOf(Info** array, size_t count) {
  std::vector<bool> slots;
  for (size_t i = 0; i < count; ++i) {
    slots.push_back(array[i] != nullptr);
  }
  return FilledSlots(slots);
}

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
      EXPECT_NE(Value(Fields().PCISlotInfo[0]), nullptr) << "the sections behind are filled";
    }
  }
  template <typename Info>
  void ExpectSlots(Info** array, size_t count) {
    EXPECT_EQ(count, GetParam().slots.size());
    EXPECT_EQ(array != nullptr, GetParam().hasArray);
    if (array != nullptr) {
      EXPECT_EQ(SlotsOf(array, count), FilledSlots(GetParam().slots));
    }
  }
};

class AbandonedChassis : public AbandonedSection {};

TEST_P(AbandonedChassis, LeavesItsSlotsNull) {
  MakeWith({Chassis{}.Build(), Chassis{}.Build(), Chassis{}.Build()}, 0);
  ExpectSlots(Value(Fields().ChassisInfo), Fields().NumChassis);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, AbandonedChassis,
    testing::Values(SectionCase{"Array", 2, false, {false, false, false}},
                    SectionCase{"FirstEntry", 3, true, {false, false, false}},
                    SectionCase{"FirstManufacturer", 4, true, {false, false, false}},
                    SectionCase{"SecondEntry", 7, true, {true, false, false}},
                    SectionCase{"SecondServiceTag", 9, true, {true, false, false}},
                    SectionCase{"ThirdAssetTag", 14, true, {true, true, false}}),
    [](const auto& info) { return info.param.name; });

class AbandonedArrays : public AbandonedSection {};

TEST_P(AbandonedArrays, LeaveTheirSlotsNull) {
  MakeWith({MemoryArray{}.Build(), MemoryArray{}.Build()}, 2);
  ExpectSlots(Value(Fields().PMAInfo), Fields().NumPMA);
}

INSTANTIATE_TEST_SUITE_P(Blocks, AbandonedArrays,
                         testing::Values(SectionCase{"Array", 2, false, {false, false}},
                                         SectionCase{"FirstEntry", 3, true, {false, false}},
                                         SectionCase{"FirstName", 4, true, {false, false}},
                                         SectionCase{"SecondEntry", 5, true, {true, false}},
                                         SectionCase{"SecondName", 6, true, {true, false}}),
                         [](const auto& info) { return info.param.name; });

class AbandonedBoards : public AbandonedSection {};

TEST_P(AbandonedBoards, LeaveTheirSlotsNull) {
  MakeWith({BaseBoard{}.Build(), BaseBoard{}.Build()}, 6);
  ExpectSlots(Value(Fields().BaseBoardInfo), Fields().NumBaseBoards);
}

INSTANTIATE_TEST_SUITE_P(Blocks, AbandonedBoards,
                         testing::Values(SectionCase{"Array", 2, false, {false, false}},
                                         SectionCase{"FirstEntry", 3, true, {false, false}},
                                         SectionCase{"FirstLocation", 4, true, {false, false}},
                                         SectionCase{"SecondEntry", 5, true, {true, false}},
                                         SectionCase{"SecondLocation", 6, true, {true, false}}),
                         [](const auto& info) { return info.param.name; });

class AbandonedSlots : public AbandonedSection {};

TEST_P(AbandonedSlots, LeaveTheirSlotsNull) {
  MakeWith({Slot{}.Build(), Slot{}.Build(), Slot{}.Build()}, 8);
  ExpectSlots(Value(Fields().PCISlotInfo), Fields().NumPCISlots);
}

INSTANTIATE_TEST_SUITE_P(
    Blocks, AbandonedSlots,
    testing::Values(
        SectionCase{"Array", 2, false, {false, false, false}},
        SectionCase{"FirstEntry", 3, true, {false, false, false}},
        SectionCase{"SecondDesignation", 6, true, {true, false, false}},
        // Deliberate: a slot for which there is no entry takes all earlier ones with it.
        SectionCase{"ThirdEntry", 7, true, {false, false, false}},
        SectionCase{"ThirdDesignation", 8, true, {true, true, false}}),
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
  EXPECT_EQ(Value(Fields().BIOSInfo), nullptr);
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
  EXPECT_EQ(Value(Fields().BIOSInfo), nullptr);
  EXPECT_NE(Value(Fields().PCISlotInfo[0]), nullptr);
  ExpectServes(0);
}

INSTANTIATE_TEST_SUITE_P(Blocks, AbandonedFirmware,
                         testing::Values(FirmwareCase{"Entry", 2}, FirmwareCase{"Version", 3},
                                         FirmwareCase{"ReleaseDate", 4}),
                         [](const auto& info) { return info.param.name; });

}  // namespace
}  // namespace tvq::test
