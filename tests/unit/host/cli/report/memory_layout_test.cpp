/*
 * Memory slots are put where their table states them, and nowhere else.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/memory_layout.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/cli/report/memory_marks.h"
#include "tests/unit/shared/table.h"

namespace tvq::cli {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

facts::Machine MachineOf(const std::vector<std::string>& sockets,
                         const std::vector<test::MemoryDevice>& modules) {
  std::vector<test::Processor> processors;
  for (const std::string& socket : sockets) {
    processors.push_back({.designation = socket});
  }
  const test::Table table = test::Table::Of(processors, modules);
  return facts::ReadMachine(table.Bytes(), {3, 3}, table.Count());
}

// "[0] Channel 0: 0 1; Channel 1: 2" for each group, with the processor or the name in front.
std::vector<std::string> InWords(const facts::Machine& machine) {
  std::vector<std::string> words;
  for (const MemoryGroup& group : GroupMemory(machine)) {
    std::string text = group.processor ? "[" + std::to_string(*group.processor) + "]" : group.name;
    for (const MemoryRow& row : group.rows) {
      text += "; " + row.name + ":";
      for (const std::size_t module : row.modules) {
        text += " " + std::to_string(module);
      }
    }
    words.push_back(text);
  }
  return words;
}

test::MemoryDevice SlotOf(const std::string& locator, const std::string& bank) {
  test::MemoryDevice device;
  device.locator = locator;
  device.bankLocator = bank.empty() ? test::Text() : test::Text(bank);
  return device;
}

TEST(MemoryLayout, LabelsPutSlotsAtTheirProcessor) {
  EXPECT_THAT(
      InWords(MachineOf({"CPU1", "CPU2"}, {SlotOf("P1-DIMMA1", ""), SlotOf("P1-DIMMA2", ""),
                                           SlotOf("P1-DIMMB1", ""), SlotOf("P2-DIMMA1", "")})),
      ElementsAre("[0]; A: 0 1; B: 2", "[1]; A: 3"));
}

TEST(MemoryLayout, ABankThatCountsAsTheSocketsDoWinsOverALabelThatDoesNot) {
  EXPECT_THAT(InWords(MachineOf({"SOCKET 0", "SOCKET 1"},
                                {SlotOf("P1-DIMM1A", "P0_Node0_Channel0_Dimm0"),
                                 SlotOf("P2-DIMM1D", "P1_Node1_Channel0_Dimm0")})),
              ElementsAre("[0]; Channel 0: 0", "[1]; Channel 0: 1"));
}

TEST(MemoryLayout, AChannelThatIsNamedWinsOverALetter) {
  EXPECT_THAT(InWords(MachineOf({"CPU1"}, {SlotOf("DIMM_A1", "CPU1 Channel 0"),
                                           SlotOf("DIMM_A2", "CPU1 Channel 1")})),
              ElementsAre("[0]; Channel 0: 0; Channel 1: 1"));
  EXPECT_THAT(InWords(MachineOf(
                  {"CPU1"}, {SlotOf("DIMM 0", "P1 CHANNEL A"), SlotOf("DIMM 0", "P1 CHANNEL B")})),
              ElementsAre("[0]; Channel A: 0; Channel B: 1"));
}

TEST(MemoryLayout, NumbersThatNoSocketHasDrawNothingAtASocket) {
  EXPECT_THAT(InWords(MachineOf({"SP3r2"}, {SlotOf("DIMM 0", "P0 CHANNEL A")})),
              ElementsAre("Memory, labelled for processor 0; Channel A: 0"));
  EXPECT_THAT(InWords(MachineOf({"CPU1", "CPU1"}, {SlotOf("P1-DIMMA1", "")})),
              ElementsAre("Memory, labelled for processor 1; A: 0"))
      << "two sockets have the number";
}

TEST(MemoryLayout, WhereNothingIsStatedThereIsAList) {
  EXPECT_THAT(
      InWords(MachineOf({"CPU 1"}, {SlotOf("RAM slot #0", "RAM slot #0"), SlotOf("Top", "")})),
      ElementsAre("Memory; : 0 1"));
  EXPECT_THAT(InWords(MachineOf({"CPU1"}, {SlotOf("P1-DIMMA1", ""), SlotOf("Spare", "")})),
              ElementsAre("Memory; : 0 1"))
      << "one slot says nothing";
  EXPECT_THAT(InWords(MachineOf({"CPU1"}, {})), IsEmpty());
}

TEST(MemoryLayout, HighBandwidthMemoryStandsApart) {
  test::MemoryDevice first = SlotOf("STACK 0", "");
  first.memoryType = 0x20;
  test::MemoryDevice third = SlotOf("STACK 1", "");
  third.memoryType = 0x24;
  EXPECT_THAT(InWords(MachineOf({}, {first, SlotOf("DIMM 0", ""), third})),
              ElementsAre("Memory; : 1", "High-bandwidth memory; : 0 2"));
}

TEST(MemoryLayout, TheWordChannelAloneNamesNone) {
  EXPECT_THAT(InWords(MachineOf({}, {SlotOf("DIMM 0", "CHANNEL"), SlotOf("DIMM 1", "CHANNEL")})),
              ElementsAre("Memory; : 0 1"));
}

TEST(MemoryMarks, OfKindsThatAreEquallyManyTheFirstIsUsual) {
  test::MemoryDevice small = SlotOf("DIMM 1", "");
  small.size = 0x2000;
  const facts::Machine machine = MachineOf({}, {SlotOf("DIMM 0", ""), small});
  const std::vector<MemoryMarks> marks = MarkMemory(machine, GroupMemory(machine));
  EXPECT_EQ(marks[0].others, "");
  EXPECT_EQ(marks[1].others, "16 GB DDR4, rank 2, 3200 MT/s");
}

TEST(MemoryMarks, EmptySlowAndOtherModulesAreMarked) {
  test::MemoryDevice usual = SlotOf("P1-DIMMA1", "");
  test::MemoryDevice slow = SlotOf("P1-DIMMA2", "");
  slow.configuredSpeed = static_cast<std::uint16_t>(slow.speed - 100);
  usual.configuredSpeed = usual.speed;
  test::MemoryDevice other = usual;
  other.locator = "P1-DIMMB1";
  other.size = static_cast<std::uint16_t>(usual.size / 2);
  test::MemoryDevice empty = SlotOf("P1-DIMMB2", "");
  empty.size = 0;
  const facts::Machine machine = MachineOf({"CPU1"}, {usual, slow, other, empty});
  const auto marks = MarkMemory(machine, GroupMemory(machine));
  ASSERT_EQ(marks.size(), 4u);
  EXPECT_FALSE(marks[0].isSlow || marks[0].isEmpty || !marks[0].others.empty());
  EXPECT_TRUE(marks[1].isSlow);
  EXPECT_EQ(marks[2].others.substr(0, 5), "16 GB");
  EXPECT_TRUE(marks[3].isEmpty);
  EXPECT_TRUE(marks[3].others.empty()) << "an empty slot is of no kind";
  EXPECT_EQ(DescribeMemory(machine, marks).size(), 2u);
}

// What most modules are, where one is something else.
std::string OthersOf(const std::vector<test::MemoryDevice>& modules, std::size_t index) {
  const facts::Machine machine = MachineOf({}, modules);
  return MarkMemory(machine, GroupMemory(machine))[index].others;
}

TEST(MemoryMarks, AModuleIsMixedOnlyWhereBothStateTheFact) {
  test::MemoryDevice usual = SlotOf("DIMM_A1", "");
  test::MemoryDevice silent = SlotOf("DIMM_A3", "");
  silent.attributes = 0;  // states no rank
  silent.speed = 0;
  EXPECT_EQ(OthersOf({usual, usual, silent}, 2), "");
  test::MemoryDevice other = silent;
  other.attributes = 1;
  EXPECT_NE(OthersOf({usual, usual, other}, 2), "");
}

}  // namespace
}  // namespace tvq::cli
