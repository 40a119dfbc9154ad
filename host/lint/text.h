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
// The profile whose rules a run for this one leaves out.
Profile LeftOut(Profile profile);

// Where a finding says that it is.
struct FileNames {
  std::string table;
  std::string entryPoint;
};

// One line, as compilers print them, without a line feed: the fault where it shows first. `severity`
// is the word for how grave it is, which a terminal may show in colour.
std::string FormatFinding(const FileNames& files, const Finding& finding,
                          std::string_view severity);
// The same, without what to change: mending the cause mends it.
std::string FormatConsequence(const FileNames& files, const Finding& finding,
                              std::string_view severity);
// The same fault at another place.
std::string FormatOccurrence(const FileNames& files, const Occurrence& occurrence);

// Where else the fault shows, with up to so many handles: "handle 0x0012, handle 0x0013 and 5 more".
std::string FormatAlike(const Finding& finding, std::size_t limit);

// How many findings there are of each severity, without their consequences: "1 error, 2 warnings";
// empty for none.
std::string FormatCounts(const std::vector<Finding>& findings);

// One line for each rule.
std::string ListRules();

// All about a rule.
std::string ExplainRule(const Rule& rule);

// All about all rules, in Markdown: docs/lint.md from its table of rules on.
std::string RulesInMarkdown();

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_TEXT_H_
