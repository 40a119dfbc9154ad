/*
 * What became of all devices, for people and as JSON.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/compare/comparison_output.h"

#include <nlohmann/json.hpp>

#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

Json TextOrNull(const std::string& text) {
  return text.empty() ? Json() : Json(Utf8OfBytes(text));
}

Json TextOrNull(const std::optional<std::string>& text) {
  return text ? Json(Utf8OfBytes(*text)) : Json();
}

Json ToJson(const run::Finding& finding) {
  return {{"fqdd", Utf8OfWide(finding.fqdd)},
          {"label", TextOrNull(finding.label)},
          {"kind", finding.kind},
          {"verdict", finding.verdict},
          {"also", finding.also},
          {"movedFrom", finding.movedFrom ? Json(Utf8OfWide(*finding.movedFrom)) : Json()},
          {"replacedSays", finding.witnesses},
          {"isSamePart", finding.isSamePart},
          {"reason", TextOrNull(finding.reason)},
          {"fields", FieldsJson(finding.fields)},
          {"toDo", finding.toDo}};
}

}  // namespace

void PrintComparison(const run::Comparison& comparison, const Console& console) {
  for (const std::string& line : comparison.lines) {
    console.Page(Printable(line) + '\n');
  }
}

Json FieldsJson(const std::vector<run::FieldChange>& fields) {
  Json list = Json::array();
  for (const run::FieldChange& change : fields) {
    list.push_back({{"field", Utf8OfBytes(change.field)},
                    {"before", TextOrNull(change.before)},
                    {"after", TextOrNull(change.after)}});
  }
  return list;
}

void AddComparison(const run::Comparison& comparison, const char* findings, Json& json) {
  json["isCompared"] = comparison.notComparedWhy.empty();
  json["reason"] = TextOrNull(comparison.notComparedWhy);
  json["toDo"] = TextOrNull(comparison.notComparedToDo);
  json["hasOtherNames"] = comparison.hasOtherNames;
  json["firmware"] = comparison.firmware
                         ? Json({{"before", TextOrNull(comparison.firmware->before)},
                                 {"after", TextOrNull(comparison.firmware->after)}})
                         : Json();
  Json& list = json[findings] = Json::array();
  for (const run::Finding& finding : comparison.findings) {
    list.push_back(ToJson(finding));
  }
  Json& summary = json["summary"] = Json::object();
  for (const auto& [verdict, count] : comparison.counts) {
    summary[verdict] = count;
  }
}

ExitStatus StatusOf(const run::Comparison& comparison) {
  switch (comparison.status) {
    case run::ComparisonStatus::kFound:
      return kExitFound;
    case run::ComparisonStatus::kTrouble:
      return kExitTrouble;
    default:
      return kExitNothingFound;
  }
}

ExitStatus StatusOf(const run::Comparison& comparison,
                    const std::vector<StructureChange>& structures) {
  const bool decidedByDevices = structures.empty() || comparison.firmware;
  return decidedByDevices ? StatusOf(comparison) : kExitFound;
}

}  // namespace tvq::cli
