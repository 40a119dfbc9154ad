/*
 * Tests of the library of devices: which devices no record serves, and why.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/driver/tvq_device_lib/device_fixture.h"

namespace tvq::test {
namespace {

using devices::Kind;
using devices::Unserved;
using Reason = devices::Unserved::Reason;
using testing::ElementsAre;
using testing::IsEmpty;

// "0x0101 clashes with 0x0100", for each device without a record.
std::vector<std::string> Describe(const Bytes& table, Kind kind,
                                  const std::vector<devices::Key>& served) {
  const auto name = [](const smbios::Structure& structure) {
    return structure ? std::to_string(structure.Handle()) : "none";
  };
  std::vector<std::string> words;
  devices::UnservedDevices found(View(table), kind, {served.data(), served.size()});
  for (Unserved device; found.Next(device);) {
    constexpr const char* kReasons[] = {" clashes with ", " is refused by ", " is behind ",
                                        " is behind the end at "};
    words.push_back(name(device.Device) + kReasons[static_cast<int>(device.Why)] +
                    name(device.Other));
  }
  return words;
}

class UnservedDevices : public testing::Test {
 protected:
  void AddModule(uint16_t handle, const std::string& locator) {
    mTable.Add(MemoryDevice{.handle = handle, .locator = locator});
  }

  // The keys of these structures.
  std::vector<devices::Key> KeysOf(const std::vector<uint16_t>& handles) {
    std::vector<devices::Key> keys;
    const Bytes bytes = mTable.Bytes();
    for (const uint16_t handle : handles) {
      for (const smbios::Structure& structure : smbios::Walk(View(bytes))) {
        if (structure.Handle() == handle) {
          keys.push_back(devices::KeyOf(structure));
        }
      }
    }
    return keys;
  }

  std::vector<std::string> Modules(const std::vector<uint16_t>& served) {
    return Describe(mTable.Bytes(), Kind::kModule, KeysOf(served));
  }

  Table mTable;
};

TEST_F(UnservedDevices, AreNoneWhereEachHasARecord) {
  AddModule(10, "A1");
  AddModule(11, "A2");
  EXPECT_THAT(Modules({10, 11}), IsEmpty());
  EXPECT_THAT(Describe(mTable.Bytes(), Kind::kProcessor, {}), IsEmpty());
}

TEST_F(UnservedDevices, IsTheSecondWithOneKeyAndAllBehindIt) {
  AddModule(10, "P1-A");
  mTable.Add(Processor{});
  AddModule(11, "P1-B");
  AddModule(12, "A3");
  AddModule(13, "P1-C");
  EXPECT_THAT(Modules({10}),
              ElementsAre("11 clashes with 10", "12 is behind 11", "13 is behind 11"));
}

TEST_F(UnservedDevices, IsOneThatTheFirmwareRefusedForReasonsThatTheTableDoesNotTell) {
  AddModule(10, "A1");
  AddModule(11, "A2");
  AddModule(12, "A3");
  EXPECT_THAT(Modules({10}), ElementsAre("11 is refused by none", "12 is behind 11"));
  EXPECT_THAT(Modules({}),
              ElementsAre("10 is refused by none", "11 is behind 10", "12 is behind 10"));
}

TEST_F(UnservedDevices, AreNoneOfThoseThatGetNoRecord) {
  AddModule(10, "A1");
  mTable.Add(MemoryDevice{.handle = 11, .size = 0, .locator = "A2"});
  mTable.Add(MemoryDevice{.handle = 12, .locator = "HBM", .memoryType = 0x20});
  EXPECT_THAT(Modules({10}), IsEmpty());
}

TEST_F(UnservedDevices, AreProcessorsToo) {
  mTable.Add(Processor{.handle = 20, .designation = "CPU1"});
  mTable.Add(Processor{.handle = 21, .designation = "CPU1 of board 2"});
  mTable.Add(Processor{.handle = 22, .designation = "CPU2", .status = 0});
  EXPECT_THAT(Describe(mTable.Bytes(), Kind::kProcessor, KeysOf({20})),
              ElementsAre("21 clashes with 20"));
}

// The driver reads names in another order than they stand when a string number is wrong.
TEST_F(UnservedDevices, AreNoneWhereThereAreAsManyRecordsAsDevices) {
  AddModule(10, "A1");
  mTable.Add(Processor{});
  AddModule(11, "A1");
  const std::vector<devices::Key> others = {{{3, 'X'}}, {{3, 'Y'}}};
  EXPECT_THAT(Describe(mTable.Bytes(), Kind::kModule, others), IsEmpty());
}

TEST_F(UnservedDevices, AreAllButOneWhereThereIsOneRecordLess) {
  AddModule(10, "A1");
  AddModule(11, "A2");
  AddModule(12, "A3");
  EXPECT_THAT(Modules({10, 11}), ElementsAre("12 is refused by none"));
  EXPECT_THAT(Modules({10, 11, 11}), IsEmpty());
}

TEST_F(UnservedDevices, AreThoseBehindAHandleThatEndsTheTable) {
  AddModule(10, "A1");
  mTable.Add(Structure{1, 0xFFFF});
  AddModule(11, "A2");
  AddModule(12, "A1");
  EXPECT_THAT(Modules({10}),
              ElementsAre("11 is behind the end at 65535", "12 is behind the end at 65535"));
}

TEST_F(UnservedDevices, AreBehindAClashAlsoWhereTheTableEndsLater) {
  AddModule(10, "A1");
  AddModule(11, "A1");
  mTable.Add(Structure{1, 0xFFFF});
  AddModule(12, "A2");
  EXPECT_THAT(Modules({10}), ElementsAre("11 clashes with 10", "12 is behind 11"));
}

}  // namespace
}  // namespace tvq::test
