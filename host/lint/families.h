/*
 * The families of rules, one function for each file.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_FAMILIES_H_
#define TVQ_HOST_LINT_FAMILIES_H_

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "host/lint/rule.h"

namespace tvq::lint {

// The rules of a family, in the order in which they are listed.
class Rules {
 public:
  template <std::size_t kCount>
  constexpr Rules(const Rule (&rules)[kCount]) : mBegin(rules), mEnd(rules + kCount) {}

  constexpr const Rule* begin() const { return mBegin; }
  constexpr const Rule* end() const { return mEnd; }

 private:
  const Rule* mBegin;
  const Rule* mEnd;
};

Rules EntryPointRules();
Rules StructureRules();
Rules StandardRules();
Rules HandleRules();
Rules FqddRules();
Rules SystemRules();
Rules IdentityRules();
Rules ProcessorRules();
Rules PpinRules();
Rules LocatorRules();
Rules ModuleRules();
Rules SlotRules();
Rules ExtensionRules();
Rules StringRules();
Rules DocumentRules();

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_FAMILIES_H_
