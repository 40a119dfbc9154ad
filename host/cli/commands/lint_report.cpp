/*
 * The findings of `tvq lint` as they are printed.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/commands/lint_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>

#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

// The version of the JSON document. It changes when a reader has to.
constexpr int kSchema = 1;

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

template <typename Value>
Json ValueOrNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

Json ToJson(const lint::Finding& finding) {
  const lint::Place& place = finding.place;
  return {{"rule", std::string(finding.rule->name)},
          {"severity", std::string(lint::NameOf(finding.rule->severity))},
          {"in", place.isInEntryPoint ? "entry point" : "table"},
          {"offset", ValueOrNull(place.offset)},
          {"type", ValueOrNull(place.type)},
          {"handle", ValueOrNull(place.handle)},
          {"message", finding.message},
          {"advice", finding.advice}};
}

std::size_t CountOf(const std::vector<lint::Finding>& findings, lint::Severity severity) {
  return static_cast<std::size_t>(std::count_if(
      findings.begin(), findings.end(),
      [&](const lint::Finding& finding) { return finding.rule->severity == severity; }));
}

}  // namespace

void PrintLines(const LintReport& report, std::size_t limit, const Console& console) {
  std::map<const lint::Rule*, std::size_t> printed;
  for (const lint::Finding& finding : report.findings) {
    if (++printed[finding.rule] <= limit || limit == 0) {
      const lint::Severity severity = finding.rule->severity;
      console.out << lint::FormatFinding(
                         report.files, finding,
                         Painted(console.terminal, InkOf(severity), lint::NameOf(severity)))
                  << '\n';
    }
  }
  for (const auto& [rule, count] : printed) {
    if (limit != 0 && count > limit) {
      console.out << fmt::format("{}: {} more of [{}]; --max 0 shows them all\n", report.name,
                                 count - limit, rule->name);
    }
  }
  const std::string counts = lint::FormatCounts(report.findings);
  console.out << fmt::format("{}: {}\n", report.name, counts.empty() ? "nothing found" : counts);
}

void PrintJson(const LintReport& report, const Console& console) {
  Json findings = Json::array();
  for (const lint::Finding& finding : report.findings) {
    findings.push_back(ToJson(finding));
  }
  Json summary = Json::object();
  for (const lint::Severity severity : lint::kSeverities) {
    summary[std::string(lint::NameOf(severity))] = CountOf(report.findings, severity);
  }
  const Json document = {{"schema", kSchema},
                         {"table", report.name},
                         {"profile", std::string(lint::NameOf(report.profile))},
                         {"findings", findings},
                         {"summary", summary}};
  console.out << document.dump(1) << '\n';
}

}  // namespace tvq::cli
