/*
 * Records of memory modules.
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
using testing::Not;

// --- What is logged ---

TEST_F(Dimms, LogEveryStep) {
  ASSERT_EQ(Make(WholeMemory()), EFI_SUCCESS);
  EXPECT_TRUE(SameLines(
      log,
      Joined(
          {LinesOf("MakeDIMMs",
                   {"Entry MakeDIMMs\n", "Found 1 E2\n", "Handle = 0xE200 17Handle 0x1100 \n",
                    "CMPID = 107187 PRID = 0x12AB\n", "FirmwareVersion: 1.2.3\n"}),
           LinesOf("AddTypeE2toList", {"Entry\n", "Adding First Entry to pE2ListRoot\n", "Exit\n"}),
           LinesOf("MakeDIMMs",
                   {"Socket = A1 \n", "Manufacturer in smTVQ struct: Memory Works\n",
                    "Bank Locator in smTVQ struct: Bank 3\n",
                    "Asset tag in smTVQ struct: 01221234\n", "Adding Extended Size here\n"}),
           LinesOf("GetTypeE2FromList", {"Entry\n", "Type17TableHandle from List= 0x1100\n\n",
                                         "Found Match\n", "Exit\n"}),
           LinesOf(
               "MakeDIMMs",
               {"E2Handle = 0xE200 Type17Handle 0x1100 \n", "CID = 107187 PRID = 0x12AB FW=1.2.3\n",
                "FWVerLen = 5 \n", "sizeof type17 structure = 92 \n", "MemTechnology = 4 \n",
                "MemOpModeCap = 24 \n", "ModuleMID = 11392 \n", "ModulePID = 4386 \n",
                "MemSubMID = 13124 \n", "MemSubPID = 21862 \n", "NonVolatizeSize = 68719476736 \n",
                "VolatizeSize = 137438953472 \n", "CacheSize = 206158430208 \n",
                "LogicalSize = 274877906944 \n"}),
           LinesOf("ReleaseE2List", {"Entry\n", "Free FirmwareVersion\n", "Free Node\n", "Exit\n"}),
           LinesOf("MakeDIMMs", {"Leaving MakeDIMMs\n"})})));
}

TEST_F(Dimms, WithoutTextsLogFewerLines) {
  MemoryDevice bare;
  bare.locator = bare.bankLocator = bare.manufacturer = std::nullopt;
  bare.serial = bare.assetTag = bare.partNumber = std::nullopt;
  ASSERT_EQ(Make(Table::Of(bare.Build().CutTo(0x1B))), EFI_SUCCESS);
  EXPECT_TRUE(SameLines(
      log, Joined({LinesOf("MakeDIMMs", {"Entry MakeDIMMs\n", "Could not Found 0xE2 (226)\n"}),
                   LinesOf("GetTypeE2FromList", {"Entry\n", "NULL List\n"}),
                   LinesOf("MakeDIMMs", {"sizeof type17 structure = 27 \n"}),
                   LinesOf("ReleaseE2List", {"Entry\n", "Exit\n"}),
                   LinesOf("MakeDIMMs", {"Leaving MakeDIMMs\n"})})));
}

TEST_F(Dimms, AreNotFoundWithoutADevice) {
  EXPECT_EQ(Make(Table::Of(Bios{})), EFI_NOT_FOUND);
  EXPECT_EQ(log, LinesOf("MakeDIMMs", {"Entry MakeDIMMs\n", "Could not Found 0xE2 (226)\n",
                                       "Did not find any DIMM SMBIOS structures\n"}));
}

// --- Which devices get a record ---

TEST_F(Dimms, EmptySlotsGetNoRecordAndNoLine) {
  EXPECT_EQ(Make(Table::Of(MemoryDevice{.size = 0}, MemoryDevice{.size = 0})), EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 0u);
  EXPECT_TRUE(SameLines(
      log, Joined({LinesOf("MakeDIMMs", {"Entry MakeDIMMs\n", "Could not Found 0xE2 (226)\n"}),
                   LinesOf("ReleaseE2List", {"Entry\n", "Exit\n"}),
                   LinesOf("MakeDIMMs", {"Leaving MakeDIMMs\n"})})));
}

TEST_F(Dimms, LogicalNonVolatileDevicesAndHbmAreSkippedByTheirPosition) {
  EXPECT_EQ(Make(Table::Of(MemoryDevice{.handle = 0x1150, .size = 0},
                           MemoryDevice{.handle = 0x1151, .memoryType = 0x1F},
                           MemoryDevice{.handle = 0x1152, .memoryType = 0x20},
                           MemoryDevice{.handle = 0x1153, .memoryType = 0x21})),
            EFI_SUCCESS);
  EXPECT_EQ(RecordCount(), 0u);
  EXPECT_TRUE(SameLines(
      log,
      Joined({LinesOf("MakeDIMMs", {"Entry MakeDIMMs\n", "Could not Found 0xE2 (226)\n",
                                    "Skipping Logical NVDIMM at i=1", "Skipping HBM devices at i=2",
                                    "Skipping HBM devices at i=3"}),
              LinesOf("ReleaseE2List", {"Entry\n", "Exit\n"}),
              LinesOf("MakeDIMMs", {"Leaving MakeDIMMs\n"})})));
}

TEST_F(Dimms, AnEmptySlotOfASkippedTypeLogsItsSkipLine) {
  EXPECT_EQ(Make(Table::Of(MemoryDevice{.size = 0, .memoryType = 0x1F},
                           MemoryDevice{.size = 0, .memoryType = 0x20})),
            EFI_SUCCESS);
  EXPECT_THAT(log, Contains("MakeDIMMs: Skipping Logical NVDIMM at i=0"));
  EXPECT_THAT(log, Contains("MakeDIMMs: Skipping HBM devices at i=1"));
}

TEST_F(Dimms, EveryOtherModuleHasARecordInTableOrder) {
  ASSERT_EQ(Make(Table::Of(LocatedAt("DIMM_B1"), MemoryDevice{.size = 0}, LocatedAt("DIMM_A1"))),
            EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 2u);
  EXPECT_EQ(NameOf(0), "DIMM B1");
  EXPECT_EQ(NameOf(1), "DIMM A1");
}

// --- The record ---

TEST_F(Dimms, TheRecordHoldsWhatTheStructuresSayAndNothingElse) {
  ASSERT_EQ(Make(WholeMemory()), EFI_SUCCESS);
  EXPECT_THAT(Dimm(), Is(record::Dimm{.MarketingName = "DDR5DIMM",
                                      .WWN = "0123ABCD",
                                      .DeviceType = 3,
                                      .FQDD = "DIMM.Socket.A1",
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
                                      .TypeDetail = 0x2080,
                                      .FirmwareVersion = "1.2.3",
                                      .ComponentID = 107187,
                                      .ProductID = 0x12AB,
                                      .MemTechnology = 4,
                                      .MemOpModeCap = 0x0018,
                                      .ModuleMID = 0x2C80,
                                      .ModulePID = 0x1122,
                                      .MemSubMID = 0x3344,
                                      .MemSubPID = 0x5566,
                                      .NonVolatileSize = 0x1000000000,
                                      .VolatileSize = 0x2000000000,
                                      .CacheSize = 0x3000000000,
                                      .LogicalSize = 0x4000000000}));
  ExpectNothingBesides(sizeof(TVQ_DIMM));
}

TEST_F(Dimms, TheRecordIsPublishedWithItsProtocolsOnAHandleOfItsOwn) {
  ASSERT_EQ(Make(WholeMemory()), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 1u);
  ExpectPublishedWhole(0);
  ExpectServes(0);
}

TEST_F(Dimms, TheDevicePathNamesTypeAndLocator) {
  ASSERT_EQ(Make(Table::Of(LocatedAt("DIMM_B10"))), EFI_SUCCESS);
  const auto* const path = reinterpret_cast<const uint8_t*>(harness.Records().at(0).devicePath);
  EXPECT_EQ(Bytes(path, path + sizeof(TVQ_DEVICE_PATH)),
            (Bytes{0x01, 0x04, 27,   0,    0x96, 0x2E, 0x08, 0xEA, 0x4B, 0xB6, 0xB3,
                   0x48, 0xA1, 0x53, 0x0A, 0x0F, 0xE8, 0xBF, 0x90, 0x5E, 3,    'B',
                   0,    '1',  0,    '0',  0,    0x7F, 0xFF, 4,    0}));
  EXPECT_EQ(Value(Record()->DevicePath), gTvqDevicePath);
}

// --- Device locator ---

struct LocatorCase {
  const char* name;
  std::string locator;
  std::u16string units;
};

class DimmLocator : public Dimms, public testing::WithParamInterface<LocatorCase> {};

TEST_P(DimmLocator, IsThreeCharactersAsTheyStand) {
  MemoryDevice module = LocatedAt(GetParam().locator);
  module.bankLocator = "XYZ";  // the string behind the locator
  ASSERT_EQ(Make(Table::Of(module)), EFI_SUCCESS);
  const std::u16string units = GetParam().units;
  EXPECT_EQ(Units(Record()->device.dimm.DeviceLocator, 4),
            units + std::u16string(4 - units.size(), u'\0'));
  Bytes path = {3, 0, 0, 0, 0, 0, 0};
  std::memcpy(&path[1], units.data(), units.size() * sizeof(char16_t));
  EXPECT_EQ(PathData(), path);
}

INSTANTIATE_TEST_SUITE_P(Locators, DimmLocator,
                         testing::Values(LocatorCase{"Prefixed", "DIMM_A1", u"A1"},
                                         LocatorCase{"PrefixedWithThree", "DIMM_B10", u"B10"},
                                         LocatorCase{"PrefixedWithFour", "DIMM_B105", u"B10"},
                                         LocatorCase{"Plain", "A5", u"A5"},
                                         LocatorCase{"PlainAndLong", "Slot 7", u"Slo"},
                                         LocatorCase{"PrefixInTheMiddle", "CPU1_DIMM_A1", u"DIM"},
                                         LocatorCase{"PrefixOfAnotherCase", "Dimm_A1", u"Dim"},
                                         LocatorCase{"PrefixAlone", "DIMM_", {u"\0XY", 3}},
                                         LocatorCase{"OneCharacter", "A", {u"A\0X", 3}},
                                         LocatorCase{
                                             "HighBytes", "DIMM_\x80\xFF", {u"\xFF80\xFFFF\0", 3}}),
                         [](const auto& info) { return info.param.name; });

TEST_F(Dimms, WithoutALocatorThereAreThreeZeroCharacters) {
  ASSERT_EQ(Make(Table::Of(LocatedAt(std::nullopt))), EFI_SUCCESS);
  EXPECT_EQ(Dimm().DeviceLocator, std::nullopt);
  EXPECT_EQ(PathData(), (Bytes{3, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(NameOf(), "DIMM ");
  EXPECT_THAT(log, Not(Contains(HasSubstr("Socket = "))));
}

// --- Generic name ---

struct NameCase {
  uint8_t memoryType;
  uint8_t formFactor;
  const char* name;
};

class DimmName : public Dimms, public testing::WithParamInterface<NameCase> {};

TEST_P(DimmName, IsMadeOfMemoryTypeAndFormFactor) {
  ASSERT_EQ(Make(Table::Of(MemoryDevice{.formFactor = GetParam().formFactor,
                                        .memoryType = GetParam().memoryType})),
            EFI_SUCCESS);
  EXPECT_EQ(Dimm().MarketingName, GetParam().name);
  EXPECT_EQ(harness.Memory().Find(Value(Record()->device.dimm.Generic.MarketingName))->size,
            20 * sizeof(CHAR16));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, DimmName,
    testing::Values(NameCase{0x18, 0x09, "DDR3DIMM"}, NameCase{0x1A, 0x09, "DDR4DIMM"},
                    NameCase{0x22, 0x09, "DDR5DIMM"}, NameCase{0x03, 0x09, "DRAMDIMM"},
                    NameCase{0x02, 0x09, "UnknownDIMM"}, NameCase{0x18, 0x05, "DDR3Chip"},
                    NameCase{0x1A, 0x05, "DDR4Chip"}, NameCase{0x22, 0x05, "DDR5Chip"},
                    NameCase{0x03, 0x05, "DRAMChip"}, NameCase{0x1E, 0x05, "UnknownChip"},
                    NameCase{0x18, 0x0D, "DDR3Memory"}, NameCase{0x1A, 0x0F, "DDR4Memory"},
                    NameCase{0x22, 0x10, "DDR5Memory"}, NameCase{0x03, 0x02, "DRAMMemory"},
                    NameCase{0x02, 0x0D, "Unknown"}, NameCase{0x00, 0x00, "Unknown"}),
    [](const auto& info) { return std::string(info.param.name) + std::to_string(info.index); });

// --- Texts ---

struct TextCase {
  const char* name;
  Text MemoryDevice::*field;
  CHAR16* (*widened)(const TVQ_DIMM&);
};

class DimmText : public Dimms, public testing::WithParamInterface<TextCase> {};

TEST_P(DimmText, IsWidenedWithSignExtension) {
  MemoryDevice module;
  module.*GetParam().field = "\x7F\x80\xFF ";
  ASSERT_EQ(Make(Table::Of(module)), EFI_SUCCESS);
  CHAR16* const text = GetParam().widened(Record()->device.dimm);
  EXPECT_EQ(Units(text, 5), std::u16string(u"\x7F\xFF80\xFFFF \0", 5));
  EXPECT_EQ(harness.Memory().Find(text)->size, 5 * sizeof(CHAR16));
}

TEST_P(DimmText, ThatIsMissingIsNull) {
  MemoryDevice module;
  module.*GetParam().field = std::nullopt;
  ASSERT_EQ(Make(Table::Of(module)), EFI_SUCCESS);
  EXPECT_EQ(GetParam().widened(Record()->device.dimm), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Texts, DimmText,
                         testing::Values(TextCase{"Wwn", &MemoryDevice::serial,
                                                  [](const TVQ_DIMM& d) { return d.Generic.WWN; }},
                                         TextCase{"Manufacturer", &MemoryDevice::manufacturer,
                                                  [](const TVQ_DIMM& d) { return d.Manufacturer; }},
                                         TextCase{"BankLocator", &MemoryDevice::bankLocator,
                                                  [](const TVQ_DIMM& d) { return d.BankLocator; }},
                                         TextCase{"AssetTag", &MemoryDevice::assetTag,
                                                  [](const TVQ_DIMM& d) { return d.AssetTag; }}),
                         [](const auto& info) { return info.param.name; });

TEST_F(Dimms, ThePartNumberStaysAsItIsInABufferTwiceTheSize) {
  ASSERT_EQ(Make(Table::Of(MemoryDevice{.partNumber = "A\x80\xFF "})), EFI_SUCCESS);
  EXPECT_EQ(Dimm().PartNumber, "A\x80\xFF ");
  EXPECT_EQ(harness.Memory().Find(Value(Record()->device.dimm.PartNumber))->size, 10u);
  EXPECT_THAT(log, Not(Contains(HasSubstr("A\x80\xFF"))));
}

TEST_F(Dimms, WithoutAPartNumberThereIsNone) {
  ASSERT_EQ(Make(Table::Of(MemoryDevice{.partNumber = std::nullopt})), EFI_SUCCESS);
  EXPECT_EQ(Dimm().PartNumber, std::nullopt);
}

// --- FQDD ---

TEST_F(Dimms, WithoutAMapThereIsNoFqddAndNobodyLooksForOne) {
  ASSERT_EQ(Make(Table::Of(MemoryDevice{})), EFI_SUCCESS);
  EXPECT_EQ(Dimm().FQDD, std::nullopt);
  EXPECT_EQ(FqddOf(), "DIMM.Socket.A1");
  EXPECT_THAT(log, Not(Contains(HasSubstr("0x8000"))));
}

TEST_F(Dimms, AHandleThatIsNotInTheMapIsLoggedTwice) {
  ASSERT_EQ(Make(Table::Of(MemoryDevice{.handle = 0x11AB},
                           FqddMap{.groups = {{"DIMM.Socket.A1", 0x1100}}})),
            EFI_SUCCESS);
  EXPECT_EQ(Dimm().FQDD, std::nullopt);
  EXPECT_EQ(
      Strings(log.begin() + 2, log.begin() + 4),
      (Strings{"FindFqdd: Handle 0x11AB not found\n", "MakeDIMMs: NO FQDD for handle=0x11AB\n"}));
}

TEST_F(Dimms, AnEntryWithoutATextGivesNoFqddAndNoLine) {
  ASSERT_EQ(
      Make(Table::Of(MemoryDevice{.handle = 0x1100}, FqddMap{.groups = {{std::nullopt, 0x1100}}})),
      EFI_SUCCESS);
  EXPECT_EQ(Dimm().FQDD, std::nullopt);
  EXPECT_THAT(log, Not(Contains(HasSubstr("NO FQDD"))));
}

TEST_F(Dimms, AnFqddPastTheStringsMovesTheMapForAllLaterModules) {
  Structure map = FqddMap{.groups = {{"First", 0x1100}, {"Second", 0x1101}}}.Build();
  map.SetByte(5, 7);
  MemoryDevice second = LocatedAt("DIMM_A2");
  second.handle = 0x1101;
  ASSERT_EQ(Make(Table::Of(MemoryDevice{.handle = 0x1100}, second, map,
                           OemStrings{.texts = {"Other", "Stranger"}})),
            EFI_SUCCESS);
  EXPECT_EQ(Dimm(0).FQDD, std::nullopt);
  EXPECT_EQ(Dimm(1).FQDD, "Stranger");
}

// --- Extension ---

TEST_F(Dimms, WithoutAnExtensionItsFieldsAreEmpty) {
  ASSERT_EQ(Make(Table::Of(MemoryDevice{.handle = 0x1100}, DimmExtension{.deviceHandle = 0x1101})),
            EFI_SUCCESS);
  EXPECT_EQ(Dimm().ComponentID, 0u);
  EXPECT_EQ(Dimm().ProductID, 0);
  EXPECT_EQ(Dimm().FirmwareVersion, std::nullopt);
  EXPECT_THAT(log, Not(Contains(HasSubstr("E2Handle = "))));
}

TEST_F(Dimms, AnExtensionWithoutAFirmwareVersionIsNoExtension) {
  std::vector<Structure> structures;
  for (uint8_t number : std::initializer_list<uint8_t>{0, 2, 255}) {  // there is one string
    const auto handle = static_cast<uint16_t>(0x1100 + number);
    structures.push_back(
        MemoryDevice{.handle = handle, .locator = "DIMM_" + std::to_string(number)}.Build());
    structures.push_back(DimmExtension{.deviceHandle = handle}.Build().SetByte(6, number));
  }
  ASSERT_EQ(Make(Table::Of(structures)), EFI_SUCCESS);
  ASSERT_EQ(RecordCount(), 3u);
  for (size_t n = 0; n < 3; ++n) {
    EXPECT_EQ(Dimm(n).ComponentID, 0u) << "module " << n;
    EXPECT_EQ(Dimm(n).ProductID, 0) << "module " << n;
    EXPECT_EQ(Dimm(n).FirmwareVersion, std::nullopt) << "module " << n;
  }
}

TEST_F(Dimms, OfTwoExtensionsTheFirstOneCounts) {
  ASSERT_EQ(Make(Table::Of(MemoryDevice{.handle = 0x1100},
                           DimmExtension{.firmwareVersion = "one", .componentId = 1},
                           DimmExtension{.firmwareVersion = "two", .componentId = 2})),
            EFI_SUCCESS);
  EXPECT_EQ(Dimm().ComponentID, 1u);
  EXPECT_EQ(Dimm().FirmwareVersion, "one");
}

TEST_F(Dimms, TheFirmwareVersionIsWidenedWithSignExtension) {
  ASSERT_EQ(
      Make(Table::Of(MemoryDevice{.handle = 0x1100}, DimmExtension{.firmwareVersion = "1\xFE"})),
      EFI_SUCCESS);
  EXPECT_EQ(Units(Record()->device.dimm.FirmwareVersion, 3), std::u16string(u"1\xFFFE\0", 3));
}

}  // namespace
}  // namespace tvq::test
