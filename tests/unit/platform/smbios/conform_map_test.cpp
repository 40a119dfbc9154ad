/*
 * Conforming: the OEM structures of type 225 that a table without them gets.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using tvqplatform::ConformResult;

using ConformMap = AgentTest;

// One group of a map: what it says of which handle.
struct Group {
  std::string fqdd;
  uint16_t handle;
  uint8_t opaque;
  bool operator==(const Group& other) const {
    return fqdd == other.fqdd && handle == other.handle && opaque == other.opaque;
  }
};

std::vector<Group> GroupsOf(const FoundStructure& map) {
  std::vector<Group> groups;
  for (size_t at = 5; at + 4 <= map.formatted.size(); at += 4) {
    groups.push_back({map.StringAt(at),
                      static_cast<uint16_t>(map.formatted[at + 1] | (map.formatted[at + 2] << 8)),
                      map.formatted[at + 3]});
  }
  return groups;
}

std::vector<FoundStructure> Maps(const Bytes& table) {
  return OfType(Parse(table), 225);
}

Table TwoOfEach() {
  return Table::Of(MemoryDevice{.handle = 0x1100, .locator = "DIMM_A1"},
                   Processor{.handle = 0x400, .designation = "CPU1"},
                   MemoryDevice{.handle = 0x1101, .locator = "DIMM_B12"},
                   Processor{.handle = 0x401, .designation = "CPU: 10"}, End{.handle = 0x7F00});
}

TEST_F(ConformMap, NamesEachProcessorAndThenEachModule) {
  const Conformed conformed = Conform(TwoOfEach().Bytes());
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  const std::vector<FoundStructure> maps = Maps(conformed.table);
  ASSERT_EQ(maps.size(), 1u);
  EXPECT_EQ(maps[0].handle, 0xE100);
  EXPECT_EQ(maps[0].formatted.size(), 5u + 4 * 4);
  EXPECT_EQ(maps[0].formatted[4], 1);
  EXPECT_THAT(GroupsOf(maps[0]),
              ElementsAre(Group{"CPU.Socket.1", 0x400, 0}, Group{"CPU.Socket.10", 0x401, 0},
                          Group{"DIMM.Socket.A1", 0x1100, 0}, Group{"DIMM.Socket.B12", 0x1101, 0}));
}

TEST_F(ConformMap, StandsBeforeTheEndOfTableAndChangesNothingElse) {
  const Bytes before = TwoOfEach().Bytes();
  const Bytes after = Conform(before).table;
  const std::vector<FoundStructure> structures = Parse(after);
  ASSERT_EQ(structures.size(), 6u);
  EXPECT_EQ(structures[4].type, 225);
  EXPECT_EQ(structures[5].type, 127);
  const size_t endSize = 6;
  EXPECT_EQ(Bytes(after.begin(), after.begin() + before.size() - endSize),
            Bytes(before.begin(), before.end() - endSize));
  EXPECT_EQ(Bytes(after.end() - endSize, after.end()), Bytes(before.end() - endSize, before.end()));
}

TEST_F(ConformMap, StandsBeforeTheFirstOfSeveralEndOfTableStructures) {
  const Table table =
      Table::Of(TwoOfEach(), Processor{.handle = 0x402, .designation = "CPU3"}, End{});
  const std::vector<FoundStructure> structures = Parse(Conform(table.Bytes()).table);
  ASSERT_EQ(structures.size(), 8u);
  EXPECT_EQ(structures[4].type, 225);
  EXPECT_EQ(GroupsOf(structures[4])[2], (Group{"CPU.Socket.3", 0x402, 0}));
}

TEST_F(ConformMap, StandsAtTheEndWithoutAnEndOfTableStructure) {
  Table table = Table::Of(Processor{.handle = 0x400});
  const std::vector<FoundStructure> structures = Parse(Conform(table.Bytes()).table);
  ASSERT_EQ(structures.size(), 2u);
  EXPECT_EQ(structures[1].type, 225);
}

TEST_F(ConformMap, StandsBeforeLooseBytesAtTheEnd) {
  Table table = Table::Of(Processor{.handle = 0x400}, Raw{{0xAA, 0xBB, 0xCC}});
  Bytes conformed = Conform(table.Bytes()).table;
  ASSERT_GT(conformed.size(), 3u);
  EXPECT_EQ(Bytes(conformed.end() - 3, conformed.end()), (Bytes{0xAA, 0xBB, 0xCC}));
  conformed.resize(conformed.size() - 3);
  EXPECT_EQ(Maps(conformed).size(), 1u);
}

TEST_F(ConformMap, NamesDevicesByTheirNewNames) {
  Table table = Table::Of(Processor{.handle = 0x400, .designation = "SOCKET 0"},
                          Processor{.handle = 0x401, .designation = "SOCKET 1"},
                          MemoryDevice{.handle = 0x1100, .locator = "P1-DIMMA1"},
                          MemoryDevice{.handle = 0x1101, .size = 0, .locator = "P1-DIMMA2"},
                          MemoryDevice{.handle = 0x1102, .locator = "P1-DIMMA3"});
  const Bytes conformed = Conform(table.Bytes()).table;
  EXPECT_THAT(
      GroupsOf(Maps(conformed)[0]),
      ElementsAre(Group{"CPU.Socket.0", 0x400, 0}, Group{"CPU.Socket.1", 0x401, 0},
                  Group{"DIMM.Socket.1A1", 0x1100, 0}, Group{"DIMM.Socket.1A3", 0x1102, 0}));
}

TEST_F(ConformMap, NamesOnlyDevicesThatGetARecord) {
  Table table = Table::Of(Processor{.handle = 0x400, .designation = "CPU1", .status = 0x00},
                          MemoryDevice{.handle = 0x1100, .size = 0},
                          MemoryDevice{.handle = 0x1101, .memoryType = 0x20},
                          MemoryDevice{.handle = 0x1102, .memoryType = 0x1F},
                          MemoryDevice{.handle = 0x1103, .locator = "DIMM_A4"});
  EXPECT_THAT(GroupsOf(Maps(Conform(table.Bytes()).table)[0]),
              ElementsAre(Group{"DIMM.Socket.A4", 0x1103, 0}));
}

TEST_F(ConformMap, NumbersProcessorsInDecimal) {
  Table table = Table::Of(Processor{.handle = 1, .designation = "CPU 12"},
                          Processor{.handle = 2, .designation = "CPU 220"});
  EXPECT_THAT(GroupsOf(Maps(Conform(table.Bytes()).table)[0]),
              ElementsAre(Group{"CPU.Socket.12", 1, 0}, Group{"CPU.Socket.220", 2, 0}));
}

TEST_F(ConformMap, HasAtMostSixtyTwoGroupsInAStructure) {
  Table table;
  for (int i = 0; i < 125; ++i) {
    table.Add(Processor{.handle = static_cast<uint16_t>(i), .designation = "CPU"});
  }
  const std::vector<FoundStructure> maps = Maps(Conform(table.Bytes()).table);
  ASSERT_EQ(maps.size(), 3u);
  EXPECT_EQ(GroupsOf(maps[0]).size(), 62u);
  EXPECT_EQ(maps[0].formatted[1], 253);
  EXPECT_EQ(GroupsOf(maps[1]).size(), 62u);
  EXPECT_EQ(GroupsOf(maps[1])[0], (Group{"CPU.Socket.63", 62, 0}));
  EXPECT_EQ(GroupsOf(maps[2]).size(), 1u);
  EXPECT_EQ(maps[2].handle, 0xE102);
}

TEST_F(ConformMap, HasExactlyOneFullStructureForSixtyTwoGroups) {
  const Table table = Table::Of(Copies(62, Processor{.designation = "CPU"}));
  EXPECT_EQ(Maps(Conform(table.Bytes()).table).size(), 1u);
}

TEST_F(ConformMap, TakesTheLowestUnusedHandles) {
  const Table table = Table::Of(Structure{1, 0xE100}, Structure{1, 0xE102}, Structure{1, 0xE0FF},
                                Structure{1, 0xFFFF}, Copies(63, Processor{.designation = "CPU"}));
  const std::vector<FoundStructure> maps = Maps(Conform(table.Bytes()).table);
  ASSERT_EQ(maps.size(), 2u);
  EXPECT_EQ(maps[0].handle, 0xE101);
  EXPECT_EQ(maps[1].handle, 0xE103);
}

TEST_F(ConformMap, RefusesATableThatUsesEveryHandle) {
  Table table;
  for (uint32_t handle = 0xE100; handle < 0xFFFE; ++handle) {
    table.Add(Structure{1, static_cast<uint16_t>(handle)});
  }
  EXPECT_EQ(Maps(Conform(table.Bytes()).table)[0].handle, 0xFFFE);
  table.Add(Structure{1, 0xFFFE});
  const Conformed conformed = Conform(table.Bytes());
  EXPECT_EQ(conformed.result, ConformResult::kNoUnusedHandle);
  EXPECT_EQ(conformed.table, table.Bytes());
}

TEST_F(ConformMap, IsOneStructureWithoutGroupsWhereThereIsNoDevice) {
  Table table = Table::Of(System{.handle = 0x100}, End{});
  const Conformed conformed = Conform(table.Bytes());
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  const std::vector<FoundStructure> maps = Maps(conformed.table);
  ASSERT_EQ(maps.size(), 1u);
  EXPECT_EQ(maps[0].formatted, (Bytes{225, 5, 0x00, 0xE1, 1}));
  EXPECT_THAT(conformed.changes, ElementsAre("type 225, handle 0xE100: added without groups"));
}

TEST_F(ConformMap, ReportsEveryGroup) {
  EXPECT_THAT(
      Conform(TwoOfEach().Bytes()).changes,
      ElementsAre("type 225, handle 0xE100: FQDD of handle 0x0400: (none) -> \"CPU.Socket.1\"",
                  "type 225, handle 0xE100: FQDD of handle 0x0401: (none) -> \"CPU.Socket.10\"",
                  "type 225, handle 0xE100: FQDD of handle 0x1100: (none) -> \"DIMM.Socket.A1\"",
                  "type 225, handle 0xE100: FQDD of handle 0x1101: (none) -> \"DIMM.Socket.B12\""));
}

// --- Structures that the table has ---

TEST_F(ConformMap, IsKeptWhereItNamesEveryDevice) {
  const Table table = Table::Of(Processor{.handle = 0x400, .designation = "CPU1"},
                                FqddMap{.groups = {{"Maker.Cpu-1_a", 0x400}}});
  EXPECT_EQ(Conform(table.Bytes()).result, ConformResult::kUnchanged);
}

TEST_F(ConformMap, IsKeptAndCompleted) {
  const Table table = Table::Of(Processor{.handle = 0x400, .designation = "CPU1"},
                                Processor{.handle = 0x401, .designation = "CPU2"},
                                FqddMap{.handle = 0xE0, .groups = {{"Maker.Cpu", 0x401}}});
  const std::vector<FoundStructure> maps = Maps(Conform(table.Bytes()).table);
  ASSERT_EQ(maps.size(), 2u);
  EXPECT_THAT(GroupsOf(maps[0]), ElementsAre(Group{"Maker.Cpu", 0x401, 0}));
  EXPECT_THAT(GroupsOf(maps[1]), ElementsAre(Group{"CPU.Socket.1", 0x400, 0}));
}

TEST_F(ConformMap, IsKeptWithAGroupThatIsNotWholeAndCompleted) {
  const Table table =
      Table::Of(Processor{.handle = 0x400, .designation = "CPU1"},
                FqddMap{.handle = 0xE0, .groups = {{"Cut", 0x400}}}.Build().CutTo(5 + 3));
  const std::vector<FoundStructure> maps = Maps(Conform(table.Bytes()).table);
  ASSERT_EQ(maps.size(), 2u);
  EXPECT_EQ(maps[0].formatted.size(), 5u + 3);
  EXPECT_THAT(GroupsOf(maps[1]), ElementsAre(Group{"CPU.Socket.1", 0x400, 0}));
}

// Each of them would end the driver's start, or is not about devices at all.
TEST_F(ConformMap, MakesWhatTheDriverCannotUseInactive) {
  Structure cut = FqddMap{.groups = {{"A", 0x400}}}.Build();
  cut.strings.clear();
  const Structure kUnusable[] = {FqddMap{.format = 2, .groups = {{"A", 0x400}}}.Build(),
                                 FqddMap{.groups = {{"A", 0x400}, {"B", 0x999}}}.Build(),
                                 FqddMap{.groups = {{"A", 0x100}}}.Build(), cut,
                                 Structure{.type = 225}};
  for (const Structure& map : kUnusable) {
    const Table table =
        Table::Of(System{.handle = 0x100}, Processor{.handle = 0x400, .designation = "CPU1"}, map);
    const Conformed conformed = Conform(table.Bytes());
    EXPECT_EQ(OfType(Parse(conformed.table), 126).size(), 1u);
    const std::vector<FoundStructure> maps = Maps(conformed.table);
    ASSERT_EQ(maps.size(), 1u);
    EXPECT_THAT(GroupsOf(maps[0]), ElementsAre(Group{"CPU.Socket.1", 0x400, 0}));
    EXPECT_THAT(conformed.changes,
                testing::Contains(testing::HasSubstr("made inactive (type 126)")));
  }
}

TEST_F(ConformMap, DecidesForEachStructureWhetherItIsUsable) {
  const Table table = Table::Of(Processor{.handle = 0x400, .designation = "CPU1"},
                                FqddMap{.format = 7}, FqddMap{.groups = {{"Mine", 0x400}}});
  const Conformed conformed = Conform(table.Bytes());
  EXPECT_EQ(OfType(Parse(conformed.table), 126).size(), 1u);
  ASSERT_EQ(Maps(conformed.table).size(), 1u);
  EXPECT_THAT(GroupsOf(Maps(conformed.table)[0]), ElementsAre(Group{"Mine", 0x400, 0}));
}

TEST_F(ConformMap, ReplacesFqddsThatCannotBeKept) {
  for (const char* fqdd : {"CPU Socket 1", "CPU/1", "CPU.Socket.\xE9", "SixteenCharacte."}) {
    const Table table = Table::Of(Processor{.handle = 0x400, .designation = "CPU1"},
                                  FqddMap{.handle = 0xE0, .groups = {{fqdd, 0x400}}});
    const Conformed conformed = Conform(table.Bytes());
    EXPECT_THAT(GroupsOf(Maps(conformed.table)[0]), ElementsAre(Group{"CPU.Socket.1", 0x400, 0}))
        << fqdd;
    EXPECT_THAT(conformed.changes,
                ElementsAre(testing::MatchesRegex(
                    "type 225, handle 0x00E0: FQDD of handle 0x0400: .* -> \"CPU.Socket.1\"")));
    EXPECT_EQ(Conform(conformed.table).result, ConformResult::kUnchanged);
  }
}

TEST_F(ConformMap, ReplacesFqddsThatStandTwiceWithoutRegardToCase) {
  const Table table = Table::Of(Processor{.handle = 0x400, .designation = "CPU1"},
                                MemoryDevice{.handle = 0x1100, .locator = "A1"},
                                FqddMap{.groups = {{"Same.One", 0x400}, {"same.one", 0x1100}}});
  EXPECT_THAT(GroupsOf(Maps(Conform(table.Bytes()).table)[0]),
              ElementsAre(Group{"CPU.Socket.1", 0x400, 0}, Group{"DIMM.Socket.A1", 0x1100, 0}));
}

TEST_F(ConformMap, ReplacesFqddsThatStandTwiceAndNoOthers) {
  const char* const kOwn[] = {"1.Own", "2.Own", "3.Own", "4.Own"};
  const char* const kOfNames[] = {"DIMM.Socket.A1", "DIMM.Socket.A2", "DIMM.Socket.A3",
                                  "DIMM.Socket.A4"};
  for (size_t first = 0; first < 4; ++first) {
    for (size_t second = first + 1; second < 4; ++second) {
      Table table;
      FqddMap map;
      std::vector<Group> expected;
      for (size_t i = 0; i < 4; ++i) {
        const auto handle = static_cast<uint16_t>(0x1100 + i);
        const bool isTwin = i == first || i == second;
        table.Add(MemoryDevice{.handle = handle, .locator = "A" + std::to_string(i + 1)});
        map.groups.push_back({isTwin ? "Twin" : kOwn[i], handle});
        expected.push_back({isTwin ? kOfNames[i] : kOwn[i], handle, 0});
      }
      table.Add(map);
      EXPECT_EQ(GroupsOf(Maps(Conform(table.Bytes()).table)[0]), expected)
          << first << " and " << second;
    }
  }
}

TEST_F(ConformMap, ReplacesAnFqddThatIsAnotherDevicesByItsName) {
  const Table table =
      Table::Of(MemoryDevice{.handle = 0x1100, .locator = "A1"},
                MemoryDevice{.handle = 0x1101, .locator = "A2"},
                MemoryDevice{.handle = 0x1102, .size = 0, .locator = "A3"},
                FqddMap{.groups = {{"DIMM.Socket.A2", 0x1100}, {"dimm.socket.a3", 0x1101}}});
  EXPECT_THAT(GroupsOf(Maps(Conform(table.Bytes()).table)[0]),
              ElementsAre(Group{"DIMM.Socket.A1", 0x1100, 0}, Group{"DIMM.Socket.A2", 0x1101, 0}));
}

TEST_F(ConformMap, KeepsFqddsThatDevicesHaveAmongThemselves) {
  const Table table =
      Table::Of(MemoryDevice{.handle = 0x1100, .locator = "A1"},
                MemoryDevice{.handle = 0x1101, .locator = "A2"},
                FqddMap{.groups = {{"DIMM.Socket.A2", 0x1100}, {"DIMM.Socket.A1", 0x1101}}});
  EXPECT_EQ(Conform(table.Bytes()).result, ConformResult::kUnchanged);
}

TEST_F(ConformMap, NeedsNothingASecondTime) {
  const Conformed first = Conform(TwoOfEach().Bytes());
  const Conformed second = Conform(first.table);
  EXPECT_EQ(second.result, ConformResult::kUnchanged);
  EXPECT_EQ(second.table, first.table);
}

}  // namespace
}  // namespace tvq::test
