/*
 * The driver's walk gives what a slow, literal walk gives, over random tables that were spoilt.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <random>

#include "tests/unit/driver/model/reference_walk.h"
#include "tests/unit/driver/smbios/smbios_fixture.h"

#include "TvqSmbiosPkg/src/smbios/table_index.h"

namespace tvq::test {
namespace {

constexpr size_t kLargestTable = 4096;

class Reference : public SmbiosTest {
 protected:
  Reference() : mMapping(host::MapBelow4G(kLargestTable, host::Guard::kBehind)) {
    Table table = Table::Of(System{});
    Use(table);
  }

  unsigned Random(unsigned from, unsigned to) {
    return std::uniform_int_distribution<unsigned>(from, to)(mGenerator);
  }

  // A few structures of few types, so that types repeat, with handles that do not.
  Table RandomTable() {
    Table table;
    std::vector<uint16_t> handles(Random(1, 12));
    for (uint16_t& handle : handles) {
      do {
        handle = static_cast<uint16_t>(Random(0, 0xFFFE));
      } while (std::count(handles.begin(), handles.end(), handle) > 1);
      Bytes body(Random(0, 20));
      std::generate(body.begin(), body.end(), [&] { return static_cast<uint8_t>(Random(0, 255)); });
      std::vector<std::string> strings(Random(0, 4));
      for (std::string& text : strings) {
        text.resize(Random(1, 10));
        std::generate(text.begin(), text.end(), [&] { return static_cast<char>(Random(1, 255)); });
      }
      table.Add(Structure{static_cast<uint8_t>(kTypes[Random(0, std::size(kTypes) - 1)]), handle,
                          body, strings});
    }
    return table;
  }

  // Bytes that may be anything: a table with a few bytes changed and the end cut off.
  Bytes Spoil(Bytes bytes) {
    for (unsigned changes = Random(0, 6); changes != 0; --changes) {
      static constexpr uint8_t kNasty[] = {0, 0, 1, 3, 4, 5, 0x7F, 0xFE, 0xFF};
      bytes[Random(0, static_cast<unsigned>(bytes.size()) - 1)] =
          kNasty[Random(0, std::size(kNasty) - 1)];
    }
    bytes.resize(Random(0, static_cast<unsigned>(bytes.size())));
    return bytes;
  }

  // Puts the bytes directly before the inaccessible page.
  void Place(const Bytes& bytes) {
    mBase = mMapping.Data() + kLargestTable - bytes.size();
    std::copy(bytes.begin(), bytes.end(), mBase);
    mHarness.EntryPoint().TableAddress = static_cast<UINT32>(reinterpret_cast<UINTN>(mBase));
    mHarness.EntryPoint().TableLength = static_cast<UINT16>(bytes.size());
    mHarness.EntryPoint().NumberOfSmbiosStructures =
        MAX_UINT16;  // More than there are; the index takes what it finds.
  }

  void ExpectTheSameWalk(const ReferenceWalk& reference, UINT16 handle) {
    UINT8* record = nullptr;
    UINT16 size = 0;
    UINT16 following = handle;
    const EFI_STATUS status = SmbiosGetNext(&following, &record, &size);
    const ReferenceWalk::Next expected = reference.GetNext(handle);
    ASSERT_EQ(status, expected.found ? EFI_SUCCESS : EFI_NOT_FOUND);
    ASSERT_EQ(following, expected.handle);
    ASSERT_EQ(size, expected.size);
    if (expected.found) {
      ASSERT_EQ(record, mBase + expected.record);
    }
  }

  void ExpectTheSameCollection(const ReferenceWalk& reference, UINT8 type) {
    const std::vector<ReferenceWalk::Found> expected = reference.ByType(type);
    UINT8** records = nullptr;
    UINT16* sizes = nullptr;
    UINT16 count = 0;
    const EFI_STATUS status = SmbiosGetStructuresByType(type, &records, &sizes, &count);
    ASSERT_EQ(status, reference.IsStructure(0) ? EFI_SUCCESS : EFI_NOT_FOUND);
    if (EFI_ERROR(status)) {
      return;
    }
    ASSERT_EQ(count, expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
      ASSERT_EQ(records[i], mBase + expected[i].record);
      ASSERT_EQ(sizes[i], expected[i].size);
    }
    ZvFreePool(records);
    ZvFreePool(sizes);
  }

  void ExpectTheSameCollections(const ReferenceWalk& reference) {
    for (const int type : kTypes) {
      ASSERT_NO_FATAL_FAILURE(ExpectTheSameCollection(reference, static_cast<UINT8>(type)));
    }
  }

  void ExpectTheSameStrings(const ReferenceWalk& reference, size_t structure) {
    for (const UINT16 index : std::initializer_list<UINT16>{0, 1, 2, 3, 4, 5, 0xFFFF}) {
      UINT8* cursor = mBase + structure;
      const CHAR8* const text = SmbiosGetString(&cursor, index);
      size_t expectedCursor = structure;
      const std::optional<size_t> expected = reference.GetString(expectedCursor, index);
      ASSERT_EQ(text, expected ? reinterpret_cast<CHAR8*>(mBase + *expected) : nullptr);
      ASSERT_EQ(cursor, mBase + expectedCursor);
    }
  }

  // Walks from structure to structure and reads all their strings.
  void ExpectTheSameSteps(const ReferenceWalk& reference) {
    UINT16 handle = kSmbiosNoHandle;
    for (size_t steps = 0; steps < 16; ++steps) {
      ASSERT_NO_FATAL_FAILURE(ExpectTheSameWalk(reference, handle));
      const ReferenceWalk::Next next = reference.GetNext(handle);
      if (!next.found) {
        break;
      }
      ASSERT_NO_FATAL_FAILURE(ExpectTheSameStrings(reference, next.record));
      handle = next.handle;
      if (handle == kSmbiosNoHandle) {
        break;
      }
    }
  }

  // Walks, collects and reads all strings of the table in both ways.
  void ExpectTheSame(const Bytes& bytes) {
    Place(bytes);
    const ReferenceWalk reference(bytes);
    ASSERT_NO_FATAL_FAILURE(ExpectTheSameWalk(reference, static_cast<UINT16>(Random(0, 0xFFFF))));
    ASSERT_NO_FATAL_FAILURE(ExpectTheSameSteps(reference));
    ASSERT_NO_FATAL_FAILURE(ExpectTheSameCollections(reference));
    const TableIndex index;
    ASSERT_NO_FATAL_FAILURE(ExpectTheSameCollections(reference)) << "with an index";
  }

  static constexpr int kTypes[] = {0, 1, 17, 127, 0xE1};

  std::mt19937 mGenerator{20210314};
  host::LowMapping mMapping;
  UINT8* mBase = nullptr;
};

TEST_F(Reference, AgreesOnTenThousandSpoiltTables) {
  for (int table = 0; table < 10000; ++table) {
    SCOPED_TRACE(table);
    ASSERT_NO_FATAL_FAILURE(ExpectTheSame(Spoil(RandomTable().Bytes())));
  }
}

}  // namespace
}  // namespace tvq::test
