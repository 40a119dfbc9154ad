/*
 * The text of the metrics: what a reader of the format takes, whatever a machine says of itself.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>

#include <sstream>

#include "host/cli/fleet/metrics.h"

namespace tvq::cli {
namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

DeviceRow ModuleRow(const std::string& label) {
  DeviceRow row;
  row.kind = "memory module";
  row.fqdd = "DIMM.Socket.A1";
  row.label = label;
  row.maker = "Memory Works";
  row.part = "MW16";
  row.serial = "0123ABCD";
  row.verdict = "same";
  return row;
}

MeasuredRun RunOf(const std::vector<DeviceRow>& rows) {
  return {200, 200, kExitNothingFound, MeasuredDevices{rows, {{"same", rows.size()}}, false}};
}

TEST(Metrics, HaveALineForEachDevice) {
  EXPECT_THAT(LinesOf(MetricsText(RunOf({ModuleRow("DIMM_A1")}), Serials::kHidden)),
              Contains("tvq_device_info{class=\"memory module\",fqdd=\"DIMM.Socket.A1\","
                       "label=\"DIMM_A1\",maker=\"Memory Works\",part=\"MW16\","
                       "verdict=\"same\"} 1"));
}

// A rule needs no other metric to know whether somebody has to look at a device.
TEST(Metrics, NameTheDevicesThatAreToBeLookedAt) {
  DeviceRow finding = ModuleRow("DIMM_A1");
  finding.verdict = "changed";
  finding.isFinding = true;
  DeviceRow updated = finding;
  updated.isFinding = false;
  const std::string line =
      "tvq_device_finding{class=\"memory module\",fqdd=\"DIMM.Socket.A1\",label=\"DIMM_A1\","
      "verdict=\"changed\"} ";
  EXPECT_THAT(LinesOf(MetricsText(RunOf({finding, updated}), Serials::kHidden)),
              Contains(line + "1"));
  EXPECT_THAT(LinesOf(MetricsText(RunOf({finding, finding}), Serials::kHidden)),
              Contains(line + "2"));
  EXPECT_THAT(MetricsText(RunOf({updated}), Serials::kHidden),
              Not(HasSubstr("\ntvq_device_finding")));
}

TEST(Metrics, HaveSerialNumbersWhereTheyAreAskedForAlone) {
  EXPECT_THAT(MetricsText(RunOf({ModuleRow("A1")}), Serials::kHidden), Not(HasSubstr("0123ABCD")));
  EXPECT_THAT(MetricsText(RunOf({ModuleRow("A1")}), Serials::kShown),
              HasSubstr("part=\"MW16\",serial=\"0123ABCD\",verdict=\"same\""));
}

TEST(Metrics, EscapeWhatTheFormatReserves) {
  const std::string text = MetricsText(RunOf({ModuleRow("a\\b \"c\"\nd\x1F!")}), Serials::kHidden);
  EXPECT_THAT(text, HasSubstr(R"(label="a\\b \"c\" d !",)"));
}

TEST(Metrics, KeepOtherCharacters) {
  EXPECT_THAT(MetricsText(RunOf({ModuleRow("b\xC3\xA4y")}), Serials::kHidden),
              HasSubstr("label=\"b\xC3\xA4y\""));
}

// Two lines with the same labels would make a reader refuse all of them.
TEST(Metrics, CountDevicesThatNothingTellsApart) {
  const std::string text =
      MetricsText(RunOf({ModuleRow("A1"), ModuleRow("A2"), ModuleRow("A1")}), Serials::kHidden);
  std::vector<std::string> counts;
  for (const std::string& line : LinesOf(text)) {
    if (line.rfind("tvq_device_info{", 0) == 0) {
      counts.push_back(line.substr(line.rfind(' ')));
    }
  }
  EXPECT_EQ(counts, (std::vector<std::string>{" 2", " 1"}));
}

TEST(Metrics, HaveHelpAndTypeInFrontOfEachMetric) {
  const std::vector<std::string> lines =
      LinesOf(MetricsText(RunOf({ModuleRow("A1")}), Serials::kHidden));
  std::string name;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].rfind("# HELP ", 0) == 0) {
      name = lines[i].substr(7, lines[i].find(' ', 7) - 7);
      ASSERT_LT(i + 2, lines.size());
      EXPECT_EQ(lines[i + 1], "# TYPE " + name + " gauge");
    } else {
      EXPECT_THAT(lines[i].substr(lines[i][0] == '#' ? 7 : 0), StartsWith(name));
    }
  }
}

TEST(Metrics, OfAFailedRunHaveNoDevices) {
  const std::string text = MetricsText({200, 100, kExitTrouble, std::nullopt}, Serials::kHidden);
  EXPECT_THAT(text, Not(HasSubstr("tvq_device")));
  const std::vector<std::string> lines = LinesOf(text);
  EXPECT_THAT(lines, Contains("tvq_verify_success 0"));
  EXPECT_THAT(lines, Contains("tvq_verify_exit_status 2"));
  EXPECT_THAT(lines, Contains("tvq_verify_last_run_timestamp_seconds 200"));
  EXPECT_THAT(lines, Contains("tvq_verify_last_success_timestamp_seconds 100"));
}

TEST(Metrics, OfARunThatCouldNotWriteAllHaveItsDevicesAndNoSuccess) {
  MeasuredRun run = RunOf({ModuleRow("A1")});
  run.isAllWritten = false;
  const std::string text = MetricsText(run, Serials::kHidden);
  EXPECT_THAT(text, HasSubstr("tvq_verify_success 0\n"));
  EXPECT_THAT(text, HasSubstr("tvq_device_info{"));
}

TEST(Metrics, SayWhenARunLastEndedWell) {
  const std::string text = MetricsText({300, 250, kExitTrouble, std::nullopt}, Serials::kHidden);
  EXPECT_EQ(LastSuccessIn(text), 250u);
  const std::size_t digits = text.find(" 250\n");
  EXPECT_EQ(LastSuccessIn(std::string_view(text).substr(0, digits + 3)), 25u);
  EXPECT_EQ(LastSuccessIn(""), 0u);
  EXPECT_EQ(LastSuccessIn("\ntvq_verify_last_success_timestamp_seconds much"), 0u);
}

}  // namespace
}  // namespace tvq::cli
