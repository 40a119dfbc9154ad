/*
 * Findings that are known.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/commands/lint_baseline.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>

#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::json;
using lint::Finding;
using lint::Occurrence;

std::string Number(const std::optional<unsigned>& number) {
  return number ? std::to_string(*number) : "-";
}

std::string Fingerprint(std::string_view rule, bool isInEntryPoint, std::optional<unsigned> type,
                        std::optional<unsigned> handle) {
  return fmt::format("{}/{}/{}/{}", rule, isInEntryPoint ? "entry point" : "table", Number(type),
                     Number(handle));
}

std::optional<unsigned> NumberIn(const Json& place, const char* name) {
  const Json& value = place.at(name);
  return value.is_null() ? std::nullopt : std::optional(value.get<unsigned>());
}

std::string KeyOf(const std::string& fingerprint, const std::string& message) {
  return fingerprint + '/' + message;
}

// The faults of the document, each with its message. Throws Json::exception.
void Collect(const Json& findings, std::multiset<std::string>& known) {
  for (const Json& finding : findings) {
    const auto rule = finding.at("rule").get<std::string>();
    const auto add = [&](const Json& place) {
      known.insert(KeyOf(Fingerprint(rule, place.at("in") == "entry point", NumberIn(place, "type"),
                                     NumberIn(place, "handle")),
                         place.at("message").get<std::string>()));
    };
    add(finding);
    for (const Json& place : finding.at("alike")) {
      add(place);
    }
    Collect(finding.at("consequences"), known);
  }
}

}  // namespace

std::string FingerprintOf(const lint::Rule& rule, const lint::Place& place) {
  return Fingerprint(rule.name, place.isInEntryPoint, place.type, place.handle);
}

LintBaseline::LintBaseline(const std::string& text, const std::string& name) {
  try {
    const Json document = Json::parse(text);
    if (document.at("schema") == kLintSchema &&
        document.at("schemaVersion") == kLintSchemaVersion) {
      Collect(document.at("findings"), mKnown);
      return;
    }
  } catch (const Json::exception&) {
    // Said below.
  }
  throw InputError(fmt::format("{} has no findings that could be left out", name),
                   "a baseline is what `tvq lint --json TABLE` of this version prints");
}

bool LintBaseline::Take(const lint::Rule& rule, const lint::Place& place,
                        const std::string& message) {
  const auto found = mKnown.find(KeyOf(FingerprintOf(rule, place), message));
  if (found == mKnown.end()) {
    return false;
  }
  mKnown.erase(found);
  return true;
}

std::vector<Finding> LintBaseline::KeepNewIn(std::vector<Finding> findings) {
  std::vector<Finding> kept;
  for (Finding& finding : findings) {
    std::vector<Occurrence> places = std::move(finding.alike);
    places.insert(places.begin(), {finding.place, finding.message});
    places.erase(std::remove_if(places.begin(), places.end(),
                                [&](const Occurrence& occurrence) {
                                  return Take(*finding.rule, occurrence.place, occurrence.message);
                                }),
                 places.end());
    std::vector<Finding> consequences = KeepNewIn(std::move(finding.consequences));
    if (places.empty()) {
      std::move(consequences.begin(), consequences.end(), std::back_inserter(kept));
      continue;
    }
    kept.push_back({finding.rule,
                    places.front().place,
                    places.front().message,
                    finding.advice,
                    {places.begin() + 1, places.end()},
                    std::move(consequences)});
  }
  return kept;
}

std::vector<Finding> LintBaseline::KeepNew(std::vector<Finding> findings, std::size_t& known) {
  const std::size_t before = mKnown.size();
  std::vector<Finding> kept = KeepNewIn(std::move(findings));
  known = before - mKnown.size();
  return kept;
}

}  // namespace tvq::cli
