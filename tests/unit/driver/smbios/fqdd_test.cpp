/*
 * The map from SMBIOS handles to FQDD texts.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <tuple>
#include <vector>

#include "tests/unit/driver/smbios/smbios_fixture.h"

#include "TvqSmbiosPkg/src/smbios/fqdd.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// An entry as {string number, handle, opaque byte, index of the structure}.
using Entry = std::tuple<int, int, int, int>;

std::vector<Entry> Entries() {
  std::vector<Entry> entries;
  for (UINT16 i = 0; i < gFqddMapCount; ++i) {
    const FQDD_MAP_ENTRY entry = gFqddMap[i];
    entries.emplace_back(entry.StringNumber, +entry.Handle, entry.Opaque, entry.StructureIndex);
  }
  return entries;
}

class FqddMapTest : public SmbiosTest {
 protected:
  EFI_STATUS BuildFrom(const Table& table) {
    Use(table);
    return BuildFqddMap();
  }

  void ExpectNoMap() {
    EXPECT_EQ(gFqddMapValid, 0u);
    EXPECT_EQ(gFqddMapCount, 0u);
  }
};

// A type 225 whose formatted part has `length` bytes, all groups for handle 0404h.
tvq::test::Structure OfLength(uint8_t length) {
  tvq::test::Structure structure;
  structure.type = 225;
  structure.body = Bytes(length - 4, 4);
  if (length > 4) {
    structure.SetByte(4, 1);
  }
  return structure;
}

// --- Building ---

TEST_F(FqddMapTest, HasAnEntryForEachGroup) {
  Table table =
      Table::Of(FqddMap{.groups = {{"CPU.Socket.1", 0x0400, 7}, {std::nullopt, 0xBEEF, 0xFF}}},
                System{}, FqddMap{.groups = {{"DIMM.Socket.A1", 0x1100}}});
  ASSERT_EQ(BuildFrom(table), EFI_SUCCESS);
  EXPECT_EQ(gFqddMapValid, 1u);
  EXPECT_EQ(gType225Count, 2u);
  EXPECT_EQ(gType225Records[0], At(table, 0));
  EXPECT_EQ(gType225Records[1], At(table, 2));
  EXPECT_THAT(Entries(), ElementsAre(Entry(1, 0x0400, 7, 0), Entry(0, 0xBEEF, 0xFF, 0),
                                     Entry(1, 0x1100, 0, 1)));
}

TEST_F(FqddMapTest, TakesAsManyWholeGroupsAsTheFormattedPartHolds) {
  const std::pair<uint8_t, UINT16> shapes[] = {{5, 0},  {6, 0},  {8, 0},  {9, 1},
                                               {12, 1}, {13, 2}, {14, 2}, {253, 62}};
  for (const auto& [length, groups] : shapes) {
    Table table = Table::Of(OfLength(length));
    EXPECT_EQ(BuildFrom(table), EFI_SUCCESS) << "length " << int{length};
    EXPECT_EQ(gFqddMapCount, groups) << "length " << int{length};
    EXPECT_EQ(gFqddMapValid, 1u);
  }
}

TEST_F(FqddMapTest, IsBuiltPastAStructureWithoutGroups) {
  Table table = Table::Of(OfLength(6), FqddMap{.groups = {{"CPU.Socket.1", 0x400}}});
  ASSERT_EQ(BuildFrom(table), EFI_SUCCESS);
  EXPECT_THAT(Entries(), ElementsAre(Entry(1, 0x400, 0, 1)));
}

TEST_F(FqddMapTest, CannotBeBuiltWithoutAStructure) {
  Table table = Table::Of(System{});
  EXPECT_EQ(BuildFrom(table), EFI_NOT_FOUND);
  ExpectNoMap();
}

TEST_F(FqddMapTest, CannotBeBuiltFromAnEmptyTable) {
  EXPECT_EQ(BuildFrom(Table()), EFI_NOT_FOUND);
  ExpectNoMap();
}

TEST_F(FqddMapTest, IsSpoiltWhollyByOneStructureOfAnotherFormat) {
  for (const size_t spoilt : {0, 1, 2}) {
    for (const uint8_t format : std::initializer_list<uint8_t>{0, 2, 0xFF}) {
      std::vector<FqddMap> maps = Copies(3, FqddMap{.groups = {{"CPU.Socket.1", 0x400}}});
      maps[spoilt].format = format;
      EXPECT_EQ(BuildFrom(Table::Of(maps)), EFI_NOT_FOUND);
      ExpectNoMap();
      EXPECT_EQ(gFqddMap, nullptr);
    }
  }
}

TEST_F(FqddMapTest, IsSpoiltByAStructureWithoutAFormat) {
  // The byte behind the header belongs to the strings, although it is a 1.
  Table table =
      Table::Of(FqddMap{.groups = {{"CPU.Socket.1", 0x400}}}, Structure{225, 0x20, {}, {"\1"}});
  EXPECT_EQ(BuildFrom(table), EFI_NOT_FOUND);
  ExpectNoMap();
  EXPECT_EQ(gFqddMap, nullptr);
}

// Two groups, of which the end of the table leaves `left` bytes of the structure.
Table CutMap(size_t left) {
  Table table =
      Table::Of(FqddMap{.groups = {{"CPU.Socket.1", 0x400, 1}, {"CPU.Socket.2", 0x401, 2}}});
  table.Chop(table.Size() - left);
  return table;
}

TEST_F(FqddMapTest, CannotBeBuiltFromAStructureThatPromisesGroupsBehindTheTable) {
  for (size_t left = 4; left <= 9; ++left) {
    EXPECT_EQ(BuildFrom(CutMap(left)), EFI_NOT_FOUND) << left << " bytes";
    ExpectNoMap();
  }
}

TEST_F(FqddMapTest, TakesAGroupThatTheEndOfTheTableCutsWithoutWhatIsMissing) {
  ASSERT_EQ(BuildFrom(CutMap(12)), EFI_SUCCESS);
  EXPECT_THAT(Entries(), ElementsAre(Entry(1, 0x400, 1, 0), Entry(2, 0x401, 0, 0)));
  for (const size_t left : {10, 11}) {
    ASSERT_EQ(BuildFrom(CutMap(left)), EFI_SUCCESS);
    EXPECT_THAT(Entries(), ElementsAre(Entry(1, 0x400, 1, 0), Entry(2, kNoHandle, 0, 0)))
        << left << " bytes";
  }
}

TEST_F(FqddMapTest, NumbersItsStructuresInOneByte) {
  Table table;
  for (uint16_t n = 0; n < 257; ++n) {
    table.Add(OfLength(9).SetWord(6, static_cast<uint16_t>(0x2000 + n)));
  }
  ASSERT_EQ(BuildFrom(table), EFI_SUCCESS);
  ASSERT_EQ(gFqddMapCount, 257u);
  EXPECT_EQ(gFqddMap[255].StructureIndex, 255u);
  EXPECT_EQ(gFqddMap[256].StructureIndex, 0u);
  EXPECT_EQ(+gFqddMap[256].Handle, 0x2100);
}

TEST_F(FqddMapTest, KeepsTheArrayOfSizesAllocated) {
  const Table table = MinimalServer();
  Use(table);
  const size_t before = mHarness.Blocks().size();
  ASSERT_EQ(BuildFqddMap(), EFI_SUCCESS);
  const std::vector<host::Block> blocks = mHarness.BlocksFrom("BuildFqddMap");
  EXPECT_EQ(mHarness.Blocks().size(), before + 3);
  ASSERT_EQ(blocks.size(), 3u);
  EXPECT_EQ(blocks[0].address, gType225Records);
  EXPECT_EQ(blocks[1].size, 1 * 2u) << "the sizes";
  EXPECT_EQ(blocks[2].address, gFqddMap);
  EXPECT_EQ(blocks[2].size, 2 * 5u);
  EXPECT_EQ(blocks[2].type, EfiBootServicesData);
}

TEST_F(FqddMapTest, CannotBeBuiltWithoutMemory) {
  // Collecting the structures takes two blocks, whose lack shows as a table without them.
  const EFI_STATUS statuses[] = {EFI_NOT_FOUND, EFI_NOT_FOUND, EFI_OUT_OF_RESOURCES};
  Use(MinimalServer());
  for (size_t n = 0; n < std::size(statuses); ++n) {
    mHarness.FailAllocation(n + 1);
    EXPECT_EQ(BuildFqddMap(), statuses[n]) << "allocation " << n + 1;
    ExpectNoMap();
  }
}

// Firmware may answer a request for zero bytes with success and no block.
TEST_F(FqddMapTest, NeedsNoMemoryWithoutGroups) {
  Use(Table::Of(OfLength(6)));
  mHarness.Memory().GiveNullForZeroBytes(true);
  EXPECT_EQ(BuildFqddMap(), EFI_SUCCESS);
  EXPECT_EQ(gFqddMapValid, 1u);
  EXPECT_EQ(gFqddMapCount, 0u);
  EXPECT_EQ(gFqddMap, nullptr);
  EXPECT_EQ(FindFqdd(0x400), nullptr);
  EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
}

TEST_F(FqddMapTest, IsInvalidAfterABuildThatFailed) {
  ASSERT_EQ(BuildFrom(MinimalServer()), EFI_SUCCESS);
  ASSERT_EQ(gFqddMapValid, 1u);
  EXPECT_EQ(BuildFrom(Table()), EFI_NOT_FOUND);
  ExpectNoMap();
}

// --- Looking up ---

TEST_F(FqddMapTest, FindsTheFirstEntryOfAHandle) {
  Table table = Table::Of(
      FqddMap{.groups = {{"CPU.Socket.1", 0}, {"CPU.Socket.2", 0x401}, {"CPU.Socket.3", 0x401}}});
  ASSERT_EQ(BuildFrom(table), EFI_SUCCESS);
  EXPECT_EQ(FindFqdd(0x401), &gFqddMap[1]);
  EXPECT_EQ(FindFqdd(0), &gFqddMap[0]);
  EXPECT_THAT(mHarness.TakeLog(), IsEmpty());
}

TEST_F(FqddMapTest, LogsAHandleThatItDoesNotHave) {
  ASSERT_EQ(BuildFrom(MinimalServer()), EFI_SUCCESS);
  EXPECT_EQ(FindFqdd(0xABCD), nullptr);
  EXPECT_EQ(FindFqdd(0x1), nullptr);
  EXPECT_THAT(mHarness.TakeLog(), ElementsAre(LogIs("FindFqdd", "Handle 0xABCD not found\n"),
                                              LogIs("FindFqdd", "Handle 0x1 not found\n")));
}

TEST_F(FqddMapTest, IsSilentAboutAHandleWithoutADebugLog) {
  ASSERT_EQ(BuildFrom(MinimalServer()), EFI_SUCCESS);
  gDebugLog = nullptr;
  EXPECT_EQ(FindFqdd(0xABCD), nullptr);
  EXPECT_THAT(mHarness.TakeLog(), IsEmpty());
}

TEST_F(FqddMapTest, HasNothingToFindAfterABuildThatFailed) {
  EXPECT_EQ(BuildFrom(Table()), EFI_NOT_FOUND);
  EXPECT_EQ(FindFqdd(0x400), nullptr);
}

TEST_F(FqddMapTest, NamesTheTextOfAnEntry) {
  ASSERT_EQ(BuildFrom(MinimalServer()), EFI_SUCCESS);
  EXPECT_STREQ(FqddText(*FindFqdd(0x400)), "CPU.Socket.1");
  EXPECT_STREQ(FqddText(*FindFqdd(0x1100)), "DIMM.Socket.A1");
}

TEST_F(FqddMapTest, NamesNothingForStringNumberZero) {
  Table table = Table::Of(FqddMap{.groups = {{std::nullopt, 0x400}}});
  ASSERT_EQ(BuildFrom(table), EFI_SUCCESS);
  EXPECT_EQ(FqddText(*FindFqdd(0x400)), nullptr);
}

TEST_F(FqddMapTest, ReadsFromTheNextStructureOnceAStringNumberWasOutOfRange) {
  Table table = Table::Of(
      FqddMap{.groups = {{"CPU.Socket.1", 0x400}, {"CPU.Socket.2", 0x401}}}.Build().SetByte(9, 5),
      System{.manufacturer = "Next structure's first text"});
  ASSERT_EQ(BuildFrom(table), EFI_SUCCESS);
  EXPECT_STREQ(FqddText(*FindFqdd(0x400)), "CPU.Socket.1");
  EXPECT_EQ(FqddText(*FindFqdd(0x401)), nullptr);
  EXPECT_EQ(gType225Records[0], At(table, 1));
  EXPECT_STREQ(FqddText(*FindFqdd(0x400)), "Next structure's first text");
}

TEST_F(FqddMapTest, NamesNothingOnceTheTableHasMoved) {
  ASSERT_EQ(BuildFrom(MinimalServer()), EFI_SUCCESS);
  mHarness.Publish(MinimalServer());
  mHarness.UnmapEarlierTables();
  EXPECT_EQ(FqddText(*FindFqdd(0x400)), nullptr);
}

// --- Releasing ---

std::vector<VOID*> gFreed;
EFI_FREE_POOL gRealFreePool;

EFI_STATUS EFIAPI NoteAndFree(VOID* block) {
  gFreed.push_back(block);
  return gRealFreePool(block);
}

TEST_F(FqddMapTest, IsReleasedStructuresFirst) {
  ASSERT_EQ(BuildFrom(MinimalServer()), EFI_SUCCESS);
  EFI_BOOT_SERVICES spy = *gZV->BS;
  gRealFreePool = spy.FreePool;
  spy.FreePool = NoteAndFree;
  gZV->BS = &spy;
  gFreed.clear();
  VOID* const records = gType225Records;
  VOID* const map = gFqddMap;
  EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
  const auto freedRecords = std::find(gFreed.begin(), gFreed.end(), records);
  const auto freedMap = std::find(gFreed.begin(), gFreed.end(), map);
  ASSERT_NE(freedMap, gFreed.end());
  EXPECT_LT(freedRecords, freedMap);
}

// The blocks of an earlier start are still there to be freed.
TEST_F(FqddMapTest, KeepsWhatAnEarlierBuildCollectedWhenTheNextCollectsNothing) {
  ASSERT_EQ(BuildFrom(MinimalServer()), EFI_SUCCESS);
  UINT8** const records = gType225Records;
  mHarness.Memory().FailAllocation(1);
  EXPECT_EQ(BuildFqddMap(), EFI_NOT_FOUND);
  ExpectNoMap();
  EXPECT_EQ(gType225Records, records);
  EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
  EXPECT_FALSE(mHarness.Memory().Find(records));
}

// Nobody has the addresses of the earlier blocks any more.
TEST_F(FqddMapTest, LosesTheBlocksOfAnEarlierBuildToTheNext) {
  ASSERT_EQ(BuildFrom(MinimalServer()), EFI_SUCCESS);
  UINT8** const records = gType225Records;
  FQDD_MAP_ENTRY* const map = gFqddMap;
  ASSERT_EQ(BuildFqddMap(), EFI_SUCCESS);
  EXPECT_NE(gType225Records, records);
  EXPECT_NE(gFqddMap, map);
  EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
  EXPECT_TRUE(mHarness.Memory().Find(records));
  EXPECT_TRUE(mHarness.Memory().Find(map));
}

TEST_F(FqddMapTest, LeavesCountsAndFlagWhenItIsReleased) {
  ASSERT_EQ(BuildFrom(MinimalServer()), EFI_SUCCESS);
  EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
  EXPECT_EQ(gSmbiosEntryPoint, nullptr);
  EXPECT_EQ(gType225Records, nullptr);
  EXPECT_EQ(gFqddMap, nullptr);
  EXPECT_EQ(gType225Count, 1u);
  EXPECT_EQ(gFqddMapCount, 2u);
  EXPECT_EQ(gFqddMapValid, 1u);
}

TEST_F(FqddMapTest, HasNothingToFindOrNameAfterItsRelease) {
  ASSERT_EQ(BuildFrom(MinimalServer()), EFI_SUCCESS);
  const FQDD_MAP_ENTRY entry = gFqddMap[0];
  EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
  EXPECT_EQ(FindFqdd(entry.Handle), nullptr);
  EXPECT_EQ(FqddText(entry), nullptr);
}

TEST_F(FqddMapTest, CanBeReleasedWhenThereIsNone) {
  Use(MinimalServer());
  EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
  EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
  EXPECT_EQ(gSmbiosEntryPoint, nullptr);
}

}  // namespace
}  // namespace tvq::test
