/*
 * The agent's two state files: which of them is the current one, and that whatever goes wrong while a new state is saved, one
 * state stays whole.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/agent/fake_volume.h"
#include "tests/unit/platform/agent/state_bytes.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/state_files.h"

extern "C" {
#include <Protocol/LoadedImage.h>
}

namespace tvq::test {
namespace {

constexpr char kStateA[] = "\\TVQ\\state-a.bin";
constexpr char kStateB[] = "\\TVQ\\state-b.bin";
constexpr size_t kLargestFile = 16 << 20;

std::string Text(const Bytes& bytes) {
  return std::string(bytes.begin(), bytes.end());
}

// A state of one device without data.
std::string StateText(const std::u16string& fqdd, uint64_t generation) {
  return Text(State({.devices = {{fqdd, {}}}, .generation = generation}).Encode());
}

class AgentStateFiles : public AgentTest {
 protected:
  AgentStateFiles() : mFiles(Firmware()) {
    const EFI_HANDLE image = Firmware().HandleOf(host::images::agent);
    VOID* loaded = nullptr;
    EXPECT_EQ(
        Firmware().BootServices()->HandleProtocol(image, &gEfiLoadedImageProtocolGuid, &loaded),
        EFI_SUCCESS);
    static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(loaded)->DeviceHandle = mFiles.Device();
    mImage = image;
  }

  FakeVolume& Files() { return mFiles; }

  struct Loaded {
    EFI_STATUS status;
    std::string device;  // the first one
    UINT64 generation;

    bool operator==(const Loaded& other) const {
      return status == other.status && device == other.device && generation == other.generation;
    }
  };
  // What an agent finds that starts now.
  Loaded Load() {
    tvqplatform::Volume volume;
    EXPECT_EQ(volume.Open(mImage), EFI_SUCCESS);
    tvqplatform::StateFiles files(volume);
    const EFI_STATUS status = files.Load();
    const tvqplatform::SavedState& current = files.Current();
    return EFI_ERROR(status) ? Loaded{status, "", 0}
                             : Loaded{status, Utf8(current[0].Fqdd), current.Generation()};
  }
  // What becomes of saving a device's state, by an agent that has loaded what is there.
  EFI_STATUS Save(const std::u16string& fqdd) {
    const FakeRecord record(Firmware(), {.fqdd = fqdd, .getStatus = EFI_OUT_OF_RESOURCES});
    tvqplatform::Inventory inventory;
    EXPECT_EQ(inventory.Collect(), EFI_SUCCESS);
    tvqplatform::Volume volume;
    const EFI_STATUS opened = volume.Open(mImage);
    if (EFI_ERROR(opened)) {
      return opened;
    }
    tvqplatform::StateFiles files(volume);
    static_cast<void>(files.Load());  // There need be none.
    return files.Save(inventory);
  }

 private:
  FakeVolume mFiles;
  EFI_HANDLE mImage = nullptr;
};

// --- Which state is the current one ---

TEST_F(AgentStateFiles, HoldNoStateWhenThereAreNone) {
  EXPECT_EQ(Load(), (Loaded{EFI_NOT_FOUND, "", 0}));
}

TEST_F(AgentStateFiles, TakeTurns) {
  ASSERT_EQ(Save(u"first"), EFI_SUCCESS);
  EXPECT_EQ(Files().Paths(), std::vector<std::string>({kStateA}));
  EXPECT_EQ(Files().Get(kStateA), StateText(u"first", 1));
  ASSERT_EQ(Save(u"second"), EFI_SUCCESS);
  EXPECT_EQ(Files().Get(kStateA), StateText(u"first", 1));
  EXPECT_EQ(Files().Get(kStateB), StateText(u"second", 2));
  ASSERT_EQ(Save(u"third"), EFI_SUCCESS);
  EXPECT_EQ(Files().Get(kStateA), StateText(u"third", 3));
  EXPECT_EQ(Files().Get(kStateB), StateText(u"second", 2));
}

TEST_F(AgentStateFiles, HoldTheNewerStateInWhicheverFileItIs) {
  const struct {
    uint64_t a;
    uint64_t b;
    Loaded expected;
  } kCases[] = {
      {1, 2, {EFI_SUCCESS, "b", 2}},
      {2, 1, {EFI_SUCCESS, "a", 2}},
      {7, 7, {EFI_SUCCESS, "a", 7}},
      {0xFFFFFFFF, 0x100000000, {EFI_SUCCESS, "b", 0x100000000}},
  };
  for (const auto& [a, b, expected] : kCases) {
    Files().Put(kStateA, StateText(u"a", a));
    Files().Put(kStateB, StateText(u"b", b));
    EXPECT_EQ(Load(), expected) << a << " and " << b;
  }
}

TEST_F(AgentStateFiles, AreWrittenWhereTheCurrentStateIsNot) {
  Files().Put(kStateA, StateText(u"a", 5));
  Files().Put(kStateB, StateText(u"b", 6));
  ASSERT_EQ(Save(u"new"), EFI_SUCCESS);
  EXPECT_EQ(Files().Get(kStateA), StateText(u"new", 7));
  EXPECT_EQ(Files().Get(kStateB), StateText(u"b", 6));
}

TEST_F(AgentStateFiles, GiveTheOlderStateWhenTheNewerOneIsDamaged) {
  Files().Put(kStateA, StateText(u"a", 5));
  Files().Put(kStateB, StateText(u"b", 6).substr(1));
  EXPECT_EQ(Load(), (Loaded{EFI_SUCCESS, "a", 5}));
  ASSERT_EQ(Save(u"new"), EFI_SUCCESS);
  EXPECT_EQ(Files().Get(kStateA), StateText(u"a", 5));
  EXPECT_EQ(Files().Get(kStateB), StateText(u"new", 6));
}

TEST_F(AgentStateFiles, SayWhatIsWrongWhenNoneIsWhole) {
  const std::string later = Text(State{.version = 3}.Encode());
  const struct {
    const char* a;
    const char* b;
    EFI_STATUS expected;
  } kCases[] = {
      {"x", nullptr, EFI_VOLUME_CORRUPTED},
      {nullptr, "x", EFI_VOLUME_CORRUPTED},
      {later.c_str(), nullptr, EFI_VOLUME_CORRUPTED},  // cut at its first NUL
  };
  for (const auto& [a, b, expected] : kCases) {
    Files().Remove(kStateA);
    Files().Remove(kStateB);
    if (a != nullptr) {
      Files().Put(kStateA, a);
    }
    if (b != nullptr) {
      Files().Put(kStateB, b);
    }
    EXPECT_EQ(Load(), (Loaded{expected, "", 0}));
  }
  Files().Put(kStateB, later);
  EXPECT_EQ(Load().status, EFI_INCOMPATIBLE_VERSION);
}

TEST_F(AgentStateFiles, ThatCannotBeReadAreNotTakenForMissing) {
  Files().Put(kStateA, StateText(u"a", 5));
  Files().Fail(FileCall::kRead, EFI_DEVICE_ERROR);
  EXPECT_EQ(Load().status, EFI_DEVICE_ERROR);
  Files().Recover();
  Files().Fail(FileCall::kOpen, EFI_ACCESS_DENIED, kStateA);
  EXPECT_EQ(Load().status, EFI_ACCESS_DENIED);
}

TEST_F(AgentStateFiles, MayBeAsLargeAsSixteenMegabytes) {
  Files().Put(kStateA, std::string(kLargestFile, 'x'));
  EXPECT_EQ(Load().status, EFI_VOLUME_CORRUPTED);
  Files().Put(kStateA, std::string(kLargestFile + 1, 'x'));
  EXPECT_EQ(Load().status, EFI_BAD_BUFFER_SIZE);
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
  Files().Put(kStateA, StateText(u"a", 5));
  for (const auto& [call, status] : kFailures) {
    Files().Fail(call, status, kStateB);
    EXPECT_EQ(Save(u"new"), status) << static_cast<int>(call);
    Files().Recover();
    EXPECT_EQ(Files().Get(kStateA), StateText(u"a", 5)) << static_cast<int>(call);
    Files().Remove(kStateB);
  }
}

TEST_F(AgentStateFiles, ReportAVolumeThatTakesOnlyAPart) {
  Files().LimitWrites(40);
  EXPECT_EQ(Save(u"new"), EFI_VOLUME_FULL);
}

TEST_F(AgentStateFiles, ReportAStateThatReadsBackOtherwise) {
  Files().DamageWrites(kStateA);
  EXPECT_EQ(Save(u"new"), EFI_DEVICE_ERROR);
}

TEST_F(AgentStateFiles, ReportALongerFileThatCouldNotBeDeleted) {
  Files().Put(kStateA, StateText(u"a", 6));
  Files().Put(kStateB, StateText(u"a longer name than the new one", 5));
  Files().Fail(FileCall::kDelete, EFI_WARN_DELETE_FAILURE, kStateB);
  EXPECT_EQ(Save(u"new"), EFI_DEVICE_ERROR);
}

TEST_F(AgentStateFiles, NeedMemoryAndLeaveNone) {
  Files().Put(kStateA, StateText(u"a", 5));
  Files().Put(kStateB, StateText(u"b", 6));
  const size_t before = AgentBlocks();
  uint64_t n = 0;
  do {
    Firmware().Memory().FailAllocation(++n, host::images::agent);
    const EFI_STATUS status = Load().status;
    Firmware().Memory().StopFailing();
    // Were it not found, a new state would replace it.
    EXPECT_THAT(status, testing::AnyOf(EFI_SUCCESS, EFI_OUT_OF_RESOURCES)) << n;
    EXPECT_EQ(AgentBlocks(), before) << n;
  } while (Firmware().Memory().FailedAllocations() == n);
  EXPECT_GE(n, 4u);
}

TEST_F(AgentStateFiles, AreNotSavedWithoutMemory) {
  uint64_t failures = 0;
  for (EFI_STATUS status = EFI_ABORTED; status != EFI_SUCCESS; ++failures) {
    const FakeRecord record(Firmware(), {.getStatus = EFI_OUT_OF_RESOURCES});
    tvqplatform::Inventory inventory;
    ASSERT_EQ(inventory.Collect(), EFI_SUCCESS);
    tvqplatform::Volume volume;
    ASSERT_EQ(volume.Open(Firmware().HandleOf(host::images::agent)), EFI_SUCCESS);
    Firmware().Memory().FailAllocation(failures + 1, host::images::agent);
    status = tvqplatform::StateFiles(volume).Save(inventory);
    Firmware().Memory().StopFailing();
    EXPECT_THAT(status, testing::AnyOf(EFI_SUCCESS, EFI_OUT_OF_RESOURCES)) << failures;
  }
  EXPECT_GE(failures, 2u);
}

// Power may go at any moment: at the next start one of the two states is whole.
TEST_F(AgentStateFiles, HoldAWholeStateWhateverMomentThePowerGoes) {
  const FakeRecord record(Firmware(), {});
  bool wasCut = true;
  int kept = 0;
  for (uint64_t moment = 1; wasCut; ++moment) {
    Files().Put(kStateA, StateText(u"old", 5));
    Files().Put(kStateB, StateText(u"older, and longer than the new one", 4));
    Files().CutPowerDuring(moment);
    const EFI_STATUS saved = Save(u"new");
    wasCut = Files().Recover();
    const Loaded loaded = Load();
    EXPECT_EQ(loaded.status, EFI_SUCCESS) << moment;
    EXPECT_THAT(loaded.device, testing::AnyOf("old", "DIMM.Socket.A1", "new")) << moment;
    EXPECT_TRUE(EFI_ERROR(saved) || loaded.generation == 6) << moment << ": said to be saved";
    kept += loaded.device == "old" ? 1 : 0;
  }
  EXPECT_GE(kept, 3);
}

}  // namespace
}  // namespace tvq::test
