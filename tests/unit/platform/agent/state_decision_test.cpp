/*
 * When the agent saves a state, when it compares, and when it does neither.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/agent_harness.h"
#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/agent/stored_state.h"

namespace tvq::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

constexpr char kFirst[] = "\\TVQ\\machine-ABC1234\\state-1.bin";
constexpr char kSecond[] = "\\TVQ\\machine-ABC1234\\state-2.bin";
constexpr char kVersionOne[] = "\\TVQ\\state-a.bin";
constexpr char kSaved[] = "\nState: saved; later boots are compared with it\n";
constexpr char kAccepted[] = "\nState: accepted; this boot's is saved\n";
constexpr char kLeft[] = "\nState: left as it was saved; the option accept saves this boot's\n";
constexpr char kNothing[] = "\nState: not compared and not saved, because there is no record\n";
constexpr char kCompared[] = "\nSince the saved state:\n";

const Section kSavedOrigin = OriginSection(1763798400, 0, 2, "0.9.0");

// A state without devices, of a machine with these numbers.
std::string StateOf(const Section& machine, uint64_t generation = 1,
                    const Section& origin = kSavedOrigin) {
  return AsText(State2{{origin, machine}, generation}.Encode());
}
const Section kThisMachine = MachineSection(System{}.uuid, "ABC1234");

Table ServerWith(const System& system, const std::string& serial = "11223344") {
  return Table::Of(Bios{}, system, Processor{},
                   MemoryDevice{.locator = "DIMM_A1", .serial = serial}, End{});
}

class AgentState : public testing::Test, protected AgentHarness {
 protected:
  AgentState() { LoadDriver(); }

  // The next boot of another machine, or of this one with another table.
  void BootWith(const Table& table) {
    ASSERT_EQ(RunAgent(u"TvqAgent.efi stop"), EFI_SUCCESS);
    PublishFirmwareTable(table);
  }
};

TEST_F(AgentState, IsSavedByTheFirstBoot) {
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(kSaved));
  EXPECT_THAT(Report(), Not(HasSubstr(kCompared)));
  EXPECT_TRUE(Files().Has(kFirst));
  EXPECT_FALSE(Files().Has(kSecond));
}

TEST_F(AgentState, IsSavedByTheFirstBootAlsoWhenThatIsAccepted) {
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(kSaved));
  EXPECT_TRUE(Files().Has(kFirst));
}

TEST_F(AgentState, IsComparedAndLeftAloneByLaterBoots) {
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  const std::string saved = Files().Get(kFirst);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 2 same, 1 cannot tell\nState: "))
      << "an unchanged machine is one line";
  EXPECT_THAT(Report(), HasSubstr(kLeft));
  EXPECT_THAT(Report(), EndsWith(kSuccess));
  EXPECT_EQ(Files().Get(kFirst), saved);
  EXPECT_FALSE(Files().Has(kSecond));
}

TEST_F(AgentState, IsNamedWithWhenAndByWhatItWasSaved) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kFirst, StateOf(kThisMachine));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nState: \\TVQ\\machine-ABC1234\\state-1.bin, saved 2025-11-22 "
                                  "08:00 UTC by version 0.9.0\n"));
}

TEST_F(AgentState, OfDevicesThatChangedIsReportedAndLeftAlone) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kFirst, StateOf(kThisMachine));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSince the saved state:\n"
                                  "  CPU.Socket.1 (CPU1): new\n"
                                  "      To do: accept it if it was put in on purpose\n"));
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 3 new\n"));
  EXPECT_EQ(Files().Get(kFirst), StateOf(kThisMachine));
  EXPECT_FALSE(Files().Has(kSecond));
}

TEST_F(AgentState, IsComparedBeforeItIsAccepted) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kFirst, StateOf(kThisMachine));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 3 new\n"));
  EXPECT_THAT(Report(), HasSubstr(kAccepted));
  EXPECT_EQ(Files().Get(kFirst), StateOf(kThisMachine)) << "the former state stays beside it";
  ASSERT_TRUE(Files().Has(kSecond));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 2 same, 1 cannot tell\n"));
}

TEST_F(AgentState, ThatIsAcceptedAsItWasIsNotWrittenAgain) {
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nState: accepted; it is what was saved already\n"));
  EXPECT_FALSE(Files().Has(kSecond));
}

TEST_F(AgentState, StaysAsOftenAsIsSaid) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kFirst, StateOf(kThisMachine));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept keep=1"), EFI_SUCCESS);
  EXPECT_FALSE(Files().Has(kFirst));
  EXPECT_TRUE(Files().Has(kSecond));
}

// --- States that are none ---

TEST_F(AgentState, ThatIsDamagedIsReportedAndLeftAlone) {
  PublishFirmwareTable(MinimalServer());
  std::string damaged = StateOf(kThisMachine);
  damaged[40] ^= 1;
  Files().Put(kFirst, damaged);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("\nState: \\TVQ\\machine-ABC1234\\state-1.bin is damaged\n"));
  EXPECT_THAT(Report(), HasSubstr("What to do: run TvqAgent with the option accept"));
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: the saved state in \\TVQ cannot be read: "
                                 "Volume Corrupt\n"));
  EXPECT_EQ(Files().Get(kFirst), damaged);
  EXPECT_FALSE(Files().Has(kSecond));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(kAccepted));
  EXPECT_THAT(Report(), Not(HasSubstr(kCompared)));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 2 same, 1 cannot tell\n"));
}

TEST_F(AgentState, BeforeADamagedOneIsComparedAndTheDamageReported) {
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  std::string damaged = StateOf(kThisMachine, 2);
  damaged[40] ^= 1;
  Files().Put(kSecond, damaged);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 2 same, 1 cannot tell\n"));
  EXPECT_THAT(Report(), HasSubstr("Problem: \\TVQ\\machine-ABC1234\\state-2.bin is damaged."));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept"), EFI_ABORTED);
  EXPECT_TRUE(Files().Has("\\TVQ\\machine-ABC1234\\state-3.bin"))
      << "also where nothing changed, so that the damaged one is not the newest any more";
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
}

TEST_F(AgentState, BeforeOneThatWasCutOffCounts) {
  PublishFirmwareTable(MinimalServer());
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  Files().Put(kSecond, StateOf(kThisMachine, 2).substr(0, 60));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(),
              HasSubstr("\nState: \\TVQ\\machine-ABC1234\\state-2.bin was cut off while it "
                        "was saved; the one before it counts\n"));
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 2 same, 1 cannot tell\n"));
}

TEST_F(AgentState, ThatIsTheFirstAndWasCutOffIsSavedAnew) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kFirst, StateOf(kThisMachine).substr(0, 60));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("was cut off while it was saved; there is none before it\n"));
  EXPECT_THAT(Report(), HasSubstr(kSaved));
  EXPECT_TRUE(Files().Has(kSecond));
}

TEST_F(AgentState, IsNeitherComparedNorSavedWithoutRecords) {
  for (const char16_t* line : {u"TvqAgent.efi", u"TvqAgent.efi accept"}) {
    EXPECT_EQ(RunAgent(line), EFI_ABORTED);
    EXPECT_THAT(Report(), HasSubstr(kNothing));
    EXPECT_THAT(Report(), Not(HasSubstr(kCompared)));
    EXPECT_FALSE(Files().Has(kFirst));
  }
}

TEST_F(AgentState, ThatCannotBeSavedIsReported) {
  PublishFirmwareTable(MinimalServer());
  Files().Fail(FileCall::kWrite, EFI_WRITE_PROTECTED, kFirst);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), Not(HasSubstr(kSaved)));
  EXPECT_THAT(Report(),
              EndsWith("\nTvqAgent: failed: the state cannot be saved: Write Protected\n"));
}

TEST_F(AgentState, ThatReadsBackOtherwiseIsReported) {
  PublishFirmwareTable(MinimalServer());
  Files().DamageWrites(kFirst);
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: the state cannot be saved: Device Error\n"));
}

// --- States of version 1 ---

TEST_F(AgentState, OfVersionOneIsComparedAndTheNextOneIsSavedInTheMachinesFolder) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kVersionOne, AsText(State{}.Encode()));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nState: \\TVQ\\state-a.bin, saved at an unknown time by an "
                                  "earlier version\n"));
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 3 new\n"));
  EXPECT_THAT(Report(), HasSubstr(kLeft));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept"), EFI_SUCCESS);
  EXPECT_TRUE(Files().Has(kFirst));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 2 same, 1 cannot tell\n"))
      << "the newer format counts";
}

TEST_F(AgentState, OfVersionOneOfAnotherMachineIsLeftAlone) {
  PublishFirmwareTable(MinimalServer());
  const std::string other =
      AsText(State{.devices = {{u"DIMM.Socket.A1", BlobsOf({.serial = "99AABBCC"})}}}.Encode());
  Files().Put(kVersionOne, other);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nState: what an earlier version saved in \\TVQ is of another "
                                  "machine\n"));
  EXPECT_THAT(Report(), HasSubstr(kSaved));
  EXPECT_EQ(Files().Get(kVersionOne), other);
  EXPECT_TRUE(Files().Has(kFirst));
}

// --- Which machine ---

TEST_F(AgentState, OfEachMachineHasAFolderOfItsOwn) {
  PublishFirmwareTable(ServerWith({.serial = "AAA1111"}));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  BootWith(ServerWith({.serial = "BBB 2/2", .uuid = Bytes(16)}, "99999991"));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(kSaved));
  EXPECT_TRUE(Files().Has("\\TVQ\\machine-AAA1111\\state-1.bin"));
  EXPECT_TRUE(Files().Has("\\TVQ\\machine-BBB_2_2\\state-1.bin"));
}

TEST_F(AgentState, IsFoundAlsoWhereANewBoardBroughtAnotherNumber) {
  PublishFirmwareTable(ServerWith({.serial = std::nullopt}));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  const std::string first = "\\TVQ\\machine-33221100554477668899aabbccddeeff\\state-1.bin";
  ASSERT_TRUE(Files().Has(first));
  System other;
  other.serial = std::nullopt;
  other.uuid[15] = 0x77;
  BootWith(ServerWith(other));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("State: of the same machine with another board\n"));
  EXPECT_THAT(Report(), HasSubstr("  This machine: UUID 00112233-4455-6677-8899-aabbccddee77\n"
                                  "  Saved of:     UUID 00112233-4455-6677-8899-aabbccddeeff\n"));
  EXPECT_THAT(Report(), HasSubstr(kCompared));
}

TEST_F(AgentState, OfMachinesWithoutANumberIsNeverSharedSilently) {
  const System nameless = {.serial = "Default string", .uuid = Bytes(16)};
  PublishFirmwareTable(ServerWith(nameless, "11223344"));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  ASSERT_TRUE(Files().Has("\\TVQ\\machine-without-number\\state-1.bin"));
  BootWith(ServerWith(nameless, "55667788"));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_TRUE(Files().Has("\\TVQ\\machine-without-number-2\\state-1.bin"))
      << "their modules tell them apart";
  BootWith(ServerWith(nameless, "Not Specified"));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("State: nothing in the table tells this machine from others"));
  EXPECT_THAT(Report(), HasSubstr("What to do: where a stick serves several of them, give each a "
                                  "folder with the option state=FOLDER.\n"));
}

TEST_F(AgentState, OfAnotherMachineIsRefusedUnlessToldOtherwise) {
  PublishFirmwareTable(MinimalServer());
  const std::string path = "\\TVQ\\golden\\state-1.bin";
  Files().Put(path, StateOf(MachineSection({}, "XYZ9999")));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi state=golden"), EFI_ABORTED);
  EXPECT_THAT(Report(),
              HasSubstr("  This machine: system ABC1234, chassis CHS0001, UUID 00112233"));
  EXPECT_THAT(Report(), HasSubstr("  Saved of:     system XYZ9999\n"));
  EXPECT_THAT(Report(), Not(HasSubstr(kCompared)));
  EXPECT_THAT(Report(), EndsWith("\nTvqAgent: failed: the saved state is of another machine\n"));
  for (const char16_t* line :
       {u"TvqAgent.efi state=golden accept", u"TvqAgent.efi state=golden accept DIMM_A1"}) {
    EXPECT_EQ(RunAgent(line), EFI_ABORTED);
    EXPECT_FALSE(Files().Has("\\TVQ\\golden\\state-2.bin"));
  }
  EXPECT_EQ(RunAgent(u"TvqAgent.efi state=golden other-machine"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(kCompared));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi state=golden other-machine accept"), EFI_SUCCESS);
  EXPECT_TRUE(Files().Has("\\TVQ\\golden\\state-2.bin"));
}

// The driver keeps records of the table that it was started on, whatever lies on the volume by now.
TEST_F(AgentState, OfRecordsOfAnotherTableThanTheVolumesIsNeitherComparedNorSaved) {
  PublishFirmwareTable(ServerWith({.serial = "ABC1234"}));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  Files().Put("\\TVQ\\table.bin",
              AsText(ServerWith({.serial = "XYZ9999", .uuid = Bytes(16)}, "99AABBCC").Bytes()));
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("\nState: not compared and not saved, because the records are "
                                  "another machine's\n"));
  EXPECT_FALSE(Files().Has("\\TVQ\\machine-XYZ9999\\state-1.bin"));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi again"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(kSaved));
  EXPECT_TRUE(Files().Has("\\TVQ\\machine-XYZ9999\\state-1.bin"));
}

// --- Other options ---

TEST_F(AgentState, OfOtherOptionsIsNamedAndNotCompared) {
  PublishFirmwareTable(MinimalServer());
  Files().Put(kFirst, StateOf(kThisMachine, 1, OriginSection(0, 1, 2, "0.9.0")));
  EXPECT_EQ(RunAgent(), EFI_ABORTED);
  EXPECT_THAT(Report(), Not(HasSubstr(kCompared)));
  EXPECT_THAT(Report(), HasSubstr("Problem: the state was saved with the table as it is, and this "
                                  "boot is with the table made fit for the driver: not compared."));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept DIMM_A1"), EFI_ABORTED);
  EXPECT_FALSE(Files().Has(kSecond)) << "no state is of both";
}

// --- Holes ---

TEST_F(AgentState, WithHolesIsSaidWhenItIsSavedAndWhenItIsCompared) {
  PublishFirmwareTable(Table::Of(Bios{}, System{}, Processor{.designation = "CPU1"},
                                 Processor{.designation = "CPU1"},
                                 FqddMap{.groups = {{"CPU.Socket.1", 0x8002}}}, End{}));
  const std::string hole =
      "\nSaved without: CPU.Socket.1, no record: a device before it has the same name, as far as "
      "the "
      "driver reads it\n";
  EXPECT_EQ(RunAgent(u"TvqAgent.efi as-is"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(hole));
  EXPECT_THAT(Report(), HasSubstr(kSaved));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi as-is"), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr(hole));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi as-is accept"), EFI_SUCCESS);
  EXPECT_NE(Report().find(hole), Report().rfind(hole)) << "of what was saved and of what is";
}

TEST_F(AgentState, WithHolesReplacesNoneWithoutUnlessToldTo) {
  const Table whole = Table::Of(Bios{}, System{}, Processor{.designation = "CPU1"},
                                FqddMap{.groups = {{"CPU.Socket.1", 0x8002}}}, End{});
  PublishFirmwareTable(whole);
  ASSERT_EQ(RunAgent(u"TvqAgent.efi as-is"), EFI_SUCCESS);
  BootWith(Table::Of(Bios{}, System{}, Processor{.designation = "CPU1"},
                     Processor{.designation = "CPU1"},
                     FqddMap{.groups = {{"CPU.Socket.1", 0x8002}}}, End{}));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi as-is accept"), EFI_ABORTED);
  EXPECT_FALSE(Files().Has(kSecond));
  EXPECT_THAT(Report(), EndsWith("TvqAgent: failed: this boot's state is incomplete and does not "
                                 "replace the complete one\n"));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi as-is accept incomplete"), EFI_SUCCESS);
  EXPECT_TRUE(Files().Has(kSecond));
}

// --- One device alone ---

TEST_F(AgentState, TakesOverOneDeviceAlone) {
  const auto server = [](const char* a1, const char* a2) {
    return Table::Of(Bios{}, System{}, Processor{},
                     MemoryDevice{.locator = "DIMM A1", .serial = a1},
                     MemoryDevice{.locator = "DIMM A2", .serial = a2}, End{});
  };
  PublishFirmwareTable(server("11223344", "55667788"));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  BootWith(server("11223345", "55667789"));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("2 replaced"));
  EXPECT_THAT(Files().Get("\\TVQ\\log.txt"), HasSubstr(" SMTVQVerify"))
      << "the log is saved after the comparison";
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept \"DIMM A1\""), EFI_SUCCESS);
  EXPECT_THAT(Report(),
              HasSubstr("\nState: accepted; of other devices it says what it said before\n"));
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("1 replaced"));
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept DIMM.Socket.A2"), EFI_SUCCESS);
  EXPECT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_THAT(Report(), HasSubstr("\nSummary: 3 same, 1 cannot tell\n"));
}

TEST_F(AgentState, TakesOverNoDeviceThatIsNotThere) {
  PublishFirmwareTable(MinimalServer());
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept DIMM.Socket.Z9"), EFI_ABORTED);
  EXPECT_THAT(Report(), HasSubstr("there is no saved state that a device could be accepted into"));
  ASSERT_EQ(RunAgent(), EFI_SUCCESS);
  EXPECT_EQ(RunAgent(u"TvqAgent.efi accept CPU.Socket.1 DIMM.Socket.Z9"), EFI_ABORTED);
  EXPECT_THAT(Report(),
              HasSubstr("Problem: 'DIMM.Socket.Z9' is neither the name nor the label of a "
                        "device, now or in the saved state."));
  EXPECT_FALSE(Files().Has(kSecond));
}

}  // namespace
}  // namespace tvq::test
