/*
 * A table that moves or grows after the start, as firmware's does when structures are added: the getters read the current
 * one, and nothing else reads a table any more.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>

#include "tests/unit/shared/driver_harness.h"

namespace tvq::test {
namespace {

using testing::IsEmpty;

Table ServerWithSerial(const std::string& serial) {
  return Table::Of(Bios{.version = "V-" + serial}, System{.handle = 0x100, .serial = serial},
                   Processor{.handle = 0x400}, MemoryArray{.handle = 0x1000},
                   MemoryDevice{.handle = 0x1100},
                   FqddMap{.groups = {{"CPU.Socket.1", 0x400}, {"DIMM.Socket.A1", 0x1100}}});
}

// A driver that was started on a table which is gone since: whoever still reads it faults.
class MovedTable : public testing::Test {
 protected:
  MovedTable() {
    mHarness.Publish(ServerWithSerial("BEFORE"));
    EXPECT_EQ(mHarness.Load(), EFI_SUCCESS);
    EXPECT_EQ(mHarness.Start(), EFI_SUCCESS);
    EXPECT_EQ(mHarness.Records().size(), 3u);
    mHarness.Publish(Table::Of(ServerWithSerial("AFTER"), Slot{.id = 7, .bus = 0x17, .devFn = 0}));
    mHarness.UnmapEarlierTables();
  }

  Bytes Inventory(const RecordHandle& record) {
    const Served served = mHarness.Get(record);
    EXPECT_EQ(served.status, EFI_SUCCESS);
    return served.blobs.at(TVQ_SLOT_INVENTORY);
  }

  DriverHarness mHarness;
};

TEST_F(MovedTable, GivesItsOwnServiceTag) {
  UINT64 value = 0;
  ASSERT_EQ(mHarness.Ask("zorv.server", u"SMBIOSServiceTagString", &value), EFI_SUCCESS);
  EXPECT_EQ(Utf8(reinterpret_cast<const CHAR16*>(static_cast<UINTN>(value))), "AFTER");
}

TEST_F(MovedTable, HoldsTheTextsOfTheFirmwareAttribute) {
  UINT64 value = 0;
  ASSERT_EQ(mHarness.Ask("zorv.smbios.bios", u"SMBIOSBIOSInfo", &value), EFI_SUCCESS);
  const auto* const info = reinterpret_cast<const SMBIOS_BIOS_INFO*>(static_cast<UINTN>(value));
  EXPECT_STREQ(info->BiosVersion, "V-AFTER");
  EXPECT_STREQ(info->ServiceTag, "AFTER");
}

TEST_F(MovedTable, AnswersForASlotThatWasAdded) {
  SMBIOS_SLOT_QUERY query = {};
  query.Bus = 0x17;
  UINT64 value = reinterpret_cast<UINTN>(&query);
  ASSERT_EQ(mHarness.Ask("zorv.smbios.pci", u"SMBIOSPCISlotInfo", &value), EFI_SUCCESS);
  EXPECT_EQ(query.SlotId, 7);
}

TEST_F(MovedTable, IsNotReadByTheRecords) {
  for (const RecordHandle& record : mHarness.Records()) {
    const Bytes before = Inventory(record);
    EXPECT_EQ(Inventory(record), before);
    CHAR8 language[] = "en-US";
    CHAR16* name = nullptr;
    CHAR16* fqdd = nullptr;
    EXPECT_EQ(record.entryInterface->GetDeviceName(record.entryInterface, record.devicePath,
                                                   language, &name, &fqdd),
              EFI_SUCCESS);
  }
}

TEST_F(MovedTable, IsWhereASecondStartReads) {
  EXPECT_EQ(mHarness.Start(), EFI_SUCCESS);
  EXPECT_EQ(mHarness.Records().size(), 3u);
}

TEST_F(MovedTable, IsNotReadByTheUnloadHandler) {
  EXPECT_EQ(mHarness.Unload(), EFI_SUCCESS);
  EXPECT_THAT(mHarness.Firmware().Misuses(), IsEmpty());
}

// Structures are added behind the last one as long as there is room.
TEST_F(MovedTable, ThatGrowsInPlaceIsReadToItsNewEnd) {
  Table table = ServerWithSerial("GROWN");
  const auto start = static_cast<uint16_t>(table.Size());
  table.Add(Slot{.id = 8, .bus = 0x18, .devFn = 0});
  table.statedLength = start;
  mHarness.Publish(table);
  SMBIOS_SLOT_QUERY query = {};
  query.Bus = 0x18;
  UINT64 value = reinterpret_cast<UINTN>(&query);
  EXPECT_EQ(mHarness.Ask("zorv.smbios.pci", u"SMBIOSPCISlotInfo", &value), EFI_NOT_FOUND);
  mHarness.EntryPoint().TableLength = static_cast<UINT16>(table.Size());
  EXPECT_EQ(mHarness.Ask("zorv.smbios.pci", u"SMBIOSPCISlotInfo", &value), EFI_SUCCESS);
  EXPECT_EQ(query.SlotId, 8);
}

}  // namespace
}  // namespace tvq::test
