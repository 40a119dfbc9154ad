/*
 * Examines a table by the rules of a profile.
 *
 *     auto subject = lint::Subject::Read(bytes);
 *     for (const lint::Finding& finding : lint::Examine(*subject, lint::Selection(lint::kDriver)))
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_LINT_H_
#define TVQ_HOST_LINT_LINT_H_

#include <string_view>
#include <vector>

#include "host/lint/rule.h"

namespace tvq::lint {

// Every rule, in the order in which they are listed.
const std::vector<const Rule*>& AllRules();
// Null when no rule has this name.
const Rule* FindRule(std::string_view name);

// The rules that apply: those of a profile, more and less some.
class Selection {
 public:
  explicit Selection(Profile profile);

  // `name` is that of a rule, or "all". False when there is no such rule.
  bool Enable(std::string_view name) { return Set(name, true); }
  bool Disable(std::string_view name) { return Set(name, false); }
  bool Has(const Rule& rule) const;

 private:
  bool Set(std::string_view name, bool isSelected);

  std::vector<bool> mIsSelected;  // in the order of AllRules
};

// The findings in the order of their places, those about the whole table first; what goes against
// the standard comes before what matters to the driver alone.
std::vector<Finding> Examine(const Subject& subject, const Selection& selection);

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_LINT_H_
