/*
 * What became of all devices, in short.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMPARE_COMPARISON_SUMMARY_H_
#define TVQ_HOST_CLI_COMPARE_COMPARISON_SUMMARY_H_

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "host/cli/command.h"
#include "host/run/driver_run.h"

namespace tvq::cli {

// "3 same, 1 replaced"
std::string SummaryInWords(const run::Comparison& comparison);
nlohmann::ordered_json SummaryJson(const run::Comparison& comparison);

ExitStatus StatusOf(const run::Comparison& comparison);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMPARE_COMPARISON_SUMMARY_H_
