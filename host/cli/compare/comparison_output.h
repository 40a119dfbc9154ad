/*
 * What became of all devices, for people and as JSON.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMPARE_COMPARISON_OUTPUT_H_
#define TVQ_HOST_CLI_COMPARE_COMPARISON_OUTPUT_H_

#include <nlohmann/json_fwd.hpp>

#include "host/cli/command.h"
#include "host/cli/compare/diff_fields.h"
#include "host/run/comparison.h"

namespace tvq::cli {

void PrintComparison(const run::Comparison& comparison, const Console& console);

// "path", "before" and "after" of each.
nlohmann::ordered_json FieldsJson(const std::vector<run::FieldChange>& fields);
// Adds the findings under that name, and what is said of all of them.
void AddComparison(const run::Comparison& comparison, const char* findings,
                   nlohmann::ordered_json& json);

ExitStatus StatusOf(const run::Comparison& comparison);
// The same where the tables were compared too. Other firmware describes the same parts in other structures.
ExitStatus StatusOf(const run::Comparison& comparison,
                    const std::vector<StructureChange>& structures);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMPARE_COMPARISON_OUTPUT_H_
