/*
 * A machine as its table says: every part by its own texts and numbers.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>

#include "tests/unit/host/facts/facts_fixture.h"

namespace tvq::facts {
namespace {

using testing::IsEmpty;
using testing::SizeIs;

TEST(Machine, HasTheTextsOfItsFirmware) {
  const Part firmware = Only(Kind::kFirmware, test::Bios{});
  EXPECT_EQ(firmware.TextOf("vendor"), "Firmware Works");
  EXPECT_EQ(firmware.TextOf("version"), "2.4.6");
  EXPECT_EQ(firmware.TextOf("date"), "03/14/2021");
  EXPECT_EQ(firmware.TextOf("release"), "2.4");
}

TEST(Machine, HasTheTextsOfBoardAndChassis) {
  const Part board = Only(Kind::kBoard, test::BaseBoard{.assetTag = "Asset 3"});
  EXPECT_EQ(board.TextOf("product"), "Board One");
  EXPECT_EQ(board.TextOf("serial"), "BRD0001");
  EXPECT_EQ(board.TextOf("assetTag"), "Asset 3");
  EXPECT_EQ(board.TextOf("location"), "Main Tray");
  EXPECT_EQ(board.TextOf("type"), "Motherboard");
  const Part chassis = Only(Kind::kChassis, test::Chassis{.sku = "SKU-9"});
  EXPECT_EQ(chassis.TextOf("type"), "Rack Mount Chassis");
  EXPECT_EQ(chassis.TextOf("sku"), "SKU-9");
  EXPECT_EQ(chassis.NumberOf("heightInUnits"), 2u);
}

TEST(Machine, ALockOnTheChassisIsNotItsType) {
  EXPECT_EQ(Only(Kind::kChassis, test::Chassis{.chassisType = 0x97}).TextOf("type"),
            "Rack Mount Chassis");
}

TEST(Machine, FindsTheChassisNumberBehindItsElements) {
  test::Structure chassis = test::Chassis{.sku = "SKU-9"}.Build();
  chassis.body[0x13 - 4] = 2;  // elements
  chassis.body[0x14 - 4] = 3;  // bytes of each
  chassis.body.insert(chassis.body.begin() + 0x15 - 4, 6, 0x77);
  EXPECT_EQ(Only(Kind::kChassis, chassis).TextOf("sku"), "SKU-9");
}

TEST(Machine, SwapsTheUuidFromVersion26On) {
  const test::Table table = test::Table::Of(test::System{});
  const auto uuidOf = [&table](table::Version version) {
    return Read(table, version).Of(Kind::kSystem).front().Find("uuid");
  };
  EXPECT_EQ(uuidOf({2, 5}), Text("33221100-5544-7766-8899-aabbccddeeff"));
  EXPECT_EQ(uuidOf({2, 6}), Text("00112233-4455-6677-8899-aabbccddeeff"));
}

TEST(Machine, HasNoUuidWhereNoneWasSet) {
  for (const uint8_t byte : test::Bytes{0x00, 0xFF}) {
    EXPECT_EQ(Only(Kind::kSystem, test::System{.uuid = test::Bytes(16, byte)}).Find("uuid"),
              kUnknown);
  }
}

TEST(Machine, TakesTheBlanksOffATextAndKeepsNoEmptyOne) {
  const Part system =
      Only(Kind::kSystem, test::System{.product = "  Rack One ", .serial = "   ", .sku = ""});
  EXPECT_EQ(system.Find("product"), Text("Rack One"));
  EXPECT_EQ(system.Find("serial"), kUnknown);
  EXPECT_EQ(system.Find("sku"), kUnknown);
}

TEST(Machine, DoesNotKnowATextWhoseNumberIsOutOfRange) {
  test::Structure system = test::System{}.Build();
  system.SetByte(0x07, 200);
  const Part part = Only(Kind::kSystem, system);
  EXPECT_EQ(part.Find("serial"), kUnknown);
  EXPECT_EQ(part.Find("product"), Text("Rack One"));
}

TEST(Machine, CountsCoresInSixteenBitsBehindAFullByte) {
  const Part processor = Only(Kind::kProcessor, test::Processor{.coreCount = 0xFF,
                                                                .coreEnabled = 0xFF,
                                                                .threadCount = 0xFF,
                                                                .coreCount2 = 288,
                                                                .coreEnabled2 = 280,
                                                                .threadCount2 = 576});
  EXPECT_EQ(processor.NumberOf("coreCount"), 288u);
  EXPECT_EQ(processor.NumberOf("enabledCoreCount"), 280u);
  EXPECT_EQ(processor.NumberOf("threadCount"), 576u);
}

TEST(Machine, CountsCoresInTheByteWhereTheStructureHasNoMore) {
  test::Structure processor = test::Processor{.coreCount = 0xFF, .coreCount2 = 288}.Build();
  processor.CutTo(0x2A);
  EXPECT_EQ(Only(Kind::kProcessor, processor).NumberOf("coreCount"), 255u);
  processor.CutTo(0x23);
  EXPECT_EQ(Only(Kind::kProcessor, processor).Find("coreCount"), kUnknown);
}

TEST(Machine, KnowsWhichSocketsAreEmpty) {
  const Machine machine = Read(test::Table::Of(test::Processor{}, test::Processor{.status = 0x00}));
  EXPECT_TRUE(IsPopulated(machine.Of(Kind::kProcessor)[0]));
  EXPECT_FALSE(IsPopulated(machine.Of(Kind::kProcessor)[1]));
}

TEST(Machine, GivesEachPopulatedSocketTheNextPpin) {
  const Machine machine = Read(test::Table::Of(
      test::Processor{}, test::Processor{.status = 0x00}, test::Processor{}, test::Processor{},
      test::OemStrings{.texts = {"1[0]", "17[00112233445566AA]", "other"}},
      test::OemStrings{.texts = {"17[00112233445566BB]", "17[cut"}}));
  const auto& processors = machine.Of(Kind::kProcessor);
  EXPECT_EQ(processors[0].Find("ppin"), Text("00112233445566AA"));
  EXPECT_EQ(processors[1].Find("ppin"), kUnknown);
  EXPECT_EQ(processors[2].Find("ppin"), Text("00112233445566BB"));
  EXPECT_EQ(processors[3].Find("ppin"), kUnknown);
}

TEST(Machine, TakesAPpinWithoutItsBracket) {
  EXPECT_EQ(Only(Kind::kProcessor, test::Processor{},
                 test::OemStrings{.texts = {"17[00112233445566AAmore"}})
                .Find("ppin"),
            Text("00112233445566AA"));
}

TEST(Machine, HasSlotsWithTheirAddress) {
  const Part slot = Only(Kind::kSlot, test::Slot{.slotType = 0xB6,
                                                 .usage = 4,
                                                 .id = 0,
                                                 .characteristics2 = 0x02,
                                                 .segment = 1,
                                                 .bus = 0x3B,
                                                 .devFn = 0x0A});
  EXPECT_EQ(slot.TextOf("type"), "PCI Express 3 x16");
  EXPECT_EQ(slot.TextOf("width"), "x16");
  EXPECT_EQ(slot.TextOf("usage"), "In Use");
  EXPECT_EQ(slot.Find("id"), Number(0));
  EXPECT_EQ(slot.TextOf("address"), "0001:3b:01.2");
  EXPECT_EQ(slot.Find("isHotPlug"), Value(true));
}

TEST(Machine, ASlotMayHaveNoAddress) {
  EXPECT_EQ(Only(Kind::kSlot, test::Slot{.bus = 0xFF, .devFn = 0xFF}).Find("address"), kUnknown);
  test::Structure old = test::Slot{}.Build();
  old.CutTo(0x0D);
  EXPECT_EQ(Only(Kind::kSlot, old).Find("address"), kUnknown);
}

TEST(Machine, HasOnboardDevices) {
  const Part device = Only(Kind::kOnboardDevice, test::OnboardDevice{.bus = 2, .devFn = 0x09});
  EXPECT_EQ(device.TextOf("label"), "Embedded NIC 1");
  EXPECT_EQ(device.TextOf("type"), "Ethernet");
  EXPECT_EQ(device.Find("isEnabled"), Value(true));
  EXPECT_EQ(device.TextOf("address"), "0000:02:01.1");
}

TEST(Machine, HasMemoryArrays) {
  const Part array = Only(Kind::kMemoryArray, test::MemoryArray{});
  EXPECT_EQ(array.TextOf("errorCorrection"), "Multi-bit ECC");
  EXPECT_EQ(array.NumberOf("capacityInBytes"), uint64_t{256} << 30);
  const Part large =
      Only(Kind::kMemoryArray, test::MemoryArray{.maximumCapacity = 0x80000000,
                                                 .extendedMaximumCapacity = uint64_t{6} << 40});
  EXPECT_EQ(large.NumberOf("capacityInBytes"), uint64_t{6} << 40);
}

TEST(Machine, HasPowerSupplies) {
  test::Structure supply = {39};
  supply.Byte(1).String("Bay 1").String("PSU").String("Power Works").String("PS01");
  supply.String("Asset 1").String("PW-800").String("B2").Word(800).Word(0x0002);
  const Part part = Only(Kind::kPowerSupply, supply);
  EXPECT_EQ(part.TextOf("location"), "Bay 1");
  EXPECT_EQ(part.TextOf("serial"), "PS01");
  EXPECT_EQ(part.TextOf("partNumber"), "PW-800");
  EXPECT_EQ(part.TextOf("revision"), "B2");
  EXPECT_EQ(part.NumberOf("maximumPowerInWatts"), 800u);
  EXPECT_EQ(part.Find("isPresent"), Value(true));
  supply.SetWord(0x0C, 0x8000);
  EXPECT_EQ(Only(Kind::kPowerSupply, supply).Find("maximumPowerInWatts"), kUnknown);
}

TEST(Machine, ListsEveryPartOfAKind) {
  const Machine machine = Read(test::Table::Of(test::System{}, test::System{}, test::BaseBoard{}));
  EXPECT_THAT(machine.Of(Kind::kSystem), SizeIs(2));
  EXPECT_THAT(machine.Of(Kind::kBoard), SizeIs(1));
  EXPECT_THAT(machine.Of(Kind::kSlot), IsEmpty());
}

TEST(Machine, EndsAtPaddingAndAtTheStatedCount) {
  test::Table table = test::Table::Of(test::System{}, test::End{});
  table.Add(test::Raw{test::Bytes(64, 0)});
  EXPECT_THAT(ReadMachine(table.Bytes(), {3, 3}, 100).Of(Kind::kFirmware), IsEmpty());
  const test::Table two = test::Table::Of(test::System{}, test::System{});
  EXPECT_THAT(ReadMachine(two.Bytes(), {3, 3}, 1).Of(Kind::kSystem), SizeIs(1));
}

TEST(Machine, IsReadWholeWhereNoCountIsStated) {
  const test::Table table = test::Table::Of(test::System{}, test::BaseBoard{});
  EXPECT_THAT(ReadMachine(table.Bytes(), {2, 1}, 0).Of(Kind::kBoard), SizeIs(1));
}

TEST(Machine, StaysInsideATableThatEndsAnywhere) {
  const test::Table whole =
      test::Table::Of(test::Bios{}, test::System{}, test::BaseBoard{}, test::Chassis{},
                      test::Processor{}, test::Slot{}, test::MemoryArray{}, test::MemoryDevice{},
                      test::OemStrings{.texts = {"17[00112233445566AA]"}}, test::OnboardDevice{});
  for (size_t size = 0; size <= whole.Size(); ++size) {
    // Bytes behind the end are the sanitizer's.
    const test::Bytes cut(whole.Bytes().begin(),
                          whole.Bytes().begin() + static_cast<std::ptrdiff_t>(size));
    ReadMachine(cut, {3, 3}, 100);
  }
}

TEST(Machine, ReadsEveryLengthOfAStructure) {
  for (unsigned length = 4; length <= 0xFF; ++length) {
    for (const uint8_t type : test::Bytes{0, 1, 2, 3, 4, 9, 16, 17, 39, 41}) {
      for (const uint8_t byte : test::Bytes{0x00, 0x01, 0xFF}) {
        Read(test::Table::Of(test::Structure{type, 1, test::Bytes(length - 4, byte), {"Text"}}));
      }
    }
  }
}

}  // namespace
}  // namespace tvq::facts
