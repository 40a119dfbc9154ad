/*
 * What became of all devices, in short.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/compare/comparison_summary.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

namespace tvq::cli {

std::string SummaryInWords(const run::Comparison& comparison) {
  std::string summary;
  for (const auto& [verdict, count] : comparison.counts) {
    if (count != 0) {
      summary += fmt::format("{}{} {}", summary.empty() ? "" : ", ", count, verdict);
    }
  }
  return summary;
}

nlohmann::ordered_json SummaryJson(const run::Comparison& comparison) {
  nlohmann::ordered_json counts = nlohmann::ordered_json::object();
  for (const auto& [verdict, count] : comparison.counts) {
    counts[verdict] = count;
  }
  return counts;
}

ExitStatus StatusOf(const run::Comparison& comparison) {
  return comparison.foundTrouble     ? kExitTrouble
         : comparison.foundSomething ? kExitFound
                                     : kExitNothingFound;
}

}  // namespace tvq::cli
