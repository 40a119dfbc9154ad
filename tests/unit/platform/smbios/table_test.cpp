/*
 * The bounded view of a structure table: structures, fields and strings, and nothing outside.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/smbios/devices.h"
#include "TvqPlatformPkg/src/smbios/table.h"

namespace tvq::test {
namespace {

using tvqplatform::TableStructure;
using tvqplatform::TableSummary;
using tvqplatform::TableText;
using tvqplatform::TableWalk;

class ConformTable : public AgentTest {
 protected:
  static std::vector<TableStructure> Walk(const Bytes& table) {
    std::vector<TableStructure> structures;
    TableWalk walk(View(table));
    for (TableStructure structure; walk.Next(structure);) {
      structures.push_back(structure);
    }
    return structures;
  }
  // "(none)" for no string.
  static std::string TextOf(const TableText& text) {
    return text.Data == nullptr
               ? "(none)"
               : std::string(reinterpret_cast<const char*>(text.Data), text.Length);
  }
};

TEST_F(ConformTable, VisitsEachStructureOnceInTableOrder) {
  const Bytes table = MinimalServer().Bytes();
  const std::vector<FoundStructure> expected = Parse(table);
  const std::vector<TableStructure> found = Walk(table);
  ASSERT_EQ(found.size(), expected.size());
  size_t offset = 0;
  for (size_t i = 0; i < found.size(); ++i) {
    EXPECT_EQ(found[i].Offset(), offset);
    EXPECT_EQ(found[i].Type(), expected[i].type);
    EXPECT_EQ(found[i].Handle(), expected[i].handle);
    EXPECT_EQ(found[i].FormattedSize(), expected[i].formatted.size());
    EXPECT_EQ(found[i].StringCount(), expected[i].strings.size());
    EXPECT_TRUE(found[i].IsComplete());
    offset = found[i].End();
  }
  EXPECT_EQ(offset, table.size());
}

TEST_F(ConformTable, VisitsStructuresWithEqualHandles) {
  Table table;
  table.Add(1, 7);
  table.Add(2, 7);
  table.Add(3, 7);
  EXPECT_EQ(Walk(table.Bytes()).size(), 3u);
}

TEST_F(ConformTable, GoesOnBehindAnEndOfTableStructure) {
  Table table;
  table.Add(End{});
  table.Add(1, 7);
  EXPECT_EQ(Walk(table.Bytes()).size(), 2u);
}

TEST_F(ConformTable, HasNoStructureInFewerThanFourBytes) {
  EXPECT_TRUE(Walk({}).empty());
  EXPECT_TRUE(Walk({1, 4, 0}).empty());
  EXPECT_EQ(Walk({1, 4, 0, 0}).size(), 1u);
}

TEST_F(ConformTable, ReadsFieldsPastTheFormattedPartAsZero) {
  const Bytes table = {1, 7, 0, 0, 0x11, 0x22, 0x33, 'x', 0, 0};
  const std::vector<TableStructure> found = Walk(table);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].Byte(6), 0x33);
  EXPECT_EQ(found[0].Byte(7), 0);
  EXPECT_EQ(found[0].Word(5), 0x3322);
  EXPECT_EQ(found[0].Word(6), 0) << "half of it lies past the formatted part";
}

TEST_F(ConformTable, FindsStringsByNumber) {
  Table table;
  table.Add(1, 7, {2, 3, 0}, {"one", "two"});
  const std::vector<TableStructure> found = Walk(table.Bytes());
  EXPECT_EQ(TextOf(found[0].String(1)), "one");
  EXPECT_EQ(TextOf(found[0].StringAt(4)), "two");
  EXPECT_EQ(TextOf(found[0].StringAt(5)), "(none)") << "there are two strings";
  EXPECT_EQ(TextOf(found[0].StringAt(6)), "(none)") << "0 is no string";
  EXPECT_EQ(TextOf(found[0].StringAt(7)), "(none)") << "the field is not there";
}

TEST_F(ConformTable, HasAnEmptyFirstStringInAStructureWithoutStrings) {
  const Bytes table = {1, 4, 0, 0, 0, 0};
  const std::vector<TableStructure> found = Walk(table);
  EXPECT_EQ(TextOf(found[0].String(1)), "");
  EXPECT_EQ(TextOf(found[0].String(2)), "(none)");
  EXPECT_EQ(found[0].StringCount(), 0u);
}

TEST_F(ConformTable, CountsAnEmptyStringThatOthersFollow) {
  const Bytes table = {1, 4, 0, 0, 0, 'a', 0, 0};
  const std::vector<TableStructure> found = Walk(table);
  EXPECT_EQ(TextOf(found[0].String(1)), "");
  EXPECT_EQ(TextOf(found[0].String(2)), "a");
  EXPECT_EQ(found[0].StringCount(), 2u);
}

TEST_F(ConformTable, TakesATextWithoutTerminatorForNoString) {
  const Bytes table = {1, 4, 0, 0, 'a', 0, 'b'};
  const std::vector<TableStructure> found = Walk(table);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_FALSE(found[0].IsComplete());
  EXPECT_EQ(found[0].Size(), 7u);
  EXPECT_EQ(TextOf(found[0].String(1)), "a");
  EXPECT_EQ(TextOf(found[0].String(2)), "(none)");
  EXPECT_EQ(found[0].StringCount(), 1u);
}

TEST_F(ConformTable, EndsAStructureThatClaimsMoreThanTheTableHas) {
  const Bytes table = {1, 200, 0, 0, 9};
  const std::vector<TableStructure> found = Walk(table);
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].FormattedSize(), 5u);
  EXPECT_FALSE(found[0].IsComplete());
  EXPECT_EQ(found[0].Byte(4), 9);
  EXPECT_EQ(found[0].Byte(5), 0);
}

TEST_F(ConformTable, SumsUpWhatThereIs) {
  Table table;
  table.Add(1, 7, {}, {"a string"});
  table.Add(End{});
  table.AddRaw({1, 2, 3});
  const TableSummary summary = tvqplatform::Summarize(View(table.Bytes()));
  EXPECT_EQ(summary.StructureCount, 2u);
  EXPECT_EQ(summary.MaximumStructureSize, 4 + sizeof("a string") + 1);
  EXPECT_EQ(summary.EndOfTableEnd, table.Size() - 3);
  EXPECT_EQ(summary.End, table.Size() - 3);
  EXPECT_TRUE(summary.LastIsComplete);
}

// --- What tells devices apart ---

TEST_F(ConformTable, CountsAPopulatedSocketAsProcessor) {
  Table table;
  table.Add(Processor{.status = 0x41});
  table.Add(Processor{.status = 0x01});
  Structure old = Processor{.status = 0x41}.Build();
  table.Add(old.CutTo(0x18));
  const std::vector<TableStructure> found = Walk(table.Bytes());
  EXPECT_TRUE(tvqplatform::IsProcessor(found[0]));
  EXPECT_FALSE(tvqplatform::IsProcessor(found[1]));
  EXPECT_FALSE(tvqplatform::IsProcessor(found[2])) << "it has no status";
}

TEST_F(ConformTable, CountsAPopulatedSlotAsModule) {
  Table table;
  for (const uint8_t type : std::initializer_list<uint8_t>{0x1A, 0x1F, 0x20, 0x21, 0x22}) {
    table.Add(MemoryDevice{.memoryType = type});
  }
  table.Add(MemoryDevice{.size = 0});
  std::vector<bool> modules;
  std::vector<bool> stacks;
  for (const TableStructure& structure : Walk(table.Bytes())) {
    modules.push_back(tvqplatform::IsModule(structure));
    stacks.push_back(tvqplatform::IsHbm(structure));
  }
  EXPECT_THAT(modules, testing::ElementsAre(true, false, false, false, true, false));
  EXPECT_THAT(stacks, testing::ElementsAre(false, false, true, true, false, false));
}

struct LocatorCase {
  std::string locator;
  std::string characters;  // three bytes
};

class ModuleKeys : public ConformTable, public testing::WithParamInterface<LocatorCase> {};

TEST_P(ModuleKeys, AreThreeBytesOfTheLocator) {
  Table table;
  table.Add(17, 7, Bytes(0x13 - 4, 1), {GetParam().locator, "next"});
  const tvqplatform::ModuleKey key =
      tvqplatform::KeyOfModule(View(table.Bytes()), Walk(table.Bytes())[0]);
  EXPECT_TRUE(key.Exists);
  EXPECT_EQ(std::string(key.Characters, key.Characters + 3), GetParam().characters);
}

INSTANTIATE_TEST_SUITE_P(
    Locators, ModuleKeys,
    testing::Values(LocatorCase{"DIMM_A1", std::string("A1\0", 3)}, LocatorCase{"DIMM_B10", "B10"},
                    LocatorCase{"A5", std::string("A5\0", 3)}, LocatorCase{"CPU1_DIMM_A1", "DIM"},
                    LocatorCase{"12345DIMM_", "DIM"}, LocatorCase{"DIMM_", std::string("\0ne", 3)},
                    LocatorCase{"DIMM A1", "DIM"}, LocatorCase{"A", std::string("A\0n", 3)}));

TEST_F(ConformTable, ReadsTheBytesOfAModulePastTheTableAsZero) {
  Bytes table = {17, 0x11, 0, 0};
  table.resize(0x10);
  table.insert(table.end(), {1, 'A', 0});
  const tvqplatform::ModuleKey key = tvqplatform::KeyOfModule(View(table), Walk(table)[0]);
  EXPECT_TRUE(key.Exists);
  EXPECT_EQ(std::string(key.Characters, key.Characters + 3), std::string("A\0\0", 3));
}

TEST_F(ConformTable, NeedsFourCharactersToTellProcessorsApart) {
  Table table;
  table.Add(Processor{.designation = "CPU1"});
  table.Add(Processor{.designation = "CPU"});
  table.Add(Processor{.designation = std::nullopt});
  table.Add(Processor{.designation = "SOCKET 0"});
  const std::vector<TableStructure> found = Walk(table.Bytes());
  EXPECT_TRUE(tvqplatform::KeyOfProcessor(found[0]).Exists);
  EXPECT_EQ(tvqplatform::KeyOfProcessor(found[0]).Number(), 1);
  EXPECT_FALSE(tvqplatform::KeyOfProcessor(found[1]).Exists);
  EXPECT_FALSE(tvqplatform::KeyOfProcessor(found[2]).Exists);
  EXPECT_EQ(tvqplatform::KeyOfProcessor(found[3]).Number(), 'K' - '0');
}

}  // namespace
}  // namespace tvq::test
