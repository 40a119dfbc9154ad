/*
 * When the agent saves a state, when it compares, and when it does neither.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/agent_harness.h"
#include "tests/unit/platform/agent/state_bytes.h"

namespace tvq::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr char kSuccess[] = "\nTvqAgent: success\n";
constexpr char kFileA[] = "\\TVQ\\state-a.bin";
constexpr char kFileB[] = "\\TVQ\\state-b.bin";
constexpr char kSaved[] = "\nState: saved; later boots are compared with it\n";
constexpr char kAccepted[] = "\nState: accepted; this boot's is saved\n";
constexpr char kLeft[] = "\nState: left as it was saved; the option accept saves this boot's\n";
constexpr char kNothing[] = "\nState: not compared and not saved, because there is no record\n";
constexpr char kCompared[] = "\nSince the saved state:\n";

std::string EmptyState(uint64_t generation) {
  return AsText(State({.generation = generation}).Encode());
}

class AgentState : public testing::Test, protected AgentHarness {
 protected:
  AgentState() { LoadDriver(); }
};

TEST_F(AgentState, IsSavedByTheFirstBoot) {
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(kSaved));
  EXPECT_THAT(Report(), Not(HasSubstr(kCompared)));
  EXPECT_TRUE(Files().Has(kFileA));
  EXPECT_FALSE(Files().Has(kFileB));
}

TEST_F(AgentState, IsSavedByTheFirstBootAlsoWhenThatIsAccepted) {
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(kSaved));
  EXPECT_TRUE(Files().Has(kFileA));
}

TEST_F(AgentState, IsComparedAndLeftAloneByLaterBoots) {
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  const std::string saved = Files().Get(kFileA);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSince the saved state:\n"
                                  "  CPU.Socket.1                    CPU1              same\n"));
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 3 same\n"));
  EXPECT_THAT(Report(), HasSubstr(kLeft));
  EXPECT_THAT(Report(), EndsWith(kSuccess));
  EXPECT_EQ(Files().Get(kFileA), saved);
  EXPECT_FALSE(Files().Has(kFileB));
}

TEST_F(AgentState, OfDevicesThatChangedIsReportedAndLeftAlone) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kFileA, EmptyState(1));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 3 new\n"));
  EXPECT_EQ(Files().Get(kFileA), EmptyState(1));
  EXPECT_FALSE(Files().Has(kFileB));
}

TEST_F(AgentState, IsComparedBeforeItIsAccepted) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kFileA, EmptyState(1));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 3 new\n"));
  EXPECT_THAT(Report(), HasSubstr(kAccepted));
  EXPECT_EQ(Files().Get(kFileA), EmptyState(1)) << "the former state stays beside the new one";
  ASSERT_TRUE(Files().Has(kFileB));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 3 same\n"));
}

TEST_F(AgentState, ThatIsDamagedIsReportedAndLeftAlone) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kFileA, "no state");
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("What to do: run TvqAgent with the option accept"));
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: the saved state in \\TVQ cannot be read: "
                                 "Volume Corrupt\n"));
  EXPECT_EQ(Files().Get(kFileA), "no state");
  EXPECT_FALSE(Files().Has(kFileB));
}

TEST_F(AgentState, ThatIsDamagedIsReplacedWhenThatIsAccepted) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kFileA, "no state");
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(kAccepted));
  EXPECT_THAT(Report(), Not(HasSubstr(kCompared)));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 3 same\n"));
}

TEST_F(AgentState, IsNeitherComparedNorSavedWithoutRecords) {
  for (const char16_t* line : {u"TvqAgent.efi", u"TvqAgent.efi accept"}) {
    EXPECT_EQ(RunAgent(line), EFI_ABORTED);
    EXPECT_THAT(Report(), HasSubstr(kNothing));
    EXPECT_THAT(Report(), Not(HasSubstr(kCompared)));
    EXPECT_FALSE(Files().Has(kFileA));
  }
}

TEST_F(AgentState, ThatCannotBeSavedIsReported) {
  PublishFirmwareTable(MinimalServer());
  Files().Fail(FileCall::kWrite, EFI_WRITE_PROTECTED, kFileA);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), Not(HasSubstr(kSaved)));
  EXPECT_THAT(Report(),
              EndsWith("\nTvqAgent: failed: the state cannot be saved: Write Protected\n"));
}

TEST_F(AgentState, ThatReadsBackOtherwiseIsReported) {
  PublishFirmwareTable(MinimalServer());
  Files().DamageWrites(kFileA);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: the state cannot be saved: Device Error\n"));
}

}  // namespace
}  // namespace tvq::test
