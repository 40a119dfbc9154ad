/*
 * The index that a start makes over the table: what it finds, how long it lives, and when the
 * driver does without it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <iterator>
#include <new>

#include "tests/unit/driver/smbios/smbios_fixture.h"

#include "TvqSmbiosPkg/src/common/cpu_memory.h"
#include "TvqSmbiosPkg/src/smbios/fqdd.h"
#include "TvqSmbiosPkg/src/smbios/structure.h"
#include "TvqSmbiosPkg/src/smbios/table_index.h"

namespace tvq::test {
namespace {

using host::images::driver;
using testing::IsEmpty;
using testing::SizeIs;

constexpr uint8_t kCacheType = 7;

class TableIndexTest : public SmbiosTest {
 protected:
  TableIndexTest() { mTable = MinimalServer(); }

  // Publishes the table; blocks of the driver that are there already do not count.
  void Publish() {
    Use(mTable);
    mBlocksBefore = mHarness.Blocks().size();
  }
  std::vector<host::Block> NewBlocks() {
    std::vector<host::Block> blocks = mHarness.Blocks();
    blocks.erase(blocks.begin(), blocks.begin() + static_cast<ptrdiff_t>(mBlocksBefore));
    return blocks;
  }
  // Where the n-th structure that was added lies, as an index has it.
  UINT8* Added(size_t n) { return At(mTable, n); }

  Table mTable;

 private:
  size_t mBlocksBefore = 0;
};

// --- Its life ---

TEST_F(TableIndexTest, IsThereAsLongAsItLives) {
  Publish();
  EXPECT_EQ(TableIndex::Current(), nullptr);
  {
    const TableIndex index;
    EXPECT_EQ(TableIndex::Current(), &index);
    EXPECT_THAT(NewBlocks(), SizeIs(1));
  }
  EXPECT_EQ(TableIndex::Current(), nullptr);
  EXPECT_THAT(NewBlocks(), IsEmpty());
}

TEST_F(TableIndexTest, IsGivenBackByAStart) {
  mHarness.Publish(MinimalServer());
  ASSERT_EQ(mHarness.Load(), EFI_SUCCESS);
  ASSERT_EQ(mHarness.Start(), EFI_SUCCESS);
  EXPECT_EQ(TableIndex::Current(), nullptr);
  EXPECT_THAT(mHarness.BlocksFrom("TableIndex"), IsEmpty());
}

TEST_F(TableIndexTest, IsLeftOutWithoutMemory) {
  Publish();
  mHarness.FailAllocation();
  const TableIndex index;
  EXPECT_EQ(TableIndex::Current(), nullptr);
}

TEST_F(TableIndexTest, IsLeftOutWhenTheEntryPointStatesTooFewStructures) {
  mTable.statedCount = static_cast<uint16_t>(mTable.Count() - 1);
  Publish();
  const TableIndex index;
  EXPECT_EQ(TableIndex::Current(), nullptr);
}

TEST_F(TableIndexTest, AllocatesNothingForATableWithoutStructures) {
  for (const bool isEmpty : {false, true}) {
    mTable = isEmpty ? Table() : MinimalServer();
    mTable.statedCount = isEmpty ? 1 : 0;
    Publish();
    const uint64_t before = mHarness.Memory().Allocations(driver);
    const TableIndex index;
    EXPECT_EQ(TableIndex::Current(), nullptr);
    EXPECT_EQ(mHarness.Memory().Allocations(driver), before);
  }
}

TEST_F(TableIndexTest, TakesNoMoreMemoryThanTheTableCanNeed) {
  Publish();
  size_t honest = 0;
  {
    const TableIndex index;
    honest = NewBlocks().at(0).size;
  }
  mTable.statedCount = 0xFFFF;
  Publish();
  const TableIndex index;
  EXPECT_EQ(TableIndex::Current(), &index);
  EXPECT_LT(NewBlocks().at(0).size, 20 * honest);
}

TEST_F(TableIndexTest, IsNotUsedAnyMoreOnceTheTableHasMoved) {
  Publish();
  const TableIndex index;
  const UINT32 here = mHarness.EntryPoint().TableAddress;
  mHarness.EntryPoint().TableAddress = here + 1;
  EXPECT_EQ(TableIndex::Current(), nullptr);
  mHarness.EntryPoint().TableAddress = here;
  EXPECT_EQ(TableIndex::Current(), nullptr) << "what happened meanwhile is unknown";
}

TEST_F(TableIndexTest, IsNotUsedForATableOfAnotherLength) {
  Publish();
  const TableIndex index;
  mHarness.EntryPoint().TableLength--;
  EXPECT_EQ(TableIndex::Current(), nullptr);
}

TEST_F(TableIndexTest, IsNotUsedWithoutAnEntryPoint) {
  Publish();
  const TableIndex index;
  gSmbiosEntryPoint = nullptr;
  EXPECT_EQ(TableIndex::Current(), nullptr);
}

// --- What it finds ---

TEST_F(TableIndexTest, FindsTheFirstOfRepeatedHandles) {
  mTable = Table::Of(Structure{1, 0x0100}, Structure{2, 0x0200}, Structure{3, 0x0200});
  Publish();
  const TableIndex index;
  EXPECT_EQ(index.Address(index.FindHandle(0x0200)), Added(1));
  EXPECT_EQ(index.FindHandle(0x0300), TableIndex::kNone);
}

TEST_F(TableIndexTest, TellsHandlesOfOneBucketApart) {
  mTable = Table();
  for (uint16_t n = 0; n < 64; ++n) {
    mTable.Add(Structure{1, static_cast<uint16_t>(n << 8)});
  }
  Publish();
  const TableIndex index;
  for (uint16_t n = 0; n < 64; ++n) {
    EXPECT_EQ(index.Address(index.FindHandle(static_cast<uint16_t>(n << 8))), Added(n));
  }
  EXPECT_EQ(index.FindHandle(0x4000), TableIndex::kNone);
}

TEST_F(TableIndexTest, FindsTheFirstWithHandleAndType) {
  mTable =
      Table::Of(Structure{1, 0x0100}, Structure{kCacheType, 0x0100}, Structure{kCacheType, 0x0100});
  Publish();
  const TableIndex index;
  EXPECT_EQ(index.Address(index.FindHandle(0x0100, kCacheType)), Added(1));
  EXPECT_EQ(index.FindHandle(0x0100, 2), TableIndex::kNone);
}

TEST_F(TableIndexTest, HasNoEntryForATypeThatIsNotThere) {
  Publish();
  alignas(TableIndex) uint8_t memory[sizeof(TableIndex)];
  std::fill(std::begin(memory), std::end(memory), uint8_t{0x5A});
  const TableIndex* const index = new (memory) TableIndex;
  for (const UINT8 type : {UINT8{5}, UINT8{126}, UINT8{254}, UINT8{255}}) {
    EXPECT_EQ(index->FirstOfType(type), TableIndex::kNone) << +type;
  }
  index->~TableIndex();
}

TEST_F(TableIndexTest, KnowsWhatEachStructureTakes) {
  Publish();
  const TableIndex index;
  for (size_t n = 0; n < mTable.Count(); ++n) {
    const UINT16 entry = index.FirstOfType(*Added(n));
    ASSERT_NE(entry, TableIndex::kNone);
    if (index.Address(entry) == Added(n)) {
      EXPECT_EQ(index.Size(entry), mTable.OffsetOf(n + 1) - mTable.OffsetOf(n));
    }
  }
}

// --- What the driver finds by it ---

TEST_F(TableIndexTest, LeadsToTheFirstMapEntryOfAHandle) {
  mTable = Table::Of(Structure{4, 0x0400},
                     FqddMap{.groups = {{"CPU.Socket.1", 0x0400}, {"CPU.Socket.2", 0x0400}}});
  Publish();
  const TableIndex index;
  ASSERT_EQ(BuildFqddMap(), EFI_SUCCESS);
  EXPECT_EQ(FindFqdd(0x0400), &gFqddMap[0]);
}

TEST_F(TableIndexTest, LeadsToNoMapEntryForAStructureThatIsNotNamed) {
  mTable = Table::Of(Structure{4, 0x0400}, FqddMap{.groups = {{"CPU.Socket.1", 0x0401}}});
  Publish();
  const TableIndex index;
  ASSERT_EQ(BuildFqddMap(), EFI_SUCCESS);
  EXPECT_EQ(FindFqdd(0x0400), nullptr);
  EXPECT_EQ(FindFqdd(0x0401), &gFqddMap[0]) << "a handle that no structure has";
}

TEST_F(TableIndexTest, LeadsToTheFirstCacheOfAHandle) {
  mTable = Table::Of(Structure{8, 0x0700}, Structure{kCacheType, 0x0700, {0, 0x81, 0x01}},
                     Structure{kCacheType, 0x0700, {0, 0x82, 0x02}});
  Publish();
  const TableIndex index;
  StructureList caches;
  ASSERT_EQ(caches.Collect(kCacheType), EFI_SUCCESS);
  smTVQ record = {};
  ASSERT_EQ(GetCacheInfo(&record, caches.Records(), caches.Count(), 0x0700, 0), EFI_SUCCESS);
  EXPECT_EQ(record.device.cpu.CacheInfo[0]->CacheConfiguration, 0x0181);
  EXPECT_EQ(GetCacheInfo(&record, caches.Records(), caches.Count(), 0x0701, 1), EFI_NOT_FOUND);
  EXPECT_EQ(record.device.cpu.CacheInfo[1], nullptr);
}

}  // namespace
}  // namespace tvq::test
