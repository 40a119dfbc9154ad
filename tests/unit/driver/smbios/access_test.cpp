/*
 * Locating the SMBIOS table, walking it by handle, collecting by type, and strings: on tables as
 * they should be.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <vector>

#include "tests/unit/driver/smbios/smbios_fixture.h"

namespace tvq::test {
namespace {

using host::images::driver;
using testing::ElementsAre;

// --- Locating the table ---

class Locate : public testing::Test {
 protected:
  Locate() { mHarness.Construct(); }

  DriverHarness mHarness;
};

TEST_F(Locate, ReadsAddressAndVersionFromTheEntryPoint) {
  const Table table = MinimalServer().OfVersion(2, 7);
  mHarness.Publish(table);
  ASSERT_EQ(LocateSmbiosTable(), EFI_SUCCESS);
  EXPECT_EQ(gSmbiosEntryPoint, reinterpret_cast<UINT8*>(&mHarness.EntryPoint()));
  EXPECT_EQ(gSmbiosTable, mHarness.TableData());
  EXPECT_EQ(gSmbiosMajor, 2u);
  EXPECT_EQ(gSmbiosMinor, 7u);
  EXPECT_EQ(SmbiosMajorVersion(), 2u);
  EXPECT_EQ(SmbiosMinorVersion(), 7u);
}

TEST_F(Locate, TakesTheAddressAsUnsigned32Bits) {
  mHarness.Publish(MinimalServer());
  mHarness.EntryPoint().TableAddress = 0xFFFFF000;
  ASSERT_EQ(LocateSmbiosTable(), EFI_SUCCESS);
  EXPECT_EQ(reinterpret_cast<UINTN>(gSmbiosTable), 0xFFFFF000u);
}

TEST_F(Locate, FindsNothingInAConfigurationTableWithoutSmbios) {
  EXPECT_EQ(LocateSmbiosTable(), EFI_NOT_FOUND);
  EXPECT_EQ(gSmbiosEntryPoint, nullptr);
  EXPECT_EQ(gSmbiosTable, nullptr);
}

TEST_F(Locate, NeverConsultsThe64BitEntryPoint) {
  mHarness.PublishWith64BitEntryPoint(MinimalServer());
  EXPECT_EQ(LocateSmbiosTable(), EFI_NOT_FOUND);
  EXPECT_EQ(gSmbiosEntryPoint, nullptr);
}

TEST_F(Locate, PrefersThe32BitEntryPointWhereBothAreThere) {
  mHarness.PublishWith64BitEntryPoint(Table());
  mHarness.Publish(MinimalServer());
  ASSERT_EQ(LocateSmbiosTable(), EFI_SUCCESS);
  EXPECT_EQ(gSmbiosTable, mHarness.TableData());
}

TEST_F(Locate, TakesTheFirstOfTwoEntries) {
  mHarness.Publish(MinimalServer());
  SMBIOS_TABLE_ENTRY_POINT second = mHarness.EntryPoint();
  EFI_CONFIGURATION_TABLE entries[] = {{gEfiSmbios3TableGuid, &second},
                                       {gEfiSmbiosTableGuid, &mHarness.EntryPoint()},
                                       {gEfiSmbiosTableGuid, &second}};
  EFI_SYSTEM_TABLE* const system = mHarness.Firmware().SystemTableOf(driver);
  system->ConfigurationTable = entries;
  system->NumberOfTableEntries = 3;
  ASSERT_EQ(LocateSmbiosTable(), EFI_SUCCESS);
  EXPECT_EQ(gSmbiosEntryPoint, reinterpret_cast<UINT8*>(&mHarness.EntryPoint()));
  system->NumberOfTableEntries = 1;
  EXPECT_EQ(LocateSmbiosTable(), EFI_NOT_FOUND);
}

TEST_F(Locate, LooksAtAllEntriesOfTheConfigurationTable) {
  mHarness.Publish(MinimalServer());
  EFI_CONFIGURATION_TABLE entries[] = {{gEfiSmbiosTableGuid, &mHarness.EntryPoint()},
                                       {gEfiSmbios3TableGuid, &mHarness.EntryPoint()},
                                       {gEfiSmbiosTableGuid, &mHarness.EntryPoint()}};
  EFI_SYSTEM_TABLE* const system = mHarness.Firmware().SystemTableOf(driver);
  system->ConfigurationTable = entries;
  system->NumberOfTableEntries = 1;
  EXPECT_EQ(LocateSmbiosTable(), EFI_SUCCESS) << "the first one";
  system->ConfigurationTable = entries + 1;
  EXPECT_EQ(LocateSmbiosTable(), EFI_NOT_FOUND);
  system->NumberOfTableEntries = 2;
  EXPECT_EQ(LocateSmbiosTable(), EFI_SUCCESS) << "the last one";
}

TEST_F(Locate, PassesOverAnEntryWithoutAnEntryPoint) {
  mHarness.Publish(MinimalServer());
  EFI_CONFIGURATION_TABLE entries[] = {{gEfiSmbiosTableGuid, nullptr},
                                       {gEfiSmbiosTableGuid, &mHarness.EntryPoint()}};
  EFI_SYSTEM_TABLE* const system = mHarness.Firmware().SystemTableOf(driver);
  system->ConfigurationTable = entries;
  system->NumberOfTableEntries = 2;
  ASSERT_EQ(LocateSmbiosTable(), EFI_SUCCESS);
  EXPECT_EQ(gSmbiosEntryPoint, reinterpret_cast<UINT8*>(&mHarness.EntryPoint()));
}

TEST_F(Locate, TakesATableAtAddressZeroForAnEmptyOne) {
  mHarness.Publish(MinimalServer());
  mHarness.EntryPoint().TableAddress = 0;
  ASSERT_EQ(LocateSmbiosTable(), EFI_SUCCESS);
  EXPECT_TRUE(SmbiosTable().Empty());
  UINT16 count = 0;
  EXPECT_EQ(SmbiosGetStructuresByType(17, nullptr, nullptr, &count), EFI_NOT_FOUND);
}

TEST_F(Locate, NeedsNoMemory) {
  mHarness.Publish(MinimalServer());
  mHarness.Memory().FailFromAllocation(1, driver);
  EXPECT_EQ(LocateSmbiosTable(), EFI_SUCCESS);
  UINT16 count = 0;
  EXPECT_EQ(SmbiosGetStructuresByType(17, nullptr, nullptr, &count), EFI_SUCCESS);
  EXPECT_EQ(count, 1u);
}

// --- The walk by handle ---

class GetNext : public SmbiosTest {
 protected:
  EFI_STATUS Next() { return SmbiosGetNext(&mHandle, &mRecord, &mSize); }

  UINT16 mHandle = kSmbiosNoHandle;
  UINT8* mRecord = nullptr;
  UINT16 mSize = 0xEEEE;
};

Table ThreeStructures() {
  return Table::Of(Bios{.handle = 0x11}, System{.handle = 0x22}, End{.handle = 0x33});
}

TEST_F(GetNext, VisitsTheStructuresInOrder) {
  const Table table = ThreeStructures();
  Use(table);
  const UINT16 following[] = {0x22, 0x33, kSmbiosNoHandle};
  for (size_t n = 0; n < 3; ++n) {
    ASSERT_EQ(Next(), EFI_SUCCESS);
    EXPECT_EQ(mRecord, At(table, n));
    EXPECT_EQ(mSize, table.OffsetOf(n + 1) - table.OffsetOf(n));
    EXPECT_EQ(mHandle, following[n]);
  }
}

TEST_F(GetNext, TakesAsManyStepsAsThereAreStructures) {
  Use(ThreeStructures());
  EXPECT_EQ(SmbiosCountStructures(), 3u);
}

TEST_F(GetNext, FetchesAnyStructureByItsHandle) {
  const Table table = ThreeStructures();
  Use(table);
  mHandle = 0x22;
  ASSERT_EQ(Next(), EFI_SUCCESS);
  EXPECT_EQ(mRecord, At(table, 1));
  EXPECT_EQ(mHandle, 0x33u);
}

TEST_F(GetNext, FindsNoStructureWithAnUnknownHandle) {
  Use(ThreeStructures());
  mHandle = 0x44;
  EXPECT_EQ(Next(), EFI_NOT_FOUND);
  EXPECT_EQ(mHandle, kSmbiosNoHandle);
  EXPECT_EQ(mSize, 0u);
  EXPECT_EQ(mRecord, nullptr);
}

TEST_F(GetNext, NeedsAllItsArguments) {
  Use(ThreeStructures());
  EXPECT_EQ(SmbiosGetNext(nullptr, &mRecord, &mSize), EFI_INVALID_PARAMETER);
  EXPECT_EQ(SmbiosGetNext(&mHandle, nullptr, &mSize), EFI_INVALID_PARAMETER);
  EXPECT_EQ(SmbiosGetNext(&mHandle, &mRecord, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mHandle, kSmbiosNoHandle);
  EXPECT_EQ(mSize, 0xEEEE);
}

TEST_F(GetNext, TreatsTheEndOfTableStructureAsAnyOther) {
  Use(Table::Of(End{.handle = 0x10}, System{.handle = 0x20}));
  ASSERT_EQ(Next(), EFI_SUCCESS);
  EXPECT_EQ(*mRecord, 127u);
  EXPECT_EQ(mHandle, 0x20u);
  ASSERT_EQ(Next(), EFI_SUCCESS);
  EXPECT_EQ(*mRecord, 1u);
  EXPECT_EQ(mHandle, kSmbiosNoHandle);
}

TEST_F(GetNext, EndsWhereTheStatedLengthEnds) {
  Table table = ThreeStructures();
  table.statedLength = static_cast<uint16_t>(table.OffsetOf(2));
  Use(table);
  mHandle = 0x22;
  ASSERT_EQ(Next(), EFI_SUCCESS);
  EXPECT_EQ(mHandle, kSmbiosNoHandle);
  mHandle = 0x33;
  EXPECT_EQ(Next(), EFI_NOT_FOUND);
}

TEST_F(GetNext, ReadsTheTableLengthAnewEachTime) {
  const Table table = ThreeStructures();
  Use(table);
  mHarness.EntryPoint().TableLength = static_cast<UINT16>(table.OffsetOf(1));
  mHandle = 0x22;
  EXPECT_EQ(Next(), EFI_NOT_FOUND);
  mHarness.EntryPoint().TableLength = static_cast<UINT16>(table.Size());
  mHandle = 0x22;
  EXPECT_EQ(Next(), EFI_SUCCESS);
}

TEST_F(GetNext, FollowsATableThatWasMoved) {
  Use(ThreeStructures());
  mHarness.Publish(Table::Of(Chassis{.handle = 0x55}));
  mHarness.UnmapEarlierTables();
  ASSERT_EQ(Next(), EFI_SUCCESS);
  EXPECT_EQ(mRecord, mHarness.TableData());
  EXPECT_EQ(mHandle, kSmbiosNoHandle);
}

TEST_F(GetNext, TakesTheFirstStructureWithAHandleSoThatARepeatedOneMakesTheWalkCycle) {
  Table table = Table::Of(Bios{.handle = 0x10}, System{.handle = 0x20}, Chassis{.handle = 0x10},
                          End{.handle = 0x30});
  Use(table);
  for (size_t step = 0; step < 20; ++step) {
    ASSERT_EQ(Next(), EFI_SUCCESS);
    EXPECT_EQ(mRecord, At(table, step % 2));
    EXPECT_EQ(mHandle, step % 2 == 0 ? 0x20 : 0x10);
  }
}

TEST_F(GetNext, ShowsAStructureWithTheEndMarkAsHandleAsTheEnd) {
  Table table = Table::Of(Bios{.handle = 0x10}, System{.handle = kNoHandle}, End{.handle = 0x30});
  Use(table);
  ASSERT_EQ(Next(), EFI_SUCCESS);
  EXPECT_EQ(mHandle, kSmbiosNoHandle);
  EXPECT_EQ(mSize, table.OffsetOf(1));
}

TEST_F(GetNext, BeginsWithAFirstStructureThatHasTheEndMarkAsHandle) {
  Table table = Table::Of(Bios{.handle = kNoHandle}, End{.handle = 0x30});
  Use(table);
  ASSERT_EQ(Next(), EFI_SUCCESS);
  EXPECT_EQ(mRecord, At(table, 0));
  EXPECT_EQ(mHandle, 0x30u);
}

// --- Collecting by type ---

class ByType : public SmbiosTest {
 protected:
  EFI_STATUS Collect(UINT8 type) {
    return SmbiosGetStructuresByType(type, &mRecords, &mSizes, &mCount);
  }
  std::vector<UINT8*> Records() { return {mRecords, mRecords + mCount}; }
  std::vector<UINT16> Sizes() { return {mSizes, mSizes + mCount}; }

  UINT8** mRecords = nullptr;
  UINT16* mSizes = nullptr;
  UINT16 mCount = 0xEEEE;
};

Table FourModules() {
  return Table::Of(MemoryDevice{.serial = "1"}, MemoryArray{}, MemoryDevice{.serial = "22"},
                   MemoryDevice{.serial = "333"}, End{}, MemoryDevice{.serial = "4444"});
}

TEST_F(ByType, CollectsAddressesAndSizesInTableOrder) {
  const Table table = FourModules();
  Use(table);
  ASSERT_EQ(Collect(17), EFI_SUCCESS);
  EXPECT_THAT(Records(), ElementsAre(At(table, 0), At(table, 2), At(table, 3), At(table, 5)));
  const auto size = [&](size_t n) {
    return static_cast<UINT16>(table.OffsetOf(n + 1) - table.OffsetOf(n));
  };
  EXPECT_THAT(Sizes(), ElementsAre(size(0), size(2), size(3), size(5)));
}

TEST_F(ByType, HandsOutTwoArraysOfBootServicesData) {
  Use(FourModules());
  ASSERT_EQ(Collect(17), EFI_SUCCESS);
  const auto records = mHarness.Memory().Find(mRecords);
  const auto sizes = mHarness.Memory().Find(mSizes);
  ASSERT_TRUE(records && sizes);
  EXPECT_EQ(records->size, 4 * 8u);
  EXPECT_EQ(sizes->size, 4 * 2u);
  EXPECT_EQ(records->type, EfiBootServicesData);
  EXPECT_EQ(sizes->type, EfiBootServicesData);
  ZvFreePool(mRecords);
  ZvFreePool(mSizes);
}

TEST_F(ByType, FindsOemTypesAsAnyOther) {
  const Table table = Table::Of(FourModules(), DimmExtension{});
  Use(table);
  ASSERT_EQ(Collect(0xE2), EFI_SUCCESS);
  EXPECT_THAT(Records(), ElementsAre(At(table, 6)));
}

TEST_F(ByType, SucceedsWithoutAStructureOfTheType) {
  Use(FourModules());
  ASSERT_EQ(Collect(4), EFI_SUCCESS);
  EXPECT_EQ(mCount, 0u);
  ASSERT_TRUE(mHarness.Memory().Find(mRecords));
  ASSERT_TRUE(mHarness.Memory().Find(mSizes));
  EXPECT_EQ(mHarness.Memory().Find(mRecords)->size, 0u);
  EXPECT_EQ(mHarness.Memory().Find(mSizes)->size, 0u);
}

TEST_F(ByType, OnlyCountsWithoutTheArrays) {
  Use(FourModules());
  const uint64_t before = mHarness.Memory().Allocations(driver);
  EXPECT_EQ(SmbiosGetStructuresByType(17, nullptr, nullptr, &mCount), EFI_SUCCESS);
  EXPECT_EQ(mCount, 4u);
  EXPECT_EQ(mHarness.Memory().Allocations(driver), before);
}

TEST_F(ByType, NeedsTheCount) {
  Use(FourModules());
  EXPECT_EQ(SmbiosGetStructuresByType(17, &mRecords, &mSizes, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(SmbiosGetStructuresByType(17, nullptr, nullptr, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(ByType, CountsBeforeItRefusesOneArrayAlone) {
  Use(FourModules());
  EXPECT_EQ(SmbiosGetStructuresByType(17, &mRecords, nullptr, &mCount), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mCount, 4u);
  EXPECT_EQ(SmbiosGetStructuresByType(16, nullptr, &mSizes, &mCount), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mCount, 1u);
  EXPECT_EQ(mRecords, nullptr);
  EXPECT_EQ(mSizes, nullptr);
}

TEST_F(ByType, FailsWithoutMemoryForTheFirstArray) {
  Use(FourModules());
  const size_t before = mHarness.Blocks().size();
  mHarness.FailAllocation(1);
  UINT8* none = nullptr;
  mRecords = &none;
  EXPECT_EQ(Collect(17), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(mCount, 4u);
  EXPECT_EQ(mRecords, nullptr) << "the caller gets what the pool answered";
  EXPECT_EQ(mHarness.Blocks().size(), before);
}

TEST_F(ByType, FreesTheFirstArrayWithoutMemoryForTheSecond) {
  Use(FourModules());
  const size_t before = mHarness.Blocks().size();
  mHarness.FailAllocation(2);
  EXPECT_EQ(Collect(17), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(mHarness.Blocks().size(), before);
  EXPECT_NE(mRecords, nullptr) << "the caller keeps the address of what was freed";
}

TEST_F(ByType, VisitsEachStructureOnceAlsoWhereHandlesRepeat) {
  const Table pair = Table::Of(MemoryArray{.handle = 0x10}, MemoryDevice{.handle = 0x20});
  const Table table = Table::Of(pair, pair, pair);
  Use(table);
  ASSERT_EQ(Collect(17), EFI_SUCCESS);
  EXPECT_THAT(Records(), ElementsAre(At(table, 1), At(table, 3), At(table, 5)));
}

TEST_F(ByType, EndsBeforeALaterStructureWithTheEndMarkAsHandle) {
  Table table = Table::Of(MemoryDevice{.handle = 0x10}, MemoryDevice{.handle = 0x20},
                          MemoryDevice{.handle = kNoHandle}, MemoryDevice{.handle = 0x30});
  Use(table);
  ASSERT_EQ(Collect(17), EFI_SUCCESS);
  EXPECT_THAT(Records(), ElementsAre(At(table, 0), At(table, 1)));
}

TEST_F(ByType, GoesOnAfterAFirstStructureWithTheEndMarkAsHandle) {
  Table table = Table::Of(MemoryDevice{.handle = kNoHandle}, MemoryDevice{.handle = 0x20});
  Use(table);
  ASSERT_EQ(Collect(17), EFI_SUCCESS);
  EXPECT_THAT(Records(), ElementsAre(At(table, 0), At(table, 1)));
}

TEST_F(ByType, FollowsATableThatWasMoved) {
  Use(FourModules());
  Table moved = Table::Of(MemoryDevice{});
  mHarness.Publish(moved);
  mHarness.UnmapEarlierTables();
  ASSERT_EQ(Collect(17), EFI_SUCCESS);
  EXPECT_THAT(Records(), ElementsAre(At(moved, 0)));
}

TEST_F(ByType, SeesStructuresThatWereAddedLater) {
  Table table = FourModules();
  table.statedLength = static_cast<uint16_t>(table.OffsetOf(3));
  Use(table);
  ASSERT_EQ(Collect(17), EFI_SUCCESS);
  EXPECT_EQ(mCount, 2u);
  mHarness.EntryPoint().TableLength = static_cast<UINT16>(table.Size());
  ASSERT_EQ(Collect(17), EFI_SUCCESS);
  EXPECT_EQ(mCount, 4u);
}

// --- Strings ---

class GetString : public SmbiosTest {
 protected:
  // One structure with three strings, and two without.
  GetString() {
    Use(mTable);
    mCursor = At(mTable, 0);
  }

  CHAR8* Get(UINT16 index) { return SmbiosGetString(&mCursor, index); }

  const Table mTable = Table::Of(Structure{0x80, 0x10, {1, 2, 3}, {"first", "second", "third"}},
                                 Structure{0x81, 0x20}, Structure{0x82, 0x30});
  UINT8* mCursor;
};

TEST_F(GetString, FindsStringsByTheirNumberInPlace) {
  EXPECT_STREQ(Get(1), "first");
  EXPECT_STREQ(Get(2), "second");
  EXPECT_STREQ(Get(3), "third");
  EXPECT_EQ(Get(1), reinterpret_cast<CHAR8*>(At(mTable, 0) + 7));
  EXPECT_EQ(mCursor, At(mTable, 0));
}

TEST_F(GetString, FindsNothingUnderNumberZero) {
  EXPECT_EQ(Get(0), nullptr);
  EXPECT_EQ(mCursor, At(mTable, 0));
}

TEST_F(GetString, FindsNothingWithoutACursor) {
  EXPECT_EQ(SmbiosGetString(nullptr, 1), nullptr);
}

TEST_F(GetString, MovesTheCursorToTheNextStructureForANumberPastTheLast) {
  EXPECT_EQ(Get(4), nullptr);
  EXPECT_EQ(mCursor, At(mTable, 1));
}

TEST_F(GetString, AdvancesByNumberFfff) {
  EXPECT_EQ(Get(0xFFFF), nullptr);
  EXPECT_EQ(mCursor, At(mTable, 1));
  EXPECT_EQ(Get(0xFFFF), nullptr);
  EXPECT_EQ(mCursor, At(mTable, 2));
  EXPECT_EQ(Get(0xFFFF), nullptr);
  EXPECT_EQ(mCursor, At(mTable, 3)) << "the end of the table";
}

TEST_F(GetString, FindsAnEmptyTextAsFirstStringOfAStructureWithoutStrings) {
  mCursor = At(mTable, 1);
  EXPECT_STREQ(Get(1), "");
  EXPECT_EQ(mCursor, At(mTable, 1));
}

TEST_F(GetString, FindsNoSecondStringInAStructureWithoutStrings) {
  mCursor = At(mTable, 1);
  EXPECT_EQ(Get(2), nullptr);
  EXPECT_EQ(mCursor, At(mTable, 2)) << "the next structure";
  EXPECT_EQ(Get(2), nullptr);
  EXPECT_EQ(mCursor, At(mTable, 3)) << "the end of the table";
}

TEST_F(GetString, MovesACursorInFrontOfTheTableToItsEnd) {
  mCursor = At(mTable, 0) - 1;
  EXPECT_EQ(Get(1), nullptr);
  EXPECT_EQ(mCursor, At(mTable, 3));
}

// --- Texts by address ---

TEST_F(GetString, FindsATextByItsAddressWhereItEndsInsideTheTable) {
  UINT8* const first = At(mTable, 0) + 7;
  EXPECT_EQ(SmbiosTextAt(first), reinterpret_cast<CHAR8*>(first));
  EXPECT_EQ(SmbiosTextAt(At(mTable, 0)), reinterpret_cast<CHAR8*>(At(mTable, 0)));
  EXPECT_EQ(SmbiosTextAt(At(mTable, 0) - 1), nullptr) << "in front of the table";
  EXPECT_EQ(SmbiosTextAt(At(mTable, 3)), nullptr) << "behind it";
}
}  // namespace
}  // namespace tvq::test
