/*
 * Every rule: it has something to say about its example, and nothing about a sound table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "tests/unit/host/lint/lint_fixture.h"

namespace tvq::lint {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

Profile FirstProfileOf(const Rule& rule) {
  return (rule.profiles & kDriver) != 0 ? kDriver : kTable;
}

std::vector<const Rule*> RulesWithExamples() {
  std::vector<const Rule*> rules;
  std::copy_if(AllRules().begin(), AllRules().end(), std::back_inserter(rules),
               [](const Rule* rule) { return !rule->example.empty(); });
  return rules;
}

std::string NameOfTest(const testing::TestParamInfo<const Rule*>& info) {
  std::string name(info.param->name);
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

class RuleExample : public testing::TestWithParam<const Rule*> {};

TEST_P(RuleExample, TriggersTheRuleAlone) {
  const Rule& rule = *GetParam();
  Bytes dump = Dump(ExampleOf(rule));
  if (rule.name != "entry-point-checksum" && rule.name != "entry-point-count") {
    RepairEntryPoint(dump);
  }
  const auto findings = ExamineDump(dump, Selection(FirstProfileOf(rule)));
  std::set<std::string_view> names;
  for (const Finding& finding : findings) {
    names.insert(finding.rule->name);
  }
  EXPECT_THAT(names, ElementsAre(rule.name)) << testing::PrintToString(Lines(findings));
}

INSTANTIATE_TEST_SUITE_P(Rules, RuleExample, testing::ValuesIn(RulesWithExamples()), NameOfTest);

TEST(LintRules, HaveNothingToSayAboutASoundTable) {
  EXPECT_THAT(LinesAbout(SoundWith(""), kDriver), IsEmpty());
  EXPECT_THAT(LinesAbout(SoundWith(""), kTable), IsEmpty());
}

TEST(LintRules, AreWellFormed) {
  std::set<std::string_view> names;
  for (const Rule* rule : AllRules()) {
    EXPECT_TRUE(names.insert(rule->name).second) << rule->name;
    EXPECT_EQ(rule->name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-"),
              std::string_view::npos);
    EXPECT_NE(rule->profiles & kBoth, 0u) << rule->name;
    EXPECT_EQ(rule->summary.back(), '.') << rule->name;
    EXPECT_EQ(rule->why.back(), '.') << rule->name;
    EXPECT_EQ(rule->fix.back(), '.') << rule->name;
  }
}

}  // namespace
}  // namespace tvq::lint
