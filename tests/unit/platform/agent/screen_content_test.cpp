/*
 * What the screen has to show: devices as the machine has them, and what matters first.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <memory>

#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/shared/dirty_stack.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/screen/summary.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using tvqplatform::RunReport;
using tvqplatform::ScreenContent;
using tvqplatform::StateEnd;
using tvqplatform::Topic;

class AgentScreenContent : public AgentTest {
 protected:
  AgentScreenContent() {
    gBS = Firmware().BootServices();
    mReport.UseConsole(false);
    mState.UseConsole(false);
  }

  ScreenContent& Content() { return mContent; }
  RunReport& Visit() { return mReport; }
  RunReport& State() { return mState; }
  tvqplatform::StateOutcome& Outcome() { return mOutcome; }
  void AddLineAbout(RunReport& report, Topic topic, const std::string& line) {
    const Topic before = report.Begin(topic);
    AddLine(&report, "%a", line.c_str());
    (void)report.Begin(before);
  }

  static std::vector<std::string> LinesOf(const tvqplatform::StyledLines& lines) {
    std::vector<std::string> texts;
    for (UINTN i = 0; i < lines.Size(); ++i) {
      texts.push_back(".=#+!X>"[static_cast<size_t>(lines[i].How)] + std::string(lines[i].Text));
    }
    return texts;
  }
  // Its lines, with a letter of their style in front: '+' good, '!' attention, 'X' trouble, '#' a heading, '.' plain.
  std::vector<std::string> Summary(bool isReadOnly = false) {
    Summarize({mReport, mState, mOutcome, isReadOnly}, mContent);
    return LinesOf(mContent.Summary);
  }
  std::vector<std::string> WholeReport() const { return LinesOf(mContent.Report); }

 private:
  ScreenContent mContent;
  RunReport mReport;
  RunReport mState;
  tvqplatform::StateOutcome mOutcome;
};

// --- What matters first ---

TEST_F(AgentScreenContent, SaysHowTheFirstVisitWent) {
  Outcome().End = StateEnd::kFirst;
  Content().PresentCount = 1;
  EXPECT_THAT(Summary(), ElementsAre("+First visit: 1 device is saved. Nothing to do."));
  Content().PresentCount = 2;
  EXPECT_THAT(Summary(), ElementsAre("+First visit: 2 devices are saved. Nothing to do."));
}

TEST_F(AgentScreenContent, SaysThatThereIsNothingToCompareWith) {
  Content().PresentCount = 1;
  EXPECT_THAT(Summary(), ElementsAre());
  EXPECT_THAT(Summary(true), ElementsAre("!1 device. Nothing was saved before to compare with."));
  Content().PresentCount = 2;
  EXPECT_THAT(Summary(true), ElementsAre("!2 devices. Nothing was saved before to compare with."));
  Visit().Fail("trouble", "help");
  EXPECT_THAT(Summary(true), ElementsAre("XSomething went wrong. What to do:", "XProblem: trouble.",
                                         "X  What to do: help"));
}

TEST_F(AgentScreenContent, SaysWhatTheComparisonCameTo) {
  Outcome().IsCompared = true;
  Outcome().SavedTime = 60;
  Content().PresentCount = 1;
  EXPECT_THAT(Summary(), ElementsAre("+No part was exchanged since what was saved 1970-01-01 00:01 "
                                     "UTC. What to do:"));
  Content().IsQuiet = true;
  EXPECT_THAT(Summary(),
              ElementsAre("+Nothing to do: 1 device, as it was saved 1970-01-01 00:01 UTC."));
  tvqplatform::ShownDevice found = {};
  found.IsFinding = true;
  ASSERT_TRUE(Content().Devices.Append(found));
  EXPECT_THAT(Summary(), ElementsAre("!1 of 1 devices is not what was saved 1970-01-01 00:01 UTC. "
                                     "What to do:"));
  ASSERT_TRUE(Content().Devices.Append(found));
  EXPECT_THAT(Summary(), ElementsAre("!2 of 2 devices are not what was saved 1970-01-01 00:01 UTC. "
                                     "What to do:"));
}

TEST_F(AgentScreenContent, PutsProblemsBeforeTheMediumBeforeFindingsBeforeTheState) {
  AddLineAbout(State(), Topic::kState, "state");
  AddLineAbout(State(), Topic::kFinding, "finding");
  AddLineAbout(State(), Topic::kProblem, "of the comparison, which the visit has too");
  AddLineAbout(Visit(), Topic::kMedium, "medium");
  AddLineAbout(Visit(), Topic::kProblem, "problem");
  AddLineAbout(Visit(), Topic::kRest, "rest");
  AddLineAbout(Visit(), Topic::kState, "earlier state");
  EXPECT_THAT(Summary(), ElementsAre("Xproblem", "!medium", ".finding", ".state"));
  EXPECT_THAT(WholeReport(),
              ElementsAre("#The whole report:", "!medium", "Xproblem", ".rest", ".earlier state"));
}

TEST_F(AgentScreenContent, CallsForAttentionWhereALineNamesADevice) {
  for (const char* line : {"  A", "  A B", "  AB"}) {
    AddLineAbout(State(), Topic::kFinding, line);
  }
  for (const char* line : {"", " ", "  ", "   A", " A ", " AB", "A B", "x A", "AB"}) {
    AddLineAbout(State(), Topic::kFinding, line);
  }
  EXPECT_THAT(Summary(), ElementsAre("!  A", "!  A B", "!  AB", ".", ". ", ".  ", ".   A", ". A ",
                                     ". AB", ".A B", ".x A", ".AB"));
}

TEST_F(AgentScreenContent, SaysWhereThereWasNoMemoryToShowEverything) {
  Outcome().End = StateEnd::kFirst;
  AddLineAbout(Visit(), Topic::kProblem, "problem");
  AddLineAbout(State(), Topic::kFinding, "  A");
  const std::string notice = "XThere is no memory to show everything; \\TVQ\\report.txt has it.";
  uint64_t n = 0;
  bool hasFailed = true;
  while (hasFailed && n < 100) {
    const uint64_t before = Firmware().Memory().FailedAllocations();
    ScreenContent content;
    Firmware().Memory().FailAllocation(++n, host::images::agent);
    Summarize({Visit(), State(), Outcome(), false}, content);
    Firmware().Memory().StopFailing();
    hasFailed = Firmware().Memory().FailedAllocations() != before;
    EXPECT_EQ(LinesOf(content.Summary).back() == notice, hasFailed) << n;
  }
  EXPECT_GT(n, 5u);
}

// --- Devices ---

TEST_F(AgentScreenContent, CutsTextsOfADeviceThatAreTooLong) {
  const FakeRecord record(Firmware(), {.fqdd = std::u16string(30, u'F') + u"GH",
                                       .serial = std::string(14, '1') + "23",
                                       .marketingName = std::string(62, 'N') + "OP"});
  tvqplatform::Inventory inventory;
  ASSERT_EQ(inventory.Collect(), EFI_SUCCESS);
  ShowDevices(inventory, tvqplatform::DeviceLabels(), tvqplatform::Snapshot(), Content());
  ASSERT_EQ(Content().Devices.Size(), 1u);
  const tvqplatform::ShownDevice& shown = Content().Devices[0];
  EXPECT_EQ(std::string(shown.Fqdd), std::string(30, 'F') + "G");
  EXPECT_EQ(std::string(shown.Serial), std::string(14, '1') + "2");
  EXPECT_EQ(std::string(shown.Name), std::string(62, 'N') + "O");
  EXPECT_STREQ(shown.Label, "");
  EXPECT_EQ(shown.Record, 0u);
}

TEST_F(AgentScreenContent, HasDevicesWithoutARecord) {
  tvqplatform::Snapshot now;
  tvqplatform::SnapshotDevice device = {};
  device.ComponentClass = TVQ_CLASS_CPU;
  device.Why = tvqplatform::WhyNoRecord::kClash;
  std::fill_n(device.Fqdd, 31, u'F');
  ASSERT_TRUE(now.Add(device));
  DirtyTheStack();
  ShowDevices(tvqplatform::Inventory(), tvqplatform::DeviceLabels(), now, Content());
  ASSERT_EQ(Content().Devices.Size(), 1u);
  EXPECT_EQ(Content().PresentCount, 1u);
  const tvqplatform::ShownDevice& shown = Content().Devices[0];
  EXPECT_EQ(std::string(shown.Fqdd), std::string(31, 'F'));
  EXPECT_STREQ(shown.Name, "(no record)");
  EXPECT_STREQ(shown.Class, "processor");
  EXPECT_EQ(shown.Record, tvqplatform::kNone);
  EXPECT_EQ(shown.LineCount, 0u);
}

TEST_F(AgentScreenContent, SaysNothingOfADeviceThatThereIsNoMemoryFor) {
  tvqplatform::Snapshot before;
  before.NamingRules = tvqplatform::kNamingRules;
  tvqplatform::SnapshotDevice device = {};
  device.ComponentClass = TVQ_CLASS_DIMM;
  device.Fqdd[0] = u'A';
  ASSERT_TRUE(before.Add(device));
  tvqplatform::Snapshot after;
  after.NamingRules = before.NamingRules;
  tvqplatform::Comparison comparison;
  ASSERT_TRUE(comparison.Run(before, after, {}));
  Firmware().Memory().FailAllocation(1, host::images::agent);
  ShowVerdicts(comparison, Content());
  Firmware().Memory().StopFailing();
  EXPECT_TRUE(Content().IsCut);
  EXPECT_EQ(Content().Devices.Size(), 0u);
  EXPECT_EQ(Content().Verdicts.Size(), 0u);
  ShowVerdicts(comparison, Content());
  ASSERT_EQ(Content().Devices.Size(), 1u) << "it is gone";
  EXPECT_STREQ(Content().Devices[0].Fqdd, "A");
  EXPECT_STREQ(Content().Devices[0].Verdict, "gone");
  EXPECT_EQ(Content().Devices[0].LineCount, Content().Verdicts.Size());
  EXPECT_GT(Content().Verdicts.Size(), 0u);
}

TEST_F(AgentScreenContent, BeginsAtTheFirstDeviceThatSomebodyHasToLookAt) {
  EXPECT_EQ(Content().FirstFinding(), 0u);
  tvqplatform::ShownDevice device = {};
  ASSERT_TRUE(Content().Devices.Append(device));
  EXPECT_EQ(Content().FirstFinding(), 0u);
  device.IsFinding = true;
  ASSERT_TRUE(Content().Devices.Append(device));
  ASSERT_TRUE(Content().Devices.Append(device));
  EXPECT_EQ(Content().FirstFinding(), 1u);
  EXPECT_EQ(Content().CountFindings(), 2u);
  Content().Devices[0].IsFinding = true;
  EXPECT_EQ(Content().FirstFinding(), 0u);
}

TEST_F(AgentScreenContent, ForgetsWhatAnEarlierComparisonSaid) {
  tvqplatform::ShownDevice device = {};
  device.Verdict = "replaced";
  device.IsFinding = true;
  device.FirstLine = 3;
  device.LineCount = 4;
  ASSERT_TRUE(Content().Devices.Append(device));
  ASSERT_TRUE(Content().Devices.Append(device));
  ASSERT_TRUE(Content().Verdicts.Add(tvqplatform::Style::kPlain, "line"));
  Content().PresentCount = 1;
  Content().IsQuiet = true;
  ForgetVerdicts(Content());
  ASSERT_EQ(Content().Devices.Size(), 1u) << "those that are gone go";
  EXPECT_EQ(Content().Verdicts.Size(), 0u);
  EXPECT_FALSE(Content().IsQuiet);
  EXPECT_EQ(Content().Devices[0].Verdict, nullptr);
  EXPECT_FALSE(Content().Devices[0].IsFinding);
  EXPECT_EQ(Content().Devices[0].FirstLine, 0u);
  EXPECT_EQ(Content().Devices[0].LineCount, 0u);
}

}  // namespace
}  // namespace tvq::test
