/*
 * Conforming: which names sockets and slots get, and how a name gets into a structure.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/smbios/names/slot_name.h"

namespace tvq::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::SizeIs;
using tvqplatform::ConformResult;

using ConformNames = AgentTest;

// A table of sockets and slots. Handles count from 8000h.
class Devices {
 public:
  Devices& Cpu(const Text& designation, uint8_t status = 0x41) {
    mTable.Add(Processor{.designation = designation, .status = status});
    return *this;
  }
  Devices& Dimm(const Text& locator, const Text& bank = std::nullopt, uint16_t size = 0x4000,
                uint8_t memoryType = 0x1A) {
    mTable.Add(MemoryDevice{
        .size = size, .locator = locator, .bankLocator = bank, .memoryType = memoryType});
    return *this;
  }
  Bytes Build() const { return mTable.Bytes(); }
  // The same with a type 225 for every device, so that only names are at stake.
  Bytes BuildWithMap() const {
    FqddMap map;
    for (const FoundStructure& structure : Parse(mTable.Bytes())) {
      map.groups.push_back({"X" + std::to_string(structure.handle), structure.handle});
    }
    return Table::Of(mTable, map, End{}).Bytes();
  }

 private:
  Table mTable;
};

std::vector<std::string> Designated(const Devices& devices) {
  return Designations(Conform(devices.Build()).table);
}
std::vector<std::string> Located(const Devices& devices) {
  return Locators(Conform(devices.Build()).table);
}

const auto kComputed = MatchesRegex("DIMM_[-_][0-9A-Z][0-9A-Z]");

TEST_F(ConformNames, LeavesATableThatNeedsNothingByteForByte) {
  const Bytes table =
      Devices().Cpu("CPU1").Cpu("CPU2").Dimm("DIMM_A1").Dimm("DIMM_A2").Dimm("B1").BuildWithMap();
  const Conformed conformed = Conform(table);
  EXPECT_EQ(conformed.result, ConformResult::kUnchanged);
  EXPECT_EQ(conformed.table, table);
  EXPECT_THAT(conformed.changes, ElementsAre());
  EXPECT_EQ(AgentBlocks(), 0u);
}

TEST_F(ConformNames, LeavesAnEmptyTableWithAMap) {
  EXPECT_EQ(Conform(Devices().BuildWithMap()).result, ConformResult::kUnchanged);
}

// --- Processors ---

TEST_F(ConformNames, GivesEverySocketTheNumberOfItsText) {
  EXPECT_THAT(Designated(Devices().Cpu("SOCKET 1").Cpu("SOCKET 0", 0x01)),
              ElementsAre("CPU1", "CPU0"));
  EXPECT_THAT(Designated(Devices().Cpu("CPU 12")), ElementsAre("CPU! 12"));
}

TEST_F(ConformNames, RenamesSocketsAlsoWhereNothingClashes) {
  EXPECT_THAT(Designated(Devices().Cpu("Proc 1")), ElementsAre("CPU1"));
}

TEST_F(ConformNames, NumbersOtherSocketsInOrderAroundTheNumbersThatTextsGive) {
  EXPECT_THAT(Designated(Devices().Cpu("U3E1").Cpu("CPU 2").Cpu("CPU", 0x00).Cpu(std::nullopt)),
              ElementsAre("CPU1", "CPU2", "CPU3", "CPU4"));
}

TEST_F(ConformNames, GivesANumberOfTwoTextsToNeitherSocket) {
  const Conformed conformed =
      Conform(Devices().Cpu("CPU 1").Cpu("SOCKET 1").Cpu("CPU 3").BuildWithMap());
  EXPECT_THAT(Designations(conformed.table), ElementsAre("CPU2", "CPU4", "CPU3"));
  EXPECT_THAT(
      conformed.changes,
      Contains("type 4, handle 0x8000: named otherwise than \"1\", as handle 0x8001 would be "
               "too"));
  EXPECT_THAT(
      conformed.changes,
      Contains("type 4, handle 0x8001: named otherwise than \"1\", as handle 0x8000 would be "
               "too"));
  EXPECT_THAT(Conform(Devices().Cpu("CPU 220").Cpu("Proc 220").Build()).changes,
              Contains(HasSubstr("named otherwise than \"220\"")));
}

TEST_F(ConformNames, NamesAProcessorWhoseStringsBeginWithAnEmptyOneForGood) {
  const Conformed conformed = Conform(Devices().Cpu("").Cpu("CPU2").Build());
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  EXPECT_EQ(Conform(conformed.table).result, ConformResult::kUnchanged);
}

TEST_F(ConformNames, NumbersAsManySocketsAsOneCharacterTellsApart) {
  Devices devices;
  for (int i = 0; i < 220; ++i) {
    devices.Cpu("CPU");
  }
  const std::vector<std::string> names = Designated(devices);
  ASSERT_EQ(names.size(), 220u);
  EXPECT_EQ(names[8], "CPU9");
  EXPECT_EQ(names[9], "CPU: 10");
  EXPECT_EQ(names[127], "CPU\xA3 128");
  EXPECT_EQ(names[219], "CPU\xFF 220");
  const Bytes tooMany = devices.Cpu("CPU").Build();
  const Conformed conformed = Conform(tooMany);
  EXPECT_EQ(conformed.result, ConformResult::kTooManyProcessors);
  EXPECT_EQ(conformed.table, tooMany);
  EXPECT_THAT(conformed.changes, ElementsAre());
}

TEST_F(ConformNames, LeavesTheHighestNumberToTheSocketWhoseTextGivesIt) {
  Devices devices = Devices().Cpu("CPU 220");
  for (int i = 0; i < 219; ++i) {
    devices.Cpu("CPU");
  }
  EXPECT_EQ(Designated(devices).back(), "CPU\xFE 219");
  EXPECT_EQ(Conform(devices.Cpu("CPU").Build()).result, ConformResult::kTooManyProcessors);
}

// --- Modules ---

TEST_F(ConformNames, GivesEverySlotTheNameOfItsTexts) {
  EXPECT_THAT(Located(Devices()
                          .Dimm("P1-DIMMA1")
                          .Dimm("P1-DIMMA2", std::nullopt, 0)
                          .Dimm("DIMM 0", "P0 CHANNEL B")
                          .Dimm("PROC 11 DIMM 2", std::nullopt, 0x4000, 0x1F)),
              ElementsAre("DIMM_1A1", "DIMM_1A2", "DIMM_0B0", "DIMM_B12"));
}

TEST_F(ConformNames, LeavesALocatorFromWhichTheDriverReadsTheName) {
  EXPECT_THAT(Located(Devices().Dimm("A1").Dimm("DIMM_B2").Dimm("DIMM_A10").Dimm("DIMM_C1 ")),
              ElementsAre("A1", "DIMM_B2", "DIMM_A10", "DIMM_C1"));
  // Of a name of one character, the driver reads on behind it.
  EXPECT_THAT(Located(Devices().Dimm("1", "BANK 1")), ElementsAre("DIMM_1"));
}

TEST_F(ConformNames, ComputesBothNamesWhereTwoTextsGiveOne) {
  const Devices devices = Devices().Dimm("DIMM_A1", "NODE 1").Dimm("DIMM_A1", "NODE 2").Dimm("B1");
  const Conformed conformed = Conform(devices.BuildWithMap());
  EXPECT_THAT(Locators(conformed.table), ElementsAre(kComputed, kComputed, "B1"));
  EXPECT_THAT(
      conformed.changes,
      Contains("type 17, handle 0x8000: named otherwise than \"A1\", as handle 0x8001 would "
               "be too"));
  EXPECT_THAT(
      conformed.changes,
      Contains("type 17, handle 0x8001: named otherwise than \"A1\", as handle 0x8000 would "
               "be too"));
}

TEST_F(ConformNames, ComputesANameFromTheSlotsOwnTexts) {
  const std::string name = Located(Devices().Dimm("NO DIMM", "NO DIMM"))[0];
  EXPECT_THAT(name, kComputed);
  EXPECT_THAT(
      Conform(Devices().Dimm("BIOS", "ROM0").Dimm("NO DIMM", "NO DIMM").BuildWithMap()).changes,
      AllOf(SizeIs(2), Each(HasSubstr("device locator"))))
      << "two slots that no rule names do not clash";
  EXPECT_EQ(Located(Devices().Dimm("A1").Dimm("BIOS", "ROM0").Dimm("NO DIMM", "NO DIMM"))[2], name);
}

// Which computed name a slot with these texts asks for, and a computed name as a locator.
uint32_t NameFor(const std::string& locator, const std::string& bank) {
  const auto text = [](const std::string& characters) {
    return smbios::Text(reinterpret_cast<const uint8_t*>(characters.data()), characters.size());
  };
  return tvqplatform::FirstComputedName({text(locator), text(bank)});
}
std::string LocatorOf(uint32_t computedName) {
  char name[tvqplatform::kSlotNameLength + 1];
  tvqplatform::PrintComputedName(computedName % tvqplatform::kComputedNames, name);
  return std::string("DIMM_") + name;
}

TEST_F(ConformNames, KeepsAComputedNameThatTheTextsOfAnotherSlotAskFor) {
  const uint32_t name = NameFor("BIOS", "ROM0");
  EXPECT_THAT(Located(Devices().Dimm("BIOS", "ROM0").Dimm(LocatorOf(name))),
              ElementsAre(LocatorOf(name + 1), LocatorOf(name)));
}

TEST_F(ConformNames, NamesASlotOfItsOwnTextsBeforeOneThatSharesThem) {
  const uint32_t name = NameFor("BIOS", "ROM0");
  std::string bank;
  for (int i = 1; NameFor("BIOS", bank) != (name + 1) % tvqplatform::kComputedNames; ++i) {
    bank = "ROM" + std::to_string(i);
  }
  EXPECT_THAT(Located(Devices().Dimm("BIOS", "ROM0").Dimm("BIOS", "ROM0").Dimm("BIOS", bank)),
              ElementsAre(LocatorOf(name), LocatorOf(name + 2), LocatorOf(name + 1)));
}

TEST_F(ConformNames, TriesTheFirstComputedNameBehindTheLast) {
  EXPECT_THAT(Located(Devices().Dimm("DIMM__ZZ").Dimm("DIMM__ZZ")),
              ElementsAre("DIMM__ZZ", "DIMM_-00"));
}

TEST_F(ConformNames, GivesTheRulesNameToTheFirstOfSlotsWithEqualTexts) {
  const Conformed conformed = Conform(
      Devices().Dimm("DIMM 1").Dimm("DIMM 1 ").Dimm("DIMM 1", std::nullopt, 0).BuildWithMap());
  EXPECT_THAT(Locators(conformed.table), ElementsAre("DIMM_1", kComputed, kComputed));
  EXPECT_THAT(conformed.changes,
              Contains("type 17, handle 0x8001: has the same texts as handle 0x8000 before it"));
  EXPECT_THAT(Located(Devices().Dimm("DIMM_A1", "1").Dimm("DIMM_A1", "2")),
              ElementsAre(kComputed, kComputed))
      << "the bank's text counts too";
}

TEST_F(ConformNames, NamesThatDifferInCaseAloneAreOne) {
  EXPECT_THAT(Located(Devices().Dimm("DIMM A1").Dimm("dimm a1")),
              ElementsAre(kComputed, kComputed));
}

TEST_F(ConformNames, NamesEveryMemoryDeviceButHbm) {
  EXPECT_THAT(Located(Devices()
                          .Dimm("DIMM 1")
                          .Dimm("CPU0_HBMIO0", std::nullopt, 0x4000, 0x20)
                          .Dimm("DIMM 2", std::nullopt, 0)
                          .Dimm("DIMM 3", std::nullopt, 0x4000, 0x1F)
                          .Dimm("CPU0_HBMIO1", std::nullopt, 0x4000, 0x21)
                          .Dimm("DIMM 1")),
              ElementsAre("DIMM_1", "CPU0_HBMIO0", "DIMM_2", "DIMM_3", "CPU0_HBMIO1", kComputed));
}

// The shortest memory device that can have a name.
Structure ShortMemoryDevice() {
  Structure device{.type = 17, .body = Bytes(0x11 - 4, 0)};
  return device.SetWord(0x0C, 0x4000);
}

TEST_F(ConformNames, RefusesMoreSlotsThanNamesCanBeComputedFor) {
  // Without a record, so that the table has room.
  const Structure slot = ShortMemoryDevice().SetWord(0x0C, 0);
  EXPECT_EQ(Conform(Table::Of(Copies(2300, slot), FqddMap{}).Bytes()).result,
            ConformResult::kChanged);
  EXPECT_EQ(Conform(Table::Of(Copies(2592, slot), FqddMap{}).Bytes()).result,
            ConformResult::kTooLarge)
      << "there are names, and no room for them";
  EXPECT_EQ(Conform(Table::Of(Copies(2593, slot), FqddMap{}).Bytes()).result,
            ConformResult::kTooManyModules);
}

// --- How a name gets into a structure ---

TEST_F(ConformNames, AppendsTheNameAndChangesNothingElse) {
  const Bytes before = Devices().Cpu("SOCKET 0").Cpu("SOCKET 1").BuildWithMap();
  const std::vector<FoundStructure> old = Parse(before);
  const std::vector<FoundStructure> now = Parse(Conform(before).table);
  ASSERT_EQ(now.size(), old.size());
  for (size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(now[i].formatted[0x04], old[i].strings.size() + 1);
    FoundStructure expected = old[i];
    expected.formatted[0x04] = now[i].formatted[0x04];
    expected.strings.push_back(i == 0 ? "CPU0" : "CPU1");
    EXPECT_EQ(now[i].formatted, expected.formatted);
    EXPECT_EQ(now[i].strings, expected.strings);
  }
  EXPECT_EQ(now[2].formatted, old[2].formatted);
  EXPECT_EQ(now[3].formatted, old[3].formatted);
}

TEST_F(ConformNames, AppendsTheFirstString) {
  const std::vector<FoundStructure> now =
      Parse(Conform(Table::Of(ShortMemoryDevice()).Bytes()).table);
  EXPECT_THAT(now[0].strings, ElementsAre(kComputed));
  EXPECT_EQ(now[0].formatted[0x10], 1);
}

TEST_F(ConformNames, RefusesAStructureThatHasNoNumberLeft) {
  Structure full = ShortMemoryDevice();
  full.strings.assign(255, "x");
  EXPECT_EQ(Conform(Table::Of(full, FqddMap{}).Bytes()).result, ConformResult::kTooManyStrings);

  Structure nearlyFull = full;
  nearlyFull.strings.resize(254);
  const Conformed conformed = Conform(Table::Of(nearlyFull, FqddMap{}).Bytes());
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  EXPECT_EQ(Parse(conformed.table)[0].formatted[0x10], 255);
}

TEST_F(ConformNames, LeavesAStructureWithoutTheField) {
  const Conformed conformed = Conform(
      Table::Of(MemoryDevice{}.Build().CutTo(0x10), MemoryDevice{.locator = "DIMM_B1"}).Bytes());
  EXPECT_EQ(Parse(conformed.table)[0].formatted.size(), 0x10u);
  EXPECT_THAT(Locators(conformed.table), ElementsAre("", "DIMM_B1"));
}

TEST_F(ConformNames, ReportsEveryChange) {
  const Conformed conformed = Conform(Devices()
                                          .Cpu("SOCKET 0")
                                          .Cpu(std::nullopt)
                                          .Dimm("P1-DIMM1A")
                                          .Dimm("P1-DIMM1B")
                                          .BuildWithMap());
  EXPECT_THAT(conformed.changes,
              ElementsAre("type 4, handle 0x8000: socket designation: \"SOCKET 0\" -> \"CPU0\"",
                          "type 4, handle 0x8001: socket designation: (none) -> \"CPU1\"",
                          "type 17, handle 0x8002: device locator: \"P1-DIMM1A\" -> \"DIMM_11A\"",
                          "type 17, handle 0x8003: device locator: \"P1-DIMM1B\" -> \"DIMM_11B\""));
}

TEST_F(ConformNames, ReportsUnprintableTextsReadably) {
  const Conformed conformed = Conform(Devices()
                                          .Dimm("a\x1B[\x80")
                                          .Dimm(" ~\x1F\x7F")
                                          .Dimm(std::string(200, 'a'))
                                          .Dimm("DIMM A1")
                                          .BuildWithMap());
  ASSERT_EQ(conformed.changes.size(), 4u);
  EXPECT_THAT(conformed.changes[0], HasSubstr("locator: \"a\\x1B[\\x80\" -> "));
  EXPECT_THAT(conformed.changes[1], HasSubstr("locator: \" ~\\x1F\\x7F\" -> "));
  EXPECT_THAT(conformed.changes[2],
              HasSubstr("locator: \"" + std::string(73, 'a') + "\" -> \"DIMM_"))
      << "a long text is cut, the line is whole";
}

TEST_F(ConformNames, PointsOutWhatIsMoreThanANameOrFqddWhereThereWasNone) {
  Table table = Table::Of(
      FqddMap{.handle = 0xE0, .format = 2}, FqddMap{.handle = 0xE1, .groups = {{"CPU 1", 0x400}}},
      Processor{.handle = 0x400, .designation = "SOCKET 1"},
      MemoryDevice{.handle = 0x1100, .locator = "DIMM_A1", .bankLocator = "NODE 1"},
      MemoryDevice{.handle = 0x1101, .locator = "DIMM_A1", .bankLocator = "NODE 2"},
      MemoryDevice{.handle = 0x1102, .locator = "DIMM_A1", .bankLocator = "NODE 2"},
      System{.handle = 0x100});
  table.Chop(1);
  EXPECT_THAT(
      Conform(table.Bytes()).remarkable,
      ElementsAre(
          "type 225, handle 0x00E0: made inactive (type 126), because it names no devices that the "
          "driver could find",
          "type 225, handle 0x00E1: FQDD of handle 0x0400: \"CPU 1\" -> \"CPU.Socket.1\"",
          "type 17, handle 0x1100: named otherwise than \"A1\", as handle 0x1101 would be too",
          "type 17, handle 0x1101: named otherwise than \"A1\", as handle 0x1100 would be too",
          "type 17, handle 0x1102: has the same texts as handle 0x1101 before it",
          "type 1, handle 0x0100: was cut off and is ended"));
  EXPECT_THAT(Conform(Table::Of(System{}).Bytes()).remarkable, ElementsAre());
}

TEST_F(ConformNames, NeedsNothingASecondTime) {
  const Conformed first =
      Conform(Devices().Cpu("X").Cpu("CPU 12").Dimm("same").Dimm("same").Dimm("DIMM 3").Build());
  ASSERT_EQ(first.result, ConformResult::kChanged);
  const Conformed second = Conform(first.table);
  EXPECT_EQ(second.result, ConformResult::kUnchanged);
  EXPECT_EQ(second.table, first.table);
}

}  // namespace
}  // namespace tvq::test
