/*
 * Structure access, FQDD map and attributes on random tables: the driver gives what slow, literal
 * versions of them give, cursors and outputs included.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "tests/unit/shared/driver_memory.h"
#include "tests/unit/driver/model/random_table.h"
#include "tests/unit/driver/model/reference_attributes.h"
#include "tests/unit/driver/smbios/smbios_fixture.h"

#include "TvqSmbiosPkg/src/smbios/attributes.h"
#include "TvqSmbiosPkg/src/smbios/fqdd.h"
#include "TvqSmbiosPkg/src/smbios/table_index.h"

namespace tvq::test {
namespace {

constexpr unsigned kTables = 10000;
constexpr size_t kLargestTable = 0x10000;

// All types of the tables and one that they do not have.
constexpr UINT8 kTypes[] = {0, 1, 2, 3, 4, 7, 9, 11, 16, 17, 41, 127, 200, 225, 226};
// More strings than any structure has, too.
constexpr UINT16 kNumbers[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0xFE, 0xFFFF};

auto AsTuple(const FQDD_MAP_ENTRY& entry) {
  return std::make_tuple(entry.StringNumber, UINT16{entry.Handle}, entry.Opaque,
                         entry.StructureIndex);
}

auto AsTuple(const ReferenceAttributes::MapEntry& entry) {
  return std::make_tuple(entry.stringNumber, entry.handle, entry.opaque, entry.structure);
}

auto AsTuple(const SMBIOS_SLOT_QUERY& query) {
  return std::make_tuple(query.Bus, query.Device, query.Function, query.SlotId, query.OnBoard,
                         query.SlotType, query.SlotLength, query.SlotDataBusWidth);
}

class DifferentialAccess : public SmbiosTest {
 protected:
  DifferentialAccess() : mMapping(host::MapBelow4G(kLargestTable, host::Guard::kBehind)) {
    Table table = Table::Of(System{});
    SmbiosTest::Use(table);
    gDebugLog = nullptr;  // The lines would be kept.
    mLoaded = LastSerial(mHarness.Memory());
  }

  // Goes on to the next table.
  void Use(RandomTables& tables) {
    mRandom = &tables;
    mTable = tables.Next();
    mBase = mMapping.Data() + kLargestTable - mTable.Size();
    std::copy(mTable.Bytes().begin(), mTable.Bytes().end(), mBase);
    mHarness.EntryPoint().TableAddress = static_cast<UINT32>(reinterpret_cast<UINTN>(mBase));
    mHarness.EntryPoint().TableLength = static_cast<UINT16>(mTable.Size());
    mHarness.EntryPoint().NumberOfSmbiosStructures = static_cast<UINT16>(mTable.Count());
  }

  // With an index of the table, as during a start, or without.
  void Compare(bool withIndex) {
    std::optional<TableIndex> index;
    ASSERT_NO_FATAL_FAILURE(Locate(withIndex, index));
    ASSERT_NO_FATAL_FAILURE(CompareAccess());
    ASSERT_NO_FATAL_FAILURE(CompareMap());
    ASSERT_NO_FATAL_FAILURE(CompareAttributes());
  }

  void CompareAccess() {
    const ReferenceWalk walk(mTable.Bytes());
    for (const UINT16 handle : Handles()) {
      ASSERT_NO_FATAL_FAILURE(CompareNext(walk, handle));
    }
    for (size_t n = 0; n < mTable.Count(); ++n) {
      ASSERT_NO_FATAL_FAILURE(CompareStrings(walk, mTable.OffsetOf(n)));
    }
    for (const UINT8 type : kTypes) {
      ASSERT_NO_FATAL_FAILURE(CompareCollection(walk, type));
    }
  }

  void CompareMap() {
    ReferenceAttributes reference(mTable.Bytes());
    const EFI_STATUS expected = reference.BuildMap();
    ASSERT_EQ(BuildFqddMap(), expected);
    ASSERT_EQ(gFqddMapValid, EFI_ERROR(expected) ? 0 : 1);
    ASSERT_EQ(gFqddMapCount, reference.Map().size());
    for (size_t i = 0; i < gFqddMapCount; ++i) {
      ASSERT_EQ(AsTuple(gFqddMap[i]), AsTuple(reference.Map()[i]));
    }
    for (const UINT16 handle : Handles()) {
      ASSERT_NO_FATAL_FAILURE(CompareLookUp(reference, handle));
    }
  }

  void CompareAttributes() {
    const ReferenceAttributes reference(mTable.Bytes());
    ASSERT_NO_FATAL_FAILURE(CompareText(TVQ_ATTRIBUTE_SERVICE_TAG, reference.ServiceTag()));
    ASSERT_NO_FATAL_FAILURE(CompareText(TVQ_ATTRIBUTE_SYSTEM_NAME, reference.SystemName()));
    ASSERT_NO_FATAL_FAILURE(CompareBios(reference.Bios()));
    for (unsigned i = 0; i < 3; ++i) {
      ASSERT_NO_FATAL_FAILURE(CompareSlot(reference));
    }
  }

  // The getters and the map never free what they collect.
  void FreeLeftovers() {
    EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
    for (const host::Block& block : mHarness.Blocks()) {
      if (block.serial > mLoaded) {
        mHarness.BootServices()->FreePool(const_cast<void*>(block.address));
      }
    }
  }

 private:
  void Locate(bool withIndex, std::optional<TableIndex>& index) {
    EXPECT_EQ(ReleaseSmbiosState(), EFI_SUCCESS);
    ASSERT_EQ(LocateSmbiosTable(), EFI_SUCCESS);
    if (withIndex) {
      index.emplace();
      ASSERT_NE(TableIndex::Current(), nullptr);
    }
  }

  UINT16 HandleAt(size_t structure) const {
    return static_cast<UINT16>(mBase[structure + 2] | mBase[structure + 3] << 8);
  }

  // Those of the table, the one that stands for none, and one that the table need not have.
  std::vector<UINT16> Handles() {
    std::vector<UINT16> handles = {kSmbiosNoHandle,
                                   static_cast<UINT16>(mRandom->Number(0, 0xFFFF))};
    for (size_t n = 0; n < mTable.Count(); ++n) {
      handles.push_back(HandleAt(mTable.OffsetOf(n)));
    }
    return handles;
  }

  // The address of what stands at an offset.
  const CHAR8* Address(const std::optional<size_t>& offset) const {
    return offset ? reinterpret_cast<const CHAR8*>(mBase + *offset) : nullptr;
  }

  void CompareNext(const ReferenceWalk& walk, UINT16 handle) {
    UINT8* record = nullptr;
    UINT16 size = 0;
    UINT16 following = handle;
    const EFI_STATUS status = SmbiosGetNext(&following, &record, &size);
    const ReferenceWalk::Next expected = walk.GetNext(handle);
    ASSERT_EQ(status, expected.found ? EFI_SUCCESS : EFI_NOT_FOUND);
    ASSERT_EQ(following, expected.handle);
    ASSERT_EQ(size, expected.size);
    ASSERT_EQ(record, expected.found ? mBase + expected.record : nullptr);
  }

  void CompareStrings(const ReferenceWalk& walk, size_t structure) {
    for (const UINT16 number : kNumbers) {
      UINT8* cursor = mBase + structure;
      const CHAR8* const text = SmbiosGetString(&cursor, number);
      size_t expectedCursor = structure;
      ASSERT_EQ(text, Address(walk.GetString(expectedCursor, number)));
      ASSERT_EQ(cursor, mBase + expectedCursor);
    }
  }

  void CompareCollection(const ReferenceWalk& walk, UINT8 type) {
    const std::vector<ReferenceWalk::Found> expected = walk.ByType(type);
    UINT16 count = 0xFFFF;
    ASSERT_EQ(SmbiosGetStructuresByType(type, nullptr, nullptr, &count), EFI_SUCCESS);
    ASSERT_EQ(count, expected.size());
    UINT8** records = nullptr;
    UINT16* sizes = nullptr;
    ASSERT_EQ(SmbiosGetStructuresByType(type, &records, &sizes, &count), EFI_SUCCESS);
    ASSERT_EQ(count, expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
      ASSERT_EQ(records[i], mBase + expected[i].record);
      ASSERT_EQ(sizes[i], expected[i].size);
    }
    ZvFreePool(sizes);
    ZvFreePool(records);
  }

  // The entry, its text, and where that left the slots.
  void CompareLookUp(ReferenceAttributes& reference, UINT16 handle) {
    const FQDD_MAP_ENTRY* const entry = FindFqdd(handle);
    const std::optional<size_t> expected = reference.Find(handle);
    ASSERT_EQ(entry, expected ? gFqddMap + *expected : nullptr);
    if (!expected) {
      return;
    }
    ASSERT_EQ(FqddText(*entry), Address(reference.MapText(reference.Map()[*expected])));
    for (size_t i = 0; i < reference.MapSlots().size(); ++i) {
      ASSERT_EQ(gType225Records[i], mBase + reference.MapSlots()[i]);
    }
  }

  void CompareText(const wchar_t* name, const ReferenceAttributes::TextAnswer& expected) {
    UINT64 value = 0;
    ASSERT_EQ(ServerAttributeGet(Ucs2(u"zorv.server"), Ucs2(name), &value), expected.status);
    if (EFI_ERROR(expected.status)) {
      ASSERT_EQ(value, 0u);
      return;
    }
    auto* const text = reinterpret_cast<CHAR16*>(value);
    ASSERT_EQ(Utf8(text), Address(expected.text));
    ZvFreePool(text);
  }

  void CompareBios(const ReferenceAttributes::BiosAnswer& expected) {
    UINT64 value = 0;
    ASSERT_EQ(BiosAttributeGet(Ucs2(u"zorv.smbios.bios"), Ucs2(TVQ_ATTRIBUTE_BIOS_INFO), &value),
              expected.status);
    auto* const info = reinterpret_cast<SMBIOS_BIOS_INFO*>(value);
    ASSERT_EQ(info->ServiceTag, Address(expected.serviceTag));
    ASSERT_EQ(info->BiosVersion, Address(expected.biosVersion));
    ASSERT_EQ(info->ProductName, Address(expected.productName));
    ZvFreePool(info);
  }

  void CompareSlot(const ReferenceAttributes& reference) {
    SMBIOS_SLOT_QUERY query = {};
    query.Bus = mRandom->Number(0, 2);
    query.Device = mRandom->Number(0, 1);
    query.Function = mRandom->Number(0, 7);
    SMBIOS_SLOT_QUERY expected = query;
    const bool byId = mRandom->Once(2);
    UINT64 value = reinterpret_cast<UINTN>(&query);
    const EFI_STATUS status = PciAttributeGet(
        nullptr, Ucs2(byId ? TVQ_ATTRIBUTE_SLOT_ID : TVQ_ATTRIBUTE_PCI_SLOT_INFO), &value);
    ASSERT_EQ(status, reference.Slot(byId, static_cast<unsigned>(mTable.Count()), expected));
    ASSERT_EQ(AsTuple(query), AsTuple(expected));
  }

  host::LowMapping mMapping;
  uint64_t mLoaded = 0;
  RandomTables* mRandom = nullptr;
  Table mTable;
  UINT8* mBase = nullptr;
};

TEST_F(DifferentialAccess, AnswersEveryCallAsTheReferenceDoes) {
  RandomTables tables(20210316);
  const unsigned count = TablesToTry(kTables);
  for (unsigned i = 0; i < count; ++i) {
    SCOPED_TRACE("table " + std::to_string(i));
    Use(tables);
    ASSERT_NO_FATAL_FAILURE(Compare(i % 2 == 0));
    if (i % 1000 == 999) {
      FreeLeftovers();
    }
  }
}

}  // namespace
}  // namespace tvq::test
