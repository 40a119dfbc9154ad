/*
 * `tvq lint` as its users call it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "host/run/driver_run.h"
#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/lint/lint_fixture.h"
#include "tests/unit/host/table/table_bytes.h"

namespace tvq::cli {
namespace {

using lint::Dump;
using lint::SoundWith;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr std::string_view kClash =
    "[memory-device like @dimm1]\nlocator = \"P1-DIMMA1\"\nserial  = \"7A2C0002\"\n"
    "[memory-device like @dimm1]\nlocator = \"P1-DIMMB1\"\nserial  = \"7A2C0003\"\n";

// A sound table with many slots: the system's document grows with each of them.
std::string ManySlots(int slots) {
  std::string blocks;
  for (int i = 0; i < slots; ++i) {
    blocks += "[slot]\ndesignation = \"Slot " + std::to_string(i) +
              " of the riser behind the second power supply\"\nid = " + std::to_string(i) + "\n";
  }
  return SoundWith(blocks);
}

class LintCommand : public CliTest {
 protected:
  std::string Sound() { return Write("sound.bin", Dump(SoundWith(""))); }
  std::string Clashing() { return Write("clash.bin", Dump(SoundWith(kClash))); }
};

TEST_F(LintCommand, FindsNothingInASoundTable) {
  const std::string file = Sound();
  const Outcome outcome = RunTvq({"lint", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, file + ": nothing found\n");
  EXPECT_EQ(outcome.diagnostics, "");
}

TEST_F(LintCommand, PrintsALineForEachFinding) {
  const std::string file = Clashing();
  const Outcome outcome = RunTvq({"lint", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.out,
            file +
                ":0x0314: error: type 17, handle 0x000C: locator \"P1-DIMMB1\" gives \"P1-\", as "
                "\"P1-DIMMA1\" of handle 0x000B does: the driver builds no more modules: this one "
                "gets no record; make the three characters differ: \"A1\", or \"DIMM_A1\", whose "
                "\"DIMM_\" is skipped [locator-clash]\n" +
                file + ": 1 error\n");
}

TEST_F(LintCommand, OffsetsAreThoseOfTheFile) {
  const table::Bytes dump = Dump(SoundWith(kClash));
  EXPECT_EQ(dump[0x0314], 17);
  EXPECT_EQ(dump[0x0316], 0x0C);
  const table::Bytes bare(dump.begin() + 0x20, dump.end());
  const Outcome outcome = RunTvq({"lint", Write("bare.bin", bare)});
  EXPECT_THAT(outcome.out, HasSubstr("bare.bin:0x02F4: error"));
}

TEST_F(LintCommand, ReadsStandardInput) {
  const table::Bytes dump = Dump(SoundWith(kClash));
  const Outcome outcome = RunTvq({"lint", "-"}, std::string(dump.begin(), dump.end()));
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, StartsWith("standard input:0x0314: error"));
}

TEST_F(LintCommand, NamesTheFileOfTheEntryPointOfThisMachine) {
  const table::Bytes dump = Dump(SoundWith("", "entry-point = 64\n"));
  Write("smbios_entry_point", table::Bytes(dump.begin(), dump.begin() + 0x18));
  Write("DMI", table::Bytes(dump.begin() + 0x20, dump.end()));
  const Outcome outcome = RunTvq({"lint", "--sysfs", Path("")});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("/smbios_entry_point:0x0000: warning: the entry point is the "
                                     "64-bit one"));
}

TEST_F(LintCommand, PrintsAFewFindingsOfEachRule) {
  std::string blocks;
  for (int i = 0; i < 12; ++i) {
    blocks +=
        "[memory-device like @dimm1]\nlocator = \"A1\"\nserial = \"S" + std::to_string(i) + "\"\n";
  }
  const std::string file = Write("many.bin", Dump(SoundWith(blocks)));
  const Outcome few = RunTvq({"lint", file});
  EXPECT_EQ(std::count(few.out.begin(), few.out.end(), '\n'), 10);
  EXPECT_THAT(few.out, HasSubstr("many.bin: 4 more of [locator-clash]; --max 0 shows them all\n"));
  EXPECT_THAT(few.out, EndsWith("many.bin: 12 errors\n"));
  const Outcome all = RunTvq({"lint", "--max", "0", file});
  EXPECT_EQ(std::count(all.out.begin(), all.out.end(), '\n'), 13);
}

TEST_F(LintCommand, ExaminesForTheProfile) {
  const std::string file =
      Write("a.bin", Dump(SoundWith("[oem-strings]\ncount = 3\nstring = \"one\"\n")));
  EXPECT_EQ(RunTvq({"lint", file}).status, 0);
  const Outcome outcome = RunTvq({"lint", "--profile", "table", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, HasSubstr("[string-count]"));
  EXPECT_EQ(RunTvq({"lint", "--enable", "string-count", file}).status, 1);
}

TEST_F(LintCommand, LeavesRulesOut) {
  const std::string file = Clashing();
  EXPECT_EQ(RunTvq({"lint", "--disable", "locator-clash", file}).status, 0);
  EXPECT_EQ(RunTvq({"lint", "--disable", "all", file}).status, 0);
  EXPECT_EQ(RunTvq({"lint", "--disable", "all", "--enable", "locator-clash", file}).status, 1);
  EXPECT_EQ(RunTvq({"lint", "--disable", "fqdd-long,locator-clash", file}).status, 0);
}

TEST_F(LintCommand, EndsWithOneForWhatIsAsGraveAsAsked) {
  const std::string file = Write("a.bin", Dump(SoundWith("[oem-strings]\nstring = \"9DF3\"\n")));
  EXPECT_EQ(RunTvq({"lint", file}).status, 1);
  EXPECT_EQ(RunTvq({"lint", "--fail-on", "warning", file}).status, 1);
  const Outcome outcome = RunTvq({"lint", "--fail-on", "error", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(outcome.out, HasSubstr("[oem-system-name]"));
}

TEST_F(LintCommand, PrintsJson) {
  const std::string file = Clashing();
  const Outcome outcome = RunTvq({"lint", "--json", file});
  EXPECT_EQ(outcome.status, 1);
  const auto json = outcome.Json();
  EXPECT_EQ(json["schema"], 1);
  EXPECT_EQ(json["table"], file);
  EXPECT_EQ(json["profile"], "driver");
  ASSERT_EQ(json["findings"].size(), 1u);
  const auto& finding = json["findings"][0];
  std::vector<std::string> keys;
  for (const auto& [key, ignored] : finding.items()) {
    keys.push_back(key);
  }
  EXPECT_THAT(
      keys, ElementsAre("rule", "severity", "in", "offset", "type", "handle", "message", "advice"));
  EXPECT_EQ(finding["rule"], "locator-clash");
  EXPECT_EQ(finding["severity"], "error");
  EXPECT_EQ(finding["in"], "table");
  EXPECT_EQ(finding["offset"], 0x314);
  EXPECT_EQ(finding["type"], 17);
  EXPECT_EQ(finding["handle"], 12);
  EXPECT_EQ(json["summary"].dump(), R"({"error":1,"warning":0,"note":0})");
}

TEST_F(LintCommand, ShowsSeveritiesInColourOnATerminal) {
  const Outcome outcome = RunTvq({"lint", Clashing()}, "", {80, true});
  EXPECT_THAT(outcome.out, HasSubstr("\x1B[31merror\x1B["));
}

TEST_F(LintCommand, ListsAndExplainsRules) {
  const Outcome list = RunTvq({"lint", "--list"});
  EXPECT_EQ(list.status, 0);
  EXPECT_EQ(static_cast<std::size_t>(std::count(list.out.begin(), list.out.end(), '\n')),
            lint::AllRules().size());
  const Outcome explained = RunTvq({"lint", "--explain", "locator-clash"});
  EXPECT_EQ(explained.status, 0);
  EXPECT_THAT(explained.out, AllOf(StartsWith("locator-clash (error; profile driver)\n"),
                                   HasSubstr("Already started"), HasSubstr("What to change:"),
                                   HasSubstr("  locator = \"P1-DIMMB1\"\n")));
}

TEST_F(LintCommand, NamesTheRuleThatWasMeant) {
  const Outcome outcome = RunTvq({"lint", "--explain", "locator-clsh"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.diagnostics, AllOf(HasSubstr("there is no rule 'locator-clsh'"),
                                         HasSubstr("did you mean 'locator-clash'?")));
  EXPECT_EQ(RunTvq({"lint", "--enable", "nonsense", Sound()}).status, 2);
  EXPECT_EQ(RunTvq({"lint", "--disable", "nonsense", Sound()}).status, 2);
}

TEST_F(LintCommand, RefusesWhatIsNoTable) {
  const Outcome outcome = RunTvq({"lint", Write("a.txt", {'t', 'e', 'x', 't', '\n'})});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.diagnostics, HasSubstr("is no SMBIOS table that can be used"));
  EXPECT_EQ(RunTvq({"lint", Path("missing.bin")}).status, 2);
  EXPECT_EQ(RunTvq({"lint", "--fail-on", "panic", Sound()}).status, 2);
  EXPECT_EQ(RunTvq({"lint", "--profile", "reader", Sound()}).status, 2);
}

TEST_F(LintCommand, MeasuresTheDocumentsThatTheDriverWrites) {
  EXPECT_EQ(RunTvq({"lint", Write("few.bin", Dump(ManySlots(30)))}).status, 0);
  const Outcome outcome = RunTvq({"lint", Write("many.bin", Dump(ManySlots(60)))});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("warning: type 1, handle 0x0001: its document has "),
                                 HasSubstr("[document-size]"), EndsWith("many.bin: 1 warning\n")));
}

TEST_F(LintCommand, MeasuresTheDocumentsOfAConformedTableWhereThereAreNone) {
  std::string source = ManySlots(60);
  const std::size_t map = source.find("[fqdd-map]");
  source.erase(map, source.find("[slot]", map) - map);
  const Outcome outcome = RunTvq({"lint", Write("many.bin", Dump(source))});
  EXPECT_THAT(outcome.out, AllOf(HasSubstr("[fqdd-map-missing]"), HasSubstr("[document-size]")));
}

TEST_F(LintCommand, MasksSerialNumbersWhereAsked) {
  const std::string file =
      Write("a.bin", Dump(SoundWith("[memory-device like @dimm1]\nlocator = \"A2\"\n"
                                    "serial = \"S/N 2024-11-7A2C0002\"\n")));
  EXPECT_THAT(RunTvq({"lint", file}).out, HasSubstr("S/N 2024-11-7A2C0002"));
  const Outcome masked = RunTvq({"lint", "--redact", "--redact-key", "key", file});
  EXPECT_EQ(masked.status, 1);
  EXPECT_THAT(masked.out, AllOf(HasSubstr("[serial-long]"), Not(HasSubstr("7A2C0002"))));
}

// The manual has the words of the rules. `tvq lint --explain all` prints them.
TEST_F(LintCommand, ManualIsUpToDate) {
  const std::string manual = table::ReadText(TVQ_SOURCE_DIR "/docs/lint.md");
  const Outcome outcome = RunTvq({"lint", "--explain", "all"});
  EXPECT_THAT(manual, EndsWith("\n" + outcome.out));
}

}  // namespace
}  // namespace tvq::cli
