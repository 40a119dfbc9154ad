/*
 * Conforming: limits, damaged tables and exhausted memory.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <random>

#include "tests/unit/platform/platform_fixture.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using tvqplatform::ConformResult;

using ConformLimits = AgentTest;

// A structure of type 221 that is `size` bytes large with its strings.
Structure Filler(size_t size) {
  return Structure{221, std::nullopt, {}, {std::string(size - 4 - 2, 'x')}};
}

// The table with a structure behind it that brings it to `size` bytes.
Bytes Filled(const Table& table, size_t size) {
  const Table filled = Table::Of(table, Filler(size - table.Size()));
  EXPECT_EQ(filled.Size(), size);
  return filled.Bytes();
}

// A table of exactly `size` bytes that needs a map, and has room for none in its devices.
Bytes TableOfSize(size_t size) {
  return Filled(Table::Of(System{.handle = 0x100}), size);
}

constexpr size_t kMapWithoutGroups = 5 + 2;

TEST_F(ConformLimits, FillsATableUpTo65535Bytes) {
  const Conformed conformed = Conform(TableOfSize(65535 - kMapWithoutGroups));
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  EXPECT_EQ(conformed.table.size(), 65535u);
}

TEST_F(ConformLimits, RefusesALargerResultAndKeepsTheTable) {
  const Bytes table = TableOfSize(65535 - kMapWithoutGroups + 1);
  const Conformed conformed = Conform(table);
  EXPECT_EQ(conformed.result, ConformResult::kTooLarge);
  EXPECT_EQ(conformed.table, table);
  EXPECT_THAT(conformed.changes, ElementsAre());
  EXPECT_EQ(AgentBlocks(), 0u);
}

TEST_F(ConformLimits, RefusesATableThatIsTooLargeAlready) {
  const Table needsNothing = Table::Of(FqddMap{});
  EXPECT_EQ(Conform(Filled(needsNothing, 65535)).result, ConformResult::kUnchanged);
  EXPECT_EQ(Conform(Filled(needsNothing, 65536)).result, ConformResult::kTooLarge);
  EXPECT_EQ(Conform(TableOfSize(65536)).result, ConformResult::kTooLarge);
}

TEST_F(ConformLimits, SaysWhyItRefuses) {
  for (const ConformResult result : {ConformResult::kTooLarge, ConformResult::kTooManyProcessors,
                                     ConformResult::kTooManyModules, ConformResult::kTooManyStrings,
                                     ConformResult::kNoUnusedHandle, ConformResult::kOutOfMemory}) {
    EXPECT_TRUE(tvqplatform::IsRefused(result));
    EXPECT_GT(std::string(tvqplatform::ConformResultText(result)).size(), 10u);
  }
  EXPECT_THAT(tvqplatform::ConformResultText(ConformResult::kTooLarge), HasSubstr("65,535"));
  EXPECT_FALSE(tvqplatform::IsRefused(ConformResult::kUnchanged));
  EXPECT_FALSE(tvqplatform::IsRefused(ConformResult::kChanged));
}

Table ServerToConform() {
  const Table pair = Table::Of(Processor{.designation = "SOCKET"}, MemoryDevice{.locator = "same"});
  return Table::Of(System{}, pair, pair, pair);
}

// Conformed to the end, a table needs nothing more.
void ExpectStable(const Bytes& table, const std::string& what) {
  const Conformed first = Conform(table);
  if (tvqplatform::IsRefused(first.result)) {
    EXPECT_EQ(first.table, table) << what;
    return;
  }
  const Conformed second = Conform(first.table);
  EXPECT_EQ(second.result, ConformResult::kUnchanged) << what;
  EXPECT_THAT(second.changes, ElementsAre()) << what;
  EXPECT_TRUE(second.table == first.table) << what;
}

TEST_F(ConformLimits, TakesATableThatIsCutAnywhere) {
  Bytes table = ServerToConform().Bytes();
  while (!table.empty()) {
    table.pop_back();
    ExpectStable(table, "cut to " + std::to_string(table.size()) + " bytes");
  }
}

TEST_F(ConformLimits, KeepsBytesThatAreNoStructure) {
  const Conformed conformed = Conform({0xAA, 0xBB});
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  EXPECT_EQ(conformed.table, (Bytes{225, 5, 0x00, 0xE1, 1, 0, 0, 0xAA, 0xBB}));
}

TEST_F(ConformLimits, EndsALastStructureThatWasCutOff) {
  Table table = Table::Of(Processor{.handle = 0x400}, System{.handle = 0x100});
  table.Chop(2);
  const Conformed conformed = Conform(table.Bytes());
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  const std::vector<FoundStructure> structures = Parse(conformed.table);
  ASSERT_EQ(structures.size(), 3u);
  EXPECT_EQ(structures[1].strings.size(), 6u);
  EXPECT_EQ(structures[2].type, 225);
  ASSERT_FALSE(conformed.changes.empty());
  EXPECT_EQ(conformed.changes[0], "type 1, handle 0x0100: was cut off and is ended");
}

TEST_F(ConformLimits, EndsAFormattedPartThatWasCutOff) {
  Table table = Table::Of(Processor{.handle = 0x400}, System{.handle = 0x100});
  table.Chop(table.Size() - table.OffsetOf(1) - 8);
  const std::vector<FoundStructure> structures = Parse(Conform(table.Bytes()).table);
  ASSERT_EQ(structures.size(), 3u);
  EXPECT_EQ(structures[1].formatted.size(), 8u);
  EXPECT_EQ(structures[2].type, 225);
}

TEST_F(ConformLimits, NamesADeviceThatWasCutOff) {
  Table table = Table::Of(FqddMap{}, MemoryDevice{.handle = 0x1100, .locator = "same"},
                          MemoryDevice{.handle = 0x1101, .locator = "same"});
  table.Chop(2);
  const Conformed conformed = Conform(table.Bytes());
  EXPECT_THAT(Locators(conformed.table),
              ElementsAre("DIMM_1", testing::MatchesRegex("DIMM_[-_][0-9A-Z]{2}")));
  EXPECT_THAT(conformed.changes,
              testing::Contains("type 17, handle 0x1101: was cut off and is ended"));
}

TEST_F(ConformLimits, TakesEveryLengthByte) {
  const Bytes table = ServerToConform().Bytes();
  for (size_t at = 1, next = 0; at < table.size(); at = next + 1) {
    for (const unsigned length : {0u, 1u, 3u, 4u, 5u, 0x10u, 0x11u, 0x13u, 255u}) {
      Bytes damaged = table;
      damaged[at] = static_cast<uint8_t>(length);
      ExpectStable(damaged, "length " + std::to_string(length) + " at " + std::to_string(at));
    }
    // The structure that follows, by a plain search.
    next = at - 1 + table[at];
    while (next + 1 < table.size() && (table[next] != 0 || table[next + 1] != 0)) {
      ++next;
    }
    next += 2;
  }
}

TEST_F(ConformLimits, TakesBytesOfAnyKind) {
  std::mt19937 random(1);
  for (int round = 0; round < 300; ++round) {
    Bytes noise(random() % 600);
    for (uint8_t& byte : noise) {
      // Many zeros and many of the types that count, so that structures come about.
      const uint8_t likely[] = {0, 0, 0, 4, 17, 127, 1, 0x20, 225, 9, 13};
      byte =
          random() % 2 == 0 ? likely[random() % std::size(likely)] : static_cast<uint8_t>(random());
    }
    ExpectStable(noise, "round " + std::to_string(round));
  }
}

// Structures of the types that count, with few handles and texts, so that all of it clashes.
TEST_F(ConformLimits, TakesDevicesAndNamesOfDevicesInAnyOrder) {
  const char* const kTexts[] = {"CPU1", "DIMM_A1",  "DIMM.Socket.A1",    "cpu.socket.1",    "A1",
                                "x y",  "DIMM_-3F", "SixteenCharacters", "DIMM.Socket.-3F", "1"};
  std::mt19937 random(3);
  const auto text = [&] { return Text(kTexts[random() % std::size(kTexts)]); };
  const auto handle = [&] { return static_cast<uint16_t>(random() % 6); };
  for (int round = 0; round < 400; ++round) {
    Table table;
    for (size_t i = random() % 9; i != 0; --i) {
      switch (random() % 4) {
        case 0:
          table.Add(Processor{.handle = handle(), .designation = text()});
          break;
        case 1:
          table.Add(MemoryDevice{.handle = handle(),
                                 .size = static_cast<uint16_t>(random() % 2),
                                 .locator = text(),
                                 .bankLocator = text()});
          break;
        case 2:
          table.Add(MemoryDevice{.handle = handle()}.Build().CutTo(0x10));
          break;
        default:
          table.Add(FqddMap{.handle = handle(),
                            .format = static_cast<uint8_t>(random() % 5 == 0 ? 2 : 1),
                            .groups = {{text(), handle()}, {text(), handle()}}});
          break;
      }
    }
    ExpectStable(table.Bytes(), "round " + std::to_string(round));
  }
}

Table WithoutLastByte(Table table) {
  table.Chop(1);
  return table;
}

void ExpectRefusalAtEveryFailedAllocation(host::Firmware& firmware, const Bytes& table) {
  bool succeeded = false;
  for (uint64_t n = 1; !succeeded && n < 1000; ++n) {
    const uint64_t failedBefore = firmware.Memory().FailedAllocations();
    firmware.Memory().FailAllocation(n, host::images::agent);
    const Conformed conformed = Conform(table);
    succeeded = firmware.Memory().FailedAllocations() == failedBefore;
    firmware.Memory().StopFailing();
    if (!succeeded) {
      EXPECT_EQ(conformed.result, ConformResult::kOutOfMemory) << n;
      EXPECT_EQ(conformed.table, table) << n;
    }
    EXPECT_EQ(firmware.Memory().LiveCount(host::images::agent), 0u) << n;
  }
  EXPECT_TRUE(succeeded);
}

// With little in each of the others, the block that fails is that of the one thing there is to do.
TEST_F(ConformLimits, SurvivesEveryFailedAllocation) {
  const MemoryDevice unnamed = {.locator = "NO DIMM"};
  const Table kTables[] = {
      ServerToConform(),
      Table::Of(System{}, Raw{{1, 2}}),
      Table::Of(FqddMap{.format = 2}),
      Table::Of(MemoryDevice{.bankLocator = "NODE 1"}, MemoryDevice{.bankLocator = "NODE 2"}),
      WithoutLastByte(Table::Of(System{})),
      WithoutLastByte(Table::Of(FqddMap{}, unnamed)),
  };
  for (const Table& table : kTables) {
    SCOPED_TRACE(&table - kTables);
    ExpectRefusalAtEveryFailedAllocation(Firmware(), table.Bytes());
  }
}

}  // namespace
}  // namespace tvq::test
