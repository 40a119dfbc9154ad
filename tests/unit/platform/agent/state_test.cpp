/*
 * Saved states of version 1: which files are one, and what is read of the devices.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/agent/state_bytes.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/state.h"

namespace tvq::test {
namespace {

using tvqplatform::SavedState;

const StateDevice kModule = {u"DIMM.Socket.A1", {1, 2, 3}, 6};
const StateDevice kProcessor = {u"CPU.Socket.1", {4}, 5};

class ReadingAState : public AgentTest {
 protected:
  EFI_STATUS Read(const State& state) { return ReadBytes(state.Encode()); }
  EFI_STATUS ReadBytes(const Bytes& bytes) {
    mFile = bytes;
    return mSaved.Read(View(mFile));
  }
  const SavedState& Saved() const { return mSaved; }

 private:
  Bytes mFile;
  SavedState mSaved;
};

TEST_F(ReadingAState, GivesEveryDeviceWithItsNameClassAndData) {
  ASSERT_EQ(Read({.devices = {kModule, kProcessor}, .generation = 0x1122334455667788}),
            EFI_SUCCESS);
  EXPECT_EQ(Saved().Generation(), 0x1122334455667788u);
  ASSERT_EQ(Saved().Size(), 2u);
  EXPECT_EQ(Utf8(Saved()[0].Fqdd), "DIMM.Socket.A1");
  EXPECT_EQ(Saved()[0].ComponentClass, 6u);
  EXPECT_EQ(Copy(Saved()[0].Data), Bytes({1, 2, 3}));
  EXPECT_EQ(Utf8(Saved()[1].Fqdd), "CPU.Socket.1");
  EXPECT_EQ(Saved()[1].ComponentClass, 5u);
  EXPECT_EQ(Copy(Saved()[1].Data), Bytes({4}));
}

TEST_F(ReadingAState, TakesDevicesWithoutNameOrData) {
  ASSERT_EQ(Read({.devices = {{u"", {9}}, {u"x", {}}, {u"", {}}}}), EFI_SUCCESS);
  ASSERT_EQ(Saved().Size(), 3u);
  EXPECT_EQ(Utf8(Saved()[0].Fqdd), "");
  EXPECT_EQ(Copy(Saved()[0].Data), Bytes({9}));
  EXPECT_EQ(Utf8(Saved()[1].Fqdd), "x");
  EXPECT_EQ(Saved()[1].Data.Size(), 0u);
}

TEST_F(ReadingAState, TakesAStateWithoutDevices) {
  EXPECT_EQ(Read({}), EFI_SUCCESS);
  EXPECT_EQ(Saved().Size(), 0u);
}

TEST_F(ReadingAState, TakesNamesThatLeaveRoomForATerminator) {
  const std::u16string longest(31, u'x');
  ASSERT_EQ(Read({.devices = {{longest, {7}}}}), EFI_SUCCESS);
  EXPECT_EQ(Utf8(Saved()[0].Fqdd), std::string(31, 'x'));
  EXPECT_EQ(Read({.devices = {{longest + u'x', {7}}}}), EFI_VOLUME_CORRUPTED);
}

TEST_F(ReadingAState, ForgetsWhatItReadBefore) {
  ASSERT_EQ(Read({.devices = {kModule, kProcessor}}), EFI_SUCCESS);
  ASSERT_EQ(Read({.devices = {kProcessor}}), EFI_SUCCESS);
  ASSERT_EQ(Saved().Size(), 1u);
  EXPECT_EQ(Utf8(Saved()[0].Fqdd), "CPU.Socket.1");
}

TEST_F(ReadingAState, RefusesWhatIsNotWholeOrNotConsistent) {
  const struct {
    const char* what;
    State state;
  } kDamages[] = {
      {"another magic", {.devices = {kModule}, .magic = "TVQSTATe"}},
      {"another magic", {.devices = {kModule}, .magic = "tVQSTATE"}},
      {"a byte behind the last device", {.devices = {kModule}, .behind = {0}}},
      {"bytes and no device", {.devices = {}, .behind = {0}}},
      {"a device more than there are", {.devices = {kModule}, .statedCount = 2}},
      {"a device less than there are", {.devices = {kModule, kProcessor}, .statedCount = 1}},
      {"half a device's header", {.devices = {}, .behind = Bytes(11), .statedCount = 1}},
      {"a longer body than there is", {.devices = {kModule}, .statedBody = 44}},
      {"a shorter body than there is", {.devices = {kModule}, .statedBody = 42}},
      {"a name that goes on behind the end", {.devices = {{u"CPU", {}, 5, /*statedLength=*/4}}}},
      {"a name that ends behind the end", {.devices = {{u"CPU", {1}, 5, /*statedLength=*/4}}}},
      {"a header that no name follows, and room for none",
       {.devices = {{u"", {}, 5, /*statedLength=*/32}}}},
      {"a header that no data follow", {.devices = {{u"CPU", {}, 5, std::nullopt, 1}}}},
      {"data that go on behind the end",
       {.devices = {{u"CPU", {1, 2}, 5, std::nullopt, /*statedSize=*/3}}}},
      {"data that stop before the end",
       {.devices = {{u"CPU", {1, 2}, 5, std::nullopt, /*statedSize=*/1}}}},
      {"another checksum", {.devices = {kModule}, .statedCrc = 0x12345678}},
  };
  for (const auto& [what, state] : kDamages) {
    EXPECT_EQ(Read(state), EFI_VOLUME_CORRUPTED) << what;
  }
}

TEST_F(ReadingAState, RefusesAStateThatIsCutAnywhere) {
  const Bytes whole = State{.devices = {kModule, kProcessor}}.Encode();
  for (size_t size = 0; size < whole.size(); ++size) {
    EXPECT_EQ(ReadBytes(Bytes(whole.begin(), whole.begin() + size)), EFI_VOLUME_CORRUPTED) << size;
  }
}

TEST_F(ReadingAState, RefusesAStateWithAChangedBitAnywhereButInItsVersion) {
  const Bytes whole = State{.devices = {kModule, kProcessor}}.Encode();
  for (size_t bit = 0; bit < 8 * whole.size(); ++bit) {
    Bytes damaged = whole;
    damaged[bit / 8] ^= static_cast<uint8_t>(1 << (bit % 8));
    const bool isVersion = bit / 8 >= 8 && bit / 8 < 12;
    EXPECT_EQ(ReadBytes(damaged), isVersion ? EFI_INCOMPATIBLE_VERSION : EFI_VOLUME_CORRUPTED)
        << "bit " << bit;
  }
}

TEST_F(ReadingAState, TellsOfAnotherVersion) {
  for (const uint32_t version : {0u, 3u, 0x100u}) {
    EXPECT_EQ(Read({.devices = {kModule}, .version = version}), EFI_INCOMPATIBLE_VERSION);
  }
}

TEST_F(ReadingAState, ReportsExhaustedMemory) {
  Firmware().Memory().FailAllocation(1, host::images::agent);
  EXPECT_EQ(Read({.devices = {kModule}}), EFI_OUT_OF_RESOURCES);
}

TEST_F(ReadingAState, KeepsNoMemoryBehindItsEnd) {
  const size_t before = AgentBlocks();
  {
    SavedState saved;
    const Bytes bytes = State{.devices = {kModule}}.Encode();
    ASSERT_EQ(saved.Read(View(bytes)), EFI_SUCCESS);
    EXPECT_EQ(AgentBlocks(), before + 2);
  }
  EXPECT_EQ(AgentBlocks(), before);
}

}  // namespace
}  // namespace tvq::test
