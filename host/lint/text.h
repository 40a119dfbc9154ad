/*
 * Findings and rules as text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_TEXT_H_
#define TVQ_HOST_LINT_TEXT_H_

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "host/lint/rule.h"

namespace tvq::lint {

constexpr std::array<Severity, 3> kSeverities = {Severity::kError, Severity::kWarning,
                                                 Severity::kNote};
std::string_view NameOf(Severity severity);
std::string_view NameOf(Profile profile);

// Where a finding says that it is.
struct FileNames {
  std::string table;
  std::string entryPoint;
};

// One line, as compilers print them, without a line feed. `severity` is the word for how grave it is,
// which a terminal may show in colour.
std::string FormatFinding(const FileNames& files, const Finding& finding,
                          std::string_view severity);

// How many findings there are of each severity: "1 error, 2 warnings"; empty for none.
std::string FormatCounts(const std::vector<Finding>& findings);

// One line for each rule.
std::string ListRules();

// All about a rule.
std::string ExplainRule(const Rule& rule);

// All about all rules, in Markdown: docs/lint.md from its table of rules on.
std::string RulesInMarkdown();

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_TEXT_H_
