/*
 * The findings of `tvq lint` as they are printed.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMMANDS_LINT_REPORT_H_
#define TVQ_HOST_CLI_COMMANDS_LINT_REPORT_H_

#include <optional>
#include <string>
#include <vector>

#include "host/cli/output/console.h"
#include "host/lint/subject.h"
#include "host/lint/text.h"

namespace tvq::cli {

struct LintReport {
  lint::FileNames files;
  std::string name;  // of the table
  lint::Profile profile = lint::kDriver;
  std::vector<lint::Finding> findings;
  std::string baseline;   // the file whose findings were left out; empty for none
  std::size_t known = 0;  // how many were
  // Whose bytes are shown beside the findings; null for none.
  const lint::Subject* bytes = nullptr;
};

// One line for each fault, what follows from it below it, and how many there are. At most `limit`
// places of a fault are named and as many consequences shown, 0 for all.
void PrintLines(LintReport report, std::size_t limit, const Console& console);

// One JSON document with everything.
void PrintJson(const LintReport& report, const Console& console);

// The same as a SARIF log (version 2.1.0).
void PrintSarif(const LintReport& report, const Console& console);

// The bytes of a structure; none where the place is no structure or bytes are not wanted.
std::vector<std::uint8_t> BytesOf(const LintReport& report, const lint::Place& place);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMMANDS_LINT_REPORT_H_
