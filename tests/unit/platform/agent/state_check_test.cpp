/*
 * The section of the report about saved states, of snapshots that a test makes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/stored_state.h"
#include "tests/unit/platform/agent/volume_fixture.h"

#include "TvqPlatformPkg/src/agent/state_check.h"

namespace tvq::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using tvqplatform::StateEnd;
using tvqplatform::WhyNoRecord;

constexpr char kFolder[] = "\\TVQ\\machine-ABC1234\\";
constexpr char kSerial[] = "ABC1234";

std::string TextOf(const Bytes& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

class AgentStateCheck : public AgentVolumeTest {
 protected:
  AgentStateCheck() {
    mNow.Machine.SystemSerial = {reinterpret_cast<const UINT8*>(kSerial), sizeof(kSerial) - 1};
    mNow.NamingRules = tvqplatform::kNamingRules;
    AddDevice(u"DIMM.Socket.A1");
  }

  tvqplatform::Options& Options() { return mOptions; }
  tvqplatform::Snapshot& Now() { return mNow; }
  void AddDevice(const std::u16string& fqdd, WhyNoRecord why = WhyNoRecord::kHasRecord) {
    tvqplatform::SnapshotDevice device = {};
    device.Handle = 0xFFFF;
    device.ComponentClass = 6;
    device.Why = why;
    std::copy(fqdd.begin(), fqdd.end(), device.Fqdd);
    EXPECT_TRUE(mNow.Add(device));
  }
  // The state of a machine with this serial number, as a boot like this one would save it.
  static std::string StateOf(const std::string& serial, uint64_t generation, uint32_t options = 0) {
    return TextOf(State2{{OriginSection(7, options, 2, "0.9.0"), MachineSection({}, serial),
                          DeviceSection(u"DIMM.Socket.A1")},
                         generation}
                      .Encode());
  }

  // What the report says.
  std::string Run() {
    tvqplatform::RunReport report;
    report.UseConsole(false);
    tvqplatform::StateCheck check(Volume(), report, mOptions);
    mCompared = 0;
    check.Run(mNow,
              {[](VOID* context, const tvqplatform::Snapshot&) { ++*static_cast<int*>(context); },
               &mCompared});
    mOutcome = check.Outcome();
    mHasFailed = report.HasFailed();
    return std::string(report.Text().begin(), report.Text().end());
  }
  int Compared() const { return mCompared; }
  bool HasFailed() const { return mHasFailed; }
  const tvqplatform::StateOutcome& Outcome() const { return mOutcome; }

 private:
  tvqplatform::Options mOptions;
  tvqplatform::Snapshot mNow;
  tvqplatform::StateOutcome mOutcome;
  int mCompared = 0;
  bool mHasFailed = false;
};

TEST_F(AgentStateCheck, SaysWhatBecameOfTheState) {
  Run();
  EXPECT_EQ(Outcome().End, StateEnd::kFirst);
  EXPECT_FALSE(Outcome().IsCompared);
  EXPECT_EQ(Outcome().SavedTime, 0u);
  Run();
  EXPECT_EQ(Outcome().End, StateEnd::kNone) << "the first one stays the one that counts";
  EXPECT_TRUE(Outcome().IsCompared);
  Options().Accept = true;
  EXPECT_THAT(Run(), HasSubstr("State: accepted; it is what was saved already\n"));
  EXPECT_EQ(Outcome().End, StateEnd::kAccepted);
  AddDevice(u"DIMM.Socket.A2");
  Run();
  EXPECT_EQ(Outcome().End, StateEnd::kAccepted);
  EXPECT_TRUE(Files().Has(kFolder + std::string("state-2.bin")));
}

TEST_F(AgentStateCheck, TellsWhenTheStateWasSaved) {
  Files().Put(kFolder + std::string("state-1.bin"), StateOf(kSerial, 1));
  Run();
  EXPECT_EQ(Outcome().SavedTime, 7u);
}

TEST_F(AgentStateCheck, NamesDevicesWithoutARecord) {
  AddDevice(u"X", WhyNoRecord::kRefused);
  AddDevice(u"", WhyNoRecord::kRefused);
  const std::string report = Run();
  EXPECT_THAT(report, HasSubstr("\nSaved without: X, no record"));
  EXPECT_THAT(report, HasSubstr("\nSaved without: a device without a name, no record"));
}

// --- The folder ---

TEST_F(AgentStateCheck, TakesTheFolderThatItIsTold) {
  Options().State[0] = 'g';
  Run();
  EXPECT_TRUE(Files().Has("\\TVQ\\g\\state-1.bin"));
}

TEST_F(AgentStateCheck, LooksForStatesOfVersionOneWhereNoFolderIsTold) {
  Files().Put("\\TVQ\\state-a.bin", TextOf(State{.devices = {{u"DIMM.Socket.A1", {}}}}.Encode()));
  EXPECT_THAT(Run(), HasSubstr("State: \\TVQ\\state-a.bin, saved "));
  EXPECT_EQ(Compared(), 1);
  Options().State[0] = 'g';
  EXPECT_THAT(Run(), Not(HasSubstr("state-a.bin")));
  EXPECT_EQ(Compared(), 0);
}

// --- States of version 1 ---

TEST_F(AgentStateCheck, ComparesAStateOfVersionOneWhateverTheOptions) {
  Files().Put("\\TVQ\\state-a.bin", TextOf(State{.devices = {{u"DIMM.Socket.A1", {}}}}.Encode()));
  Now().Options = tvqplatform::kSnapshotAsIs;
  EXPECT_THAT(Run(), Not(HasSubstr("not compared")));
  EXPECT_EQ(Compared(), 1);
}

TEST_F(AgentStateCheck, SaysOfNoStateOfVersionOneThatNothingTellsTheMachine) {
  Files().Put("\\TVQ\\state-a.bin", TextOf(State{.devices = {{u"DIMM.Socket.A1", {}}}}.Encode()));
  EXPECT_THAT(Run(), Not(HasSubstr("nothing in the table tells")));
}

TEST_F(AgentStateCheck, AcceptsNoSingleDeviceIntoAStateOfVersionOne) {
  Files().Put("\\TVQ\\state-a.bin", TextOf(State{.devices = {{u"DIMM.Socket.A1", {}}}}.Encode()));
  Options().Accept = true;
  Options().NameCount = 1;
  Options().Names[0][0] = 'X';
  EXPECT_THAT(Run(), HasSubstr("Problem: 'X' cannot be accepted alone: the state was saved by an "
                               "earlier version; accept all.\n"));
}

// --- States that are not compared ---

TEST_F(AgentStateCheck, ComparesAStateThatNothingTellsOfWhichMachineItIs) {
  Now().Machine = {};
  Files().Put(
      "\\TVQ\\machine-without-number\\state-1.bin",
      TextOf(State2{
          {OriginSection(0, 0, 2, ""), MachineSection(), DeviceSection(u"DIMM.Socket.A1")}, 1}
                 .Encode()));
  EXPECT_THAT(Run(), HasSubstr("State: nothing in the table tells this machine from others"));
  EXPECT_EQ(Compared(), 1);
}

TEST_F(AgentStateCheck, PutsAStateBesideOneOfOtherOptionsWhereThatIsAskedFor) {
  Files().Put(kFolder + std::string("state-1.bin"), StateOf(kSerial, 1, 3));
  EXPECT_THAT(Run(), HasSubstr("Problem: the state was saved with the table as it is and what "
                               "names the machine masked, and this boot is with the table made fit "
                               "for the driver: not compared.\n"));
  EXPECT_EQ(Compared(), 0);
  Options().Accept = true;
  Run();
  EXPECT_EQ(Compared(), 0);
  EXPECT_TRUE(Files().Has(kFolder + std::string("state-2.bin")));
}

TEST_F(AgentStateCheck, SaysWhyANewerStateCannotBeRead) {
  Files().Put(kFolder + std::string("state-1.bin"), StateOf(kSerial, 1));
  Files().Put(kFolder + std::string("state-2.bin"), StateOf(kSerial, 2));
  Files().Fail(FileCall::kRead, EFI_DEVICE_ERROR, kFolder + std::string("state-2.bin"));
  EXPECT_THAT(Run(), HasSubstr("Problem: \\TVQ\\machine-ABC1234\\state-2.bin cannot be read: "
                               "Device Error.\n"));
  EXPECT_EQ(Compared(), 1);
}

// --- Memory ---

TEST_F(AgentStateCheck, SavesNothingThatItHadNoMemoryToCompare) {
  AddDevice(u"DIMM.Socket.A2");
  Options().Accept = true;
  for (uint64_t n = 1;; ++n) {
    Files().RemoveFolder("\\TVQ\\machine-ABC1234");
    Files().Put(kFolder + std::string("state-1.bin"), StateOf(kSerial, 1));
    Firmware().Memory().FailAllocation(n, host::images::agent);
    const std::string report = Run();
    const bool hasFailed = Firmware().Memory().FailedAllocations() == n;
    Firmware().Memory().StopFailing();
    EXPECT_TRUE(Outcome().IsCompared || Outcome().End == StateEnd::kNone) << n << report;
    EXPECT_EQ(Outcome().IsCompared, Compared() == 1) << n;
    EXPECT_THAT(Files().Get(kFolder + std::string("state-1.bin")), StateOf(kSerial, 1)) << n;
    if (!hasFailed) {
      EXPECT_GT(n, 10u);
      EXPECT_EQ(Outcome().End, StateEnd::kAccepted);
      break;
    }
  }
}

}  // namespace
}  // namespace tvq::test
