/*
 * A saved state that takes over some devices as they are now: these and nothing else change.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <memory>

#include "tests/unit/shared/dirty_stack.h"
#include "tests/unit/platform/agent/fake_record.h"
#include "tests/unit/platform/agent/stored_state.h"
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
std::vector<Device> FourModules() {
  return {{u"DIMM.Socket.A1", 0x1100},
          {u"DIMM.Socket.A2", 0x1101},
          {u"DIMM.Socket.A3", 0x1102},
          {u"DIMM.Socket.A4", 0x1103}};
}

class AcceptingMoves : public AcceptingDevices {
 protected:
  std::vector<std::string> Accepted(const Machine& before, const Machine& after, const char* name) {
    return Accepted(before, after, std::vector<const char*>{name});
  }
  // One after the other.
  std::vector<std::string> Accepted(const Machine& before, const Machine& after,
                                    const std::vector<const char*>& names) {
    EXPECT_EQ(mMoves.Begin(before.snapshot, after.snapshot), AcceptResult::kAccepted);
    for (const char* name : names) {
      EXPECT_EQ(mMoves.Accept(name), AcceptResult::kAccepted) << name;
    }
    std::vector<std::string> devices;
    for (const tvqplatform::SnapshotDevice& device : mMoves.Get().Devices) {
      devices.push_back(Utf8(device.Fqdd) + " " +
                        std::string(device.Blobs.begin(), device.Blobs.end()));
    }
    return devices;
  }
  const Snapshot& AcceptedState() const { return mMoves.Get(); }
  Bytes AcceptedTable() const { return Copy(mMoves.Get().Table.Structures); }
  std::vector<std::string> AcceptedSerials() const { return NamesOf(AcceptedTable(), 17, 0x18); }
  // Of one type.
  std::vector<uint16_t> AcceptedHandles(uint8_t type) const {
    std::vector<uint16_t> handles;
    for (const FoundStructure& structure : OfType(Parse(AcceptedTable()), type)) {
      handles.push_back(structure.handle);
    }
    return handles;
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

TEST_F(AcceptingMoves, TakesOverBothEndsOfAMoveByTheNameOfEither) {
  const Machine before(Slots({{"A0", "AAA0"}, {"A1", "AAA1"}, {"A2", nullptr}}),
                       {{u"DIMM.Socket.A0", 0x1100}, {u"DIMM.Socket.A1", 0x1101}}, "old");
  const Machine after(Slots({{"A0", "AAA0"}, {"A1", nullptr}, {"A2", "AAA1"}}),
                      {{u"DIMM.Socket.A2", 0x1102}, {u"DIMM.Socket.A0", 0x1100}}, "new");
  EXPECT_THAT(Accepted(before, after, "DIMM.Socket.A1"),
              ElementsAre("DIMM.Socket.A0 old", "DIMM.Socket.A2 new"));
  EXPECT_THAT(AcceptedSerials(), ElementsAre("AAA0", "", "AAA1"));
}

TEST_F(AcceptingMoves, NeedsMemoryForBothEnds) {
  const Machine before(Slots({{"A1", "AAA1"}, {"A2", nullptr}}), {{u"DIMM.Socket.A1", 0x1100}},
                       "old");
  const Machine after(Slots({{"A1", nullptr}, {"A2", "AAA1"}}), {{u"DIMM.Socket.A2", 0x1101}},
                      "new");
  AcceptResult result = AcceptResult::kNoMemory;
  uint64_t n = 0;
  while (result == AcceptResult::kNoMemory) {
    AcceptedDevices accepted;
    ASSERT_EQ(accepted.Begin(before.snapshot, after.snapshot), AcceptResult::kAccepted);
    Firmware().Memory().FailAllocation(++n, host::images::agent);
    result = accepted.Accept("DIMM.Socket.A2");
    Firmware().Memory().StopFailing();
  }
  EXPECT_EQ(result, AcceptResult::kAccepted);
  EXPECT_GE(n, 3u);
}

TEST_F(AcceptingMoves, TakesOverAllThatChangedPlacesWithOneAnother) {
  const std::vector<Device> devices = FourModules();
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

// In front of its slot stand the socket of a processor and slots that are others by their label, their bank, or the module in
// them.
TEST_F(AcceptingMoves, ANewModuleTakesTheRoomOfNoOtherSlot) {
  const auto machine = [](const Text& serial) {
    return Table::Of(
        Processor{.handle = 0x400, .designation = "A1", .status = 0},
        MemoryDevice{.handle = 0x1100, .locator = "A2", .bankLocator = "Bank 2", .serial = "none"},
        MemoryDevice{.handle = 0x1101, .locator = "A1", .bankLocator = "Bank 1", .serial = "none"},
        MemoryDevice{.handle = 0x1102, .locator = "A1", .bankLocator = "Bank 2", .serial = "AAA1"},
        MemoryDevice{.handle = 0x1103, .locator = "A1", .bankLocator = "Bank 2", .serial = serial},
        End{});
  };
  const Device other = {u"DIMM.Socket.A1", 0x1102};
  const Machine before(machine(std::nullopt), {other}, "old");
  const Machine after(machine("AAA2"), {other, {u"DIMM.Socket.A4", 0x1103}}, "new");
  EXPECT_THAT(Accepted(before, after, "DIMM.Socket.A4"),
              ElementsAre("DIMM.Socket.A1 old", "DIMM.Socket.A4 new"));
  EXPECT_EQ(AcceptedTable(), machine("AAA2").Bytes());
}

TEST_F(AcceptingMoves, ANewModuleWithoutALabelTakesTheRoomOfNoSlot) {
  const MemoryDevice unnamed = {.handle = 0x1100, .locator = std::nullopt, .serial = "AAA1"};
  const Machine before(TableWith("X", {unnamed}), {}, "old");
  MemoryDevice module = unnamed;
  module.serial = "AAA2";
  const Machine after(TableWith("X", {module}), {{u"DIMM.Socket.A1", 0x1100}}, "new");
  EXPECT_THAT(Accepted(before, after, "DIMM.Socket.A1"), ElementsAre("DIMM.Socket.A1 new"));
  EXPECT_THAT(AcceptedSerials(), ElementsAre("AAA1", "AAA2"));
}

// --- Handles ---

class AcceptingHandles : public AcceptingMoves {
 protected:
  // A new module with this handle, which others have too.
  std::vector<std::string> AcceptNew(uint16_t handle, const std::vector<uint16_t>& taken) {
    std::vector<MemoryDevice> modules;
    std::vector<Device> devices;
    for (const uint16_t one : taken) {
      modules.push_back({.handle = one, .locator = "A" + std::to_string(modules.size())});
    }
    const Machine before(TableWith("X", modules), devices, "old");
    const Machine after(TableWith("X", {{.handle = handle, .locator = "B1"}}),
                        {{u"DIMM.Socket.B1", handle}}, "new");
    return Accepted(before, after, "DIMM.Socket.B1");
  }
};

TEST_F(AcceptingHandles, StayWhereTheyAreFree) {
  for (const uint16_t handle : {uint16_t{0x1101}, uint16_t{0xFFF8}, uint16_t{0xFFFE}}) {
    const Machine before(TableWith("X", {{.handle = 0x1100, .locator = "A1"}}), {}, "old");
    const Machine after(TableWith("X", {{.handle = handle, .locator = "B1"}}),
                        {{u"DIMM.Socket.B1", handle}}, "new");
    AcceptedDevices accepted;
    ASSERT_EQ(accepted.Begin(before.snapshot, after.snapshot), AcceptResult::kAccepted);
    DirtyTheStack();
    ASSERT_EQ(accepted.Accept("DIMM.Socket.B1"), AcceptResult::kAccepted);
    EXPECT_EQ(accepted.Get().Devices[0].Handle, handle);
  }
}

TEST_F(AcceptingHandles, BecomeTheNextOnesThatAreFree) {
  AcceptNew(0x11FF, {0x11FF, 0x1200});
  EXPECT_THAT(AcceptedHandles(17), ElementsAre(0x11FF, 0x1200, 0x1201));
  EXPECT_EQ(AcceptedState().Devices[0].Handle, 0x1201);
}

TEST_F(AcceptingHandles, BecomeTheFirstOnesBehindTheLast) {
  AcceptNew(0xFFFE, {0xFFFE});
  EXPECT_THAT(AcceptedHandles(17), ElementsAre(0xFFFE, 0x0001)) << "0 is that of the firmware";
}

TEST_F(AcceptingHandles, ThatStandForNoneBecomeOthers) {
  AcceptNew(0xFFFF, {0x1100});
  EXPECT_THAT(AcceptedHandles(17), ElementsAre(0x1100, 0x0001));
  EXPECT_EQ(AcceptedState().Devices[0].Handle, 0x0001);
}

// FFFFh is no handle by which the saved structure is found.
TEST_F(AcceptingHandles, ThatStandForNoneTellNoStructuresApart) {
  const auto machine = [](const char* serial) {
    return Table::Of(
        Structure{.type = 200, .handle = 0xFFFF},
        MemoryDevice{
            .handle = 0xFFFF, .locator = "CPU1_HBM0", .memoryType = 0x20, .serial = serial},
        End{.handle = 0x7F00});
  };
  const Machine before(machine("AAA1"), {}, "old");
  const Machine after(machine("BBB1"), {}, "new");
  Accepted(before, after, "CPU1_HBM0");
  EXPECT_THAT(AcceptedSerials(), ElementsAre("BBB1"));
  EXPECT_THAT(AcceptedHandles(200), ElementsAre(0xFFFF));
}

TEST_F(AcceptingHandles, NextToThoseThatStandForNoneTellStructuresApart) {
  const auto machine = [](const char* serial) {
    return TableWith("X", {{.handle = 0xFFFE, .locator = std::nullopt, .serial = serial}});
  };
  const std::vector<Device> devices = {{u"DIMM.Socket.A1", 0xFFFE}};
  EXPECT_THAT(Accepted(Machine(machine("AAA1"), devices, "old"),
                       Machine(machine("BBB1"), devices, "new"), "DIMM.Socket.A1"),
              ElementsAre("DIMM.Socket.A1 new"));
  EXPECT_THAT(AcceptedSerials(), ElementsAre("BBB1"));
}

// What refers to the structure's handle stays as it is, and so does all else in it.
TEST_F(AcceptingHandles, AreAllThatChangesInAStructure) {
  AcceptNew(0x1100, {0x1100});
  const FoundStructure module = OfType(Parse(AcceptedTable()), 17)[1];
  Bytes formatted = MemoryDevice{.handle = 0x1101, .locator = "B1"}.Build().Encode();
  formatted.resize(module.formatted.size());
  EXPECT_EQ(module.formatted, formatted);
}

TEST_F(AcceptingHandles, OfADeviceWithoutAStructureAreNone) {
  const Machine before(Slots({{"A1", "AAA1"}}), {{u"DIMM.Socket.A1", 0x1100}}, "old");
  const Machine after(Slots({}), {{u"DIMM.Socket.A1", 0x1100}}, "new");
  EXPECT_THAT(Accepted(before, after, "DIMM.Socket.A1"), ElementsAre("DIMM.Socket.A1 new"));
  EXPECT_EQ(AcceptedState().Devices[0].Handle, 0xFFFF);
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

// --- The system ---

class AcceptingSystem : public AcceptingMoves {
 protected:
  // Every structure has the text. Types 2 to 4 and 38 to 40 are those at the bounds of what is of the system.
  static Table Marked(const char* text, uint16_t system = 0x100) {
    const auto other = [text](uint8_t type, uint16_t handle) {
      Structure structure{.type = type, .handle = handle};
      return structure.String(text);
    };
    return Table::Of(Bios{.handle = 0, .vendor = text}, System{.handle = system, .serial = text},
                     other(2, 2), other(3, 3), other(4, 4), other(38, 38), other(39, 39),
                     other(40, 40), End{.handle = 0x7F00});
  }
  static Device SystemAt(uint16_t handle) {
    return {u"System.Embedded.1", handle, TVQ_CLASS_SYSTEM};
  }
  // "type text" of the structures that have one.
  std::vector<std::string> Texts() const {
    std::vector<std::string> texts;
    for (const FoundStructure& structure : Parse(AcceptedTable())) {
      const size_t offset = structure.type == 1 ? 7 : 4;
      if (structure.type != 127) {
        texts.push_back(std::to_string(structure.type) + " " + structure.StringAt(offset));
      }
    }
    return texts;
  }
};

TEST_F(AcceptingSystem, TakesFirmwareSystemBoardChassisAndPowerSuppliesOver) {
  const Machine before(Marked("old"), {kSystem}, "x");
  const Machine after(Marked("new"), {kSystem}, "x");
  Accepted(before, after, "System.Embedded.1");
  EXPECT_THAT(Texts(), ElementsAre("0 new", "1 new", "2 new", "3 new", "39 new", "4 old", "38 old",
                                   "40 old"));
  EXPECT_EQ(SpelledOut(AcceptedState().Machine.SystemSerial), "new");
}

TEST_F(AcceptingSystem, GivesTheSystemTheHandleOfItsStructure) {
  const Machine before(Marked("old"), {SystemAt(0x100)}, "x");
  const Machine after(Marked("new", 40), {SystemAt(40)}, "x");
  Accepted(before, after, "System.Embedded.1");
  EXPECT_THAT(AcceptedHandles(1), ElementsAre(41)) << "40 is taken";
  EXPECT_EQ(AcceptedState().Devices[0].Handle, 41);
}

TEST_F(AcceptingSystem, GivesTheSystemTheHandleOfItsStructureAlsoWhereOthersHaveIt) {
  const Machine before(Marked("old"), {SystemAt(0x100)}, "x");
  const Machine after(Marked("new", 3), {SystemAt(3)}, "x");
  Accepted(before, after, "System.Embedded.1");
  EXPECT_EQ(AcceptedHandles(1), std::vector<uint16_t>{AcceptedState().Devices[0].Handle});
}

TEST_F(AcceptingSystem, GivesASystemWithoutAStructureNoHandle) {
  const Machine before(Marked("old"), {SystemAt(0x100)}, "x");
  const Machine after(Marked("new"), {SystemAt(0x7777)}, "x");
  Accepted(before, after, "System.Embedded.1");
  EXPECT_EQ(AcceptedState().Devices[0].Handle, 0xFFFF);
}

TEST_F(AcceptingSystem, ThatIsGoneLeavesWhatIsBesideIt) {
  const Machine before(Marked("old"), {kSystem}, "x");
  const Machine after(Marked("new"), {}, "x");
  EXPECT_THAT(Accepted(before, after, "System.Embedded.1"), ElementsAre());
  EXPECT_THAT(Texts(),
              ElementsAre("0 old", "2 old", "3 old", "4 old", "38 old", "39 old", "40 old"));
}

// --- Others ---

TEST_F(AcceptingMoves, DevicesBehindOneThatIsGoneStayWhatTheyAre) {
  const std::vector<Device> devices = {{u"DIMM.Socket.A1", 0x1100},
                                       {u"DIMM.Socket.A2", 0x1101},
                                       {u"DIMM.Socket.A3", 0x1102},
                                       {u"DIMM.Socket.A4", 0x1103},
                                       {u"DIMM.Socket.A5", 0x1104}};
  const Machine before(
      Slots({{"A1", "AAA1"}, {"A2", "AAA2"}, {"A3", "AAA3"}, {"A4", "AAA4"}, {"A5", "AAA5"}}),
      devices, "old");
  const Machine after(
      Slots({{"A1", "BBB1"}, {"A2", nullptr}, {"A3", "BBB3"}, {"A4", nullptr}, {"A5", "BBB5"}}),
      {devices[0], devices[2], devices[4]}, "new");
  EXPECT_THAT(Accepted(before, after, {"DIMM.Socket.A2", "DIMM.Socket.A1", "DIMM.Socket.A4"}),
              ElementsAre("DIMM.Socket.A1 new", "DIMM.Socket.A3 old", "DIMM.Socket.A5 old"));
}

TEST_F(AcceptingMoves, DevicesBehindSomeThatAreGoneAreTakenOverThemselves) {
  const std::vector<Device> devices = FourModules();
  const Machine before(Slots({{"A1", "AAA1"}, {"A2", "AAA2"}, {"A3", "AAA3"}, {"A4", "AAA4"}}),
                       devices, "old");
  const Machine after(Slots({{"A1", nullptr}, {"A2", "BBB2"}, {"A3", nullptr}, {"A4", "BBB4"}}),
                      {devices[1], devices[3]}, "new");
  EXPECT_THAT(Accepted(before, after, {"DIMM.Socket.A3", "DIMM.Socket.A1", "DIMM.Socket.A4"}),
              ElementsAre("DIMM.Socket.A2 old", "DIMM.Socket.A4 new"));
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

TEST_F(AcceptingMoves, ADeviceWithoutANameIsNotMeantByNone) {
  const Machine machine(Slots({{"A1", "AAA1"}}), {{u"", 0x1100}}, "x");
  AcceptedDevices accepted;
  ASSERT_EQ(accepted.Begin(machine.snapshot, machine.snapshot), AcceptResult::kAccepted);
  EXPECT_EQ(accepted.Accept(""), AcceptResult::kNoSuchDevice);
}

TEST_F(AcceptingMoves, ANameMayHaveOneCharacter) {
  const Machine before(Slots({{"A1", "AAA1"}}), {{u"X", 0x1100}}, "old");
  const Machine after(Slots({{"A1", "AAA1"}}), {{u"X", 0x1100}}, "new");
  EXPECT_THAT(Accepted(before, after, "X"), ElementsAre("X new"));
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

TEST_F(AcceptingDevices, NeedsTheNameAlsoWhereALabelIsThatOfSeveralThatAreGoneOrNew) {
  const Machine two(TableWith("X", {{.handle = 0x1100, .locator = "DIMM"},
                                    {.handle = 0x1101, .locator = "DIMM"}}),
                    {{u"DIMM.Socket.A1", 0x1100}, {u"DIMM.Socket.A2", 0x1101}}, "x");
  const Machine none(TableWith("X", {}), {}, "x");
  AcceptedDevices gone;
  ASSERT_EQ(gone.Begin(two.snapshot, none.snapshot), AcceptResult::kAccepted);
  EXPECT_EQ(gone.Accept("DIMM"), AcceptResult::kSeveral);
  AcceptedDevices added;
  ASSERT_EQ(added.Begin(none.snapshot, two.snapshot), AcceptResult::kAccepted);
  EXPECT_EQ(added.Accept("DIMM"), AcceptResult::kSeveral);
}

TEST_F(AcceptingDevices, RefusesStatesOfOtherNamesOrWithoutATable) {
  Saved().Options = tvqplatform::kSnapshotAsIs;
  EXPECT_EQ(AcceptedDevices().Begin(Saved(), Now()), AcceptResult::kOtherOptions);
  Saved().NamingRules = 1;
  EXPECT_EQ(AcceptedDevices().Begin(Saved(), Now()), AcceptResult::kOtherNames);
  Saved().Table = {};
  EXPECT_EQ(AcceptedDevices().Begin(Saved(), Now()), AcceptResult::kNoTable);
}

// A state's table has 65,535 bytes at most.
TEST_F(AcceptingDevices, KeepsATableThatAStateTakes) {
  const size_t added = MemoryDevice{.handle = 0x1101, .locator = "DIMM A3", .serial = "BBB3"}
                           .Build()
                           .Encode()
                           .size();
  for (const size_t size : {65'535 - added, 65'536 - added}) {
    Bytes table = Copy(Saved().Table.Structures);
    while (table.size() < size) {
      const size_t whole = std::min<size_t>(size - table.size(), 200);
      // What is left is the last one's, which has four bytes and two more at least.
      const size_t left = size - table.size() - whole;
      const size_t length = left != 0 && left < 6 ? whole - 6 : whole;
      const Bytes filler =
          Structure{.type = 200, .handle = 0x2000, .body = Bytes(length - 6)}.Encode();
      table.insert(table.end(), filler.begin(), filler.end());
    }
    ASSERT_EQ(table.size(), size);
    tvqplatform::Snapshot saved;
    saved.NamingRules = tvqplatform::kNamingRules;
    saved.Table.Structures = View(table);
    AcceptedDevices accepted;
    ASSERT_EQ(accepted.Begin(saved, Now()), AcceptResult::kAccepted);
    EXPECT_EQ(accepted.Accept("DIMM.Socket.A3"),
              size + added == 65'535 ? AcceptResult::kAccepted : AcceptResult::kTooLarge);
  }
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
