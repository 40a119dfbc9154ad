/*
 * How findings are printed, whatever rules they are of.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/commands/lint_report.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "host/lint/lint.h"
#include "tests/unit/shared/table.h"

namespace tvq::cli {
namespace {

using lint::Finding;

Finding FindingOf(const char* rule, std::size_t offset) {
  return {lint::FindRule(rule), {offset, false, 17, 0x000B, 8}, "it is so", "change it"};
}

LintReport ReportOf(std::vector<Finding> findings) {
  LintReport report;
  report.files = {"table.bin", "entry.bin"};
  report.name = "table.bin";
  report.profile = lint::kBoth;
  report.findings = std::move(findings);
  return report;
}

std::string LinesOf(const LintReport& report, std::size_t limit, const Terminal& terminal = {}) {
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream diagnostics;
  PrintLines(report, limit, Console{in, out, diagnostics, terminal});
  const std::string text = out.str();
  return text.substr(0, text.find("table.bin: "));
}

nlohmann::json SarifOf(const LintReport& report) {
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream diagnostics;
  PrintSarif(report, Console{in, out, diagnostics});
  return nlohmann::json::parse(out.str())["runs"][0]["results"][0];
}

TEST(LinesOfFindings, AreOfTheColourOfTheirSeverity) {
  Terminal coloured;
  coloured.hasColour = true;
  for (const auto& [rule, ink, word] : {std::tuple("text-cut", Ink::kDim, "note"),
                                        std::tuple("document-size", Ink::kYellow, "warning"),
                                        std::tuple("locator-clash", Ink::kRed, "error")}) {
    EXPECT_EQ(LinesOf(ReportOf({FindingOf(rule, 0x10)}), 8, coloured),
              "table.bin:0x0010: " + Painted(coloured, ink, word) +
                  ": type 17, handle 0x000B: it is so; change it [" + rule + "]\n");
  }
}

TEST(LinesOfFindings, ShowAsManyConsequencesAsAreWanted) {
  Finding cause = FindingOf("document-size", 0x10);
  for (const std::size_t offset : {0x20, 0x30, 0x40}) {
    cause.consequences.push_back(FindingOf("text-cut", offset));
  }
  const auto line = [](const std::string& offset) {
    return "    leads to table.bin:" + offset +
           ": note: type 17, handle 0x000B: it is so [text-cut]\n";
  };
  const std::string first =
      "table.bin:0x0010: warning: type 17, handle 0x000B: it is so; change it [document-size]\n";
  const std::string all = first + line("0x0020") + line("0x0030") + line("0x0040");
  const LintReport report = ReportOf({cause});
  EXPECT_EQ(LinesOf(report, 1),
            first + line("0x0020") + "    leads to 2 more; --max 0 shows all\n");
  EXPECT_EQ(LinesOf(report, 2),
            first + line("0x0020") + line("0x0030") + "    leads to 1 more; --max 0 shows all\n");
  EXPECT_EQ(LinesOf(report, 3), all);
  EXPECT_EQ(LinesOf(report, 0), all);
}

// A structure of 23 bytes, of which some are no characters.
class BytesOfFindings : public testing::Test {
 protected:
  BytesOfFindings()
      : mTable(test::Table::Of(test::OemStrings{.handle = 0x0001,
                                                .texts = {"\x1F ~\x7F"
                                                          "ABCDEFGHIJKL"}})),
        mSubject(lint::Subject::Read(mTable.Bytes())) {}

  LintReport Report(std::vector<Finding> findings) {
    LintReport report = ReportOf(std::move(findings));
    report.bytes = &*mSubject;
    return report;
  }
  static Finding Whole(const char* rule) {
    return {lint::FindRule(rule), {0, false, 11, 0x0001, 23}, "it is so", "change it"};
  }
  static std::string Sixteen(std::size_t indent) {
    const std::string blanks(indent, ' ');
    return blanks + "0x0000  0B 05 01 00 01 1F 20 7E 7F 41 42 43 44 45 46 47  ...... ~.ABCDEFG\n" +
           blanks + "0x0010  48 49 4A 4B 4C 00 00 " + std::string(27, ' ') + " HIJKL..\n";
  }

  test::Table mTable;
  table::Result<lint::Subject> mSubject;
};

TEST_F(BytesOfFindings, StandSixteenInALineBelowTheirFinding) {
  EXPECT_EQ(LinesOf(Report({Whole("text-cut")}), 8),
            "table.bin:0x0000: note: type 11, handle 0x0001: it is so; change it [text-cut]\n" +
                Sixteen(4));
}

TEST_F(BytesOfFindings, StandEightInALineWhereThereIsNoRoomForMore) {
  const LintReport report = Report({Whole("text-cut")});
  const auto bytesAt = [&report](std::size_t width) {
    Terminal terminal;
    terminal.width = width;
    const std::string lines = LinesOf(report, 8, terminal);
    return lines.substr(lines.find("    0x0000"));
  };
  EXPECT_EQ(bytesAt(80), Sixteen(4));
  EXPECT_EQ(bytesAt(79),
            "    0x0000  0B 05 01 00 01 1F 20 7E  ...... ~\n"
            "    0x0008  7F 41 42 43 44 45 46 47  .ABCDEFG\n"
            "    0x0010  48 49 4A 4B 4C 00 00     HIJKL..\n");
}

TEST_F(BytesOfFindings, StandBelowEachPlaceAndConsequence) {
  Finding cause = Whole("text-cut");
  cause.alike = {{cause.place, "and here"}};
  cause.consequences = {Whole("text-cut")};
  EXPECT_EQ(
      LinesOf(Report({cause}), 0),
      "table.bin:0x0000: note: type 11, handle 0x0001: it is so; change it [text-cut]\n" +
          Sixteen(4) + "    alike: table.bin:0x0000: type 11, handle 0x0001: and here\n" +
          Sixteen(8) +
          "    leads to table.bin:0x0000: note: type 11, handle 0x0001: it is so [text-cut]\n" +
          Sixteen(8));
}

TEST_F(BytesOfFindings, AreThoseOfPlacesWithASize) {
  const LintReport report = Report({});
  EXPECT_EQ(BytesOf(report, {2, false, {}, {}, 1}), std::vector<std::uint8_t>{1});
  EXPECT_TRUE(BytesOf(report, {2, false, {}, {}, 0}).empty());
  EXPECT_TRUE(BytesOf(report, {}).empty());
  EXPECT_TRUE(BytesOf(ReportOf({}), {2, false, {}, {}, 1}).empty());
}

TEST(SarifOfFindings, SaysWhereAFindingIs) {
  const auto location = [](const lint::Place& place) {
    return SarifOf(ReportOf({{lint::FindRule("text-cut"), place, "", ""}}))["locations"][0];
  };
  EXPECT_EQ(location({4, true, {}, {}, 0})["physicalLocation"].dump(),
            R"({"artifactLocation":{"uri":"entry.bin"},"region":{"byteOffset":4}})");
  EXPECT_EQ(location({8, false, 17, {}, 1})["physicalLocation"].dump(),
            R"({"artifactLocation":{"uri":"table.bin"},"region":{"byteLength":1,"byteOffset":8}})");
  EXPECT_FALSE(location({8, false, 17, {}, 1}).contains("logicalLocations"));
  EXPECT_EQ(location({8, false, 17, 12, 1})["logicalLocations"][0]["fullyQualifiedName"],
            "type 17, handle 0x000C");
  EXPECT_FALSE(location({})["physicalLocation"].contains("region"));
}

TEST(SarifOfFindings, NumbersConsequencesFromOneAndLeadsThemToTheirCause) {
  Finding cause = FindingOf("document-size", 0x10);
  cause.consequences = {FindingOf("text-cut", 0x20), FindingOf("text-cut", 0x30)};
  cause.consequences[0].consequences = {FindingOf("text-cut", 0x40)};
  const nlohmann::json result = SarifOf(ReportOf({cause}));
  std::string related;
  for (const auto& location : result["relatedLocations"]) {
    related +=
        location["id"].dump() + " of " + location["relationships"][0]["target"].dump() + ", ";
  }
  EXPECT_EQ(related, "1 of 0, 2 of 1, 3 of 0, ");
}

}  // namespace
}  // namespace tvq::cli
