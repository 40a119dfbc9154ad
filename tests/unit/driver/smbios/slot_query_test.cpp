/*
 * The slot query: which slot or onboard device stands at a PCI address.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <atomic>
#include <chrono>
#include <thread>

#include "tests/unit/driver/smbios/smbios_fixture.h"

#include "TvqSmbiosPkg/src/smbios/attributes.h"
#include "TvqSmbiosPkg/src/smbios/fqdd.h"

namespace tvq::test {
namespace {

using host::images::driver;

constexpr char16_t kSlotInfo[] = u"SMBIOSPCISlotInfo";
constexpr char16_t kSlotId[] = u"SMBIOSSLOTID";

// Device 3, function 1: two bits for the function, the device above them.
constexpr uint8_t kDevFn = 0x0D;

class SlotQuery : public SmbiosTest {
 protected:
  // Asks for device 3, function 1 on bus 0x17, unless the test changed it.
  EFI_STATUS Ask(const char16_t* name = kSlotInfo) {
    UINT64 value = reinterpret_cast<UINTN>(&mQuery);
    return PciAttributeGet(Ucs2(u"zorv.smbios.pci"), name == nullptr ? nullptr : Ucs2(name),
                           &value);
  }

  void ExpectNothingFound() const {
    EXPECT_EQ(mQuery.SlotId, 0xFFFF);
    EXPECT_EQ(mQuery.OnBoard, 0u);
  }

  static SMBIOS_SLOT_QUERY NewQuery() {
    SMBIOS_SLOT_QUERY query = {};
    query.Bus = 0x17;
    query.Device = 3;
    query.Function = 1;
    query.SlotId = 5;
    query.OnBoard = 0xAA;
    query.SlotType = query.SlotLength = query.SlotDataBusWidth = 0xAA;
    return query;
  }

  SMBIOS_SLOT_QUERY mQuery = NewQuery();
};

// A slot where the query looks.
Slot WantedSlot() {
  return {
      .slotType = 0xB6, .width = 0x0B, .slotLength = 0x04, .id = 5, .bus = 0x17, .devFn = kDevFn};
}

OnboardDevice WantedDevice() {
  return {.bus = 0x17, .devFn = kDevFn};
}

// --- What is asked ---

TEST_F(SlotQuery, KnowsTwoNames) {
  Use(Table::Of(WantedSlot()));
  for (const char16_t* const name :
       {static_cast<const char16_t*>(nullptr), u"", u"SMBIOSPCISlotInf", u"SMBIOSSlotId"}) {
    EXPECT_EQ(Ask(name), EFI_NOT_FOUND);
    EXPECT_EQ(mQuery.SlotId, 5) << "the query is not touched";
    EXPECT_EQ(mQuery.OnBoard, 0xAA);
  }
}

TEST_F(SlotQuery, DoesNotLookAtTheNamespace) {
  Use(Table::Of(WantedSlot()));
  UINT64 value = reinterpret_cast<UINTN>(&mQuery);
  EXPECT_EQ(PciAttributeGet(nullptr, Ucs2(kSlotInfo), &value), EFI_SUCCESS);
  EXPECT_EQ(value, reinterpret_cast<UINTN>(&mQuery));
}

TEST_F(SlotQuery, NeedsTheEntryPoint) {
  Use(Table::Of(WantedSlot()));
  EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
  EXPECT_EQ(Ask(), EFI_BAD_BUFFER_SIZE);
  EXPECT_EQ(mQuery.OnBoard, 0u);
  EXPECT_EQ(mQuery.SlotId, 5);
}

TEST_F(SlotQuery, RefusesAMissingQuery) {
  Use(Table::Of(WantedSlot()));
  UINT64 value = 0;
  EXPECT_EQ(PciAttributeGet(nullptr, Ucs2(kSlotInfo), &value), EFI_INVALID_PARAMETER);
  EXPECT_EQ(PciAttributeGet(nullptr, Ucs2(kSlotInfo), nullptr), EFI_INVALID_PARAMETER);
}

// --- Slots ---

TEST_F(SlotQuery, DescribesTheSlotAtAnAddress) {
  Use(Table::Of(Slot{}, WantedSlot(), Slot{}));
  ASSERT_EQ(Ask(), EFI_SUCCESS);
  EXPECT_EQ(mQuery.SlotId, 5);
  EXPECT_EQ(mQuery.OnBoard, 0u);
  EXPECT_EQ(mQuery.SlotType, 0xB6);
  EXPECT_EQ(mQuery.SlotDataBusWidth, 0x0B);
  EXPECT_EQ(mQuery.SlotLength, 0x04);
}

TEST_F(SlotQuery, ReportsTheWholeSlotId) {
  Slot slot = WantedSlot();
  slot.id = 0x1234;
  Use(Table::Of(slot));
  ASSERT_EQ(Ask(), EFI_SUCCESS);
  EXPECT_EQ(mQuery.SlotId, 0x1234);
}

TEST_F(SlotQuery, PacksDeviceAndFunctionInEightBits) {
  struct Case {
    UINT64 device;
    UINT64 function;
    uint8_t devFn;
  };
  const Case cases[] = {{3, 1, 0x0D},     {0, 0, 0x00}, {0x3F, 3, 0xFF},
                        {0x43, 0, 0x0C},  // bits above the eighth fall away
                        {0x103, 1, 0x0D}, {3, 5, 0x0D}, {3, 7, 0x0F}};
  for (const Case& shape : cases) {
    Slot slot = WantedSlot();
    slot.devFn = shape.devFn;
    Use(Table::Of(slot));
    mQuery.Device = shape.device;
    mQuery.Function = shape.function;
    EXPECT_EQ(Ask(), EFI_SUCCESS) << shape.device << "." << shape.function;
    slot.devFn ^= 1;
    Use(Table::Of(slot));
    EXPECT_EQ(Ask(), EFI_NOT_FOUND) << shape.device << "." << shape.function;
  }
}

TEST_F(SlotQuery, ComparesAllBitsOfTheBus) {
  Use(Table::Of(WantedSlot(), WantedDevice()));
  mQuery.Bus = 0x117;
  EXPECT_EQ(Ask(), EFI_NOT_FOUND);
}

TEST_F(SlotQuery, FindsNothingOnAnotherBusOrDevice) {
  Slot otherBus = WantedSlot();
  otherBus.bus = 0x18;
  Slot otherDevice = WantedSlot();
  otherDevice.devFn = 0x19;  // device 3, function 1 in the bus's own packing
  Use(Table::Of(otherBus, otherDevice));
  EXPECT_EQ(Ask(), EFI_NOT_FOUND);
  ExpectNothingFound();
  EXPECT_EQ(mQuery.SlotType, 0xAA);
  EXPECT_EQ(mQuery.SlotLength, 0xAA);
  EXPECT_EQ(mQuery.SlotDataBusWidth, 0xAA);
}

TEST_F(SlotQuery, MatchesNoSlotWithoutBusAndDevice) {
  mQuery.Bus = mQuery.Device = mQuery.Function = 0;
  for (const uint8_t length : std::initializer_list<uint8_t>{0x0D, 0x0F, 0x10}) {
    // What follows the formatted part is an empty string area, all zeros.
    tvq::test::Structure slot = Slot{.designation = std::nullopt}.Build().CutTo(length);
    Use(Table::Of(slot));
    EXPECT_EQ(Ask(), EFI_NOT_FOUND) << "length " << int{length};
  }
  Use(Table::Of(Slot{.designation = std::nullopt}.Build().CutTo(0x11)));
  EXPECT_EQ(Ask(), EFI_SUCCESS);
}

// --- Onboard devices ---

TEST_F(SlotQuery, FindsAnOnboardDeviceUnderBothNames) {
  for (const char16_t* const name : {kSlotInfo, kSlotId}) {
    mQuery = NewQuery();
    Use(Table::Of(OnboardDevice{}, WantedDevice()));
    ASSERT_EQ(Ask(name), EFI_SUCCESS);
    EXPECT_EQ(mQuery.SlotId, 1) << "the string number of the designation";
    EXPECT_EQ(mQuery.OnBoard, 1u);
    EXPECT_EQ(mQuery.SlotType, 0xAA);
    EXPECT_EQ(mQuery.SlotLength, 0xAA);
    EXPECT_EQ(mQuery.SlotDataBusWidth, 0xAA);
  }
}

TEST_F(SlotQuery, ExtendsTheStringNumberWithZeros) {
  Use(Table::Of(WantedDevice().Build().SetByte(4, 0xC8)));
  ASSERT_EQ(Ask(), EFI_SUCCESS);
  EXPECT_EQ(mQuery.SlotId, 0x00C8);
}

TEST_F(SlotQuery, MatchesNoOnboardDeviceWithoutBusAndDevice) {
  mQuery.Bus = mQuery.Device = mQuery.Function = 0;
  for (const uint8_t length : std::initializer_list<uint8_t>{9, 10}) {
    Use(Table::Of(OnboardDevice{.designation = std::nullopt}.Build().CutTo(length)));
    EXPECT_EQ(Ask(), EFI_NOT_FOUND) << "length " << int{length};
  }
}

TEST_F(SlotQuery, StopsAtTheFirstMatch) {
  Use(Table::Of(WantedDevice(), WantedSlot()));
  ASSERT_EQ(Ask(), EFI_SUCCESS);
  EXPECT_EQ(mQuery.OnBoard, 1u);
  Use(Table::Of(WantedSlot(), WantedDevice()));
  ASSERT_EQ(Ask(), EFI_SUCCESS);
  EXPECT_EQ(mQuery.OnBoard, 0u);
  EXPECT_EQ(mQuery.SlotId, 5);
}

// --- Slots by ID ---

TEST_F(SlotQuery, OverwritesTheSlotIdBeforeItIsComparedSoThatNoSlotIsFoundByIt) {
  Use(Table::Of(WantedSlot()));
  EXPECT_EQ(Ask(kSlotId), EFI_NOT_FOUND);
  ExpectNothingFound();
  EXPECT_EQ(mQuery.SlotType, 0xAA);
}

TEST_F(SlotQuery, DescribesASlotWithoutIdTheOtherWayRoundAndStillFindsNothing) {
  Slot slot = WantedSlot();
  slot.id = 0xFFFF;
  Use(Table::Of(slot, WantedDevice()));
  EXPECT_EQ(Ask(kSlotId), EFI_NOT_FOUND) << "the device behind it is not reached";
  ExpectNothingFound();
  EXPECT_EQ(mQuery.SlotType, 0xB6);
  EXPECT_EQ(mQuery.SlotDataBusWidth, 0x04);
  EXPECT_EQ(mQuery.SlotLength, 0x0B);
}

TEST_F(SlotQuery, MatchesNoSlotByAnIdPastTheFormattedPart) {
  // A string area of FFh bytes where the ID would stand.
  tvq::test::Structure slot = WantedSlot().Build().CutTo(9);
  slot.strings = {"\xFF\xFF\xFF"};
  Use(Table::Of(slot, WantedDevice()));
  EXPECT_EQ(Ask(kSlotId), EFI_SUCCESS);
  EXPECT_EQ(mQuery.OnBoard, 1u);
}

// --- How far the walk goes ---

TEST_F(SlotQuery, LooksAtAsManyStructuresAsTheEntryPointStates) {
  Table table = Table::Of(System{}, System{}, WantedSlot());
  table.statedCount = 2;
  Use(table);
  EXPECT_EQ(Ask(), EFI_NOT_FOUND);
  table.statedCount = 3;
  Use(table);
  EXPECT_EQ(Ask(), EFI_SUCCESS);
}

TEST_F(SlotQuery, EndsWhereTheEntryPointStatesMoreThanThereAre) {
  Table table = Table::Of(System{}, System{});
  table.statedCount = 255;
  Use(table);
  EXPECT_EQ(Ask(), EFI_NOT_FOUND);
  ExpectNothingFound();
}

TEST_F(SlotQuery, FindsNothingInAnEmptyTable) {
  Table table;
  table.statedCount = 3;
  Use(table);
  EXPECT_EQ(Ask(), EFI_NOT_FOUND);
}

TEST_F(SlotQuery, DoesNotReachASlotBehindARepeatedHandle) {
  Slot slot = WantedSlot();
  slot.handle = 0x30;
  Table table =
      Table::Of(System{.handle = 0x10}, System{.handle = 0x20}, System{.handle = 0x10}, slot);
  table.statedCount = 255;
  Use(table);
  EXPECT_EQ(Ask(), EFI_NOT_FOUND);
}

// A table whose onboard device can be moved to where the query looks, while the query runs.
class LongSlotQuery : public SlotQuery {
 protected:
  // `others` structures after the onboard device.
  void UseLongTable(size_t others) {
    Table table = Table::Of(OnboardDevice{.bus = 0x17, .devFn = 0});
    while (table.Count() <= others) {
      table.Add(Structure{0x80, static_cast<uint16_t>(table.Count())});
    }
    Use(table);
    mMapping = host::MapBelow4G(table.Size(), host::Guard::kBehind);
    std::copy(table.Bytes().begin(), table.Bytes().end(), mMapping.Data());
    mHarness.EntryPoint().TableAddress = mMapping.Address32();
  }

  // After a while, makes the device match.
  std::thread MatchLater() {
    volatile UINT8* const devFn = mMapping.Data() + 10;
    return std::thread([this, devFn] {
      std::this_thread::sleep_for(std::chrono::milliseconds(300));
      mMatched = true;
      *devFn = kDevFn;
    });
  }

  host::LowMapping mMapping;
  std::atomic<bool> mMatched = false;
};

TEST_F(LongSlotQuery, CyclesThroughMoreThan255StructuresUntilSomethingMatches) {
  for (const size_t others : {255, 299}) {
    mQuery = NewQuery();
    mMatched = false;
    UseLongTable(others);
    std::thread later = MatchLater();
    const EFI_STATUS status = Ask();
    EXPECT_TRUE(mMatched) << "the query gave up on " << others + 1 << " structures";
    EXPECT_EQ(status, EFI_SUCCESS);
    EXPECT_EQ(mQuery.OnBoard, 1u);
    later.join();
  }
}

TEST_F(LongSlotQuery, EndsOn255Structures) {
  UseLongTable(254);
  EXPECT_EQ(Ask(), EFI_NOT_FOUND);
}

Table LongTableThatEndsWith(const Slot& slot) {
  Table table;
  for (uint16_t n = 0; n < 299; ++n) {
    table.Add(Structure{0x80, n});
  }
  table.Add(slot);
  return table;
}

TEST_F(LongSlotQuery, FindsASlotBehindThe255thStructure) {
  Use(LongTableThatEndsWith(WantedSlot()));
  EXPECT_EQ(Ask(), EFI_SUCCESS);
  EXPECT_EQ(mQuery.SlotId, 5);
}

class BoundedSlotQuery : public LongSlotQuery {
 protected:
  BoundedSlotQuery() { mHarness.Firmware().SetPcd(driver, "PcdTvqBoundedWalks", 1); }
};

TEST_F(BoundedSlotQuery, EndsOnMoreThan255Structures) {
  for (const size_t others : {254, 255, 256, 299, 1000}) {
    UseLongTable(others);
    EXPECT_EQ(Ask(kSlotInfo), EFI_NOT_FOUND);
    ExpectNothingFound();
    EXPECT_EQ(Ask(kSlotId), EFI_NOT_FOUND);
  }
}

TEST_F(BoundedSlotQuery, FindsASlotBehindThe255thStructure) {
  Use(LongTableThatEndsWith(WantedSlot()));
  EXPECT_EQ(Ask(), EFI_SUCCESS);
  EXPECT_EQ(mQuery.SlotId, 5);
}

TEST_F(BoundedSlotQuery, EndsWhereTheEntryPointStatesFarTooMany) {
  Table table = Table::Of(System{}, System{});
  table.statedCount = 0xFFFF;
  Use(table);
  EXPECT_EQ(Ask(), EFI_NOT_FOUND);
}

TEST_F(BoundedSlotQuery, EndsInAnEmptyTable) {
  Table table;
  table.statedCount = 300;
  Use(table);
  EXPECT_EQ(Ask(), EFI_NOT_FOUND);
}

}  // namespace
}  // namespace tvq::test
