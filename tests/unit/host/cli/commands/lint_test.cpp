/*
 * `tvq lint` as its users call it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

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
              " of the riser behind the second power supply\"\nid = " + std::to_string(i) +
              "\nbus = " + std::to_string(i) + "\n";
  }
  return SoundWith(blocks);
}

class LintCommand : public CliTest {
 protected:
  void WriteText(const std::string& name, const std::string& text) {
    Write(name, {text.begin(), text.end()});
  }
  // The line about the profile that was not asked for.
  static std::string LeftOut(const std::string& file) {
    return file + ": profile table left out; --profile all looks for both\n";
  }
  std::string Sound() { return Write("sound.bin", Dump(SoundWith(""))); }
  std::string Clashing() { return Write("clash.bin", Dump(SoundWith(kClash))); }
};

TEST_F(LintCommand, FindsNothingInASoundTable) {
  const std::string file = Sound();
  const Outcome outcome = RunTvq({"lint", file});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, file + ": nothing found\n" + LeftOut(file));
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
                file + ": for the driver alone: 1 error\n" + LeftOut(file));
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

TEST_F(LintCommand, NamesAFewPlacesOfAFault) {
  std::string blocks;
  for (int i = 0; i < 12; ++i) {
    blocks +=
        "[memory-device like @dimm1]\nlocator = \"A1\"\nserial = \"S" + std::to_string(i) + "\"\n";
  }
  const std::string file = Write("many.bin", Dump(SoundWith(blocks)));
  const Outcome few = RunTvq({"lint", "--max", "2", file});
  EXPECT_EQ(std::count(few.out.begin(), few.out.end(), '\n'), 4);
  EXPECT_THAT(few.out, HasSubstr("\n    alike: handle 0x000C, handle 0x000D and 9 more\n"));
  EXPECT_THAT(few.out, HasSubstr("many.bin: for the driver alone: 1 error\n"));
  const Outcome all = RunTvq({"lint", "--max", "0", file});
  EXPECT_EQ(std::count(all.out.begin(), all.out.end(), '\n'), 14);
  EXPECT_THAT(all.out, HasSubstr("many.bin:0x0307: type 17, handle 0x000C: locator \"A1\" gives"));
}

TEST_F(LintCommand, ShowsWhatFollowsBelowItsCause) {
  const std::string file = Write(
      "a.bin", Dump(SoundWith(
                   "[memory-device like @dimm1]\nlocator = \"CPU1_DIMM_A2\"\nserial = \"S2\"\n"
                   "[memory-device like @dimm1]\nlocator = \"CPU1_DIMM_B2\"\nserial = \"S3\"\n")));
  const Outcome outcome = RunTvq({"lint", file});
  EXPECT_THAT(outcome.out,
              AllOf(StartsWith(file + ":0x0287: error: type 17, handle 0x000B: locator "),
                    HasSubstr("[locator-prefix]\n    alike: handle 0x000C\n    leads to " + file +
                              ":0x0311: error: type 17, handle 0x000C: locator \"CPU1_DIMM_B2\" "
                              "gives \"DIM\""),
                    HasSubstr("this one gets no record [locator-clash]\n"),
                    HasSubstr("for the driver alone: 1 error\n")));
}

TEST_F(LintCommand, NamesAFewConsequences) {
  std::string blocks = "[end]\n";
  for (int i = 0; i < 4; ++i) {
    blocks +=
        "[slot]\nbus = " + std::to_string(i) + "\ndesignation = \"A & B\"\n[cache]\nsocket = 9\n";
  }
  const std::string file = Write("a.bin", Dump(SoundWith(blocks)));
  const Outcome few = RunTvq({"lint", "--profile", "all", "--max", "1", file});
  EXPECT_THAT(few.out, HasSubstr("[behind-end-of-table]\n    alike: handle 0x000E and 2 more\n"
                                 "    leads to "));
  EXPECT_THAT(few.out, Not(HasSubstr("profile table left out")));
}

TEST_F(LintCommand, TellsTheStandardFromTheDriver) {
  const std::string file =
      Write("a.bin", Dump(SoundWith("[oem-strings]\ncount = 3\nstring = \"9 strings\"\n")));
  const Outcome outcome = RunTvq({"lint", "--profile", "all", file});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out, EndsWith(file + ": against the standard: 1 warning\n" + file +
                                    ": for the driver alone: 1 warning\n"));
  EXPECT_THAT(RunTvq({"lint", "--profile", "table", file}).out,
              EndsWith(file + ": profile driver left out; --profile all looks for both\n"));
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
  EXPECT_EQ(json["schema"], "tvq-lint");
  EXPECT_EQ(json["schemaVersion"], 2);
  EXPECT_EQ(json["table"], file);
  EXPECT_EQ(json["profile"], "driver");
  EXPECT_EQ(json["leftOut"].dump(), R"(["table"])");
  ASSERT_EQ(json["findings"].size(), 1u);
  const auto& finding = json["findings"][0];
  std::vector<std::string> keys;
  for (const auto& [key, ignored] : finding.items()) {
    keys.push_back(key);
  }
  EXPECT_THAT(keys, ElementsAre("rule", "severity", "about", "in", "offset", "type", "handle",
                                "message", "advice", "alike", "consequences"));
  EXPECT_EQ(finding["rule"], "locator-clash");
  EXPECT_EQ(finding["severity"], "error");
  EXPECT_EQ(finding["about"], "driver");
  EXPECT_EQ(finding["in"], "table");
  EXPECT_EQ(finding["offset"], 0x314);
  EXPECT_EQ(finding["type"], 17);
  EXPECT_EQ(finding["handle"], 12);
  EXPECT_EQ(json["summary"].dump(), R"({"error":1,"warning":0,"note":0})");
  EXPECT_EQ(RunTvq({"lint", "--format", "json", file}).out, outcome.out);
}

// A line for each table, with its name.
std::vector<std::string> FilesOf(const std::string& lines) {
  std::vector<std::string> files;
  std::istringstream stream(lines);
  for (std::string line; std::getline(stream, line);) {
    files.push_back(nlohmann::json::parse(line).value("file", "none"));
  }
  return files;
}

TEST_F(LintCommand, PrintsALineForEachOfManyTables) {
  const std::string sound = Sound();
  const std::string clash = Clashing();
  const std::vector<std::string> both = {sound, clash};
  EXPECT_EQ(FilesOf(RunTvq({"lint", "--json", sound, clash}).out), both);
  EXPECT_EQ(FilesOf(RunTvq({"lint", "--format", "json", sound, clash}).out), both);
  EXPECT_EQ(FilesOf(RunTvq({"lint", "--ndjson", sound, clash}).out), both);
  EXPECT_EQ(FilesOf(RunTvq({"lint", "--ndjson", clash}).out), std::vector<std::string>{clash});
  EXPECT_FALSE(RunTvq({"lint", "--json", clash}).Json().contains("file"));
  const Outcome text = RunTvq({"lint", sound, clash});
  EXPECT_EQ(text.status, 1);
  EXPECT_THAT(text.out, AllOf(StartsWith(sound + ":\n" + sound + ": nothing found\n"),
                              HasSubstr("\n\n" + clash + ":\n" + clash + ":0x0314: error: ")));
}

TEST_F(LintCommand, ASarifLogIsOfOneTable) {
  const Outcome line = RunTvq({"lint", "--ndjson", "--format", "sarif", Sound()});
  EXPECT_EQ(line.status, 2);
  EXPECT_THAT(line.diagnostics, HasSubstr("--ndjson prints lines of its own"));
  const Outcome many = RunTvq({"lint", "--format", "sarif", Sound(), Sound()});
  EXPECT_EQ(many.status, 2);
  EXPECT_THAT(many.diagnostics, HasSubstr("a SARIF log is about one table"));
}

constexpr std::string_view kCauseAndEffect =
    "[memory-device like @dimm1]\nlocator = \"CPU1_DIMM_A2\"\nserial = \"S2\"\n"
    "[memory-device like @dimm1]\nlocator = \"CPU1_DIMM_B2\"\nserial = \"S3\"\n";

TEST_F(LintCommand, JsonIsATreeToo) {
  const std::string file = Write("a.bin", Dump(SoundWith(kCauseAndEffect)));
  const auto json = RunTvq({"lint", "--json", file}).Json();
  ASSERT_EQ(json["findings"].size(), 1u);
  const auto& cause = json["findings"][0];
  EXPECT_EQ(cause["rule"], "locator-prefix");
  ASSERT_EQ(cause["alike"].size(), 1u);
  EXPECT_EQ(cause["alike"][0]["handle"], 12);
  EXPECT_THAT(cause["alike"][0]["message"].get<std::string>(), HasSubstr("CPU1_DIMM_B2"));
  ASSERT_EQ(cause["consequences"].size(), 1u);
  EXPECT_EQ(cause["consequences"][0]["rule"], "locator-clash");
}

// What the schema of SARIF requires of each object that is there.
TEST_F(LintCommand, PrintsSarif) {
  const std::string file = Write("a b.bin", Dump(SoundWith(kCauseAndEffect)));
  const Outcome outcome = RunTvq({"lint", "--format", "sarif", file});
  EXPECT_EQ(outcome.status, 1);
  const auto log = outcome.Json();
  EXPECT_EQ(log["version"], "2.1.0");
  EXPECT_THAT(log["$schema"].get<std::string>(), EndsWith("/sarif-schema-2.1.0.json"));
  ASSERT_EQ(log["runs"].size(), 1u);
  const auto& driver = log["runs"][0]["tool"]["driver"];
  EXPECT_EQ(driver["name"], "tvq lint");
  ASSERT_EQ(driver["rules"].size(), lint::AllRules().size());
  for (const auto& rule : driver["rules"]) {
    EXPECT_NE(lint::FindRule(rule["id"].get<std::string>()), nullptr);
    for (const char* const text : {"shortDescription", "fullDescription", "help"}) {
      EXPECT_NE(rule[text]["text"].get<std::string>(), "") << rule["id"];
    }
    EXPECT_THAT(rule["defaultConfiguration"]["level"].get<std::string>(),
                testing::AnyOf("error", "warning", "note"));
    const bool isStandard = lint::IsAboutStandard(*lint::FindRule(rule["id"].get<std::string>()));
    EXPECT_EQ(rule["properties"]["tags"][0], isStandard ? "standard" : "driver");
  }
  ASSERT_EQ(log["runs"][0]["results"].size(), 1u);
  const auto& result = log["runs"][0]["results"][0];
  EXPECT_EQ(result["ruleId"], "locator-prefix");
  EXPECT_EQ(driver["rules"][result["ruleIndex"].get<std::size_t>()]["id"], "locator-prefix");
  EXPECT_EQ(result["level"], "error");
  EXPECT_THAT(result["message"]["text"].get<std::string>(), HasSubstr("CPU1_DIMM_A2"));
  EXPECT_EQ(result["partialFingerprints"]["tvqLint/v1"], "locator-prefix/table/17/11");
  EXPECT_FALSE(result.contains("baselineState"));

  ASSERT_EQ(result["locations"].size(), 2u);
  const auto& place = result["locations"][0]["physicalLocation"];
  EXPECT_THAT(place["artifactLocation"]["uri"].get<std::string>(),
              AllOf(StartsWith("file:///"), EndsWith("/a%20b.bin")));
  EXPECT_EQ(place["region"].dump(), R"({"byteOffset":647,"byteLength":138})");
  EXPECT_EQ(result["locations"][1]["logicalLocations"][0]["fullyQualifiedName"],
            "type 17, handle 0x000C");

  ASSERT_EQ(result["relatedLocations"].size(), 1u);
  const auto& consequence = result["relatedLocations"][0];
  EXPECT_THAT(consequence["message"]["text"].get<std::string>(), EndsWith("[locator-clash]"));
  EXPECT_EQ(consequence["relationships"][0]["target"], result["locations"][0]["id"]);
  EXPECT_NE(consequence["id"], result["locations"][0]["id"]);
}

TEST_F(LintCommand, LeavesOutWhatABaselineHas) {
  const std::string before = Write("before.bin", Dump(SoundWith(kClash)));
  const std::string known = Path("known.json");
  WriteText("known.json", RunTvq({"lint", "--json", before}).out);
  const Outcome same = RunTvq({"lint", "--baseline", known, before});
  EXPECT_EQ(same.status, 0);
  EXPECT_EQ(same.out, before + ": nothing new found\n" + before + ": 1 in " + known +
                          " left out\n" + LeftOut(before));

  // The clash has moved with what was put in front of it, and an OEM string is new.
  std::string source = SoundWith(std::string(kClash) + "[oem-strings]\nstring = \"9DF3\"\n");
  source.replace(source.find("2.4.1"), 5, "2.4.1-rc1");
  const std::string after = Write("after.bin", Dump(source));
  const Outcome outcome = RunTvq({"lint", "--json", "--baseline", known, after});
  EXPECT_EQ(outcome.status, 1);
  const auto json = outcome.Json();
  ASSERT_EQ(json["findings"].size(), 1u);
  EXPECT_EQ(json["findings"][0]["rule"], "oem-system-name");
  EXPECT_EQ(json["baseline"]["known"], 1);
  const auto sarif = RunTvq({"lint", "--format", "sarif", "--baseline", known, after}).Json();
  EXPECT_EQ(sarif["runs"][0]["results"][0]["baselineState"], "new");
}

TEST_F(LintCommand, CountsWhatItLeavesOutAndNotWhatIsGone) {
  const std::string known = Path("known.json");
  const std::string before = Write(
      "before.bin", Dump(SoundWith(std::string(kClash) + "[oem-strings]\nstring = \"9DF3\"\n")));
  WriteText("known.json", RunTvq({"lint", "--json", before}).out);
  EXPECT_THAT(RunTvq({"lint", "--baseline", known, Clashing()}).out,
              HasSubstr(": 1 in " + known + " left out\n"));
}

TEST_F(LintCommand, WhatABaselineLacksShowsWhereItIsNew) {
  const std::string known = Path("known.json");
  WriteText("known.json", RunTvq({"lint", "--json", "--disable", "locator-clash",
                                  Write("a.bin", Dump(SoundWith(kCauseAndEffect)))})
                              .out);
  const auto consequence = RunTvq({"lint", "--json", "--baseline", known, Path("a.bin")}).Json();
  ASSERT_EQ(consequence["findings"].size(), 1u);
  EXPECT_EQ(consequence["findings"][0]["rule"], "locator-clash");

  const std::string more =
      Write("more.bin", Dump(SoundWith(std::string(kCauseAndEffect) +
                                       "[memory-device like @dimm1]\nlocator = \"CPU2_DIMM_C2\"\n"
                                       "serial = \"S4\"\n")));
  const auto place =
      RunTvq({"lint", "--json", "--disable", "locator-clash", "--baseline", known, more}).Json();
  ASSERT_EQ(place["findings"].size(), 1u);
  EXPECT_EQ(place["findings"][0]["handle"], 13);
  EXPECT_TRUE(place["findings"][0]["alike"].empty());
}

TEST_F(LintCommand, RefusesABaselineThatIsNone) {
  for (const std::string text :
       {"", "[]", "{\"schema\": 1, \"findings\": []}",
        "{\"schema\": \"tvq-lint\", \"schemaVersion\": 1, \"findings\": []}",
        "{\"schema\": \"tvq-other\", \"schemaVersion\": 2, \"findings\": []}",
        "{\"schema\": \"tvq-lint\", \"schemaVersion\": 2, \"findings\": [1]}"}) {
    WriteText("known.json", text);
    const Outcome outcome = RunTvq({"lint", "--baseline", Path("known.json"), Sound()});
    EXPECT_EQ(outcome.status, 2) << text;
    EXPECT_THAT(outcome.diagnostics,
                HasSubstr("known.json has no findings that could be left out"));
  }
  EXPECT_EQ(RunTvq({"lint", "--baseline", Path("missing.json"), Sound()}).status, 2);
}

TEST_F(LintCommand, ShowsTheBytesOfStructures) {
  const std::string file =
      Write("a.bin", Dump(SoundWith("[oem-strings]\nstring = \"9DF3 TVQ\"\n")));
  const Outcome outcome = RunTvq({"lint", "--hex", file});
  EXPECT_THAT(outcome.out,
              HasSubstr("[oem-system-name]\n    0x0287  0B 05 0B 00 01 39 44 46 33 20 54 "
                        "56 51 00 00     .....9DF3 TVQ..\n"));
  EXPECT_EQ(RunTvq({"lint", "--hex", "--json", file}).Json()["findings"][0]["bytes"],
            "0b050b000139444633205456510000");
  const auto sarif = RunTvq({"lint", "--hex", "--format", "sarif", file}).Json();
  EXPECT_EQ(sarif["runs"][0]["results"][0]["locations"][0]["physicalLocation"]["region"]["snippet"]
                 ["binary"],
            "CwULAAE5REYzIFRWUQAA");
  EXPECT_THAT(RunTvq({"lint", file}).out, Not(HasSubstr("0B 05")));
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
  EXPECT_EQ(RunTvq({"lint", "--format", "html", Sound()}).status, 2);
}

TEST_F(LintCommand, MeasuresTheDocumentsThatTheDriverWrites) {
  EXPECT_EQ(RunTvq({"lint", Write("few.bin", Dump(ManySlots(30)))}).status, 0);
  const Outcome outcome = RunTvq({"lint", Write("many.bin", Dump(ManySlots(60)))});
  EXPECT_EQ(outcome.status, 1);
  EXPECT_THAT(outcome.out,
              AllOf(HasSubstr("warning: type 1, handle 0x0001: its document has "),
                    HasSubstr("[document-size]"), HasSubstr("driver alone: 1 warning\n")));
}

TEST_F(LintCommand, MeasuresTheDocumentOfEachDevice) {
  const std::string longText(9000, 'x');
  const auto module = [](const std::string& locator, const std::string& part) {
    return "[memory-device like @dimm1]\nlocator = \"" + locator + "\"\nserial = \"7A2C" + locator +
           "\"\npart-number = \"" + part + "\"\n";
  };
  const std::string file =
      Write("long.bin", Dump(SoundWith(module("B1", "short") + module("C1", longText))));
  const auto record = RunTvq({"export", "--as-is", file}).Json()["records"][3];
  // Two digits for each byte; 80 bytes stand in front of the text, and a NUL behind it.
  const std::size_t size = record["configurationBlob"].get<std::string>().size() / 2 - 81;
  EXPECT_THAT(RunTvq({"lint", file}).out,
              HasSubstr("type 17, handle 0x000C: its document has " + std::to_string(size) +
                        " bytes, " + std::to_string(size - 8192) + " more than the buffer"));
}

// To conform the table would give the module a locator, which stands in the document.
TEST_F(LintCommand, MeasuresTheDocumentsOfTheTableAsItIs) {
  const std::string file =
      Write("nameless.bin", Dump(SoundWith("[memory-device like @dimm1]\nlocator = \"\"\n"
                                           "serial = \"7A2C0002\"\npart-number = \"" +
                                           std::string(9000, 'x') + "\"\n")));
  const auto sizeOf = [&file](const char* how) {
    const auto record = RunTvq({"export", how, file}).Json()["records"][2];
    return record["configurationBlob"].get<std::string>().size() / 2 - 81;
  };
  EXPECT_NE(sizeOf("--as-is"), sizeOf("--conform"));
  EXPECT_THAT(RunTvq({"lint", file}).out,
              HasSubstr("its document has " + std::to_string(sizeOf("--as-is")) + " bytes, "));
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
  EXPECT_EQ(outcome.status, 0);
  EXPECT_THAT(manual, EndsWith("\n" + outcome.out));
}

}  // namespace
}  // namespace tvq::cli
