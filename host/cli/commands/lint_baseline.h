/*
 * Findings that are known: a document that `tvq lint --json` wrote earlier.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMMANDS_LINT_BASELINE_H_
#define TVQ_HOST_CLI_COMMANDS_LINT_BASELINE_H_

#include <set>
#include <string>
#include <vector>

#include "host/lint/rule.h"

namespace tvq::cli {

// What the JSON document says that it is. The version changes when a reader has to.
inline constexpr char kLintSchema[] = "tvq-lint";
inline constexpr int kLintSchemaVersion = 2;

// What makes a fault at a place the same in two documents: not its offset, which moves with what
// stands before it.
std::string FingerprintOf(const lint::Rule& rule, const lint::Place& place);

class LintBaseline {
 public:
  // Throws InputError when the text is no such document. `name` is that of the file.
  LintBaseline(const std::string& text, const std::string& name);

  // What is not known. A consequence that is new stands alone where its cause is known. `known`
  // becomes the number of faults that were left out.
  std::vector<lint::Finding> KeepNew(std::vector<lint::Finding> findings, std::size_t& known);

 private:
  bool Take(const lint::Rule& rule, const lint::Place& place, const std::string& message);
  std::vector<lint::Finding> KeepNewIn(std::vector<lint::Finding> findings);

  std::multiset<std::string> mKnown;
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMMANDS_LINT_BASELINE_H_
