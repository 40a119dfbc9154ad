/*
 * The bounded view of a structure, and the list of all structures of a type.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/smbios/smbios_fixture.h"

#include "TvqSmbiosPkg/src/smbios/structure.h"

namespace tvq::test {
namespace {

// The view of the first structure of a table.
class View : public SmbiosTest {
 protected:
  tvq::Structure Of(const Table& table) {
    Use(table);
    mSlot = At(table, 0);
    return tvq::Structure(&mSlot);
  }

  UINT8* mSlot = nullptr;
};

// The field of this type at an offset.
template <typename Value>
smbios::Field<Value> FieldAt(size_t offset) {
  return {0x80, offset};
}

// A formatted part of 12 bytes: 04h to 0Bh hold 11h to 88h.
Table Twelve() {
  return Table::Of(
      Structure{0x80, 0x1234, {0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88}, {"one", "two"}});
}

TEST_F(View, ReadsLittleEndianFieldsAtAnyOffset) {
  const tvq::Structure view = Of(Twelve());
  EXPECT_EQ(view.Type(), 0x80);
  EXPECT_EQ(view.Length(), 12u);
  EXPECT_EQ(view.StatedLength(), 12u);
  EXPECT_EQ(view.OwnHandle(), 0x1234);
  EXPECT_EQ(view.Get(FieldAt<UINT8>(0)), 0x80);
  EXPECT_EQ(view.Get(FieldAt<UINT8>(11)), 0x88);
  EXPECT_EQ(view.Get(FieldAt<UINT16>(5)), 0x3322);
  EXPECT_EQ(view.GetHandle(FieldAt<UINT16>(5)), 0x3322);
  EXPECT_EQ(view.Get(FieldAt<UINT32>(7)), 0x77665544u);
  EXPECT_EQ(view.Get(FieldAt<UINT64>(4)), 0x8877665544332211u);
}

TEST_F(View, ReadsZeroWhereAFieldDoesNotLieWhollyInTheFormattedPart) {
  const tvq::Structure view = Of(Twelve());
  EXPECT_EQ(view.Get(FieldAt<UINT8>(12)), 0u);
  EXPECT_EQ(view.Get(FieldAt<UINT16>(11)), 0u);
  EXPECT_EQ(view.Get(FieldAt<UINT32>(9)), 0u);
  EXPECT_EQ(view.Get(FieldAt<UINT64>(5)), 0u);
  EXPECT_EQ(view.Get(FieldAt<UINT16>(10)), 0x8877);
  EXPECT_EQ(view.Get(FieldAt<UINT32>(8)), 0x88776655u);
}

TEST_F(View, ReadsNoHandlePastTheFormattedPart) {
  const tvq::Structure view = Of(Twelve());
  EXPECT_EQ(view.GetHandle(FieldAt<UINT16>(10)), 0x8877);
  EXPECT_EQ(view.GetHandle(FieldAt<UINT16>(11)), 0xFFFF);
  EXPECT_EQ(view.GetHandle(FieldAt<UINT16>(12)), 0xFFFF);
}

TEST_F(View, TellsWhichFieldsItHas) {
  const tvq::Structure view = Of(Twelve());
  EXPECT_TRUE(view.Has(FieldAt<UINT8>(11)));
  EXPECT_TRUE(view.Has(FieldAt<UINT64>(4)));
  EXPECT_FALSE(view.Has(FieldAt<UINT8>(12)));
  EXPECT_FALSE(view.Has(FieldAt<UINT16>(11)));
}

TEST_F(View, FindsAStringByTheNumberInAField) {
  Table table = Table::Of(Structure{0x80, 0x10, {2, 0}, {"one", "two"}});
  const tvq::Structure view = Of(table);
  EXPECT_STREQ(view.GetString(FieldAt<UINT8>(4)), "two");
  EXPECT_EQ(view.GetString(FieldAt<UINT8>(5)), nullptr) << "number 0";
  EXPECT_EQ(view.Address(), At(table, 0));
}

TEST_F(View, FindsNoStringByANumberPastTheFormattedPart) {
  // The byte behind the formatted part is the first string's: a valid number.
  Table table = Table::Of(Structure{0x80, 0x10, {7}, {"\1", "two"}});
  const tvq::Structure view = Of(table);
  EXPECT_EQ(view.GetString(FieldAt<UINT8>(5)), nullptr);
  EXPECT_EQ(view.Address(), At(table, 0));
  EXPECT_STREQ(view.PeekString(FieldAt<UINT8>(5)), "\1");
}

TEST_F(View, ShowsTheNextStructureAfterANumberPastTheLastString) {
  Table table =
      Table::Of(Structure{0x80, 0x10, {3}, {"one", "two"}}, Structure{0x81, 0x20, {1}, {"next"}});
  const tvq::Structure view = Of(table);
  EXPECT_EQ(view.GetString(FieldAt<UINT8>(4)), nullptr);
  EXPECT_EQ(view.Address(), At(table, 1));
  EXPECT_EQ(mSlot, At(table, 1));
  EXPECT_EQ(view.Get(FieldAt<UINT8>(0)), 0x81);
  EXPECT_STREQ(view.GetString(FieldAt<UINT8>(4)), "next");
}

TEST_F(View, IsEmptyOnceItsSlotHasLeftTheTable) {
  Table table = Table::Of(Structure{0x80, 0x10, {3}, {"one"}});
  const tvq::Structure view = Of(table);
  EXPECT_EQ(view.GetString(FieldAt<UINT8>(4)), nullptr);
  EXPECT_EQ(view.Type(), 0u);
  EXPECT_EQ(view.Length(), 0u);
  EXPECT_EQ(view.StatedLength(), 0u);
  EXPECT_EQ(view.OwnHandle(), 0xFFFF);
  EXPECT_EQ(view.Get(FieldAt<UINT8>(0)), 0u);
  EXPECT_EQ(view.GetHandle(FieldAt<UINT16>(2)), 0xFFFF);
  EXPECT_EQ(view.Peek(FieldAt<UINT8>(0)), 0u);
  EXPECT_EQ(view.Peek(FieldAt<UINT64>(0)), 0u);
  EXPECT_EQ(view.GetString(FieldAt<UINT8>(4)), nullptr);
  EXPECT_EQ(view.PeekString(FieldAt<UINT8>(4)), nullptr);
}

TEST_F(View, IsEmptyOutsideTheTable) {
  const Table table = Twelve();
  const tvq::Structure view = Of(table);
  for (UINT8* const address : {At(table, 0) - 1, At(table, 1) + 1}) {
    mSlot = address;
    EXPECT_EQ(view.Length(), 0u);
    EXPECT_EQ(view.OwnHandle(), 0xFFFF);
    EXPECT_EQ(view.Peek(FieldAt<UINT64>(0)), 0u);
    EXPECT_EQ(SmbiosByteAt(address), 0u);
  }
  EXPECT_EQ(SmbiosByteAt(At(table, 0)), 0x80);
  EXPECT_EQ(SmbiosByteAt(At(table, 1)), 0u) << "the first byte behind";
}

TEST_F(View, IsEmptyOnAHeaderCutByTheEndOfTheTable) {
  Table table = Table::Of(Structure{0x80, 0x10, {3}, {"one"}}, Raw{{0x81, 9, 0x20}});
  const tvq::Structure view = Of(table);
  EXPECT_EQ(view.GetString(FieldAt<UINT8>(4)), nullptr);
  EXPECT_EQ(view.Address(), At(table, 0) + table.Size() - 3) << "three bytes before the end";
  EXPECT_EQ(view.StatedLength(), 9u);
  EXPECT_EQ(view.Length(), 0u);
  EXPECT_EQ(view.OwnHandle(), 0xFFFF);
  EXPECT_EQ(view.Get(FieldAt<UINT8>(0)), 0u);
  EXPECT_EQ(view.GetString(FieldAt<UINT8>(0)), nullptr);
}

TEST_F(View, HasAHeaderThatEndsWithTheTable) {
  Table table = Twelve();
  table.Chop(table.Size() - 4);
  const tvq::Structure view = Of(table);
  EXPECT_EQ(view.Length(), 4u);
  EXPECT_EQ(view.OwnHandle(), 0x1234);
}

TEST_F(View, IsCutByTheEndOfTheTable) {
  Table table = Twelve();
  table.Chop(table.Size() - 10);
  const tvq::Structure view = Of(table);
  EXPECT_EQ(view.Length(), 10u);
  EXPECT_EQ(view.StatedLength(), 12u);
  EXPECT_EQ(view.Get(FieldAt<UINT8>(9)), 0x66);
  EXPECT_EQ(view.Get(FieldAt<UINT8>(10)), 0u);
  EXPECT_EQ(view.Get(FieldAt<UINT16>(9)), 0u);
  EXPECT_EQ(view.Peek(FieldAt<UINT16>(9)), 0x0066) << "the byte that is missing reads 0";
  EXPECT_EQ(view.Peek(FieldAt<UINT32>(9)), 0x00000066u);
}

TEST_F(View, ReadsFieldsAsTheyStandWithoutATestOfTheLength) {
  Table table = Table::Of(Structure{0x80, 0x10, {7}, {"abcdefgh"}});
  const tvq::Structure view = Of(table);
  EXPECT_EQ(view.Peek(FieldAt<UINT8>(5)), 'a');
  EXPECT_EQ(view.Peek(FieldAt<UINT16>(5)), 'a' | ('b' << 8));
  EXPECT_EQ(view.Peek(FieldAt<UINT32>(6)), 0x65646362u);
  EXPECT_EQ(view.Peek(FieldAt<UINT64>(5)), 0x6867666564636261u);
  EXPECT_EQ(view.Peek(FieldAt<UINT8>(15)), 0u) << "past the table";
}

// --- Lists ---

class List : public SmbiosTest {
 protected:
  List() {
    Use(mTable);
    mBefore = mHarness.Blocks().size();
  }

  const Table mTable = Table::Of(MemoryDevice{.handle = 0x10}, MemoryArray{.handle = 0x20},
                                 MemoryDevice{.handle = 0x30});
  size_t mBefore = 0;
};

TEST_F(List, HoldsTheStructuresOfAType) {
  StructureList list;
  ASSERT_EQ(list.Collect(17), EFI_SUCCESS);
  EXPECT_TRUE(list.Any());
  ASSERT_EQ(list.Count(), 2u);
  EXPECT_EQ(list[0].OwnHandle(), 0x10);
  EXPECT_EQ(list[1].OwnHandle(), 0x30);
  EXPECT_EQ(list.Records()[1], At(mTable, 2));
  EXPECT_EQ(list.Sizes()[1], mTable.Size() - mTable.OffsetOf(2));
}

TEST_F(List, HasNoneWhereTheTableHasNone) {
  StructureList list;
  EXPECT_EQ(list.Collect(4), EFI_SUCCESS);
  EXPECT_FALSE(list.Any());
  EXPECT_EQ(list.Count(), 0u);
}

TEST_F(List, FreesItsArraysAtItsEnd) {
  {
    StructureList list;
    ASSERT_EQ(list.Collect(17), EFI_SUCCESS);
    EXPECT_EQ(mHarness.Blocks().size(), mBefore + 2);
  }
  EXPECT_EQ(mHarness.Blocks().size(), mBefore);
}

TEST_F(List, FreesItsArraysWhenAsked) {
  StructureList list;
  ASSERT_EQ(list.Collect(17), EFI_SUCCESS);
  list.Free();
  EXPECT_EQ(mHarness.Blocks().size(), mBefore);
  EXPECT_FALSE(list.Any());
}

TEST_F(List, LeavesItsArraysInThePoolWhenAsked) {
  {
    StructureList list;
    ASSERT_EQ(list.Collect(17), EFI_SUCCESS);
    list.Leave();
  }
  EXPECT_EQ(mHarness.Blocks().size(), mBefore + 2);
}

TEST_F(List, IsEmptyButKeepsTheCountWithoutMemory) {
  for (const UINTN allocation : {1, 2}) {
    StructureList list;
    mHarness.FailAllocation(allocation);
    EXPECT_EQ(list.Collect(17), EFI_OUT_OF_RESOURCES);
    EXPECT_FALSE(list.Any());
    EXPECT_EQ(list.Count(), 2u);
  }
  EXPECT_EQ(mHarness.Blocks().size(), mBefore);
}

}  // namespace
}  // namespace tvq::test
