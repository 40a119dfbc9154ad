/*
 * Rules about what the source form of tables does not say: cut tables, lengths, counts.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/host/lint/lint_fixture.h"
#include "tests/unit/shared/entry_point.h"

namespace tvq::lint {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

constexpr char kBare[] = "entry-point = none\n";

// A sound table without an end, whose last structure has the bytes 0B 05 .. .. 01, then a text.
Bytes BareTable() {
  std::string source = SoundWith("[oem-strings]\nstring = \"the last one\"\n", kBare);
  source.erase(source.rfind(kEnd));
  return Dump(source);
}

std::vector<std::string> About(const Bytes& dump, Profile profile = kDriver) {
  return Lines(ExamineDump(dump, Selection(profile)));
}

TEST(LintBytes, TheLastStructureIsCut) {
  Bytes table = BareTable();
  table.resize(table.size() - sizeof("the last one") - 2);
  EXPECT_THAT(
      About(table),
      ElementsAre(AllOf(HasSubstr("type 11, handle 0x000B: the structure has 05h bytes, and "
                                  "the table ends after 04h"),
                        EndsWith("[structure-cut]"))));
}

TEST(LintBytes, BytesAreLeftBehindTheLastStructure) {
  Bytes table = BareTable();
  table.insert(table.end(), {7, 8});
  EXPECT_THAT(About(table),
              ElementsAre(AllOf(HasSubstr("error: 2 bytes behind the last structure: too few"),
                                EndsWith("[structure-cut]"))));
}

TEST(LintBytes, TheStringsOfTheLastStructureHaveNoEnd) {
  Bytes table = BareTable();
  for (int i = 0; i < 3; ++i) {  // the two NULs, then a character
    table.pop_back();
    EXPECT_THAT(About(table), ElementsAre(EndsWith("[structure-unterminated]")));
  }
}

TEST(LintBytes, TheEntryPointStatesMoreThanThereIs) {
  Bytes dump = Dump(SoundWith(""));
  dump.resize(dump.size() - 6);  // the end of the table
  RepairEntryPoint(dump);
  EXPECT_THAT(About(dump), ElementsAre(AllOf(StartsWith("entry:0x0016: error: the entry point says "
                                                        "that the table has 621 bytes, and there "
                                                        "are 615"),
                                             EndsWith("[entry-point-table-length]"))));
}

// What a 64-bit entry point states is a maximum.
TEST(LintBytes, A64BitEntryPointMayStateMoreThanThereIs) {
  Bytes dump = Dump(SoundWith("", "entry-point = 64\n"));
  dump[0x0D] = 0x10;
  dump[0x05] =
      static_cast<std::uint8_t>(dump[0x05] - std::accumulate(dump.begin(), dump.begin() + 0x18, 0));
  EXPECT_THAT(About(dump, kTable), testing::IsEmpty());
}

TEST(LintBytes, ThereAreMoreStructuresThanASlotQueryCounts) {
  std::string blocks;
  for (int i = 0; i < 255 - 12; ++i) {
    blocks += "[oem-strings]\nstring = \"one of many\"\n";
  }
  EXPECT_THAT(LinesAbout(SoundWith(blocks)), testing::IsEmpty());
  blocks += "[oem-strings]\nstring = \"one too many\"\n";
  EXPECT_THAT(LinesAbout(SoundWith(blocks)),
              ElementsAre(AllOf(StartsWith("table: error: the table has 256 structures"),
                                EndsWith("; bring the table down to 255 structures, or build the "
                                         "driver with PcdTvqBoundedWalks [structure-count]"))));
}

TEST(LintBytes, TheTableIsTooLongForA32BitEntryPoint) {
  std::string blocks;
  for (int i = 0; i < 3; ++i) {
    blocks += "[oem-strings]\nstring = \"" + std::string(25000, 'x') + "\"\n";
  }
  EXPECT_THAT(LinesAbout(SoundWith(blocks, kBare)), ElementsAre(EndsWith("[table-too-long]")));
}

std::string WithoutBlock(std::string source, const std::string& begin, const std::string& next) {
  const std::size_t at = source.find(begin);
  return source.erase(at, source.find(next) - at);
}

TEST(LintBytes, AStructureIsMissingThatEveryTableHasToHave) {
  EXPECT_THAT(
      LinesAbout(WithoutBlock(SoundWith(""), "[boot-status", "[fqdd-map"), kTable),
      ElementsAre("table: error: there is no structure of type 32 (boot-status), which every "
                  "table has to have; add one [required-structure]"));
}

TEST(LintBytes, AMachineNeedNotHaveSlots) {
  EXPECT_THAT(LinesAbout(WithoutBlock(SoundWith(""), "[slot", "[memory-array"), kTable),
              testing::IsEmpty());
}

// A bare table with zeros behind its last byte.
Bytes PaddedWith(std::size_t zeros) {
  Bytes table = Dump(SoundWith("", kBare));
  table.resize(table.size() + zeros);
  return table;
}

TEST(LintBytes, ZerosAtTheEndAreOneFinding) {
  for (const std::size_t zeros : {2, 3, 4, 5, 1000}) {
    EXPECT_THAT(About(PaddedWith(zeros), kTable),
                ElementsAre(AllOf(
                    StartsWith("table:0x026D: error: the last " + std::to_string(zeros) + " bytes"),
                    EndsWith("[zero-padding]"))));
  }
  EXPECT_THAT(About(PaddedWith(1)), ElementsAre(HasSubstr("the last 1 byte of the table is 0")));
  EXPECT_THAT(About(PaddedWith(0)), testing::IsEmpty());
}

TEST(LintBytes, ZerosAreNoPaddingInFrontOfAStructure) {
  Bytes table = PaddedWith(6);
  const Bytes end = {127, 4, 0xEE, 0xEE, 0, 0};
  table.insert(table.end(), end.begin(), end.end());
  EXPECT_THAT(About(table), testing::Not(testing::Contains(HasSubstr("[zero-padding]"))));
}

TEST(LintBytes, ATableOfZerosHasNoStructures) {
  EXPECT_THAT(About(Bytes(64), kDriver), testing::Contains(HasSubstr("the last 64 bytes")));
}

// What was cut off is missed in many places, and there is one thing to do about it.
TEST(LintBytes, WhatACutCaptureLacksFollowsFromIt) {
  const Bytes whole = Dump(SoundWith(""));
  Bytes dump(whole.begin(), whole.begin() + 0x190);  // up to the memory array
  dump.resize(whole.size());
  const auto findings = ExamineDump(dump, Selection(kBoth));
  const auto cut = std::find_if(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.rule->name == "zero-padding";
  });
  ASSERT_NE(cut, findings.end());
  std::vector<std::string_view> names;
  for (const Finding& consequence : cut->consequences) {
    names.push_back(consequence.rule->name);
  }
  EXPECT_THAT(names, testing::UnorderedElementsAre("entry-point-count", "end-of-table-missing",
                                                   "required-structure", "required-structure",
                                                   "required-structure", "required-structure"));
}

TEST(LintBytes, TheTableHasNoEnd) {
  EXPECT_THAT(About(BareTable(), kTable), ElementsAre(EndsWith("[end-of-table-missing]")));
}

TEST(LintBytes, OnlyAFindingAboutAStructureHasItsBytes) {
  Bytes dump = Dump(SoundWith("[oem-strings]\ncount = 2\nstring = \"one\"\n"));
  dump.insert(dump.end(), 2, 0);
  test::PutNumber(dump, test::kTableLength, 2, dump.size() - test::kTableInFile + 1);
  test::FitChecksums(dump.data());
  const auto sizeAt = [&dump](std::string_view rule) {
    Selection alone(kDriver);
    alone.Disable("all");
    alone.Enable(rule);
    const auto findings = ExamineDump(dump, alone);
    EXPECT_EQ(findings.size(), 1u) << rule;
    return findings.empty() ? 0x100 : findings[0].place.size;
  };
  EXPECT_EQ(sizeAt("string-count"), 5 + sizeof("one") + 1);
  EXPECT_EQ(sizeAt("entry-point-table-length"), 0u) << "a byte of the entry point";
  EXPECT_EQ(sizeAt("zero-padding"), 0u) << "a byte behind the structures";
}

TEST(LintBytes, NoBytesAreTooFewOrTooOdd) {
  const Bytes dump = Dump(SoundWith("[oem-strings]\nstring = \"17[0123]\"\n"));
  Selection everything(kDriver);
  everything.Enable("all");
  for (std::size_t size = 0; size < dump.size(); ++size) {
    const auto subject = Subject::Read(Bytes(dump.begin(), dump.begin() + static_cast<long>(size)));
    if (subject) {
      Examine(*subject, everything);
    }
  }
  for (std::size_t at = 0; at < dump.size(); ++at) {
    for (const int value : {0x00, 0x01, 0x7F, 0xFF}) {
      Bytes odd = dump;
      odd[at] = static_cast<std::uint8_t>(value);
      const auto subject = Subject::Read(odd);
      if (subject) {
        Examine(*subject, everything);
      }
    }
  }
}

}  // namespace
}  // namespace tvq::lint
