/*
 * The findings of `tvq lint` as they are printed.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMMANDS_LINT_REPORT_H_
#define TVQ_HOST_CLI_COMMANDS_LINT_REPORT_H_

#include <string>
#include <vector>

#include "host/cli/output/console.h"
#include "host/lint/text.h"

namespace tvq::cli {

struct LintReport {
  lint::FileNames files;
  std::string name;  // of the table
  lint::Profile profile = lint::kDriver;
  std::vector<lint::Finding> findings;
};

// One line for each finding, and one for all of them. Of each rule at most `limit` findings are
// printed, 0 for all.
void PrintLines(const LintReport& report, std::size_t limit, const Console& console);

// One JSON document with all findings.
void PrintJson(const LintReport& report, const Console& console);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMMANDS_LINT_REPORT_H_
