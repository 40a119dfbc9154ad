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
                   Processor{.handle = 0x401, .designation = "CPU:"}, End{.handle = 0x7F00});
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
              ElementsAre(Group{"CPU.Socket.1", 0x400, 0}, Group{"CPU.Socket.A", 0x401, 0},
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

TEST_F(ConformMap, IsLeftAsItIsWhereThereIsOne) {
  Table table =
      Table::Of(Processor{.handle = 0x400}, FqddMap{.format = 2, .groups = {{"Else", 0x999}}});
  EXPECT_EQ(Conform(table.Bytes()).result, ConformResult::kUnchanged);
}

TEST_F(ConformMap, NamesDevicesByTheirNewNames) {
  Table table = Table::Of(Processor{.handle = 0x400, .designation = "SOCKET 0"},
                          Processor{.handle = 0x401, .designation = "SOCKET 1"},
                          MemoryDevice{.handle = 0x1100, .locator = "same"},
                          MemoryDevice{.handle = 0x1101, .size = 0, .locator = "same"},
                          MemoryDevice{.handle = 0x1102, .locator = "same"});
  const Bytes conformed = Conform(table.Bytes()).table;
  EXPECT_THAT(GroupsOf(Maps(conformed)[0]),
              ElementsAre(Group{"CPU.Socket.1", 0x400, 0}, Group{"CPU.Socket.2", 0x401, 0},
                          Group{"DIMM.Socket.A1", 0x1100, 0}, Group{"DIMM.Socket.A3", 0x1102, 0}));
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

TEST_F(ConformMap, NumbersProcessorsInEightBitsAndHexadecimal) {
  Table table = Table::Of(Processor{.handle = 1, .designation = "CPU "},
                          Processor{.handle = 2, .designation = "CPU\xFF"},
                          Processor{.handle = 3, .designation = "CPUk"});
  EXPECT_THAT(GroupsOf(Maps(Conform(table.Bytes()).table)[0]),
              ElementsAre(Group{"CPU.Socket.F0", 1, 0}, Group{"CPU.Socket.CF", 2, 0},
                          Group{"CPU.Socket.3B", 3, 0}));
}

TEST_F(ConformMap, EndsAModulesTextAtANul) {
  Table table = Table::Of(MemoryDevice{.handle = 1, .locator = "A", .bankLocator = "xyz"},
                          MemoryDevice{.handle = 2, .locator = "DIMM_", .bankLocator = "xyz"});
  EXPECT_THAT(GroupsOf(Maps(Conform(table.Bytes()).table)[0]),
              ElementsAre(Group{"DIMM.Socket.A", 1, 0}, Group{"DIMM.Socket.", 2, 0}));
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
  EXPECT_EQ(GroupsOf(maps[1])[0], (Group{"CPU.Socket.3F", 62, 0}));
  EXPECT_EQ(GroupsOf(maps[2]).size(), 1u);
  EXPECT_EQ(maps[2].handle, 0xE102);
}

TEST_F(ConformMap, HasExactlyOneFullStructureForSixtyTwoGroups) {
  const Table table = Table::Of(Copies(62, Processor{.designation = "CPU"}));
  EXPECT_EQ(Maps(Conform(table.Bytes()).table).size(), 1u);
}

TEST_F(ConformMap, TakesTheLowestUnusedHandles) {
  const Table table = Table::Of(Structure{1, 0xE100}, Structure{1, 0xE102}, Structure{1, 0xE0FF},
                                Copies(63, Processor{.designation = "CPU"}));
  const std::vector<FoundStructure> maps = Maps(Conform(table.Bytes()).table);
  ASSERT_EQ(maps.size(), 2u);
  EXPECT_EQ(maps[0].handle, 0xE101);
  EXPECT_EQ(maps[1].handle, 0xE103);
}

TEST_F(ConformMap, RefusesATableThatUsesEveryHandle) {
  Table table;
  for (uint32_t handle = 0xE100; handle <= 0xFFFE; ++handle) {
    table.Add(Structure{1, static_cast<uint16_t>(handle)});
  }
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
                  "type 225, handle 0xE100: FQDD of handle 0x0401: (none) -> \"CPU.Socket.A\"",
                  "type 225, handle 0xE100: FQDD of handle 0x1100: (none) -> \"DIMM.Socket.A1\"",
                  "type 225, handle 0xE100: FQDD of handle 0x1101: (none) -> \"DIMM.Socket.B12\""));
}

TEST_F(ConformMap, NeedsNothingASecondTime) {
  const Conformed first = Conform(TwoOfEach().Bytes());
  const Conformed second = Conform(first.table);
  EXPECT_EQ(second.result, ConformResult::kUnchanged);
  EXPECT_EQ(second.table, first.table);
}

}  // namespace
}  // namespace tvq::test
