/*
 * Tests of the library of devices: what is a device, and what tells devices apart.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <initializer_list>

#include "tests/unit/driver/tvq_device_lib/device_fixture.h"

#include "host/firmware/edk2.h"

#include <IndustryStandard/SmbiosTvq.h>
#include <Protocol/TvqRecord.h>

namespace tvq::test {
namespace {

using devices::Kind;
using testing::ElementsAre;

std::vector<Kind> Kinds(const Bytes& table) {
  std::vector<Kind> kinds;
  for (const smbios::Structure& structure : smbios::Walk(View(table))) {
    kinds.push_back(devices::KindOf(structure));
  }
  return kinds;
}

std::string CharactersOf(const smbios::Structure& module) {
  const devices::LocatorKey key = devices::KeyOfLocator(module);
  return std::string(std::begin(key.Characters), std::end(key.Characters));
}

std::vector<unsigned> BytesOf(const devices::Key& key) {
  return {std::begin(key.Data), std::end(key.Data)};
}

TEST(DeviceKind, OfAProcessorIsThatOfItsSocket) {
  Table table = Table::Of(Processor{.status = 0x41}, Processor{.status = 0x01});
  Structure old = Processor{.status = 0x41}.Build();
  table.Add(old.CutTo(0x18));  // It has no status.
  EXPECT_THAT(Kinds(table.Bytes()),
              ElementsAre(Kind::kProcessor, Kind::kEmptySocket, Kind::kEmptySocket));
}

TEST(DeviceKind, OfAMemoryDeviceGoesByItsTypeAndSize) {
  Table table;
  for (const uint8_t type : std::initializer_list<uint8_t>{0x1A, 0x1F, 0x20, 0x21, 0x22}) {
    table.Add(MemoryDevice{.memoryType = type});
  }
  EXPECT_THAT(Kinds(table.Bytes()),
              ElementsAre(Kind::kModule, Kind::kLogical, Kind::kHbm, Kind::kHbm, Kind::kModule));
}

TEST(DeviceKind, OfAnEmptySlotIsNoneOfAModule) {
  Table table = Table::Of(MemoryDevice{.size = 0}, MemoryDevice{.size = 0, .memoryType = 0x1F},
                          MemoryDevice{.size = 0, .memoryType = 0x20});
  Structure old = MemoryDevice{}.Build();
  table.Add(old.CutTo(0x0D));  // Half a size is none.
  EXPECT_THAT(Kinds(table.Bytes()),
              ElementsAre(Kind::kEmptySlot, Kind::kEmptySlot, Kind::kHbm, Kind::kEmptySlot));
}

TEST(DeviceKind, OfAnythingElseIsNone) {
  Table table = Table::Of(System{}, End{});
  EXPECT_THAT(Kinds(table.Bytes()), ElementsAre(Kind::kNone, Kind::kNone));
  EXPECT_EQ(devices::KindOf(smbios::Structure()), Kind::kNone);
}

TEST(DeviceKind, SaysOfWhatTypeTheRecordIs) {
  EXPECT_EQ(devices::RecordTypeOf(Kind::kProcessor), TVQ_DEVICE_TYPE_CPU);
  EXPECT_EQ(devices::RecordTypeOf(Kind::kModule), TVQ_DEVICE_TYPE_DIMM);
  for (const Kind kind :
       {Kind::kNone, Kind::kEmptySocket, Kind::kEmptySlot, Kind::kHbm, Kind::kLogical}) {
    EXPECT_EQ(devices::RecordTypeOf(kind), 0);
  }
}

TEST(DeviceName, IsTheSocketDesignationOrTheLocator) {
  Table table = Table::Of(Processor{.designation = "CPU1"}, MemoryDevice{.locator = "DIMM_A1"},
                          MemoryDevice{.locator = std::nullopt});
  const Bytes& bytes = table.Bytes();
  EXPECT_EQ(NameOf(At(bytes, 0)), "CPU1");
  EXPECT_EQ(NameOf(At(bytes, 1)), "DIMM_A1");
  EXPECT_FALSE(devices::NameOf(At(bytes, 2)));
}

TEST(DeviceName, IsTheStringOfADeviceWithOneNumber) {
  Table table =
      Table::Of(Processor{}, MemoryDevice{.bankLocator = std::nullopt},
                Structure{17, 7, Bytes(0x10, 0), {}}, Structure{1, 8, Bytes(0x20, 1), {"one"}});
  const Bytes& bytes = table.Bytes();
  for (size_t i = 0; i < 2; ++i) {
    const smbios::Structure device = At(bytes, i);
    for (uint16_t number = 0; number < 9; ++number) {
      const bool isName =
          number != 0 && device.String(number).Data() == devices::NameOf(device).Data();
      EXPECT_EQ(devices::IsName(device, number), isName) << number;
    }
  }
  EXPECT_FALSE(devices::IsName(At(bytes, 2), 0)) << "0 is the number of no string";
  EXPECT_FALSE(devices::IsName(At(bytes, 3), 1)) << "no device";
}

struct SocketCase {
  Text designation;
  uint8_t number;
};

class SocketNumber : public testing::TestWithParam<SocketCase> {};

TEST_P(SocketNumber, IsTheFourthCharacterLessTheCodeOfZero) {
  Table table =
      Table::Of(Processor{.designation = GetParam().designation, .manufacturer = "7 makers"});
  const Bytes& bytes = table.Bytes();
  EXPECT_EQ(devices::SocketNumber(At(bytes, 0)), GetParam().number);
  const uint8_t data[] = {TVQ_DEVICE_TYPE_CPU, GetParam().number, 0, 0, 0, 0, 0};
  EXPECT_THAT(BytesOf(devices::KeyOf(At(bytes, 0))), testing::ElementsAreArray(data));
}

INSTANTIATE_TEST_SUITE_P(
    Designations, SocketNumber,
    testing::Values(SocketCase{"CPU1", 1}, SocketCase{"CPU0 of board 1", 0},
                    SocketCase{"SOCKET 0", 'K' - '0'}, SocketCase{"CPU\xFF", 0xFF - '0'},
                    SocketCase{"CPU ", static_cast<uint8_t>(' ' - '0')},
                    // The terminator, and the first character of the string behind it.
                    SocketCase{"CPU", static_cast<uint8_t>(0 - '0')}, SocketCase{"CP", 7},
                    SocketCase{std::nullopt, 0}));

struct LocatorCase {
  std::string locator;
  std::string characters;  // three bytes
};

class LocatorKey : public testing::TestWithParam<LocatorCase> {};

TEST_P(LocatorKey, IsThreeBytesOfTheLocator) {
  Table table = Table::Of(Structure{17, 7, Bytes(0x13 - 4, 1), {GetParam().locator, "next"}});
  const Bytes& bytes = table.Bytes();
  EXPECT_EQ(CharactersOf(At(bytes, 0)), GetParam().characters);
}

INSTANTIATE_TEST_SUITE_P(
    Locators, LocatorKey,
    testing::Values(LocatorCase{"DIMM_A1", std::string("A1\0", 3)}, LocatorCase{"DIMM_B10", "B10"},
                    LocatorCase{"A5", std::string("A5\0", 3)}, LocatorCase{"CPU1_DIMM_A1", "DIM"},
                    LocatorCase{"12345DIMM_", "DIM"}, LocatorCase{"DIMM_", std::string("\0ne", 3)},
                    LocatorCase{"DIMM A1", "DIM"}, LocatorCase{"DIMM", "DIM"},
                    LocatorCase{"DDIMM_B", std::string("_B\0", 3)}, LocatorCase{"XIMM_A1", "XIM"},
                    LocatorCase{"A", std::string("A\0n", 3)}));

TEST(LocatorKey, IsZerosWithoutALocatorAndBehindTheTable) {
  Table table = Table::Of(MemoryDevice{.locator = std::nullopt});
  const Bytes& without = table.Bytes();
  EXPECT_EQ(CharactersOf(At(without, 0)), std::string(3, '\0'));
  Bytes cut = {17, 0x11, 0, 0};
  cut.resize(0x10);
  cut.insert(cut.end(), {1, 'A', 0});
  EXPECT_EQ(CharactersOf(At(cut, 0)), std::string("A\0\0", 3));
}

TEST(LocatorKey, HasCharactersUpToItsFirstNul) {
  EXPECT_EQ((devices::LocatorKey{{'A', '1', '0'}}).Length(), 3u);
  EXPECT_EQ((devices::LocatorKey{{'A', '1', 0}}).Length(), 2u);
  EXPECT_EQ((devices::LocatorKey{{'A', 0, 'x'}}).Length(), 1u);
  EXPECT_EQ((devices::LocatorKey{{0, 'x', 'x'}}).Length(), 0u);
}

TEST(DeviceKey, OfAModuleHasItsCharactersWidenedWithTheirSign) {
  Table table = Table::Of(MemoryDevice{.locator = "\x80-\x7F"});
  const Bytes& bytes = table.Bytes();
  EXPECT_THAT(BytesOf(devices::KeyOf(At(bytes, 0))),
              ElementsAre(TVQ_DEVICE_TYPE_DIMM, 0x80, 0xFF, '-', 0, 0x7F, 0));
}

TEST(DeviceKey, IsEqualOnlyInAllItsBytes) {
  const devices::Key key = {{3, 'A', 0, '1', 0, 0, 0}};
  EXPECT_EQ(key, key);
  for (size_t i = 0; i < sizeof(key.Data); ++i) {
    devices::Key other = key;
    other.Data[i] ^= 0x80;
    EXPECT_NE(key, other);
  }
}

TEST(DeviceKey, IsReadFromADevicePath) {
  TVQ_DEVICE_PATH path = {};
  for (size_t i = 0; i < sizeof(path.Data); ++i) {
    path.Data[i] = static_cast<UINT8>(i + 1);
  }
  const smbios::Bytes bytes(reinterpret_cast<const uint8_t*>(&path), sizeof(path));
  EXPECT_THAT(BytesOf(devices::KeyOfPath(bytes)), ElementsAre(1, 2, 3, 4, 5, 6, 7));
  EXPECT_EQ(devices::KeyOfPath(bytes.First(bytes.Size() - 1)), devices::Key());
  EXPECT_EQ(devices::KeyOfPath(smbios::Bytes()), devices::Key());
}

TEST(FqddMap, IsUsableWhenAllItsStructuresHaveTheKnownFormat) {
  Table table = Table::Of(FqddMap{});
  EXPECT_EQ(devices::FindFqddMap(View(table.Bytes())), devices::FqddMap::kUsable);
  Structure other = FqddMap{}.Build();
  table.Add(other.SetByte(4, 2));
  table.Add(FqddMap{});
  EXPECT_EQ(devices::FindFqddMap(View(table.Bytes())), devices::FqddMap::kOtherFormat);
}

TEST(FqddMap, WithoutAFormatByteIsOfAnotherFormat) {
  Table table;
  Structure header = FqddMap{}.Build();
  table.Add(header.CutTo(4));
  EXPECT_EQ(devices::FindFqddMap(View(table.Bytes())), devices::FqddMap::kOtherFormat);
}

// The driver reads what the cut leaves of a group, and wants the first byte of each.
TEST(FqddMap, IsCutOffWhereAGroupWouldBeginBehindTheTable) {
  Table table = Table::Of(FqddMap{.groups = {{"one", 1}, {"two", 2}}});
  Bytes bytes = table.Bytes();
  for (size_t size = 5 + 4 + 1; size <= 5 + 4 + 4; ++size) {
    bytes.resize(size);
    EXPECT_EQ(devices::FindFqddMap(View(bytes)), devices::FqddMap::kUsable);
  }
  for (size_t size = 5; size <= 5 + 4; ++size) {
    bytes.resize(size);
    EXPECT_EQ(devices::FindFqddMap(View(bytes)), devices::FqddMap::kCutOff);
  }
  bytes.resize(4);
  EXPECT_EQ(devices::FindFqddMap(View(bytes)), devices::FqddMap::kOtherFormat);
  const Bytes empty = {225, 5, 0, 0, 1};
  EXPECT_EQ(devices::FindFqddMap(View(empty)), devices::FqddMap::kUsable);
}

TEST(FqddMap, HasNoGroupInBytesThatAreTooFewForOne) {
  const Bytes tooFew = {225, 5 + sizeof(SMBIOS_TVQ_FQDD_GROUP) - 1, 0, 0, 1};
  EXPECT_EQ(devices::FindFqddMap(View(tooFew)), devices::FqddMap::kUsable);
  const Bytes enough = {225, 5 + sizeof(SMBIOS_TVQ_FQDD_GROUP), 0, 0, 1};
  EXPECT_EQ(devices::FindFqddMap(View(enough)), devices::FqddMap::kCutOff);
}

TEST(FqddMap, IsMissingWithoutAStructureOfItsType) {
  Table table = Table::Of(System{});
  EXPECT_EQ(devices::FindFqddMap(View(table.Bytes())), devices::FqddMap::kMissing);
  EXPECT_EQ(devices::FindFqddMap(smbios::Bytes()), devices::FqddMap::kMissing);
}

TEST(FqddMap, BehindTheEndOfTheTableDoesNotCount) {
  Table table = Table::Of(System{}, Structure{1, 0xFFFF}, FqddMap{});
  EXPECT_EQ(devices::FindFqddMap(View(table.Bytes())), devices::FqddMap::kMissing);
  table = Table::Of(FqddMap{}, FqddMap{.handle = 0xFFFF, .format = 2}, FqddMap{.format = 2});
  EXPECT_EQ(devices::FindFqddMap(View(table.Bytes())), devices::FqddMap::kUsable);
  table = Table::Of(FqddMap{.handle = 0xFFFF}, FqddMap{.format = 2});
  EXPECT_EQ(devices::FindFqddMap(View(table.Bytes())), devices::FqddMap::kOtherFormat);
}

TEST(TableEnd, IsAReservedHandleThatIsNotTheFirst) {
  Table table = Table::Of(Structure{1, 0xFFFF}, Structure{1, 0xFFFE}, Structure{1, 0xFFFF});
  const Bytes& bytes = table.Bytes();
  EXPECT_FALSE(devices::EndsTable(At(bytes, 0)));
  EXPECT_FALSE(devices::EndsTable(At(bytes, 1)));
  EXPECT_TRUE(devices::EndsTable(At(bytes, 2)));
}

}  // namespace
}  // namespace tvq::test
