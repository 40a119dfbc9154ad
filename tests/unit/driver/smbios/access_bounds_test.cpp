/*
 * Reading the SMBIOS table stays inside it, whatever its bytes say: the pages around it are
 * inaccessible here.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <vector>

#include "tests/unit/driver/smbios/smbios_fixture.h"

namespace tvq::test {
namespace {

class Bounds : public SmbiosTest {
 protected:
  struct Visited {
    size_t offset;
    UINT16 size;
    UINT16 following;
  };

  EFI_STATUS Fetch(UINT16 handle, Visited* visited) {
    UINT8* record = nullptr;
    const EFI_STATUS status = SmbiosGetNext(&handle, &record, &visited->size);
    visited->following = handle;
    visited->offset = EFI_ERROR(status) ? 0 : static_cast<size_t>(record - mHarness.TableData());
    return status;
  }

  size_t CountOf(UINT8 type) {
    UINT16 count = 0;
    return EFI_ERROR(SmbiosGetStructuresByType(type, nullptr, nullptr, &count)) ? 0 : count;
  }

  UINT8* End() { return mHarness.TableData() + mHarness.EntryPoint().TableLength; }
};

TEST_F(Bounds, FindNothingInATableOfLengthZero) {
  for (const host::Guard guard : {host::Guard::kBehind, host::Guard::kBefore}) {
    Use(Table(), guard);
    Visited visited;
    EXPECT_EQ(Fetch(kSmbiosNoHandle, &visited), EFI_NOT_FOUND);
    EXPECT_EQ(visited.following, kSmbiosNoHandle);
    EXPECT_EQ(visited.size, 0u);
    UINT16 count = 0;
    EXPECT_EQ(SmbiosGetStructuresByType(0, nullptr, nullptr, &count), EFI_NOT_FOUND);
  }
}

TEST_F(Bounds, FindNothingInATableShorterThanAHeader) {
  for (const Bytes& bytes : {Bytes{1}, Bytes{1, 4}, Bytes{1, 4, 0x10}}) {
    Use(Table::Of(Raw{bytes}));
    Visited visited;
    EXPECT_EQ(Fetch(kSmbiosNoHandle, &visited), EFI_NOT_FOUND);
    UINT16 count = 0;
    EXPECT_EQ(SmbiosGetStructuresByType(1, nullptr, nullptr, &count), EFI_NOT_FOUND);
  }
}

TEST_F(Bounds, TakeAHeaderCutByTheEndForNoStructure) {
  for (size_t left = 1; left <= 3; ++left) {
    Table table = Table::Of(Structure{0x80, 0x10, {}, {"a"}}, Raw{Bytes(left, 0x80)});
    Use(table);
    Visited visited;
    ASSERT_EQ(Fetch(0x10, &visited), EFI_SUCCESS);
    EXPECT_EQ(visited.size, table.OffsetOf(0) + 7);
    EXPECT_EQ(visited.following, kSmbiosNoHandle) << left << " bytes left";
    EXPECT_EQ(Fetch(0x8080, &visited), EFI_NOT_FOUND);
    EXPECT_EQ(CountOf(0x80), 1u);
  }
}

TEST_F(Bounds, TakeAHeaderAloneForAStructure) {
  Use(Table::Of(Structure{0x80, 0x10, {}, {"a"}}, Raw{{0x81, 4, 0x20, 0x00}}));
  Visited visited;
  ASSERT_EQ(Fetch(0x10, &visited), EFI_SUCCESS);
  EXPECT_EQ(visited.following, 0x20);
  ASSERT_EQ(Fetch(0x20, &visited), EFI_SUCCESS);
  EXPECT_EQ(visited.size, 4u);
  EXPECT_EQ(visited.following, kSmbiosNoHandle);
  EXPECT_EQ(CountOf(0x81), 1u);
}

TEST_F(Bounds, EndAStructureWhoseStringsHaveNoEnd) {
  // "ab" NUL NUL, one byte less each time, down to no string area at all.
  for (size_t missing = 1; missing <= 4; ++missing) {
    Table table = Table::Of(Structure{0x80, 0x10, {7}, {"ab"}});
    table.Chop(missing);
    for (const host::Guard guard : {host::Guard::kBehind, host::Guard::kBefore}) {
      Use(table, guard);
      Visited visited;
      ASSERT_EQ(Fetch(0x10, &visited), EFI_SUCCESS);
      EXPECT_EQ(visited.size, table.Size()) << missing << " bytes missing";
      EXPECT_EQ(visited.following, kSmbiosNoHandle);
      EXPECT_EQ(CountOf(0x80), 1u);
    }
  }
}

TEST_F(Bounds, FindAStringOnlyWhenItsNulIsInsideTheTable) {
  Table table = Table::Of(Structure{0x80, 0x10, {}, {"ab", "cd"}});
  table.Chop(2);
  Use(table);
  UINT8* cursor = mHarness.TableData();
  EXPECT_STREQ(SmbiosGetString(&cursor, 1), "ab");
  EXPECT_EQ(SmbiosGetString(&cursor, 2), nullptr);
  EXPECT_EQ(cursor, End());
}

TEST_F(Bounds, FindTheLastStringWithoutTheTerminatorOfTheStructure) {
  Table table = Table::Of(Structure{0x80, 0x10, {}, {"ab"}});
  table.Chop(1);
  Use(table);
  UINT8* cursor = mHarness.TableData();
  EXPECT_STREQ(SmbiosGetString(&cursor, 1), "ab");
  EXPECT_EQ(SmbiosGetString(&cursor, 2), nullptr);
  EXPECT_EQ(cursor, End());
}

TEST_F(Bounds, FindNoStringBehindAFormattedPartThatReachesTheEnd) {
  Table table = Table::Of(Structure{0x80, 0x10, {1, 2}});
  table.Chop(2);
  Use(table);
  UINT8* cursor = mHarness.TableData();
  EXPECT_EQ(SmbiosGetString(&cursor, 1), nullptr);
  EXPECT_EQ(cursor, End());
}

TEST_F(Bounds, EndAStructureWhoseFormattedPartPassesTheEnd) {
  Use(Table::Of(Raw{{0x80, 0xFF, 0x10, 0x00, 1, 0, 0}}));
  Visited visited;
  ASSERT_EQ(Fetch(0x10, &visited), EFI_SUCCESS);
  EXPECT_EQ(visited.size, 7u);
  UINT8* cursor = mHarness.TableData();
  EXPECT_EQ(SmbiosGetString(&cursor, 1), nullptr);
  EXPECT_EQ(cursor, End());
}

TEST_F(Bounds, FindNoStringAtTheEndOfTheTable) {
  Use(Table::Of(Structure{0x80, 0x10}));
  for (const UINT16 index : std::initializer_list<UINT16>{1, 2, 0xFFFF}) {
    UINT8* cursor = End();
    EXPECT_EQ(SmbiosGetString(&cursor, index), nullptr);
    EXPECT_EQ(cursor, End());
  }
}

TEST_F(Bounds, FindNoStringBehindALastHeaderThatIsCut) {
  Table table = Table::Of(Structure{0x80, 0x10}, Raw{{0x81, 2}});
  Use(table);
  UINT8* cursor = At(table, 0) + 6;
  SmbiosGetString(&cursor, 1);
  EXPECT_EQ(cursor, End());
}

// The strings of a structure begin where its length byte says, also inside its own header.
TEST_F(Bounds, WalkOnPastALengthByteBelowFour) {
  struct Case {
    Bytes structure;
    size_t end;  // where the walk takes the structure to end
  };
  const Case cases[] = {
      {{0x80, 0, 0x01, 0x01, 'a', 0, 0}, 7},  // the type, then the handle and 'a', are texts
      {{0x80, 1, 0x01, 0x01, 'a', 0, 0}, 7},
      {{0x80, 2, 0x01, 0x01, 'a', 0, 0}, 7},
      {{0x80, 3, 0x01, 0x01, 'a', 0, 0}, 7},
      {{0x80, 2, 0x01, 0x00, 0, 0x90, 4},
       5},  // the handle's high byte ends a text, the next byte the strings
      {{0x80, 3, 0x01, 0x00, 0, 0x90, 4}, 5},
      {{0x00, 0, 0x01, 0x01, 'a', 0, 0}, 2},  // type and length are two NULs
  };
  for (const Case& shape : cases) {
    Bytes bytes = shape.structure;
    bytes.insert(bytes.end(), {0x22, 0x33, 0, 0});
    Use(Table::Of(Raw{bytes}));
    UINT8* cursor = mHarness.TableData();
    EXPECT_EQ(SmbiosGetString(&cursor, 0xFFFF), nullptr);
    EXPECT_EQ(cursor - mHarness.TableData(), static_cast<std::ptrdiff_t>(shape.end));
    Visited visited;
    ASSERT_EQ(Fetch(kSmbiosNoHandle, &visited), EFI_SUCCESS);
    EXPECT_EQ(visited.size, shape.end);
  }
}

TEST_F(Bounds, EndOnATableOfZeros) {
  // Each pair of NULs is a structure's end, so the walk goes by two bytes.
  Use(Table::Of(Raw{Bytes(100, 0)}));
  EXPECT_EQ(CountOf(0), 49u);
  EXPECT_EQ(CountOf(1), 0u);
}

TEST_F(Bounds, EndOnATableOfOnes) {
  Use(Table::Of(Raw{Bytes(100, 0xFF)}));
  Visited visited;
  ASSERT_EQ(Fetch(kSmbiosNoHandle, &visited), EFI_SUCCESS);
  EXPECT_EQ(visited.size, 100u);
  EXPECT_EQ(visited.following, kSmbiosNoHandle);
  EXPECT_EQ(CountOf(0xFF), 1u);
}

TEST_F(Bounds, HoldForAStatedLengthShorterThanTheStructures) {
  Table table = MinimalServer();
  for (size_t length = 0; length <= table.Size(); ++length) {
    table.statedLength = static_cast<UINT16>(length);
    // What lies behind the stated length must not be seen; a chopped table makes it inaccessible.
    Table chopped = table;
    chopped.Chop(table.Size() - length);
    Use(chopped);
    size_t total = 0;
    for (unsigned type = 0; type <= 0xFF; ++type) {
      total += CountOf(static_cast<UINT8>(type));
    }
    size_t begun = 0;
    while (begun < table.Count() && table.OffsetOf(begun) + 4 <= length) {
      ++begun;
    }
    ASSERT_EQ(total, begun) << "length " << length;
  }
}

TEST_F(Bounds, HoldWithoutAnEntryPoint) {
  Use(MinimalServer());
  gSmbiosEntryPoint = nullptr;
  UINT16 count = 0;
  EXPECT_EQ(SmbiosGetStructuresByType(0, nullptr, nullptr, &count), EFI_NOT_FOUND);
  Visited visited;
  EXPECT_EQ(Fetch(kSmbiosNoHandle, &visited), EFI_NOT_FOUND);
}

}  // namespace
}  // namespace tvq::test
