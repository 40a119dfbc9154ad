/*
 * Records of memory modules from structures of every age and length, and from those that name
 * strings that they do not have.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>
#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

namespace tvq::test {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

// --- Attributes and extended size: from version 2.7 on, as far as the structure goes ---

struct AgeCase {
  const char* name;
  uint8_t major;
  uint8_t minor;
  uint8_t length;
  bool hasAttributes;
  bool isExtendedSizeThere;
  bool isExtendedSizeWhole;
};

class DimmAge : public Dimms, public testing::WithParamInterface<AgeCase> {};

TEST_P(DimmAge, DecidesOnAttributesAndExtendedSize) {
  ASSERT_EQ(Make(Table::Of(OneModule().Build().CutTo(GetParam().length))
                     .OfVersion(GetParam().major, GetParam().minor)),
            EFI_SUCCESS);
  EXPECT_EQ(Dimm().Attributes, GetParam().hasAttributes ? 2 : 0);
  EXPECT_EQ(Dimm().ExtendedSize, GetParam().isExtendedSizeWhole ? 0x00012345u : 0u);
  const std::string line = "MakeDIMMs: Adding Extended Size here\n";
  EXPECT_THAT(log, Contains(line).Times(GetParam().isExtendedSizeThere ? 1 : 0));
}

// The first byte of the extended size decides that it is there; cut short, it reads as zero.
INSTANTIATE_TEST_SUITE_P(
    Ages, DimmAge,
    testing::Values(AgeCase{"Version2_7", 2, 7, 0x22, true, true, true},
                    AgeCase{"Version2_8", 2, 8, 0x22, true, true, true},
                    AgeCase{"Version3_0", 3, 0, 0x22, true, true, true},
                    AgeCase{"Version2_6", 2, 6, 0x22, false, false, false},
                    AgeCase{"Version2_6AndLong", 2, 6, 0x5C, false, false, false},
                    AgeCase{"Version1_9", 1, 9, 0x22, false, false, false},
                    AgeCase{"UpToExtendedSize", 2, 7, 0x20, true, true, true},
                    AgeCase{"OneByteShort", 2, 7, 0x1F, true, true, false},
                    AgeCase{"TwoBytesShort", 2, 7, 0x1E, true, true, false},
                    AgeCase{"ThreeBytesShort", 2, 7, 0x1D, true, true, false},
                    AgeCase{"UpToAttributes", 2, 7, 0x1C, true, false, false},
                    AgeCase{"BeforeAttributes", 3, 3, 0x1B, false, false, false}),
    [](const auto& info) { return info.param.name; });

TEST_F(Dimms, OfVersion3_0HaveWhatTheirStandardKnows) {
  ASSERT_EQ(Make(Table::Of(OneModule().Build().CutTo(0x22)).OfVersion(3, 0)), EFI_SUCCESS);
  EXPECT_THAT(Dimm(), Is(record::Dimm{.MarketingName = "DDR5DIMM",
                                      .WWN = "0123ABCD",
                                      .DeviceType = 3,
                                      .Handle = 0x1100,
                                      .DeviceLocator = "A1",
                                      .Manufacturer = "Memory Works",
                                      .BankLocator = "Bank 3",
                                      .AssetTag = "01221234",
                                      .Speed = 4800,
                                      .MemoryType = 0x22,
                                      .PartNumber = "MW16G4800",
                                      .Size = 0x7FFF,
                                      .TotalWidth = 72,
                                      .DataWidth = 64,
                                      .FormFactor = 9,
                                      .DeviceSet = 7,
                                      .ExtendedSize = 0x00012345,
                                      .Attributes = 2,
                                      .ConfiguredMemClockSpeed = 4400,
                                      .TypeDetail = 0x2080}));
  EXPECT_THAT(log, Contains("MakeDIMMs: sizeof type17 structure = 34 \n"));
}

TEST_F(Dimms, TheExtendedSizeIsCopiedWhateverTheSizeSays) {
  ASSERT_EQ(Make(Table::Of(MemoryDevice{.size = 0x1000, .extendedSize = 0x8000})), EFI_SUCCESS);
  EXPECT_EQ(Dimm().Size, 0x1000);
  EXPECT_EQ(Dimm().ExtendedSize, 0x8000u);
}

// --- Configured speed: never asked whether it is there ---

TEST_F(Dimms, TheConfiguredSpeedIsReadAsItStands) {
  ASSERT_EQ(Make(Table::Of(OneModule().Build().CutTo(0x22))), EFI_SUCCESS);
  EXPECT_EQ(Dimm().ConfiguredMemClockSpeed, 4400);
}

TEST_F(Dimms, TheConfiguredSpeedOfAShortStructureIsReadFromItsStrings) {
  MemoryDevice module;
  module.locator = "xy";  // the first string
  ASSERT_EQ(Make(Table::Of(module.Build().CutTo(0x20))), EFI_SUCCESS);
  EXPECT_EQ(Dimm().ConfiguredMemClockSpeed, 'x' | 'y' << 8);
}

TEST_F(Dimms, TheConfiguredSpeedPastTheTableReadsAsZero) {
  MemoryDevice bare;
  bare.locator = bare.bankLocator = bare.manufacturer = std::nullopt;
  bare.serial = bare.assetTag = bare.partNumber = std::nullopt;
  ASSERT_EQ(Make(Table::Of(bare.Build().CutTo(0x1B))), EFI_SUCCESS);
  EXPECT_EQ(Dimm().ConfiguredMemClockSpeed, 0);
}

// --- The late fields: all or none ---

TEST_F(Dimms, UpToLength33hThereAreNoLateFields) {
  ASSERT_EQ(Make(Table::Of(OneModule().Build().CutTo(0x33))), EFI_SUCCESS);
  EXPECT_EQ(Dimm().MemTechnology, 0);
  EXPECT_EQ(Dimm().MemOpModeCap, 0);
  EXPECT_EQ(Dimm().ModuleMID, 0);
  EXPECT_EQ(Dimm().MemSubMID, 0);
  EXPECT_EQ(Dimm().NonVolatileSize, 0u);
  EXPECT_EQ(Dimm().LogicalSize, 0u);
  EXPECT_THAT(log, Contains("MakeDIMMs: sizeof type17 structure = 51 \n"));
  EXPECT_THAT(log, Not(Contains(HasSubstr("MemTechnology"))));
}

TEST_F(Dimms, FromLength34hOnAllLateFieldsAreReadAsTheyStand) {
  MemoryDevice module = OneModule();
  module.locator = "12345678abcdefghABCDEFGHijklmnop";  // the first string, over the four sizes
  ASSERT_EQ(Make(Table::Of(module.Build().CutTo(0x34))), EFI_SUCCESS);
  EXPECT_EQ(Dimm().MemTechnology, 4);
  EXPECT_EQ(Dimm().MemOpModeCap, 0x0018);
  EXPECT_EQ(Dimm().ModuleMID, 0x2C80);
  EXPECT_EQ(Dimm().ModulePID, 0x1122);
  EXPECT_EQ(Dimm().MemSubMID, 0x3344);
  EXPECT_EQ(Dimm().MemSubPID, 0x5566);
  EXPECT_EQ(Dimm().NonVolatileSize, 0x3837363534333231u);
  EXPECT_EQ(Dimm().VolatileSize, 0x6867666564636261u);
  EXPECT_EQ(Dimm().CacheSize, 0x4847464544434241u);
  EXPECT_EQ(Dimm().LogicalSize, 0x706F6E6D6C6B6A69u);
  EXPECT_THAT(log, Contains("MakeDIMMs: sizeof type17 structure = 52 \n"));
}

TEST_F(Dimms, LateFieldsPastTheTableReadAsZero) {
  MemoryDevice bare = OneModule();
  bare.locator = bare.bankLocator = bare.manufacturer = bare.firmwareVersion = std::nullopt;
  bare.serial = bare.assetTag = bare.partNumber = std::nullopt;
  ASSERT_EQ(Make(Table::Of(bare.Build().CutTo(0x3C))), EFI_SUCCESS);
  EXPECT_EQ(Dimm().NonVolatileSize, 0x1000000000u);
  EXPECT_EQ(Dimm().VolatileSize, 0u);
  EXPECT_EQ(Dimm().LogicalSize, 0u);
}

TEST_F(Dimms, TheLateFieldsDoNotDependOnTheVersion) {
  ASSERT_EQ(Make(Table::Of(OneModule()).OfVersion(2, 3)), EFI_SUCCESS);
  EXPECT_EQ(Dimm().LogicalSize, 0x4000000000u);
}

// --- Short structures ---

TEST_F(Dimms, FieldsPastTheFormattedPartReadAsZero) {
  ASSERT_EQ(Make(Table::Of(OneModule().Build().CutTo(0x12))), EFI_SUCCESS);
  EXPECT_EQ(Dimm().Size, 0x7FFF);
  EXPECT_EQ(Dimm().MemoryType, 0);
  EXPECT_EQ(Dimm().TypeDetail, 0);
  EXPECT_EQ(Dimm().Speed, 0);
  EXPECT_EQ(Dimm().Manufacturer, std::nullopt);
  EXPECT_EQ(Dimm().WWN, std::nullopt);
  EXPECT_EQ(Dimm().PartNumber, std::nullopt);
  EXPECT_EQ(Dimm().MarketingName, "UnknownDIMM");
  EXPECT_EQ(Dimm().BankLocator, "Bank 3");
}

TEST_F(Dimms, ASizePastTheFormattedPartIsAnEmptySlot) {
  EXPECT_EQ(Make(Table::Of(OneModule().Build().CutTo(0x0C))), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 0u);
}

// --- String numbers out of range: what is read afterwards comes from the structure behind ---

struct MovedCase {
  const char* name;
  uint8_t field;  // of the string number
  Text wwn;       // whose, in the order in which the strings are read
  Text locator;
  Text manufacturer;
  Text bank;
  Text asset;
  Text part;
};

class DimmMovedSlot : public Dimms, public testing::WithParamInterface<MovedCase> {};

MemoryDevice ModuleOf(uint16_t handle, const std::string& mark) {
  MemoryDevice module;
  module.handle = handle;
  module.serial = mark + " serial";
  module.locator = mark;
  module.manufacturer = mark + " maker";
  module.bankLocator = mark + " bank";
  module.assetTag = mark + " asset";
  module.partNumber = mark + " part";
  return module;
}

TEST_P(DimmMovedSlot, TakesTheRestFromTheStructureBehind) {
  Structure first = ModuleOf(0x1100, "one").Build();
  first.SetByte(GetParam().field, 99);
  MemoryDevice second = ModuleOf(0x1101, "two");
  second.size = 0;  // gets no record itself
  second.totalWidth = 8;
  second.speed = 1;
  ASSERT_EQ(Make(Table::Of(first, second)), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  // Size, speed and type are read before the part number, the rest behind it.
  const bool isPart = GetParam().field == 0x1A;
  const record::Dimm dimm = Dimm();
  EXPECT_EQ(dimm.WWN, GetParam().wwn);
  EXPECT_EQ(dimm.DeviceLocator, GetParam().locator);
  EXPECT_EQ(dimm.Manufacturer, GetParam().manufacturer);
  EXPECT_EQ(dimm.BankLocator, GetParam().bank);
  EXPECT_EQ(dimm.AssetTag, GetParam().asset);
  EXPECT_EQ(dimm.PartNumber, GetParam().part);
  EXPECT_EQ(dimm.TotalWidth, 8);
  EXPECT_EQ(dimm.Handle, 0x1101);
  EXPECT_EQ(dimm.Size, isPart ? 0x4000 : 0);
  EXPECT_EQ(dimm.Speed, isPart ? 3200 : 1);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, DimmMovedSlot,
    testing::Values(MovedCase{"SerialNumber", 0x18, std::nullopt, "two", "two maker", "two bank",
                              "two asset", "two part"},
                    MovedCase{"DeviceLocator", 0x10, "one serial", std::nullopt, "two maker",
                              "two bank", "two asset", "two part"},
                    MovedCase{"Manufacturer", 0x17, "one serial", "one", std::nullopt, "two bank",
                              "two asset", "two part"},
                    MovedCase{"BankLocator", 0x11, "one serial", "one", "one maker", std::nullopt,
                              "two asset", "two part"},
                    MovedCase{"AssetTag", 0x19, "one serial", "one", "one maker", "one bank",
                              std::nullopt, "two part"},
                    MovedCase{"PartNumber", 0x1A, "one serial", "one", "one maker", "one bank",
                              "one asset", std::nullopt}),
    [](const auto& info) { return info.param.name; });

TEST_F(Dimms, AMovedModuleDoesNotKeepTheNextOneFromItsRecord) {
  Structure first = ModuleOf(0x1100, "one").Build();
  first.SetByte(0x1A, 99);
  ASSERT_EQ(Make(Table::Of(first, ModuleOf(0x1101, "two"))), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 2u);
  EXPECT_EQ(Dimm(1).WWN, "two serial");
}

TEST_F(Dimms, AMovedModuleTakesTheExtensionOfTheStructureBehind) {
  Structure first = ModuleOf(0x1100, "one").Build();
  first.SetByte(0x1A, 99);
  MemoryDevice second = ModuleOf(0x1101, "two");
  second.size = 0;
  ASSERT_EQ(Make(Table::Of(first, second, DimmExtension{.deviceHandle = 0x1100, .componentId = 1},
                           DimmExtension{.deviceHandle = 0x1101, .componentId = 2})),
            EFI_SUCCESS);
  EXPECT_EQ(Dimm().ComponentID, 2u);
}

TEST_F(Dimms, BehindTheLastStructureNothingIsLeftToRead) {
  Structure only = ModuleOf(0x1100, "one").Build();
  only.SetByte(0x18, 99);
  ASSERT_EQ(Make(Table::Of(only)), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  EXPECT_EQ(Dimm().Manufacturer, std::nullopt);
  EXPECT_EQ(Dimm().Size, 0);
  EXPECT_EQ(Dimm().Handle, 0xFFFF);
  EXPECT_EQ(Dimm().ConfiguredMemClockSpeed, 0);
  EXPECT_EQ(PathData(), (Bytes{3, 0, 0, 0, 0, 0, 0}));
  EXPECT_THAT(log, Contains("MakeDIMMs: sizeof type17 structure = 0 \n"));
}

}  // namespace
}  // namespace tvq::test
