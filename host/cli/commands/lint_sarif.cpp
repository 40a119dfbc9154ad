/*
 * The findings of `tvq lint` as a SARIF log, the form that code hosts and editors read.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>
#include <sodium.h>

#include <algorithm>
#include <cctype>
#include <nlohmann/json.hpp>
#include <ostream>

#include "TvqSmbiosPkg/Include/TvqVersion.h"
#include "host/cli/commands/lint_baseline.h"
#include "host/cli/commands/lint_report.h"
#include "host/cli/output/json.h"
#include "host/lint/lint.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;
using lint::Finding;
using lint::Place;

Json Text(std::string_view text) {
  return {{"text", std::string(text)}};
}

// What has a meaning in an address is spelled out.
std::string UriOf(const std::string& file) {
  std::string uri = file.substr(0, 1) == "/" ? "file://" : "";
  for (const char character : file) {
    const auto byte = static_cast<unsigned char>(character);
    const bool isPlain =
        byte < 0x80 && (std::isalnum(byte) != 0 ||
                        std::string_view("/-._~").find(character) != std::string_view::npos);
    uri += isPlain ? std::string(1, character) : fmt::format("%{:02X}", byte);
  }
  return uri;
}

std::string Base64(const std::vector<std::uint8_t>& bytes) {
  std::string text(sodium_base64_encoded_len(bytes.size(), sodium_base64_VARIANT_ORIGINAL), '\0');
  sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                    sodium_base64_VARIANT_ORIGINAL);
  text.pop_back();  // the terminator
  return text;
}

Json LocationOf(const LintReport& report, const Place& place) {
  Json physical = {
      {"artifactLocation",
       {{"uri", UriOf(place.isInEntryPoint ? report.files.entryPoint : report.files.table)}}}};
  if (place.offset) {
    physical["region"] = {{"byteOffset", *place.offset}};
    if (place.size != 0) {
      physical["region"]["byteLength"] = place.size;
    }
    if (const auto bytes = BytesOf(report, place); !bytes.empty()) {
      physical["region"]["snippet"] = {{"binary", Base64(bytes)}};
    }
  }
  Json location = {{"physicalLocation", physical}};
  if (place.type && place.handle) {
    location["logicalLocations"].push_back(
        {{"fullyQualifiedName",
          fmt::format("type {}, handle 0x{:04X}", *place.type, *place.handle)},
         {"kind", "object"}});
  }
  return location;
}

// Consequences are related locations, each with the number of what it follows from.
void AddConsequences(const LintReport& report, const Finding& cause, std::size_t number,
                     Json& locations) {
  for (const Finding& finding : cause.consequences) {
    const std::size_t own = locations.size() + 1;
    Json location = LocationOf(report, finding.place);
    location["id"] = own;
    location["message"] = Text(fmt::format("{} [{}]", finding.message, finding.rule->name));
    location["relationships"].push_back({{"target", number},
                                         {"kinds", Json::array({"relevant"})},
                                         {"description", Text("follows from it")}});
    locations.push_back(location);
    AddConsequences(report, finding, own, locations);
  }
}

std::size_t IndexOf(const lint::Rule& rule) {
  const auto& rules = lint::AllRules();
  return static_cast<std::size_t>(std::find(rules.begin(), rules.end(), &rule) - rules.begin());
}

Json ResultOf(const LintReport& report, const Finding& finding) {
  Json result = {{"ruleId", std::string(finding.rule->name)},
                 {"ruleIndex", IndexOf(*finding.rule)},
                 {"level", std::string(NameOf(SeverityOf(finding)))},
                 {"message", Text(fmt::format("{}; {}", finding.message, finding.advice))}};
  Json first = LocationOf(report, finding.place);
  first["id"] = 0;
  result["locations"].push_back(first);
  for (const lint::Occurrence& occurrence : finding.alike) {
    Json location = LocationOf(report, occurrence.place);
    location["message"] = Text(occurrence.message);
    result["locations"].push_back(location);
  }
  Json related = Json::array();
  AddConsequences(report, finding, 0, related);
  if (!related.empty()) {
    result["relatedLocations"] = related;
  }
  result["partialFingerprints"] = {{"tvqLint/v1", FingerprintOf(*finding.rule, finding.place)}};
  if (!report.baseline.empty()) {
    result["baselineState"] = "new";
  }
  return result;
}

Json RulesJson() {
  Json rules = Json::array();
  for (const lint::Rule* rule : lint::AllRules()) {
    const std::string help = fmt::format("{}\n\nTo change: {}", rule->why, rule->fix);
    rules.push_back(
        {{"id", std::string(rule->name)},
         {"shortDescription", Text(rule->summary)},
         {"fullDescription", Text(rule->why)},
         {"help", {{"text", help}, {"markdown", help}}},
         {"defaultConfiguration", {{"level", std::string(NameOf(rule->severity))}}},
         {"properties",
          {{"tags", Json::array({lint::IsAboutStandard(*rule) ? "standard" : "driver"})}}}});
  }
  return rules;
}

}  // namespace

void PrintSarif(const LintReport& report, const Console& console) {
  Json results = Json::array();
  for (const Finding& finding : report.findings) {
    results.push_back(ResultOf(report, finding));
  }
  const Json driver = {{"name", "tvq lint"}, {"version", TVQ_VERSION}, {"rules", RulesJson()}};
  const Json run = {{"tool", {{"driver", driver}}},
                    {"properties", {{"profile", std::string(NameOf(report.profile))}}},
                    {"results", results}};
  const Json log = {{"$schema",
                     "https://docs.oasis-open.org/sarif/sarif/v2.1.0/errata01/os/schemas/"
                     "sarif-schema-2.1.0.json"},
                    {"version", "2.1.0"},
                    {"runs", Json::array({run})}};
  PrintJson(log, console);
}

}  // namespace tvq::cli
