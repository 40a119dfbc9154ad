/*
 * What the journal says of a machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/compare/comparison_journal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/cli/compare/comparison_output.h"
#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/cli/output/fake_journal.h"

namespace tvq::cli {
namespace {

using run::ComparisonStatus;
using testing::ElementsAre;
using testing::SizeIs;

run::Finding Same(const std::u16string& fqdd) {
  run::Finding finding;
  finding.fqdd = fqdd;
  finding.kind = "memory module";
  finding.verdict = "same";
  finding.toDo = "nothing";
  return finding;
}

run::Finding Replaced() {
  run::Finding finding = Same(u"DIMM.Socket.A3");
  finding.label = "DIMM_A3";
  finding.verdict = "replaced";
  finding.also = {"changed", "cannot tell"};
  finding.fields = {{"Inventory/WWN", "7A2C0003", "7A2C9999"}};
  finding.toDo = "find out by whom";
  finding.status = ComparisonStatus::kFound;
  return finding;
}

class ComparisonJournal : public CliTest {
 protected:
  ComparisonJournal() : mSystem(Path("socket")) {}

  std::vector<JournalFields> Written(const run::Comparison& comparison) {
    WriteToJournal(comparison, StatusOf(comparison), Journal(mSystem.Path()));
    return mSystem.All();
  }
  std::vector<JournalFields> Written(const run::Finding& finding) {
    run::Comparison comparison;
    comparison.findings = {finding};
    comparison.status = finding.status;
    return Written(comparison);
  }

  FakeJournal mSystem;
};

TEST_F(ComparisonJournal, AQuietMachineIsOneEntry) {
  run::Comparison comparison;
  comparison.findings = {Same(u"DIMM.Socket.A1"), Same(u"DIMM.Socket.A2")};
  comparison.counts = {{"replaced", 0}, {"cannot tell", 1}, {"same", 2}};
  const auto entries = Written(comparison);
  ASSERT_THAT(entries, SizeIs(1));
  EXPECT_EQ(entries[0],
            (JournalFields{{"MESSAGE", {"Nothing is to be looked at: 1 cannot tell, 2 same"}},
                           {"MESSAGE_ID", {kSummaryId}},
                           {"PRIORITY", {"6"}},
                           {"SYSLOG_IDENTIFIER", {"tvq"}},
                           {"TVQ_EXIT_STATUS", {"0"}}}));
}

TEST_F(ComparisonJournal, ADeviceThatIsToBeLookedAtHasAnEntryOfItsOwnBeforeTheSummary) {
  run::Comparison comparison;
  comparison.findings = {Same(u"DIMM.Socket.A1"), Replaced()};
  comparison.counts = {{"replaced", 1}, {"same", 1}};
  comparison.status = ComparisonStatus::kFound;
  const auto entries = Written(comparison);
  ASSERT_THAT(entries, SizeIs(2));
  EXPECT_EQ(
      entries[0],
      (JournalFields{
          {"MESSAGE", {"DIMM.Socket.A3 (DIMM_A3): replaced; Inventory/WWN: 7A2C0003 -> 7A2C9999"}},
          {"MESSAGE_ID", {kFindingId}},
          {"PRIORITY", {"4"}},
          {"SYSLOG_IDENTIFIER", {"tvq"}},
          {"TVQ_VERDICT", {"replaced"}},
          {"TVQ_ALSO", {"changed", "cannot tell"}},
          {"TVQ_FQDD", {"DIMM.Socket.A3"}},
          {"TVQ_LABEL", {"DIMM_A3"}},
          {"TVQ_KIND", {"memory module"}},
          {"TVQ_FIELD", {"Inventory/WWN"}},
          {"TVQ_BEFORE", {"7A2C0003"}},
          {"TVQ_AFTER", {"7A2C9999"}},
          {"TVQ_TO_DO", {"find out by whom"}},
          {"TVQ_UNIT", {"tvq-accept@DIMM.Socket.A3.service"}}}));
  EXPECT_THAT(entries[1].at("MESSAGE"),
              ElementsAre("Devices are to be looked at: 1 replaced, 1 same"));
  EXPECT_THAT(entries[1].at("PRIORITY"), ElementsAre("5"));
  EXPECT_THAT(entries[1].at("TVQ_EXIT_STATUS"), ElementsAre("1"));
}

TEST_F(ComparisonJournal, APartThatIsGoneIsAnError) {
  run::Finding finding = Replaced();
  finding.verdict = "gone";
  EXPECT_THAT(Written(finding)[0].at("PRIORITY"), ElementsAre("3"));
}

TEST_F(ComparisonJournal, LinesOfNamesAndValuesBelongTogether) {
  run::Finding finding = Replaced();
  finding.fields = {{"Size", "1", std::nullopt},
                    {"Speed", std::nullopt, "2"},
                    {"Rank", "", "4"},
                    {"Bank", "5", "6"}};
  const auto entries = Written(finding);
  EXPECT_THAT(entries[0].at("TVQ_FIELD"), ElementsAre("Size\nSpeed\nRank\nBank"));
  EXPECT_THAT(entries[0].at("TVQ_BEFORE"), ElementsAre("1\n\n\n5"));
  EXPECT_THAT(entries[0].at("TVQ_AFTER"), ElementsAre("\n2\n4\n6"));
  EXPECT_THAT(
      entries[0].at("MESSAGE"),
      ElementsAre("DIMM.Socket.A3 (DIMM_A3): replaced; Size: 1 -> (none); Speed: (none) -> 2; "
                  "Rank: (empty) -> 4; and 1 more"));
}

TEST_F(ComparisonJournal, AMoveSaysFromWhere) {
  run::Finding finding = Replaced();
  finding.verdict = "moved";
  finding.movedFrom = u"DIMM.Socket.B1";
  finding.fields.clear();
  const auto entries = Written(finding);
  EXPECT_THAT(entries[0].at("MESSAGE"),
              ElementsAre("DIMM.Socket.A3 (DIMM_A3): moved from DIMM.Socket.B1"));
  EXPECT_THAT(entries[0].at("TVQ_MOVED_FROM"), ElementsAre("DIMM.Socket.B1"));
  EXPECT_EQ(entries[0].count("TVQ_BEFORE"), 0u);
}

TEST_F(ComparisonJournal, ADeviceWithoutARecordSaysWhy) {
  run::Finding finding;
  finding.kind = "processor";
  finding.verdict = "no record";
  finding.reason = "the driver ended at a device before it";
  finding.status = ComparisonStatus::kTrouble;
  const auto entries = Written(finding);
  EXPECT_THAT(entries[0].at("MESSAGE"),
              ElementsAre("processor: no record; the driver ended at a device before it"));
  EXPECT_THAT(entries[0].at("TVQ_REASON"), ElementsAre(finding.reason));
  EXPECT_EQ(entries[0].count("TVQ_FQDD") + entries[0].count("TVQ_LABEL"), 0u);
  EXPECT_THAT(entries[1].at("TVQ_EXIT_STATUS"), ElementsAre("2"));
}

TEST_F(ComparisonJournal, ControlCharactersOfTheMachineCommandNoTerminal) {
  run::Finding finding = Replaced();
  finding.label = "A\x1B[2J\n";
  finding.fields = {{"Inventory/WWN", "1\n2", "\xE9"}};
  const auto entries = Written(finding);
  EXPECT_THAT(entries[0].at("TVQ_LABEL"), ElementsAre("A\\x1B[2J\\x0A"));
  EXPECT_THAT(entries[0].at("TVQ_BEFORE"), ElementsAre("1\\x0A2"));
  EXPECT_THAT(entries[0].at("TVQ_AFTER"), ElementsAre("\xC3\xA9"));
}

TEST_F(ComparisonJournal, AFirmwareUpdateIsToldOnceAndIsNoAlarm) {
  run::Comparison comparison;
  comparison.firmware = run::FirmwareUpdate{"1.0", std::nullopt, ""};
  comparison.counts = {{"changed", 4}};
  const auto entries = Written(comparison);
  ASSERT_THAT(entries, SizeIs(1));
  EXPECT_THAT(entries[0].at("MESSAGE"),
              ElementsAre("Nothing is to be looked at: 4 changed; firmware update: 1.0 -> (none)"));
  EXPECT_THAT(entries[0].at("PRIORITY"), ElementsAre("5"));
}

// A stack of memory has no name but what the board prints there.
TEST_F(ComparisonJournal, TheUnitThatAcceptsADeviceIsThereReadyToBeTyped) {
  run::Finding finding = Replaced();
  EXPECT_EQ(AcceptUnitOf(finding), "tvq-accept@DIMM.Socket.A3.service");
  finding.fqdd = u"DIMM.S\u00E4ule-1/A";
  EXPECT_EQ(AcceptUnitOf(finding), "tvq-accept@DIMM.S\\xe4ule-1\\x2fA.service");
  finding.fqdd = u"DIMM.\u00FF";
  EXPECT_EQ(AcceptUnitOf(finding), "tvq-accept@DIMM.\\xff.service");
  finding.fqdd = u"DIMM.\u0100";
  EXPECT_EQ(AcceptUnitOf(finding), "tvq-accept@DIMM_A3.service");
  finding.fqdd.clear();
  finding.label = "HBM 0 'x'";
  EXPECT_EQ(AcceptUnitOf(finding), "tvq-accept@HBM\\x200\\x20\\x27x\\x27.service");
  finding.label.clear();
  EXPECT_EQ(AcceptUnitOf(finding), "");
  EXPECT_EQ(Written(finding)[0].count("TVQ_UNIT"), 0u);
}

TEST_F(ComparisonJournal, TheSumHasTheStatusThatTheRunEndsWith) {
  WriteToJournal({}, kExitTrouble, Journal(mSystem.Path()));
  EXPECT_THAT(mSystem.All().back().at("TVQ_EXIT_STATUS"), ElementsAre("2"));
}

TEST_F(ComparisonJournal, AFailureIsAnErrorThatSaysWhyInOneLine) {
  const std::string why = std::string(200, 'x') + " \x1B[2J";
  WriteFailure(why, kExitNoState, Journal(mSystem.Path()));
  const std::string shown = std::string(200, 'x') + " \\x1B[2J";
  EXPECT_THAT(mSystem.All(), ElementsAre(JournalFields{{"MESSAGE", {"tvq verify failed: " + shown}},
                                                       {"MESSAGE_ID", {kFailureId}},
                                                       {"PRIORITY", {"3"}},
                                                       {"SYSLOG_IDENTIFIER", {"tvq"}},
                                                       {"TVQ_REASON", {shown}},
                                                       {"TVQ_EXIT_STATUS", {"3"}}}));
}

TEST_F(ComparisonJournal, ADamagedStateThatIsPassedOverIsAWarning) {
  WritePassedOver("state-2.bin was cut off; the one before it counts", Journal(mSystem.Path()));
  const std::vector<JournalFields> entries = mSystem.All();
  ASSERT_THAT(entries, SizeIs(1));
  EXPECT_THAT(entries[0].at("MESSAGE"),
              ElementsAre("state-2.bin was cut off; the one before it counts"));
  EXPECT_THAT(entries[0].at("PRIORITY"), ElementsAre("4"));
  EXPECT_THAT(entries[0].at("MESSAGE_ID"), ElementsAre(kPassedOverId));
}

TEST_F(ComparisonJournal, WhatWasNotComparedIsAnErrorUnlessTheRunEndsWell) {
  const Journal journal(mSystem.Path());
  WriteNotCompared("the table describes no device", kExitNothingFound, journal);
  WriteNotCompared("other options", kExitTrouble, journal);
  const std::vector<JournalFields> entries = mSystem.All();
  ASSERT_THAT(entries, SizeIs(2));
  EXPECT_THAT(entries[0].at("MESSAGE"),
              ElementsAre("Nothing was compared: the table describes no device"));
  EXPECT_THAT(entries[0].at("PRIORITY"), ElementsAre("6"));
  EXPECT_THAT(entries[1].at("PRIORITY"), ElementsAre("3"));
  EXPECT_THAT(entries[1].at("TVQ_EXIT_STATUS"), ElementsAre("2"));
}

TEST_F(ComparisonJournal, TheFirstStateIsToldWithItsPath) {
  WriteFirstState("/var/lib/tvq/state-1.bin", Journal(mSystem.Path()));
  const std::optional<JournalFields> entry = mSystem.Next();
  ASSERT_TRUE(entry);
  EXPECT_THAT(entry->at("MESSAGE"),
              ElementsAre("The first state of this machine is saved in /var/lib/tvq/state-1.bin"));
  EXPECT_THAT(entry->at("MESSAGE_ID"), ElementsAre(kFirstStateId));
  EXPECT_THAT(entry->at("PRIORITY"), ElementsAre("5"));
}

}  // namespace
}  // namespace tvq::cli
