/*
 * A saved state that takes over some devices as they are now: these and nothing else change.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <memory>

#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/compare/accepted_devices.h"
#include "TvqPlatformPkg/src/states/machine_identity.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using tvqplatform::AcceptedDevices;
using tvqplatform::AcceptResult;
using tvqplatform::Snapshot;

struct Device {
  std::u16string fqdd{};
  uint16_t handle = 0xFFFF;
  UINT32 componentClass = TVQ_CLASS_DIMM;
};

// A snapshot and what it refers to.
class Machine {
 public:
  Machine(const Table& table, const std::vector<Device>& devices, const std::string& blobs)
      : mTable(table.Bytes()), mBlobs(blobs.begin(), blobs.end()) {
    snapshot.NamingRules = tvqplatform::kNamingRules;
    snapshot.Table = {3, 2, static_cast<UINT16>(Parse(mTable).size()), View(mTable)};
    snapshot.Machine = tvqplatform::ReadMachineIdentity(View(mTable));
    for (const Device& device : devices) {
      tvqplatform::SnapshotDevice added = {};
      std::copy(device.fqdd.begin(), device.fqdd.end(), added.Fqdd);
      added.Handle = device.handle;
      added.ComponentClass = device.componentClass;
      added.Blobs = View(mBlobs);
      EXPECT_TRUE(snapshot.Add(added));
    }
  }

  Snapshot snapshot;

 private:
  Bytes mTable;
  Bytes mBlobs;
};

const Device kSystem = {u"System.Embedded.1", 0x100, TVQ_CLASS_SYSTEM};

Table TableWith(const std::string& serial, const std::vector<MemoryDevice>& modules) {
  return Table::Of(Bios{.handle = 0}, System{.handle = 0x100, .serial = serial},
                   Chassis{.handle = 0x300}, modules, End{.handle = 0x7F00});
}

class AcceptingDevices : public AgentTest {
 protected:
  AcceptingDevices()
      : mSaved(TableWith("OLD1234", {{.handle = 0x1100, .locator = "DIMM A1", .serial = "AAA1"},
                                     {.handle = 0x1101, .locator = "DIMM A2", .serial = "AAA2"}}),
               {{u"DIMM.Socket.A1", 0x1100}, {u"DIMM.Socket.A2", 0x1101}, kSystem}, "old"),
        mNow(TableWith("NEW1234", {{.handle = 0x1100, .locator = "DIMM A1", .serial = "BBB1"},
                                   {.handle = 0x1101, .locator = "DIMM A3", .serial = "BBB3"}}),
             {{u"DIMM.Socket.A1", 0x1100}, {u"DIMM.Socket.A3", 0x1101}, kSystem}, "new") {}

  Snapshot& Saved() { return mSaved.snapshot; }
  Snapshot& Now() { return mNow.snapshot; }
  AcceptedDevices& Begun() {
    EXPECT_EQ(mAccepted.Begin(Saved(), Now()), AcceptResult::kAccepted);
    return mAccepted;
  }
  // "FQDD blobs", one for each device.
  std::vector<std::string> Devices() const {
    std::vector<std::string> devices;
    for (const tvqplatform::SnapshotDevice& device : mAccepted.Get().Devices) {
      devices.push_back(Utf8(device.Fqdd) + " " +
                        std::string(device.Blobs.begin(), device.Blobs.end()));
    }
    return devices;
  }
  std::vector<std::string> Serials() const {
    return NamesOf(Copy(mAccepted.Get().Table.Structures), 17, 0x18);
  }
  std::vector<std::string> SystemSerials() const {
    return NamesOf(Copy(mAccepted.Get().Table.Structures), 1, 0x07);
  }
  std::vector<FoundStructure> Structures() const {
    return Parse(Copy(mAccepted.Get().Table.Structures));
  }

 private:
  Machine mSaved;
  Machine mNow;
  AcceptedDevices mAccepted;
};

TEST_F(AcceptingDevices, ChangesNothingUntilOneIsNamed) {
  Begun();
  EXPECT_THAT(Devices(),
              ElementsAre("DIMM.Socket.A1 old", "DIMM.Socket.A2 old", "System.Embedded.1 old"));
  EXPECT_THAT(Serials(), ElementsAre("AAA1", "AAA2"));
}

TEST_F(AcceptingDevices, TakesOverADeviceWithItsStructure) {
  EXPECT_EQ(Begun().Accept("DIMM.Socket.A1"), AcceptResult::kAccepted);
  EXPECT_THAT(Devices(),
              ElementsAre("DIMM.Socket.A1 new", "DIMM.Socket.A2 old", "System.Embedded.1 old"));
  EXPECT_THAT(Serials(), ElementsAre("BBB1", "AAA2"));
  EXPECT_EQ(Structures().back().type, 127);
}

TEST_F(AcceptingDevices, KnowsADeviceByItsLabelToo) {
  EXPECT_EQ(Begun().Accept("DIMM A1"), AcceptResult::kAccepted);
  EXPECT_THAT(Serials(), ElementsAre("BBB1", "AAA2"));
}

TEST_F(AcceptingDevices, TakesOverANewDeviceUnderAHandleOfItsOwn) {
  EXPECT_EQ(Begun().Accept("DIMM A3"), AcceptResult::kAccepted);
  EXPECT_THAT(Devices(), ElementsAre("DIMM.Socket.A1 old", "DIMM.Socket.A2 old",
                                     "System.Embedded.1 old", "DIMM.Socket.A3 new"));
  EXPECT_THAT(Serials(), ElementsAre("AAA1", "AAA2", "BBB3"));
  const auto modules = OfType(Structures(), 17);
  EXPECT_EQ(modules[2].handle, 0x1102) << "0x1101 is taken";
  EXPECT_EQ(Structures().back().type, 127);
}

TEST_F(AcceptingDevices, LetsADeviceGoThatIsGone) {
  EXPECT_EQ(Begun().Accept("DIMM.Socket.A2"), AcceptResult::kAccepted);
  EXPECT_THAT(Devices(), ElementsAre("DIMM.Socket.A1 old", "System.Embedded.1 old"));
  EXPECT_THAT(Serials(), ElementsAre("AAA1"));
}

TEST_F(AcceptingDevices, TakesOverTheSystemWithWhatNamesTheMachine) {
  EXPECT_EQ(Begun().Accept("System.Embedded.1"), AcceptResult::kAccepted);
  EXPECT_THAT(SystemSerials(), ElementsAre("NEW1234"));
  EXPECT_THAT(Serials(), ElementsAre("AAA1", "AAA2"));
}

TEST_F(AcceptingDevices, TakesOverOneAfterTheOther) {
  AcceptedDevices& accepted = Begun();
  for (const char* name :
       {"DIMM.Socket.A1", "DIMM.Socket.A3", "DIMM.Socket.A2", "System.Embedded.1"}) {
    ASSERT_EQ(accepted.Accept(name), AcceptResult::kAccepted) << name;
  }
  EXPECT_THAT(Devices(),
              ElementsAre("DIMM.Socket.A1 new", "System.Embedded.1 new", "DIMM.Socket.A3 new"));
  EXPECT_THAT(Serials(), ElementsAre("BBB1", "BBB3"));
  EXPECT_EQ(accepted.Get().Table.StructureCount, Structures().size());
}

// --- Moves ---

// Slots by their modules' serial numbers; an empty slot has a structure and no device.
Table Slots(const std::vector<std::pair<const char*, const char*>>& modules) {
  std::vector<MemoryDevice> slots;
  for (const auto& [locator, serial] : modules) {
    MemoryDevice slot = {.handle = static_cast<uint16_t>(0x1100 + slots.size()),
                         .locator = locator};
    slot.serial = serial == nullptr ? test::Text() : test::Text(serial);
    slots.push_back(slot);
  }
  return TableWith("X", slots);
}
// Each with the blobs "old" or "new".
class AcceptingMoves : public AcceptingDevices {
 protected:
  std::vector<std::string> Accepted(const Machine& before, const Machine& after, const char* name) {
    EXPECT_EQ(mMoves.Begin(before.snapshot, after.snapshot), AcceptResult::kAccepted);
    EXPECT_EQ(mMoves.Accept(name), AcceptResult::kAccepted);
    std::vector<std::string> devices;
    for (const tvqplatform::SnapshotDevice& device : mMoves.Get().Devices) {
      devices.push_back(Utf8(device.Fqdd) + " " +
                        std::string(device.Blobs.begin(), device.Blobs.end()));
    }
    return devices;
  }
  std::vector<std::string> AcceptedSerials() const {
    return NamesOf(Copy(mMoves.Get().Table.Structures), 17, 0x18);
  }

 private:
  AcceptedDevices mMoves;
};

TEST_F(AcceptingMoves, TakesOverBothEndsOfAMove) {
  const Machine before(Slots({{"A1", "AAA1"}, {"A2", nullptr}}), {{u"DIMM.Socket.A1", 0x1100}},
                       "old");
  const Machine after(Slots({{"A1", nullptr}, {"A2", "AAA1"}}), {{u"DIMM.Socket.A2", 0x1101}},
                      "new");
  EXPECT_THAT(Accepted(before, after, "DIMM.Socket.A2"), ElementsAre("DIMM.Socket.A2 new"));
  EXPECT_THAT(AcceptedSerials(), ElementsAre("", "AAA1")) << "each slot has one structure";
}

TEST_F(AcceptingMoves, TakesOverAllThatChangedPlacesWithOneAnother) {
  const std::vector<Device> devices = {{u"DIMM.Socket.A1", 0x1100},
                                       {u"DIMM.Socket.A2", 0x1101},
                                       {u"DIMM.Socket.A3", 0x1102},
                                       {u"DIMM.Socket.A4", 0x1103}};
  const Machine before(Slots({{"A1", "AAA1"}, {"A2", "AAA2"}, {"A3", "AAA3"}, {"A4", "AAA4"}}),
                       devices, "old");
  const Machine after(Slots({{"A1", "AAA2"}, {"A2", "AAA3"}, {"A3", "AAA1"}, {"A4", "BBB4"}}),
                      devices, "new");
  EXPECT_THAT(Accepted(before, after, "DIMM.Socket.A2"),
              ElementsAre("DIMM.Socket.A1 new", "DIMM.Socket.A2 new", "DIMM.Socket.A3 new",
                          "DIMM.Socket.A4 old"));
  EXPECT_THAT(AcceptedSerials(), ElementsAre("AAA2", "AAA3", "AAA1", "AAA4"));
}

TEST_F(AcceptingMoves, ANewModuleTakesTheRoomOfItsEmptySlot) {
  const Machine before(Slots({{"A1", nullptr}}), {}, "old");
  const Machine after(Slots({{"A1", "AAA1"}}), {{u"DIMM.Socket.A1", 0x1100}}, "new");
  EXPECT_THAT(Accepted(before, after, "DIMM.Socket.A1"), ElementsAre("DIMM.Socket.A1 new"));
  EXPECT_THAT(AcceptedSerials(), ElementsAre("AAA1"));
}

TEST_F(AcceptingMoves, OfAModuleThatIsGoneTheEmptySlotStays) {
  const Machine before(Slots({{"A1", "AAA1"}}), {{u"DIMM.Socket.A1", 0x1100}}, "old");
  const Machine after(Slots({{"A1", nullptr}}), {}, "new");
  EXPECT_THAT(Accepted(before, after, "DIMM.Socket.A1"), ElementsAre());
  EXPECT_THAT(AcceptedSerials(), ElementsAre(""));
}

TEST_F(AcceptingMoves, TheSystemIsTakenOverAlsoWhereItHasNoRecordAnyMore) {
  const Machine before(Slots({}), {kSystem}, "old");
  Machine after(Slots({}), {{u"", 0x100, TVQ_CLASS_SYSTEM}}, "new");
  after.snapshot.Devices[0].Why = tvqplatform::WhyNoRecord::kRefused;
  EXPECT_THAT(Accepted(before, after, "System.Embedded.1"), ElementsAre(" new"))
      << "as a hole, and not as gone";
}

TEST_F(AcceptingMoves, AStackOfMemoryIsTakenOverByItsLabel) {
  const auto stack = [](const char* serial) {
    return TableWith(
        "X", {{.handle = 0x1100, .locator = "CPU1_HBM0", .memoryType = 0x20, .serial = serial}});
  };
  const Machine before(stack("AAA1"), {}, "old");
  const Machine after(stack("BBB1"), {}, "new");
  EXPECT_THAT(Accepted(before, after, "CPU1_HBM0"), ElementsAre());
  EXPECT_THAT(AcceptedSerials(), ElementsAre("BBB1"));
}

TEST_F(AcceptingMoves, OfASystemWithAsManyStructuresAsFitIsQuick) {
  Bytes table;
  for (int i = 0; i < 9000; ++i) {
    const Bytes chassis = {3, 4, static_cast<uint8_t>(i), static_cast<uint8_t>(i >> 8), 0, 0};
    table.insert(table.end(), chassis.begin(), chassis.end());
  }
  Machine machine(Slots({}), {kSystem}, "x");
  machine.snapshot.Table.Structures = View(table);
  EXPECT_THAT(Accepted(machine, machine, "System.Embedded.1"), ElementsAre("System.Embedded.1 x"));
}

TEST_F(AcceptingDevices, SaysWhatItDoesNotKnow) {
  AcceptedDevices& accepted = Begun();
  for (const char* name : {"", "DIMM", "DIMM.Socket.A", "DIMM.Socket.A11", "dimm a1"}) {
    EXPECT_EQ(accepted.Accept(name), AcceptResult::kNoSuchDevice) << name;
  }
}

TEST_F(AcceptingDevices, NeedsTheNameWhereALabelIsThatOfSeveral) {
  const Table table = TableWith(
      "X", {{.handle = 0x1100, .locator = "DIMM"}, {.handle = 0x1101, .locator = "DIMM"}});
  const Machine machine(table, {{u"DIMM.Socket.A1", 0x1100}, {u"DIMM.Socket.A2", 0x1101}}, "x");
  AcceptedDevices accepted;
  ASSERT_EQ(accepted.Begin(machine.snapshot, machine.snapshot), AcceptResult::kAccepted);
  EXPECT_EQ(accepted.Accept("DIMM"), AcceptResult::kSeveral);
  EXPECT_EQ(accepted.Accept("DIMM.Socket.A2"), AcceptResult::kAccepted);
}

TEST_F(AcceptingDevices, RefusesStatesOfOtherNamesOrWithoutATable) {
  Saved().Options = tvqplatform::kSnapshotAsIs;
  EXPECT_EQ(AcceptedDevices().Begin(Saved(), Now()), AcceptResult::kOtherOptions);
  Saved().NamingRules = 1;
  EXPECT_EQ(AcceptedDevices().Begin(Saved(), Now()), AcceptResult::kOtherNames);
  Saved().Table = {};
  EXPECT_EQ(AcceptedDevices().Begin(Saved(), Now()), AcceptResult::kNoTable);
}

TEST_F(AcceptingDevices, KeepsATableThatAStateTakes) {
  const Bytes full =
      Table::Of(std::vector<test::Structure>(1, {.type = 200, .body = Bytes(4)})).Bytes();
  Bytes large;
  while (large.size() + full.size() <= 65535) {
    large.insert(large.end(), full.begin(), full.end());
  }
  Saved().Table.Structures = View(large);
  EXPECT_EQ(Begun().Accept("DIMM.Socket.A1"), AcceptResult::kTooLarge);
}

TEST_F(AcceptingDevices, NeedsMemoryAndLeavesNone) {
  const size_t before = AgentBlocks();
  for (uint64_t n = 1;; ++n) {
    AcceptedDevices accepted;
    Firmware().Memory().FailAllocation(n, host::images::agent);
    AcceptResult result = accepted.Begin(Saved(), Now());
    if (result == AcceptResult::kAccepted) {
      result = accepted.Accept("DIMM.Socket.A3");
    }
    Firmware().Memory().StopFailing();
    if (result == AcceptResult::kAccepted) {
      EXPECT_GE(n, 5u);
      break;
    }
    EXPECT_EQ(result, AcceptResult::kNoMemory) << n;
  }
  EXPECT_EQ(AgentBlocks(), before);
}

TEST(AcceptResults, AreSaidInWords) {
  for (int i = 0; i <= static_cast<int>(AcceptResult::kTooLarge); ++i) {
    EXPECT_NE(std::string(tvqplatform::AcceptResultText(static_cast<AcceptResult>(i))), "");
  }
}

}  // namespace
}  // namespace tvq::test
