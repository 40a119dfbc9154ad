/*
 * Examines a table by the rules of a profile.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/lint.h"

#include <algorithm>
#include <utility>

#include "host/lint/causes.h"
#include "host/lint/families.h"

namespace tvq::lint {
namespace {

std::vector<const Rule*> CollectRules() {
  std::vector<const Rule*> rules;
  for (const Rules& family :
       {EntryPointRules(), StructureRules(), HandleRules(), StringRules(), StandardRules(),
        FqddRules(), SystemRules(), IdentityRules(), ProcessorRules(), PpinRules(), LocatorRules(),
        ModuleRules(), SlotRules(), ExtensionRules(), DocumentRules()}) {
    for (const Rule& rule : family) {
      rules.push_back(&rule);
    }
  }
  return rules;
}

}  // namespace

const std::vector<const Rule*>& AllRules() {
  static const std::vector<const Rule*> kRules = CollectRules();
  return kRules;
}

const Rule* FindRule(std::string_view name) {
  const auto found = std::find_if(AllRules().begin(), AllRules().end(),
                                  [&](const Rule* rule) { return rule->name == name; });
  return found == AllRules().end() ? nullptr : *found;
}

Selection::Selection(Profile profile) {
  for (const Rule* rule : AllRules()) {
    mIsSelected.push_back((rule->profiles & profile) != 0);
  }
}

bool Selection::Set(std::string_view name, bool isSelected) {
  bool isKnown = false;
  for (std::size_t i = 0; i < mIsSelected.size(); ++i) {
    if (name == "all" || name == AllRules()[i]->name) {
      mIsSelected[i] = isSelected;
      isKnown = true;
    }
  }
  return isKnown;
}

bool Selection::Has(const Rule& rule) const {
  const auto found = std::find(AllRules().begin(), AllRules().end(), &rule);
  return mIsSelected[static_cast<std::size_t>(found - AllRules().begin())];
}

std::vector<Finding> Examine(const Subject& subject, const Selection& selection) {
  Report report(subject);
  for (const Rule* rule : AllRules()) {
    if (selection.Has(*rule)) {
      report.Begin(*rule);
      rule->check(subject, report);
    }
  }
  std::vector<Finding> findings = report.Take();
  const auto order = [](const Finding& finding) {
    return std::pair(!IsAboutStandard(*finding.rule), finding.place.offset);
  };
  std::stable_sort(
      findings.begin(), findings.end(),
      [&](const Finding& left, const Finding& right) { return order(left) < order(right); });
  return ArrangeByFault(std::move(findings));
}

}  // namespace tvq::lint
