/*
 * The findings of `tvq lint` as they are printed.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/commands/lint_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "host/cli/commands/lint_baseline.h"
#include "host/cli/output/json.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;
using lint::Finding;

Ink InkOf(lint::Severity severity) {
  switch (severity) {
    case lint::Severity::kNote:
      return Ink::kDim;
    case lint::Severity::kWarning:
      return Ink::kYellow;
    case lint::Severity::kError:
      break;
  }
  return Ink::kRed;
}

// -------------------------------------------------------------------------------------------------
// Lines
// -------------------------------------------------------------------------------------------------

constexpr std::size_t kStep = 4;  // Blanks before what belongs to the line above.

class LinePrinter {
 public:
  LinePrinter(const LintReport& report, std::size_t limit, const Console& console)
      : mReport(report), mLimit(limit), mConsole(console) {}

  void Print(const Finding& finding) const {
    Line(0, FormatFinding(mReport.files, finding, Word(finding)));
    PrintBelow(kStep, finding);
  }

 private:
  std::string Word(const Finding& finding) const {
    const lint::Severity severity = SeverityOf(finding);
    return Painted(mConsole.terminal, InkOf(severity), NameOf(severity));
  }

  void Line(std::size_t indent, const std::string& text) const {
    mConsole.Page(std::string(indent, ' ') + text + '\n');
  }

  void PrintBelow(std::size_t indent, const Finding& finding) const {
    PrintBytes(indent, finding.place);
    PrintAlike(indent, finding);
    const std::size_t shown =
        mLimit == 0 ? finding.consequences.size() : std::min(mLimit, finding.consequences.size());
    for (std::size_t i = 0; i < shown; ++i) {
      const Finding& consequence = finding.consequences[i];
      Line(indent, "leads to " + FormatConsequence(mReport.files, consequence, Word(consequence)));
      PrintBelow(indent + kStep, consequence);
    }
    if (shown < finding.consequences.size()) {
      Line(indent,
           fmt::format("leads to {} more; --max 0 shows all", finding.consequences.size() - shown));
    }
  }

  void PrintAlike(std::size_t indent, const Finding& finding) const {
    if (mLimit != 0 && !finding.alike.empty()) {
      Line(indent, "alike: " + FormatAlike(finding, mLimit));
      return;
    }
    for (const lint::Occurrence& occurrence : finding.alike) {
      Line(indent, "alike: " + FormatOccurrence(mReport.files, occurrence));
      PrintBytes(indent + kStep, occurrence.place);
    }
  }

  // Sixteen in a line, or eight where it has no room, with their offset in the file and as text.
  void PrintBytes(std::size_t indent, const lint::Place& place) const {
    constexpr std::size_t kWidthOfSixteen = 76;
    const std::size_t room = mConsole.terminal.width;
    const std::size_t perLine = room == 0 || indent + kWidthOfSixteen <= room ? 16 : 8;
    const std::vector<std::uint8_t> bytes = BytesOf(mReport, place);
    for (std::size_t at = 0; at < bytes.size(); at += perLine) {
      std::string digits;
      std::string text;
      for (std::size_t i = at; i < std::min(at + perLine, bytes.size()); ++i) {
        digits += fmt::format("{:02X} ", bytes[i]);
        text += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
      }
      Line(indent,
           fmt::format("0x{:04X}  {:{}} {}", *place.offset + at, digits, 3 * perLine, text));
    }
  }

  const LintReport& mReport;
  std::size_t mLimit;
  const Console& mConsole;
};

void PrintSummary(const LintReport& report, const Console& console) {
  const auto line = [&](std::string_view text) {
    console.Page(fmt::format("{}: {}\n", report.name, text));
  };
  std::vector<Finding> groups[2];
  for (const Finding& finding : report.findings) {
    groups[IsAboutStandard(*finding.rule) ? 0 : 1].push_back(finding);
  }
  if (report.findings.empty()) {
    line(report.baseline.empty() ? "nothing found" : "nothing new found");
  }
  constexpr std::string_view kTitles[] = {"against the standard: ", "for the driver alone: "};
  for (const std::size_t group : {0, 1}) {
    if (!groups[group].empty()) {
      line(std::string(kTitles[group]) + lint::FormatCounts(groups[group]));
    }
  }
  if (report.known != 0) {
    line(fmt::format("{} in {} left out", report.known, report.baseline));
  }
  if (report.profile != lint::kBoth) {
    line(fmt::format("profile {} left out; --profile all looks for both",
                     NameOf(lint::LeftOut(report.profile))));
  }
}

// -------------------------------------------------------------------------------------------------
// JSON
// -------------------------------------------------------------------------------------------------

template <typename Value>
Json ValueOrNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

Json PlaceToJson(const LintReport& report, const lint::Place& place) {
  Json json = {{"in", place.isInEntryPoint ? "entry point" : "table"},
               {"offset", ValueOrNull(place.offset)},
               {"type", ValueOrNull(place.type)},
               {"handle", ValueOrNull(place.handle)}};
  if (const auto bytes = BytesOf(report, place); !bytes.empty()) {
    json["bytes"] = Hex(bytes);
  }
  return json;
}

Json ToJson(const LintReport& report, const std::vector<Finding>& findings) {
  Json array = Json::array();
  for (const Finding& finding : findings) {
    Json json = {{"rule", std::string(finding.rule->name)},
                 {"severity", std::string(NameOf(SeverityOf(finding)))},
                 {"about", IsAboutStandard(*finding.rule) ? "standard" : "driver"}};
    json.update(PlaceToJson(report, finding.place));
    json["message"] = finding.message;
    json["advice"] = finding.advice;
    json["alike"] = Json::array();
    for (const lint::Occurrence& occurrence : finding.alike) {
      Json place = PlaceToJson(report, occurrence.place);
      place["message"] = occurrence.message;
      json["alike"].push_back(place);
    }
    json["consequences"] = ToJson(report, finding.consequences);
    array.push_back(json);
  }
  return array;
}

std::size_t CountOf(const std::vector<Finding>& findings, lint::Severity severity) {
  return static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(),
                    [&](const Finding& finding) { return SeverityOf(finding) == severity; }));
}

}  // namespace

std::vector<std::uint8_t> BytesOf(const LintReport& report, const lint::Place& place) {
  const bool areWanted = report.bytes != nullptr && place.offset && place.size != 0;
  return areWanted ? report.bytes->BytesAt(*place.offset, place.size) : std::vector<std::uint8_t>();
}

void PrintLines(LintReport report, std::size_t limit, const Console& console) {
  // A file may have any name.
  report.name = Harmless(report.name);
  report.files = {Harmless(report.files.table), Harmless(report.files.entryPoint)};
  const LinePrinter printer(report, limit, console);
  for (const Finding& finding : report.findings) {
    printer.Print(finding);
  }
  PrintSummary(report, console);
}

void PrintJson(const LintReport& report, const Console& console) {
  Json summary = Json::object();
  for (const lint::Severity severity : lint::kSeverities) {
    summary[std::string(NameOf(severity))] = CountOf(report.findings, severity);
  }
  Json document = {{"schema", kLintSchema},    {"schemaVersion", kLintSchemaVersion},
                   {"table", report.name},     {"profile", std::string(NameOf(report.profile))},
                   {"leftOut", Json::array()}, {"findings", ToJson(report, report.findings)},
                   {"summary", summary}};
  if (report.profile != lint::kBoth) {
    document["leftOut"].push_back(std::string(NameOf(lint::LeftOut(report.profile))));
  }
  if (!report.baseline.empty()) {
    document["baseline"] = {{"file", report.baseline}, {"known", report.known}};
  }
  PrintJson(document, console);
}

}  // namespace tvq::cli
