/*
 * Publishing a table behind a 32-bit entry point, and putting back what stood there.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>
#include <numeric>

#include "tests/unit/platform/platform_fixture.h"
#include "tests/unit/shared/entry_point.h"

#include "TvqPlatformPkg/src/smbios/firmware_table.h"
#include "TvqPlatformPkg/src/smbios/publication.h"

namespace tvq::test {
namespace {

using smbios::EntryPointKind;
using tvqplatform::Capture;
using tvqplatform::Publication;
using tvqplatform::SmbiosTable;

class AgentPublication : public AgentTest {
 protected:
  AgentPublication() : mTable(MinimalServer()) {}

  const Table& Server() { return mTable; }
  SmbiosTable ServerTable() {
    return {2, 7, static_cast<UINT16>(mTable.Count()), View(mTable.Bytes())};
  }
  SMBIOS_TABLE_ENTRY_POINT* Published() {
    return static_cast<SMBIOS_TABLE_ENTRY_POINT*>(
        ConfigurationTable(Firmware(), gEfiSmbiosTableGuid));
  }
  void Install(const EFI_GUID& guid, VOID* table) {
    EXPECT_EQ(
        Firmware().BootServices()->InstallConfigurationTable(const_cast<EFI_GUID*>(&guid), table),
        EFI_SUCCESS);
  }
  static int Sum(const VOID* bytes, size_t size) {
    const auto* first = static_cast<const UINT8*>(bytes);
    return std::accumulate(first, first + size, 0) & 0xFF;
  }

 private:
  Table mTable;
};

TEST_F(AgentPublication, PlacesEntryPointAndTableBelow4GiB) {
  Publication publication;
  ASSERT_EQ(publication.Publish(ServerTable()), EFI_SUCCESS);
  const SMBIOS_TABLE_ENTRY_POINT* entry = Published();
  ASSERT_NE(entry, nullptr);
  EXPECT_LT(reinterpret_cast<uintptr_t>(entry), uint64_t{1} << 32);
  const auto* table = reinterpret_cast<const UINT8*>(uintptr_t{entry->TableAddress});
  EXPECT_EQ(Bytes(table, table + entry->TableLength), Server().Bytes());
}

TEST_F(AgentPublication, WritesAnEntryPointThatStatesTheTruth) {
  Publication publication;
  ASSERT_EQ(publication.Publish(ServerTable()), EFI_SUCCESS);
  const SMBIOS_TABLE_ENTRY_POINT* entry = Published();
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(entry->AnchorString), 4), "_SM_");
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(entry->IntermediateAnchorString), 5),
            "_DMI_");
  EXPECT_EQ(entry->EntryPointLength, 0x1F);
  EXPECT_EQ(entry->MajorVersion, 2);
  EXPECT_EQ(entry->MinorVersion, 7);
  EXPECT_EQ(entry->SmbiosBcdRevision, 0x27);
  EXPECT_EQ(entry->NumberOfSmbiosStructures, Server().Count());
  EXPECT_EQ(Sum(entry, 0x1F), 0);
  EXPECT_EQ(Sum(entry->IntermediateAnchorString, 0x0F), 0);
  size_t largest = 0;
  for (size_t i = 0; i < Server().Count(); ++i) {
    largest = std::max(largest, Server().OffsetOf(i + 1) - Server().OffsetOf(i));
  }
  EXPECT_EQ(entry->MaxStructureSize, largest);
}

TEST_F(AgentPublication, StatesTheCountThatItIsGiven) {
  SmbiosTable table = ServerTable();
  table.StructureCount = 999;
  Publication publication;
  ASSERT_EQ(publication.Publish(table), EFI_SUCCESS);
  EXPECT_EQ(Published()->NumberOfSmbiosStructures, 999);
}

TEST_F(AgentPublication, PutsBackWhatStoodThere) {
  UINT8 former[31] = {};
  Install(gEfiSmbiosTableGuid, former);
  {
    Publication publication;
    ASSERT_EQ(publication.Publish(ServerTable()), EFI_SUCCESS);
    EXPECT_NE(static_cast<VOID*>(Published()), former);
  }
  EXPECT_EQ(static_cast<VOID*>(Published()), former);
}

TEST_F(AgentPublication, TakesItsEntryOffWhereNoneStood) {
  {
    Publication publication;
    ASSERT_EQ(publication.Publish(ServerTable()), EFI_SUCCESS);
  }
  EXPECT_EQ(Published(), nullptr);
}

TEST_F(AgentPublication, KeepsTheMemoryForTheBoot) {
  const UINT8* entry = nullptr;
  {
    Publication publication;
    ASSERT_EQ(publication.Publish(ServerTable()), EFI_SUCCESS);
    entry = publication.EntryPoint();
  }
  EXPECT_EQ(Sum(entry, 0x1F), 0) << "a driver may still read it";
  EXPECT_TRUE(Firmware().Memory().Find(entry).has_value());
}

TEST_F(AgentPublication, TakesNoMorePagesThanItNeedsAndNoneFromTheOperatingSystem) {
  // The entry point takes the first 20h bytes.
  for (const size_t size : {size_t{EFI_PAGE_SIZE} - 0x20, size_t{EFI_PAGE_SIZE} - 0x20 + 1}) {
    const Bytes structures(size, 1);
    SmbiosTable table = ServerTable();
    table.Structures = View(structures);
    Publication publication;
    ASSERT_EQ(publication.Publish(table), EFI_SUCCESS);
    const auto block = Firmware().Memory().Find(publication.EntryPoint());
    ASSERT_TRUE(block.has_value());
    EXPECT_EQ(block->type, EfiBootServicesData);
    EXPECT_EQ(block->size, EFI_PAGE_SIZE * (size + 0x20 <= EFI_PAGE_SIZE ? 1u : 2u));
  }
}

TEST_F(AgentPublication, LeavesAnEntryThatSomebodyElseInstalledSince) {
  UINT8 later[31] = {};
  Publication publication;
  ASSERT_EQ(publication.Publish(ServerTable()), EFI_SUCCESS);
  Install(gEfiSmbiosTableGuid, later);
  publication.Restore();
  EXPECT_EQ(static_cast<VOID*>(Published()), later);
}

TEST_F(AgentPublication, RefusesATableThatA32BitEntryPointCannotState) {
  const Bytes large(65536, 1);
  SmbiosTable table = ServerTable();
  table.Structures = View(large);
  Publication publication;
  EXPECT_EQ(publication.Publish(table), EFI_BAD_BUFFER_SIZE);
  EXPECT_EQ(Published(), nullptr);
  table.Structures = {large.data(), 65535};
  EXPECT_EQ(publication.Publish(table), EFI_SUCCESS);
}

TEST_F(AgentPublication, LeavesNothingBehindWhenItFails) {
  Publication publication;
  Firmware().FailCall(host::images::agent, host::Service::AllocatePages, 1, EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(publication.Publish(ServerTable()), EFI_OUT_OF_RESOURCES);
  Firmware().FailCall(host::images::agent, host::Service::InstallConfigurationTable, 1,
                      EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(publication.Publish(ServerTable()), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(Published(), nullptr);
  EXPECT_EQ(AgentBlocks(), 0u);
}

// --- The firmware's own table ---

class FirmwareTable : public AgentPublication {
 protected:
  // A 64-bit entry point for bytes of the test.
  void Install64(const Bytes& table) {
    Install64(table.size(), reinterpret_cast<uintptr_t>(table.data()));
  }
  void Install64(size_t length, uintptr_t address) {
    const EntryPointBytes::Statement statement = {.length = length, .address = address};
    Install(gEfiSmbios3TableGuid, EntryPointBytes::Of64Bits(statement).PlaceAt(&mEntry64));
  }

 private:
  SMBIOS_TABLE_3_0_ENTRY_POINT mEntry64;
};

TEST_F(FirmwareTable, IsReadWhereItStands) {
  Publication publication;
  ASSERT_EQ(publication.Publish(ServerTable()), EFI_SUCCESS);
  Capture capture;
  ASSERT_TRUE(tvqplatform::ReadFirmwareTable(capture));
  EXPECT_EQ(capture.Kind, EntryPointKind::k32Bit);
  EXPECT_EQ(Copy(capture.Table.Structures), Server().Bytes());
  EXPECT_EQ(capture.Table.Structures.Data(), publication.EntryPoint() + 0x20);
}

TEST_F(FirmwareTable, IsThatOfThe32BitEntryPointWhereThereAreBoth) {
  const Bytes other = {1, 4, 0, 0, 0, 0};
  Install64(other);
  Publication publication;
  ASSERT_EQ(publication.Publish(ServerTable()), EFI_SUCCESS);
  Capture capture;
  ASSERT_TRUE(tvqplatform::ReadFirmwareTable(capture));
  EXPECT_EQ(Copy(capture.Table.Structures), Server().Bytes());
}

TEST_F(FirmwareTable, IsThatOfThe64BitEntryPointWhereThereIsNoOther) {
  Bytes memory = Server().Bytes();
  const size_t size = memory.size();
  memory.resize(size + 500);
  Install64(memory);
  Capture capture;
  ASSERT_TRUE(tvqplatform::ReadFirmwareTable(capture));
  EXPECT_EQ(capture.Kind, EntryPointKind::k64Bit);
  EXPECT_EQ(capture.Table.Structures.Size(), size);
}

TEST_F(FirmwareTable, IsMissingWithoutAnEntryPoint) {
  Capture capture;
  EXPECT_FALSE(tvqplatform::ReadFirmwareTable(capture));
  UINT8 nonsense[31] = {};
  Install(gEfiSmbiosTableGuid, nonsense);
  EXPECT_FALSE(tvqplatform::ReadFirmwareTable(capture));
}

TEST_F(FirmwareTable, IsMissingWhereTheEntryPointNamesNoAddress) {
  Install64(100, 0);
  Capture capture;
  EXPECT_FALSE(tvqplatform::ReadFirmwareTable(capture));
}

}  // namespace
}  // namespace tvq::test
