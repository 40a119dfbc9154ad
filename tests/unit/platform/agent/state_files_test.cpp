/*
 * The agent's state files: which of them is the current one, how many stay, and that whatever goes wrong while a new state is
 * saved, the one before it stays whole.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/fake_volume.h"
#include "tests/unit/platform/agent/stored_state.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/state_files.h"

extern "C" {
#include <Protocol/LoadedImage.h>
}

namespace tvq::test {
namespace {

using testing::AnyOf;
using testing::ElementsAre;
using tvqplatform::SaveResult;
using tvqplatform::Snapshot;
using tvqplatform::StateDefect;
using tvqplatform::StateFiles;

constexpr char kMachineFolder[] = "\\TVQ\\machine-X\\";
constexpr char kStateA[] = "\\TVQ\\state-a.bin";
constexpr char kStateB[] = "\\TVQ\\state-b.bin";
constexpr size_t kLargestFile = 16 << 20;
// Files that are no states, whatever number one reads into their names.
constexpr const char* kOtherNames[] = {
    "state-101.bin.old", "state-.bin",    "state-1000000000.bin", "state-0.bin",
    "xstate-102.bin",    "state-10x.bin", "state--1.bin",         "107.bin",
    "state-108",         "state-12/.bin", "state-12:.bin",        "state-bin",
    "STATE_109.BIN",     "tate-110.bin"};
constexpr size_t kEndSize = 16;

std::string TextOfBytes(const Bytes& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

std::string PathOf(uint64_t number) {
  return kMachineFolder + ("state-" + std::to_string(number)) + ".bin";
}

// A state of one device without blobs, as it is saved.
std::string StateText(const std::u16string& fqdd, uint64_t generation, uint64_t time = 0) {
  return TextOfBytes(
      State2{{OriginSection(time, 0, 0, ""), MachineSection(), DeviceSection(fqdd)}, generation}
          .Encode());
}
std::string FirstVersion(const std::u16string& fqdd, uint64_t generation) {
  return TextOfBytes(State({.devices = {{fqdd, {}}}, .generation = generation}).Encode());
}

class AgentStateFiles : public AgentTest {
 protected:
  AgentStateFiles() : mFiles(Firmware()) {
    VOID* loaded = nullptr;
    EXPECT_EQ(
        Firmware().BootServices()->HandleProtocol(Image(), &gEfiLoadedImageProtocolGuid, &loaded),
        EFI_SUCCESS);
    static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(loaded)->DeviceHandle = mFiles.Device();
  }

  FakeVolume& Files() { return mFiles; }
  void PutStates(std::initializer_list<uint64_t> numbers) {
    for (const uint64_t number : numbers) {
      Files().Put(PathOf(number), StateText(u"old", number));
    }
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const std::string& path : mFiles.Paths()) {
      names.push_back(path.substr(path.rfind('\\') + 1));
    }
    return names;
  }

  struct Loaded {
    EFI_STATUS status;
    std::string device;  // the first one
    UINT64 generation;
    std::vector<std::pair<uint32_t, StateDefect>> skipped;

    bool operator==(const Loaded& other) const {
      return status == other.status && device == other.device && generation == other.generation &&
             skipped == other.skipped;
    }
  };
  // What an agent finds that starts now.
  Loaded Load(EFI_STATUS (StateFiles::*load)() = &StateFiles::Load) {
    tvqplatform::Volume volume;
    EXPECT_EQ(volume.Open(Image()), EFI_SUCCESS);
    StateFiles files(volume, Wide(u"\\TVQ\\machine-X"));
    Loaded loaded = {(files.*load)(), "", 0, {}};
    for (const tvqplatform::SkippedState& skipped : files.Skipped()) {
      loaded.skipped.emplace_back(skipped.Number, skipped.Defect);
    }
    mIsFirst = files.IsFirst();
    EXPECT_EQ(files.HasState(), !EFI_ERROR(loaded.status));
    if (files.HasState()) {
      loaded.device = Utf8(files.Current().Content.Devices[0].Fqdd);
      loaded.generation = files.Current().Generation;
    }
    return loaded;
  }
  Loaded LoadFirstVersion() { return Load(&StateFiles::LoadFirstVersion); }
  bool IsFirst() const { return mIsFirst; }

  // What becomes of saving a device's state, by an agent that has loaded what is there.
  // The allocation of that number fails while it is saved.
  SaveResult Save(const std::u16string& fqdd, UINTN kept = 10, uint64_t time = 0,
                  uint64_t failed = 0) {
    tvqplatform::Volume volume;
    mStatus = volume.Open(Image());
    if (EFI_ERROR(mStatus)) {
      return SaveResult::kFailed;
    }
    StateFiles files(volume, Wide(u"\\TVQ\\machine-X"));
    static_cast<void>(files.Load());  // There need be none.
    Snapshot snapshot;
    tvqplatform::SnapshotDevice device = {};
    device.Handle = 0xFFFF;
    device.ComponentClass = 6;
    std::copy(fqdd.begin(), fqdd.end(), device.Fqdd);
    EXPECT_TRUE(snapshot.Add(device));
    snapshot.Time = time;
    if (failed != 0) {
      Firmware().Memory().FailAllocation(failed, host::images::agent);
    }
    const SaveResult result = files.Save(snapshot, kept, mStatus);
    Firmware().Memory().StopFailing();
    return result;
  }
  EFI_STATUS SaveStatus() const { return mStatus; }
  EFI_HANDLE Image() { return Firmware().HandleOf(host::images::agent); }

 private:
  FakeVolume mFiles;
  EFI_STATUS mStatus = EFI_SUCCESS;
  bool mIsFirst = false;
};

// --- Which state is the current one ---

TEST_F(AgentStateFiles, HoldNoStateWhenThereAreNone) {
  EXPECT_EQ(Load(), (Loaded{EFI_NOT_FOUND, "", 0, {}}));
  EXPECT_TRUE(IsFirst());
  Files().Put(std::string(kMachineFolder) + "other.bin", "x");
  EXPECT_EQ(Load(), (Loaded{EFI_NOT_FOUND, "", 0, {}}));
}

TEST_F(AgentStateFiles, AreNoneOfOtherNames) {
  for (const char* name : kOtherNames) {
    Files().Put(kMachineFolder + std::string(name), "x");
  }
  EXPECT_EQ(Load(), (Loaded{EFI_NOT_FOUND, "", 0, {}}));
  EXPECT_TRUE(IsFirst());
}

TEST_F(AgentStateFiles, AreOneMoreWithEachStateThatIsSaved) {
  ASSERT_EQ(Save(u"first"), SaveResult::kSaved);
  EXPECT_EQ(Files().Get(PathOf(1)), StateText(u"first", 1));
  ASSERT_EQ(Save(u"second"), SaveResult::kSaved);
  EXPECT_EQ(Files().Get(PathOf(1)), StateText(u"first", 1));
  EXPECT_EQ(Files().Get(PathOf(2)), StateText(u"second", 2));
  EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "second", 2, {}}));
}

TEST_F(AgentStateFiles, AreKnownByTheirNumbers) {
  PutStates({9, 10, 100});
  EXPECT_EQ(Load().generation, 100u);
  for (const char* name : kOtherNames) {
    Files().Put(kMachineFolder + std::string(name), "x");
  }
  EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "old", 100, {}}));
  Files().Put(kMachineFolder + std::string("STATE-101.BIN"), StateText(u"new", 101));
  EXPECT_EQ(Load().generation, 101u) << "FAT may keep short names in capitals";
}

TEST_F(AgentStateFiles, AreNotWrittenAgainWhereNothingButTheTimeIsOther) {
  ASSERT_EQ(Save(u"x", 10, 1000), SaveResult::kSaved);
  EXPECT_EQ(Save(u"x", 10, 2000), SaveResult::kUnchanged);
  EXPECT_EQ(SaveStatus(), EFI_SUCCESS);
  EXPECT_THAT(Names(), ElementsAre("state-1.bin"));
  EXPECT_EQ(Save(u"y", 10, 2000), SaveResult::kSaved);
}

TEST_F(AgentStateFiles, StayUpToHowManyAreWanted) {
  for (int i = 0; i < 12; ++i) {
    ASSERT_EQ(Save(u"device " + std::u16string(1, static_cast<char16_t>(u'a' + i))),
              SaveResult::kSaved);
  }
  EXPECT_EQ(Names().size(), 10u);
  EXPECT_FALSE(Files().Has(PathOf(2)));
  EXPECT_TRUE(Files().Has(PathOf(3)));
  ASSERT_EQ(Save(u"last", 1), SaveResult::kSaved);
  EXPECT_THAT(Names(), ElementsAre("state-13.bin"));
}

TEST_F(AgentStateFiles, StayWhereANewOneCannotBeSaved) {
  PutStates({1, 2, 3});
  Files().Fail(FileCall::kWrite, EFI_WRITE_PROTECTED);
  EXPECT_EQ(Save(u"new", 1), SaveResult::kFailed);
  EXPECT_EQ(SaveStatus(), EFI_WRITE_PROTECTED);
  Files().Recover();
  EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "old", 3, {}}));
  EXPECT_EQ(Names().size(), 3u);
}

TEST_F(AgentStateFiles, HaveNoNumberBehindTheHighest) {
  PutStates({999999999});
  EXPECT_EQ(Save(u"new"), SaveResult::kFailed);
  EXPECT_EQ(SaveStatus(), EFI_VOLUME_FULL);
}

// --- What is no state ---

TEST_F(AgentStateFiles, ThatWereCutOffLetTheOneBeforeCount) {
  const std::string whole = StateText(u"new", 4);
  for (size_t size = 0; size < whole.size(); ++size) {
    PutStates({2, 3});
    Files().Put(PathOf(4), whole.substr(0, size));
    EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "old", 3, {{4, StateDefect::kCutOff}}})) << size;
  }
  Files().Put(PathOf(4), std::string(whole.size(), 'x'));
  EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "old", 3, {{4, StateDefect::kCutOff}}}))
      << "what the volume had there before";
  Files().Put(PathOf(4), StateText(u"old", 3));
  EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "old", 3, {{4, StateDefect::kCutOff}}}))
      << "a whole state that was removed, in its clusters";
  ASSERT_EQ(Save(u"new"), SaveResult::kSaved);
  EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "new", 5, {}}));
}

TEST_F(AgentStateFiles, ThatAreTheFirstAndWereCutOffAreAsGoodAsNone) {
  Files().Put(PathOf(1), StateText(u"new", 1).substr(0, 40));
  EXPECT_EQ(Load(), (Loaded{EFI_NOT_FOUND, "", 0, {{1, StateDefect::kCutOff}}}));
  EXPECT_TRUE(IsFirst());
}

TEST_F(AgentStateFiles, ThatAreDamagedAreToldFromThoseThatWereCutOff) {
  PutStates({3});
  std::string damaged = StateText(u"new", 4);
  damaged[40] ^= 1;
  Files().Put(PathOf(4), damaged);
  EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "old", 3, {{4, StateDefect::kDamaged}}}));
  damaged = StateText(u"new", 4);
  damaged[0] ^= 1;
  Files().Put(PathOf(4), damaged);
  EXPECT_EQ(Load().skipped[0].second, StateDefect::kNoState);
  Files().Put(PathOf(4), TextOfBytes(State{.version = 3}.Encode()));
  EXPECT_EQ(Load().skipped[0].second, StateDefect::kNewer);
  Files().Remove(PathOf(3));
  EXPECT_EQ(Load().status, EFI_NOT_FOUND);
  EXPECT_FALSE(IsFirst());
}

TEST_F(AgentStateFiles, OfWhichOnlyTheNewestMayHaveBeenCutOff) {
  Files().Put(PathOf(1), StateText(u"old", 1));
  Files().Put(PathOf(2), StateText(u"old", 2).substr(0, 50));
  Files().Put(PathOf(3), "");
  EXPECT_EQ(
      Load(),
      (Loaded{EFI_SUCCESS, "old", 1, {{3, StateDefect::kCutOff}, {2, StateDefect::kDamaged}}}));
}

TEST_F(AgentStateFiles, WithTheNameOfAnotherAreDamaged) {
  PutStates({3});
  Files().Put(PathOf(2), StateText(u"old", 7));
  Files().Remove(PathOf(3));
  Files().Put(PathOf(3), StateText(u"old", 7));
  EXPECT_EQ(Load().skipped, (std::vector<std::pair<uint32_t, StateDefect>>{
                                {3, StateDefect::kCutOff}, {2, StateDefect::kDamaged}}));
}

TEST_F(AgentStateFiles, ThatCannotBeReadAreNotTakenForMissing) {
  PutStates({5});
  Files().Fail(FileCall::kRead, EFI_DEVICE_ERROR, PathOf(5));
  EXPECT_EQ(Load(), (Loaded{EFI_NOT_FOUND, "", 0, {{5, StateDefect::kDamaged}}}));
  EXPECT_FALSE(IsFirst());
  Files().Recover();
  Files().Fail(FileCall::kRead, EFI_DEVICE_ERROR, "\\TVQ\\machine-X");
  EXPECT_EQ(Load().status, EFI_DEVICE_ERROR);
  Files().Recover();
  Files().Fail(FileCall::kOpen, EFI_ACCESS_DENIED, "\\TVQ\\machine-X");
  EXPECT_EQ(Load().status, EFI_ACCESS_DENIED);
}

TEST_F(AgentStateFiles, HaveNineDigitsAtMost) {
  PutStates({999999999});
  EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "old", 999999999, {}}));
  EXPECT_EQ(Save(u"new"), SaveResult::kFailed);
  EXPECT_EQ(SaveStatus(), EFI_VOLUME_FULL);
  Files().Remove(PathOf(999999999));
  PutStates({999999998});
  EXPECT_EQ(Save(u"new", 1), SaveResult::kSaved);
  EXPECT_THAT(Names(), ElementsAre("state-999999999.bin"));
  Files().Put(PathOf(999999999), StateText(u"new", 999999999).substr(0, 40));
  EXPECT_EQ(Load(), (Loaded{EFI_NOT_FOUND, "", 0, {{999999999, StateDefect::kCutOff}}}));
}

TEST_F(AgentStateFiles, MayBeAsLargeAsSixteenMegabytes) {
  Files().Put(PathOf(1), std::string(kLargestFile, 'x'));
  EXPECT_EQ(Load().skipped[0].second, StateDefect::kCutOff) << "it was read";
  Files().Put(PathOf(1), std::string(kLargestFile + 1, 'x'));
  EXPECT_EQ(Load().skipped[0].second, StateDefect::kDamaged);
}

// --- Files of version 1 ---

TEST_F(AgentStateFiles, OfVersionOneAreReadFromWhicheverFileIsNewer) {
  const struct {
    uint64_t a;
    uint64_t b;
    Loaded expected;
  } kCases[] = {
      {1, 2, {EFI_SUCCESS, "b", 2, {}}},
      {2, 1, {EFI_SUCCESS, "a", 2, {}}},
      {7, 7, {EFI_SUCCESS, "a", 7, {}}},
      {0xFFFFFFFF, 0x100000000, {EFI_SUCCESS, "b", 0x100000000, {}}},
  };
  for (const auto& [a, b, expected] : kCases) {
    Files().Put(kStateA, FirstVersion(u"a", a));
    Files().Put(kStateB, FirstVersion(u"b", b));
    EXPECT_EQ(LoadFirstVersion(), expected) << a << " and " << b;
  }
  Files().Put(kStateB, "x");
  EXPECT_EQ(LoadFirstVersion().device, "a");
  Files().Remove(kStateA);
  EXPECT_EQ(LoadFirstVersion().status, EFI_VOLUME_CORRUPTED);
  Files().Remove(kStateB);
  EXPECT_EQ(LoadFirstVersion().status, EFI_NOT_FOUND);
  Files().Put(kStateA, "x");
  EXPECT_EQ(LoadFirstVersion().status, EFI_VOLUME_CORRUPTED);
}

TEST_F(AgentStateFiles, OfVersionOneMayBeAsLarge) {
  Files().Put(kStateA, std::string(kLargestFile, 'x'));
  EXPECT_EQ(LoadFirstVersion().status, EFI_VOLUME_CORRUPTED) << "it was read";
  Files().Put(kStateA, std::string(kLargestFile + 1, 'x'));
  EXPECT_EQ(LoadFirstVersion().status, EFI_BAD_BUFFER_SIZE);
}

TEST_F(AgentStateFiles, OfVersionOneAreNeverTheOlderOnesForWantOfMemory) {
  for (const auto& [a, b] : {std::pair<uint64_t, uint64_t>{8, 7}, {7, 8}}) {
    Files().Put(kStateA, FirstVersion(u"a", a));
    Files().Put(kStateB, FirstVersion(u"b", b));
    const uint64_t before = Firmware().Memory().FailedAllocations();
    uint64_t n = 0;
    do {
      Firmware().Memory().FailAllocation(++n, host::images::agent);
      const Loaded loaded = LoadFirstVersion();
      Firmware().Memory().StopFailing();
      if (loaded.status != EFI_OUT_OF_RESOURCES) {
        EXPECT_EQ(loaded, (Loaded{EFI_SUCCESS, a > b ? "a" : "b", 8, {}})) << n;
      }
    } while (Firmware().Memory().FailedAllocations() == before + n);
    EXPECT_GE(n, 4u);
  }
}

// --- What goes wrong while a state is saved ---

TEST_F(AgentStateFiles, ReportAFailureOfEveryCallThatSavingMakes) {
  const struct {
    FileCall call;
    EFI_STATUS status;
  } kFailures[] = {{FileCall::kOpen, EFI_ACCESS_DENIED},
                   {FileCall::kWrite, EFI_WRITE_PROTECTED},
                   {FileCall::kFlush, EFI_DEVICE_ERROR},
                   {FileCall::kRead, EFI_DEVICE_ERROR}};
  PutStates({5});
  for (const auto& [call, status] : kFailures) {
    Files().Fail(call, status, PathOf(6));
    EXPECT_EQ(Save(u"new"), SaveResult::kFailed) << static_cast<int>(call);
    EXPECT_EQ(SaveStatus(), status) << static_cast<int>(call);
    Files().Recover();
    EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "old", 5, {}})) << static_cast<int>(call);
  }
}

TEST_F(AgentStateFiles, ThatCouldNotBeRemovedAfterAFailureWereCutOff) {
  PutStates({5});
  Files().Fail(FileCall::kDelete, EFI_WARN_DELETE_FAILURE);
  Files().LimitWrites(40);
  EXPECT_EQ(Save(u"new"), SaveResult::kFailed);
  EXPECT_EQ(SaveStatus(), EFI_VOLUME_FULL);
  Files().Recover();
  EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "old", 5, {{6, StateDefect::kCutOff}}}));
}

TEST_F(AgentStateFiles, HaveTheirEndsWrittenWhenAllElseIsOnTheVolume) {
  const std::string whole = StateText(u"new", 1);
  Files().Fail(FileCall::kFlush, EFI_DEVICE_ERROR);
  Files().Fail(FileCall::kDelete, EFI_WARN_DELETE_FAILURE);
  EXPECT_EQ(Save(u"new"), SaveResult::kFailed);
  EXPECT_EQ(Files().Get(PathOf(1)), whole.substr(0, whole.size() - kEndSize));
}

TEST_F(AgentStateFiles, AreSavedWholeOrNotAtAllForWantOfMemory) {
  uint64_t n = 0;
  do {
    Files().RemoveFolder("\\TVQ\\machine-X");
    PutStates({5});
    if (Save(u"new", 1, 0, ++n) == SaveResult::kFailed) {
      EXPECT_EQ(SaveStatus(), EFI_OUT_OF_RESOURCES) << n;
      EXPECT_THAT(Names(), ElementsAre("state-5.bin")) << n;
    } else {
      EXPECT_EQ(SaveStatus(), EFI_SUCCESS) << n;
      EXPECT_THAT(Names(), ElementsAre("state-6.bin")) << n;
    }
  } while (Firmware().Memory().FailedAllocations() == n);
  EXPECT_GE(n, 4u);
}

TEST_F(AgentStateFiles, ReportAStateThatReadsBackOtherwise) {
  Files().DamageWrites(PathOf(1));
  EXPECT_EQ(Save(u"new"), SaveResult::kFailed);
  EXPECT_EQ(SaveStatus(), EFI_DEVICE_ERROR);
}

TEST_F(AgentStateFiles, AreSavedAlsoWhereAnOldOneCannotBeRemoved) {
  PutStates({1, 2});
  Files().Fail(FileCall::kDelete, EFI_WARN_DELETE_FAILURE);
  EXPECT_EQ(Save(u"new", 1), SaveResult::kSaved);
  EXPECT_EQ(Names().size(), 3u);
}

TEST_F(AgentStateFiles, NeedMemoryAndLeaveNone) {
  PutStates({5, 6});
  Files().Put(PathOf(7), "x");
  const size_t before = AgentBlocks();
  uint64_t n = 0;
  do {
    Firmware().Memory().FailAllocation(++n, host::images::agent);
    const Loaded loaded = Load();
    Firmware().Memory().StopFailing();
    // Were it not found, a new state would be saved in its place.
    if (loaded.status != EFI_OUT_OF_RESOURCES) {
      EXPECT_EQ(loaded, (Loaded{EFI_SUCCESS, "old", 6, {{7, StateDefect::kCutOff}}})) << n;
    }
    EXPECT_EQ(AgentBlocks(), before) << n;
  } while (Firmware().Memory().FailedAllocations() == n);
  EXPECT_GE(n, 4u);
}

// Power may go at any moment: at the next start there is a whole state, the new one or the one before.
TEST_F(AgentStateFiles, HoldAWholeStateWhateverMomentThePowerGoes) {
  bool wasCut = true;
  int kept = 0;
  uint64_t moment = 0;
  while (wasCut) {
    for (const std::string& path : Files().Paths()) {
      Files().Remove(path);
    }
    PutStates({4, 5});
    Files().CutPowerDuring(++moment);
    const SaveResult saved = Save(u"new", 2);
    wasCut = Files().Recover();
    const Loaded loaded = Load();
    EXPECT_EQ(loaded.status, EFI_SUCCESS) << moment;
    EXPECT_THAT(loaded.device, AnyOf("old", "new")) << moment;
    EXPECT_TRUE(saved == SaveResult::kFailed || loaded.generation == 6)
        << moment << ": said to be saved";
    for (const auto& [number, defect] : loaded.skipped) {
      EXPECT_EQ(number, 6u) << moment;
      EXPECT_EQ(defect, StateDefect::kCutOff) << moment;
    }
    kept += loaded.device == "old" ? 1 : 0;
  }
  EXPECT_GE(kept, 6);
  EXPECT_GE(moment, 12u);
}

}  // namespace
}  // namespace tvq::test
