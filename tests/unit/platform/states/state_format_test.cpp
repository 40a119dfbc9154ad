/*
 * Saved states of version 2 as bytes: what is read of them, which files are none, and that what is written reads back as it was.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fstream>
#include <iterator>

#include "tests/unit/platform/agent/stored_state.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/states/state_format.h"

namespace tvq::test {
namespace {

using tvqplatform::Snapshot;
using tvqplatform::StateDefect;
using tvqplatform::StoredState;
using tvqplatform::WhyNoRecord;

const Bytes kSomeUuid = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 17};
const Section kAnOrigin = OriginSection(0x123456789A, 1, 2, "0.9.0");
const Section kAMachine = MachineSection(kSomeUuid, "SYS1", "BRD1", "CHS1");
const Section kATable = TableSection(3, 2, 1, {127, 4, 0, 0, 0, 0});
const Section kAModule = DeviceSection(u"DIMM.Socket.A1", {1, 2, 3}, 6, 0x1100);
const Section kAHole = DeviceSection(u"CPU.Socket.2", {}, 5, 0x0401, 3);
const std::vector<Section> kAllSections = {kAnOrigin, kAMachine, kATable, kAModule, kAHole};

class StateFormat : public AgentTest {
 protected:
  StateDefect Read(const State2& state) { return ReadBytes(state.Encode()); }
  StateDefect ReadBytes(const Bytes& bytes) {
    mFile = bytes;
    return tvqplatform::ReadState(View(mFile), mState);
  }
  StateDefect ReadSections(std::vector<Section> sections) { return Read({std::move(sections)}); }
  const StoredState& Stored() const { return mState; }
  const Snapshot& Content() const { return mState.Content; }
  Bytes Written(uint64_t generation) {
    tvqplatform::EncodedState written;
    EXPECT_TRUE(written.Write(Content(), generation, Content().Time));
    return Copy(written.File());
  }

 private:
  Bytes mFile;
  StoredState mState;
};

TEST_F(StateFormat, HasEverythingThatASnapshotHas) {
  ASSERT_EQ(Read({kAllSections, 0x1122334455667788}), StateDefect::kNone);
  EXPECT_EQ(Stored().Version, 2u);
  EXPECT_EQ(Stored().Generation, 0x1122334455667788u);
  EXPECT_EQ(Content().Time, 0x123456789Au);
  EXPECT_EQ(Content().Options, 1u);
  EXPECT_EQ(Content().NamingRules, 2u);
  EXPECT_EQ(SpelledOut(Content().Program), "0.9.0");
  EXPECT_TRUE(Content().Machine.HasUuid);
  EXPECT_EQ(Bytes(std::begin(Content().Machine.Uuid), std::end(Content().Machine.Uuid)), kSomeUuid);
  EXPECT_EQ(SpelledOut(Content().Machine.SystemSerial), "SYS1");
  EXPECT_EQ(SpelledOut(Content().Machine.BoardSerial), "BRD1");
  EXPECT_EQ(SpelledOut(Content().Machine.ChassisSerial), "CHS1");
  EXPECT_EQ(Content().Table.Major, 3);
  EXPECT_EQ(Content().Table.Minor, 2);
  EXPECT_EQ(Content().Table.StructureCount, 1);
  EXPECT_EQ(Copy(Content().Table.Structures), Bytes({127, 4, 0, 0, 0, 0}));
  ASSERT_EQ(Content().Devices.Size(), 2u);
  EXPECT_EQ(Utf8(Content().Devices[0].Fqdd), "DIMM.Socket.A1");
  EXPECT_EQ(Content().Devices[0].ComponentClass, 6u);
  EXPECT_EQ(Content().Devices[0].Handle, 0x1100);
  EXPECT_EQ(Content().Devices[0].Why, WhyNoRecord::kHasRecord);
  EXPECT_EQ(Copy(Content().Devices[0].Blobs), Bytes({1, 2, 3}));
  EXPECT_EQ(Content().Devices[1].Why, WhyNoRecord::kBehind);
  EXPECT_TRUE(Content().Devices[1].Blobs.Empty());
}

TEST_F(StateFormat, IsWrittenAsItIsRead) {
  const Bytes whole = State2{kAllSections, 7}.Encode();
  ASSERT_EQ(ReadBytes(whole), StateDefect::kNone);
  EXPECT_EQ(Written(7), whole);
  EXPECT_NE(Written(8), whole);
  const Bytes little = State2{{OriginSection(0, 0, 0, ""), MachineSection()}, 1}.Encode();
  ASSERT_EQ(ReadBytes(little), StateDefect::kNone);
  EXPECT_EQ(SpelledOut(Content().Machine.BoardSerial), "(none)");
  EXPECT_FALSE(Content().Machine.HasUuid);
  EXPECT_EQ(Written(1), little);
}

TEST_F(StateFormat, IsWrittenInPlaceOfWhatWasWrittenBefore) {
  const Bytes whole = State2{kAllSections, 7}.Encode();
  ASSERT_EQ(ReadBytes(whole), StateDefect::kNone);
  tvqplatform::EncodedState written;
  EXPECT_TRUE(written.Write(Content(), 6, Content().Time));
  EXPECT_TRUE(written.Write(Content(), 7, Content().Time));
  EXPECT_EQ(Copy(written.File()), whole);
}

TEST_F(StateFormat, OfVersionOneHasDevicesAlone) {
  ASSERT_EQ(
      ReadBytes(State{.devices = {{u"DIMM.Socket.A1", {1, 2, 3}, 6}}, .generation = 9}.Encode()),
      StateDefect::kNone);
  EXPECT_EQ(Stored().Version, 1u);
  EXPECT_EQ(Stored().Generation, 9u);
  EXPECT_EQ(Content().NamingRules, tvqplatform::kNamingRulesUnknown);
  EXPECT_TRUE(Content().Table.Structures.Empty());
  ASSERT_EQ(Content().Devices.Size(), 1u);
  EXPECT_EQ(Content().Devices[0].Handle, smbios::kNoHandle);
  EXPECT_EQ(Content().Devices[0].Why, WhyNoRecord::kHasRecord);
  EXPECT_EQ(Copy(Content().Devices[0].Blobs), Bytes({1, 2, 3}));
}

// What `tvq save` of that version wrote for tests/e2e/names.smbios.
TEST_F(StateFormat, OfVersionOneIsReadAsItWasWritten) {
  std::ifstream file(TVQ_SOURCE_DIR "/tests/unit/shared/states/version-1.bin", std::ios::binary);
  ASSERT_EQ(ReadBytes(Bytes(std::istreambuf_iterator<char>(file), {})), StateDefect::kNone);
  std::vector<std::string> fqdds;
  for (const tvqplatform::SnapshotDevice& device : Content().Devices) {
    fqdds.push_back(Utf8(device.Fqdd));
    EXPECT_GT(device.Blobs.Size(), 148u) << fqdds.back();
  }
  EXPECT_THAT(fqdds, testing::SizeIs(7));
  EXPECT_THAT(fqdds, testing::Contains("System.Embedded.1"));
}

TEST_F(StateFormat, MayHaveSectionsThatReadersSkip) {
  EXPECT_EQ(ReadSections({kAnOrigin, {0x80000063, {1, 2}}, kAMachine}), StateDefect::kNone);
  EXPECT_EQ(ReadSections({kAnOrigin, {0x63, {1, 2}}, kAMachine}), StateDefect::kNewer);
  EXPECT_EQ(ReadBytes(State{.version = 3}.Encode()), StateDefect::kNewer);
  EXPECT_EQ(ReadSections({kAnOrigin, kAMachine, DeviceSection(u"x", {}, 5, 0, 77)}),
            StateDefect::kNone);
  EXPECT_EQ(Content().Devices[0].Why, WhyNoRecord::kRefused) << "of a reason that is not known";
  EXPECT_EQ(ReadSections({kAnOrigin, kAMachine, DeviceSection(u"x", {}, 5, 0, 5)}),
            StateDefect::kNone);
  EXPECT_EQ(Content().Devices[0].Why, WhyNoRecord::kNotStarted) << "the last reason";
}

TEST_F(StateFormat, IsRefusedWhereItsSectionsAreNotAsTheyHaveToBe) {
  Section cutName = DeviceSection(u"CPU");
  cutName.content.resize(cutName.content.size() - 1);
  Section noTerminator = kAMachine;
  noTerminator.content.pop_back();
  Section more = kAnOrigin;
  more.content.push_back(0);
  const struct {
    const char* what;
    std::vector<Section> sections;
  } kCases[] = {
      {"no origin", {kAMachine}},
      {"no machine", {kAnOrigin}},
      {"two origins", {kAnOrigin, kAnOrigin, kAMachine}},
      {"two machines", {kAnOrigin, kAMachine, kAMachine}},
      {"two tables", {kAnOrigin, kAMachine, kATable, kATable}},
      {"an empty table", {kAnOrigin, kAMachine, TableSection(3, 2, 0, {})}},
      {"a table longer than any", {kAnOrigin, kAMachine, TableSection(3, 2, 0, Bytes(0x10000))}},
      {"half a table's version", {kAnOrigin, kAMachine, {3, {3, 2, 1}}}},
      {"an end in the middle", {kAnOrigin, kAMachine, EndSection(1), kAModule}},
      {"a name of which half is there", {kAnOrigin, kAMachine, cutName}},
      {"a name that is too long", {kAnOrigin, kAMachine, DeviceSection(std::u16string(32, u'x'))}},
      {"half a device", {kAnOrigin, kAMachine, {4, Bytes(7)}}},
      {"half an origin", {{1, Bytes(15)}, kAMachine}},
      {"an origin with more behind it", {more, kAMachine}},
      {"an origin without a terminator", {{1, Bytes(16)}, kAMachine}},
      {"a machine without a terminator", {kAnOrigin, noTerminator}},
      {"a section that goes on behind the end", {kAnOrigin, kAMachine, {4, Bytes(8), 25}}},
      {"a section as long as there are numbers", {kAnOrigin, kAMachine, {4, Bytes(8), 0xFFFFFFFF}}},
  };
  for (const auto& [what, sections] : kCases) {
    EXPECT_EQ(ReadSections(sections), StateDefect::kDamaged) << what;
    EXPECT_EQ(Content().Devices.Size(), 0u) << what;
    EXPECT_EQ(SpelledOut(Content().Program), "(none)") << what;
    EXPECT_EQ(Content().Options, 0u) << what;
    EXPECT_EQ(Stored().Version, 0u) << what;
    EXPECT_EQ(Stored().Generation, 0u) << what;
  }
  EXPECT_EQ(Read({kAllSections, 1, 5}), StateDefect::kDamaged) << "a section less than there are";
  EXPECT_EQ(Read({kAllSections, 1, 7}), StateDefect::kDamaged) << "a section more than there are";
}

TEST_F(StateFormat, OfVersionOneIsRefusedWhereItsDevicesAreNotAsTheyHaveToBe) {
  const std::vector<StateDevice> cut = {{.fqdd = u"x", .data = {1}, .statedSize = 2}};
  EXPECT_EQ(ReadBytes(State{.devices = cut}.Encode()), StateDefect::kDamaged);
  const std::vector<StateDevice> whole = {{.fqdd = u"x", .data = {1}}};
  EXPECT_EQ(ReadBytes(State{.devices = whole, .behind = {0}}.Encode()), StateDefect::kDamaged);
  EXPECT_EQ(ReadBytes(State{}.Encode()), StateDefect::kNone) << "without a device";
}

TEST_F(StateFormat, TakesTheLongestTableAndNameThereCanBe) {
  EXPECT_EQ(ReadSections({kAnOrigin, kAMachine, TableSection(3, 2, 0, Bytes(0xFFFF)),
                          DeviceSection(std::u16string(31, u'x'))}),
            StateDefect::kNone);
  EXPECT_EQ(Utf8(Content().Devices[0].Fqdd), std::string(31, 'x'));
}

TEST_F(StateFormat, BoundsHowManyDevicesThereAre) {
  std::vector<Section> sections = {kAnOrigin, kAMachine};
  sections.resize(2 + 4096, DeviceSection(u"x"));
  EXPECT_EQ(ReadSections(sections), StateDefect::kNone);
  sections.push_back(DeviceSection(u"x"));
  EXPECT_EQ(ReadSections(sections), StateDefect::kDamaged);
  State first;
  first.devices.resize(4097);
  EXPECT_EQ(ReadBytes(first.Encode()), StateDefect::kDamaged);
}

TEST_F(StateFormat, SaysOfAFileThatIsCutAnywhereThatItWasCutOff) {
  const Bytes whole = State2{kAllSections, 7}.Encode();
  for (size_t size = 0; size < whole.size(); ++size) {
    const Bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
    EXPECT_EQ(ReadBytes(cut), StateDefect::kCutOff) << size;
    EXPECT_FALSE(tvqplatform::EndsAsState(View(cut), 7)) << size;
  }
  EXPECT_TRUE(tvqplatform::EndsAsState(View(whole), 7));
  EXPECT_FALSE(tvqplatform::EndsAsState(View(whole), 8));
  EXPECT_EQ(Read({kAllSections, 7, {}, 8}), StateDefect::kCutOff)
      << "what stood on the volume before may be the end of an older state";
}

TEST_F(StateFormat, EndsWithAnEndSectionBehindItsHeader) {
  Bytes file = State2{}.Encode();
  ASSERT_EQ(file.size(), 32u + 16u);
  EXPECT_TRUE(tvqplatform::EndsAsState(View(file), 1));
  Bytes otherSize = file;
  otherSize[32 + 7] = 1;
  EXPECT_FALSE(tvqplatform::EndsAsState(View(otherSize), 1));
  file.erase(file.begin());
  EXPECT_FALSE(tvqplatform::EndsAsState(View(file), 1)) << "the header reaches into it";
}

TEST_F(StateFormat, RefusesAChangedBitAnywhere) {
  const Bytes whole = State2{kAllSections, 7}.Encode();
  for (size_t bit = 0; bit < 8 * whole.size(); ++bit) {
    Bytes damaged = whole;
    damaged[bit / 8] ^= static_cast<uint8_t>(1 << (bit % 8));
    EXPECT_NE(ReadBytes(damaged), StateDefect::kNone) << "bit " << bit;
  }
  Bytes longer = whole;
  longer.push_back(0);
  EXPECT_EQ(ReadBytes(longer), StateDefect::kDamaged);
  Bytes other = whole;
  other[40] ^= 1;
  EXPECT_EQ(ReadBytes(other), StateDefect::kDamaged);
  for (const size_t byte : {0, 7}) {
    other = whole;
    other[byte] ^= 1;
    EXPECT_EQ(ReadBytes(other), StateDefect::kNoState) << byte;
  }
}

TEST_F(StateFormat, NeedsMemoryAndLeavesNone) {
  const Bytes whole = State2{kAllSections}.Encode();
  ASSERT_EQ(ReadBytes(whole), StateDefect::kNone);
  for (uint64_t n = 1; n < 20; ++n) {
    tvqplatform::EncodedState written;
    Firmware().Memory().FailAllocation(n, host::images::agent);
    const bool isWritten = written.Write(Content(), 1, Content().Time);
    Firmware().Memory().StopFailing();
    EXPECT_EQ(Copy(written.File()), isWritten ? whole : Bytes()) << n;
    if (isWritten) {
      EXPECT_GE(n, 3u);
      break;
    }
  }
  Firmware().Memory().FailAllocation(1, host::images::agent);
  EXPECT_EQ(ReadBytes(whole), StateDefect::kNoMemory);
  Firmware().Memory().StopFailing();
  EXPECT_EQ(AgentBlocks(), 0u);
}

TEST_F(StateFormat, SaysWhatIsWrongWithAFile) {
  const std::pair<StateDefect, const char*> kTexts[] = {
      {StateDefect::kNone, "is whole"},
      {StateDefect::kNoMemory, "cannot be read: there is no memory"},
      {StateDefect::kNoState, "is no saved state"},
      {StateDefect::kNewer, "was saved by another version of this program"},
      {StateDefect::kCutOff, "was cut off while it was saved"},
      {StateDefect::kDamaged, "is damaged"}};
  for (const auto& [defect, text] : kTexts) {
    EXPECT_STREQ(tvqplatform::StateDefectText(defect), text);
  }
}

}  // namespace
}  // namespace tvq::test
