/*
 * Every rule: it has something to say about its example, and nothing about a sound table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <sstream>
#include <string>

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

TEST(LintRules, AreSelectedOneByOneOrAllAtOnce) {
  Selection selection(kDriver);
  for (const Rule* rule : AllRules()) {
    EXPECT_EQ(selection.Has(*rule), (rule->profiles & kDriver) != 0) << rule->name;
  }
  EXPECT_TRUE(selection.Disable("all"));
  for (const Rule* rule : AllRules()) {
    EXPECT_FALSE(selection.Has(*rule)) << rule->name;
    EXPECT_TRUE(selection.Enable(rule->name));
    EXPECT_TRUE(selection.Has(*rule)) << rule->name;
  }
  EXPECT_FALSE(selection.Enable("no-such-rule"));
}

TEST(LintRules, AreExplainedInLinesOf80Columns) {
  for (const Rule* rule : AllRules()) {
    const std::string text = ExplainRule(*rule);
    std::istringstream lines(text.substr(0, text.find("\nExample")));
    std::string above;
    for (std::string line; std::getline(lines, line); above = line) {
      EXPECT_LE(line.size(), 80u) << line;
      // A line is full when the first word of the next one does not fit behind it.
      if (above.substr(0, 2) == "  " && above.back() != '.' && line.size() > 2) {
        const std::size_t word = std::min(line.find(' ', 2), line.size()) - 2;
        EXPECT_GT(above.size() + 1 + word, 80u) << above << '\n' << line;
      }
    }
  }
}

TEST(LintRules, AreExplainedWithAnExample) {
  EXPECT_EQ(ExplainRule(*FindRule("board-serial")),
            "board-serial (warning; profile table)\n"
            "  The serial number of a board is one that stands for none.\n"
            "\n"
            "  Where the system has no serial number of its own, inventories fall back on the\n"
            "  board's. One that stands for none is the same on all machines of the model.\n"
            "\n"
            "What to change:\n"
            "  Write the serial number when the machine is made. String 0 says that there is\n"
            "  none.\n"
            "\n"
            "Example, in the form that `tvq mktable` reads:\n"
            "  [board]\n"
            "  chassis = 0xFFFF\n"
            "  serial  = \"Default string\"\n");
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
