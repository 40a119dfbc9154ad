/*
 * Conforming: which devices get new names, and how a name gets into a structure.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tvqplatform::ConformResult;

using ConformNames = AgentTest;

// A table with a type 225, so that only names are at stake.
class Devices {
 public:
  Devices& Cpu(const Text& designation, uint8_t status = 0x41) {
    mTable.Add(Processor{.designation = designation, .status = status});
    return *this;
  }
  Devices& Dimm(const Text& locator, uint16_t size = 0x4000, uint8_t memoryType = 0x1A) {
    mTable.Add(MemoryDevice{.size = size, .locator = locator, .memoryType = memoryType});
    return *this;
  }
  Bytes Build() {
    mTable.Add(FqddMap{});
    mTable.Add(End{});
    return mTable.Bytes();
  }

 private:
  Table mTable;
};

TEST_F(ConformNames, LeavesATableThatNeedsNothingByteForByte) {
  const Bytes table = Devices().Cpu("CPU1").Cpu("CPU2").Dimm("DIMM_A1").Dimm("DIMM_A2").Build();
  const Conformed conformed = Conform(table);
  EXPECT_EQ(conformed.result, ConformResult::kUnchanged);
  EXPECT_EQ(conformed.table, table);
  EXPECT_THAT(conformed.changes, ElementsAre());
  EXPECT_EQ(AgentBlocks(), 0u);
}

TEST_F(ConformNames, LeavesAnEmptyTableWithAMap) {
  const Bytes table = Devices().Build();
  EXPECT_EQ(Conform(table).result, ConformResult::kUnchanged);
}

// --- Processors ---

TEST_F(ConformNames, RenamesAllProcessorsWhenTwoHaveTheSameFourthCharacter) {
  const Conformed conformed = Conform(
      Devices().Cpu("SOCKET 0").Cpu("SOCKET 1").Cpu("SOCKET 2", 0x01).Dimm("DIMM_A1").Build());
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  EXPECT_THAT(Designations(conformed.table), ElementsAre("CPU1", "CPU2", "CPU3"));
  EXPECT_THAT(Locators(conformed.table), ElementsAre("DIMM_A1"));
}

TEST_F(ConformNames, RenamesAllProcessorsWhenOneLacksAFourthCharacter) {
  EXPECT_THAT(Designations(Conform(Devices().Cpu("CPU1").Cpu("FP5").Build()).table),
              ElementsAre("CPU1", "CPU2"));
  EXPECT_THAT(Designations(Conform(Devices().Cpu(std::nullopt).Build()).table),
              ElementsAre("CPU1"));
}

TEST_F(ConformNames, NamesAProcessorWhoseStringsBeginWithAnEmptyOneForGood) {
  const Conformed conformed = Conform(Devices().Cpu("").Cpu("CPU2").Build());
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  EXPECT_EQ(Conform(conformed.table).result, ConformResult::kUnchanged);
}

TEST_F(ConformNames, DoesNotMindEmptySockets) {
  const Bytes table = Devices().Cpu("CPU1").Cpu("CPU1", 0x00).Cpu("X", 0x01).Build();
  EXPECT_EQ(Conform(table).result, ConformResult::kUnchanged);
}

TEST_F(ConformNames, CountsEmptySocketsInTheNumbering) {
  const Bytes table = Devices().Cpu("X", 0x00).Cpu("Y").Cpu("Z").Build();
  EXPECT_THAT(Designations(Conform(table).table), ElementsAre("CPU1", "CPU2", "CPU3"));
}

TEST_F(ConformNames, NumbersProcessorsBeyondTheDigits) {
  Devices devices;
  for (int i = 0; i < 207; ++i) {
    devices.Cpu("CPU");
  }
  const std::vector<std::string> names = Designations(Conform(devices.Build()).table);
  ASSERT_EQ(names.size(), 207u);
  EXPECT_EQ(names[9], "CPU:");
  EXPECT_EQ(names[127], "CPU\xB0");
  EXPECT_EQ(names[206], "CPU\xFF");
}

TEST_F(ConformNames, RefusesMoreProcessorsThanOneCharacterCanTellApart) {
  Devices devices;
  for (int i = 0; i < 208; ++i) {
    devices.Cpu("CPU");
  }
  const Bytes table = devices.Build();
  const Conformed conformed = Conform(table);
  EXPECT_EQ(conformed.result, ConformResult::kTooManyProcessors);
  EXPECT_EQ(conformed.table, table);
  EXPECT_THAT(conformed.changes, ElementsAre());
}

// --- Modules ---

TEST_F(ConformNames, RenamesAllModulesWhenTwoHaveTheSameThreeCharacters) {
  const Conformed conformed = Conform(Devices().Cpu("CPU1").Dimm("DIMM 0").Dimm("DIMM 1").Build());
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  EXPECT_THAT(Locators(conformed.table), ElementsAre("DIMM_A1", "DIMM_A2"));
  EXPECT_THAT(Designations(conformed.table), ElementsAre("CPU1"));
}

TEST_F(ConformNames, RenamesAllModulesWhenOneHasNoLocator) {
  EXPECT_THAT(Locators(Conform(Devices().Dimm("XYZ1").Dimm(std::nullopt).Build()).table),
              ElementsAre("DIMM_A1", "DIMM_A2"));
}

TEST_F(ConformNames, ComparesThreeCharactersByTheDriversRule) {
  EXPECT_EQ(Conform(Devices().Dimm("A1xx").Dimm("A1yy").Build()).result, ConformResult::kUnchanged);
  EXPECT_EQ(Conform(Devices().Dimm("A1_x").Dimm("A1_y").Build()).result, ConformResult::kChanged);
  EXPECT_EQ(Conform(Devices().Dimm("DIMM_A1").Dimm("DIMM_A10").Build()).result,
            ConformResult::kUnchanged);
  // "DIMM_" behind another text skips five characters from the start.
  EXPECT_EQ(Conform(Devices().Dimm("CPU1_DIMM_A1").Dimm("CPU2_DIMM_A1").Build()).result,
            ConformResult::kChanged);
  EXPECT_EQ(Conform(Devices().Dimm("P0ABCxyz").Dimm("P0ABDxyz").Build()).result,
            ConformResult::kChanged);
}

TEST_F(ConformNames, DoesNotMindMemoryThatGetsNoRecord) {
  const Bytes table = Devices()
                          .Dimm("DIMM_A1")
                          .Dimm("DIMM_A1", 0)
                          .Dimm("DIMM_A1", 0x4000, 0x1F)
                          .Dimm("DIMM_A1", 0x4000, 0x20)
                          .Dimm(std::nullopt, 0x4000, 0x21)
                          .Build();
  EXPECT_EQ(Conform(table).result, ConformResult::kUnchanged);
}

TEST_F(ConformNames, NamesEveryMemoryDeviceButHbm) {
  const Bytes table = Devices()
                          .Dimm("same")
                          .Dimm("HBM", 0x4000, 0x20)
                          .Dimm("empty", 0)
                          .Dimm("logical", 0x4000, 0x1F)
                          .Dimm("HBM2", 0x4000, 0x21)
                          .Dimm("same")
                          .Build();
  EXPECT_THAT(Locators(Conform(table).table),
              ElementsAre("DIMM_A1", "HBM", "DIMM_A2", "DIMM_A3", "HBM2", "DIMM_A4"));
}

TEST_F(ConformNames, GivesSixteenModulesOneLetter) {
  Devices devices;
  for (int i = 0; i < 34; ++i) {
    devices.Dimm("same");
  }
  const std::vector<std::string> names = Locators(Conform(devices.Build()).table);
  ASSERT_EQ(names.size(), 34u);
  EXPECT_EQ(names[9], "DIMM_A10");
  EXPECT_EQ(names[15], "DIMM_A16");
  EXPECT_EQ(names[16], "DIMM_B1");
  EXPECT_EQ(names[33], "DIMM_C2");
}

// The shortest memory device that can have a name.
Structure ShortMemoryDevice() {
  Structure device{.type = 17, .body = Bytes(0x11 - 4, 0)};
  return device.SetWord(0x0C, 0x4000);
}

TEST_F(ConformNames, RefusesMoreModulesThanThereAreLetters) {
  Table table = Table::Of(Copies(416, ShortMemoryDevice()), FqddMap{});
  const std::vector<std::string> names = Locators(Conform(table.Bytes()).table);
  ASSERT_EQ(names.size(), 416u);
  EXPECT_EQ(names[415], "DIMM_Z16");
  table.Add(ShortMemoryDevice());
  const Conformed conformed = Conform(table.Bytes());
  EXPECT_EQ(conformed.result, ConformResult::kTooManyModules);
  EXPECT_EQ(conformed.table, table.Bytes());
}

// --- How a name gets into a structure ---

TEST_F(ConformNames, AppendsTheNameAndChangesNothingElse) {
  const Bytes before = Devices().Cpu("SOCKET 0").Cpu("SOCKET 1").Build();
  const std::vector<FoundStructure> old = Parse(before);
  const std::vector<FoundStructure> now = Parse(Conform(before).table);
  ASSERT_EQ(now.size(), old.size());
  for (size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(now[i].formatted[0x04], old[i].strings.size() + 1);
    FoundStructure expected = old[i];
    expected.formatted[0x04] = now[i].formatted[0x04];
    expected.strings.push_back(i == 0 ? "CPU1" : "CPU2");
    EXPECT_EQ(now[i].formatted, expected.formatted);
    EXPECT_EQ(now[i].strings, expected.strings);
  }
  EXPECT_EQ(now[2].formatted, old[2].formatted);
  EXPECT_EQ(now[3].formatted, old[3].formatted);
}

TEST_F(ConformNames, AppendsTheFirstString) {
  Table table = Table::Of(ShortMemoryDevice(), FqddMap{});
  const std::vector<FoundStructure> now = Parse(Conform(table.Bytes()).table);
  EXPECT_THAT(now[0].strings, ElementsAre("DIMM_A1"));
  EXPECT_EQ(now[0].formatted[0x10], 1);
}

TEST_F(ConformNames, RefusesAStructureThatHasNoNumberLeft) {
  Structure full = ShortMemoryDevice();
  full.strings.assign(255, "x");
  Table table = Table::Of(full, FqddMap{});
  EXPECT_EQ(Conform(table.Bytes()).result, ConformResult::kTooManyStrings);

  Structure nearlyFull = full;
  nearlyFull.strings.resize(254);
  const Conformed conformed = Conform(Table::Of(nearlyFull, FqddMap{}).Bytes());
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  EXPECT_EQ(Parse(conformed.table)[0].formatted[0x10], 255);
}

TEST_F(ConformNames, LeavesAStructureWithoutTheFieldButCountsIt) {
  Table table =
      Table::Of(MemoryDevice{}.Build().CutTo(0x10), MemoryDevice{.locator = "DIMM_B1"}, FqddMap{});
  EXPECT_EQ(Conform(table.Bytes()).result, ConformResult::kUnchanged) << "new names would not help";
  table.Add(MemoryDevice{.locator = "DIMM_B1"});
  const Conformed conformed = Conform(table.Bytes());
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  EXPECT_EQ(Parse(conformed.table)[0].formatted.size(), 0x10u);
  EXPECT_THAT(Locators(conformed.table), ElementsAre("", "DIMM_A2", "DIMM_A3"));
}

TEST_F(ConformNames, ReportsEveryChange) {
  const Conformed conformed = Conform(
      Devices().Cpu("SOCKET 0").Cpu(std::nullopt).Dimm("P1-DIMM1A").Dimm("P1-DIMM1B").Build());
  EXPECT_THAT(conformed.changes,
              ElementsAre("type 4, handle 0x8000: socket designation: \"SOCKET 0\" -> \"CPU1\"",
                          "type 4, handle 0x8001: socket designation: (none) -> \"CPU2\"",
                          "type 17, handle 0x8002: device locator: \"P1-DIMM1A\" -> \"DIMM_A1\"",
                          "type 17, handle 0x8003: device locator: \"P1-DIMM1B\" -> \"DIMM_A2\""));
}

TEST_F(ConformNames, ReportsUnprintableTextsReadably) {
  const Conformed conformed =
      Conform(Devices().Dimm("a\x1B[\x80").Dimm(std::string(200, 'a')).Dimm("aaa").Build());
  ASSERT_EQ(conformed.changes.size(), 3u);
  EXPECT_THAT(conformed.changes[0], HasSubstr("\"a\\x1B[\\x80\""));
  EXPECT_THAT(conformed.changes[1], HasSubstr("\"aaaa"));
  EXPECT_THAT(conformed.changes[1], HasSubstr("a\" -> \"DIMM_A2\""))
      << "a long text is cut, the line is whole";
}

TEST_F(ConformNames, NeedsNothingASecondTime) {
  const Conformed first = Conform(Devices().Cpu("X").Cpu("Y").Dimm("same").Dimm("same").Build());
  ASSERT_EQ(first.result, ConformResult::kChanged);
  const Conformed second = Conform(first.table);
  EXPECT_EQ(second.result, ConformResult::kUnchanged);
  EXPECT_EQ(second.table, first.table);
}

}  // namespace
}  // namespace tvq::test
