/*
 * The ways in which tables are known to be wrong, each by its name, from the start to the end of the driver's life: it
 * reads nothing outside the table and makes of it what can be made.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/fuzz/exercise.h"
#include "tests/unit/shared/table.h"

namespace tvq::test {
namespace {

// The device names first, so that a table that is damaged further on still gives records.
std::vector<Structure> Server() {
  return {
      FqddMap{.handle = 0xE100, .groups = {{"CPU.Socket.1", 0x400}, {"DIMM.Socket.A1", 0x1100}}}
          .Build(),
      Bios{.handle = 0x000}.Build(),
      System{.handle = 0x100}.Build(),
      BaseBoard{.handle = 0x200}.Build(),
      Chassis{.handle = 0x300}.Build(),
      Processor{.handle = 0x400, .l1 = 0x700}.Build(),
      Cache{.handle = 0x700}.Build(),
      Slot{.handle = 0x900}.Build(),
      OemStrings{.handle = 0xB00, .texts = {std::string(20, '-') + "9X"}}.Build(),
      MemoryArray{.handle = 0x1000}.Build(),
      MemoryDevice{.handle = 0x1100}.Build(),
      DimmExtension{.handle = 0xE200, .deviceHandle = 0x1100}.Build(),
      OnboardDevice{.handle = 0x2900}.Build(),
  };
}

fuzz::Table TableOf(const std::vector<Structure>& structures) {
  fuzz::Table table;
  for (const Structure& structure : structures) {
    const Bytes bytes = structure.Encode();
    table.structures.insert(table.structures.end(), bytes.begin(), bytes.end());
  }
  table.structureCount = static_cast<uint16_t>(structures.size());
  return table;
}

// Both ends of the table are watched; the outcome is the same.
fuzz::Outcome Exercise(const fuzz::Table& table) {
  const fuzz::Outcome atEnd = fuzz::Exercise(table, host::Guard::kBehind);
  const fuzz::Outcome atBeginning = fuzz::Exercise(table, host::Guard::kBefore);
  EXPECT_EQ(atEnd.start, atBeginning.start);
  EXPECT_EQ(atEnd.records, atBeginning.records);
  return atEnd;
}

TEST(HostileTable, ThatIsNoneGivesOneRecordOfEachKind) {
  const fuzz::Outcome outcome = Exercise(TableOf(Server()));
  EXPECT_EQ(outcome.start, EFI_SUCCESS);
  EXPECT_EQ(outcome.records, 3u);
}

TEST(HostileTable, OfLengthZeroHasNoDeviceNames) {
  const fuzz::Outcome outcome = Exercise(TableOf({}));
  EXPECT_EQ(outcome.start, EFI_NOT_FOUND);
  EXPECT_EQ(outcome.records, 0u);
}

TEST(HostileTable, WithoutAnEndMarkIsReadToItsEnd) {
  std::vector<Structure> structures = Server();
  structures.push_back(End{}.Build());
  EXPECT_EQ(Exercise(TableOf(structures)).records, Exercise(TableOf(Server())).records);
}

TEST(HostileTable, WhoseLastStringsHaveNoEndKeepsTheStructuresBefore) {
  const fuzz::Table whole = TableOf(Server());
  for (size_t missing = 1; missing <= Server().back().Encode().size(); ++missing) {
    SCOPED_TRACE(std::to_string(missing) + " bytes are missing");
    fuzz::Table table = whole;
    table.structures.resize(whole.structures.size() - missing);
    EXPECT_EQ(Exercise(table).records, 3u);
  }
}

// The last module's texts are those that run into the end of the table.
TEST(HostileTable, WhoseModuleIsCutByTheEndStillStarts) {
  std::vector<Structure> structures = Server();
  structures.resize(11);
  const fuzz::Table whole = TableOf(structures);
  for (size_t missing = 1; missing <= structures.back().Encode().size(); ++missing) {
    SCOPED_TRACE(std::to_string(missing) + " bytes are missing");
    fuzz::Table table = whole;
    table.structures.resize(whole.structures.size() - missing);
    EXPECT_EQ(Exercise(table).start, EFI_SUCCESS);
  }
}

TEST(HostileTable, WithALengthByteBelowFourIsWalkedOnFromInsideTheHeader) {
  const std::vector<Structure> structures = Server();
  size_t offset = 0;
  for (const Structure& structure : structures) {
    for (uint8_t length = 0; length < 4; ++length) {
      SCOPED_TRACE("type " + std::to_string(structure.type) + ", length " + std::to_string(length));
      fuzz::Table table = TableOf(structures);
      table.structures[offset + 1] = length;
      Exercise(table);
    }
    offset += structure.Encode().size();
  }
}

TEST(HostileTable, WithALengthBytePastTheEndEndsThere) {
  std::vector<Structure> structures = Server();
  for (size_t last = 1; last <= structures.size(); ++last) {
    fuzz::Table table =
        TableOf({structures.begin(), structures.begin() + static_cast<std::ptrdiff_t>(last)});
    const size_t size = structures[last - 1].Encode().size();
    table.structures[table.structures.size() - size + 1] = 0xFF;
    SCOPED_TRACE("type " + std::to_string(structures[last - 1].type));
    Exercise(table);
  }
}

TEST(HostileTable, WithShortStructuresHasNoLateFields) {
  const std::vector<Structure> structures = Server();
  for (size_t i = 0; i < structures.size(); ++i) {
    for (size_t length = 4; length < 4 + structures[i].body.size(); ++length) {
      SCOPED_TRACE("type " + std::to_string(structures[i].type) + ", length " +
                   std::to_string(length));
      std::vector<Structure> shortened = structures;
      shortened[i].CutTo(static_cast<uint8_t>(length));
      Exercise(TableOf(shortened));
    }
  }
}

TEST(HostileTable, WithoutStringsWhereNumbersAskForThemIsReadOn) {
  const std::vector<Structure> structures = Server();
  for (size_t i = 0; i < structures.size(); ++i) {
    SCOPED_TRACE("type " + std::to_string(structures[i].type));
    std::vector<Structure> silent = structures;
    silent[i].strings.clear();
    Exercise(TableOf(silent));
  }
}

TEST(HostileTable, WhoseHandlesAreAllTheSameIsWalkedByPosition) {
  std::vector<Structure> structures = Server();
  for (Structure& structure : structures) {
    structure.handle = 0x10;
  }
  EXPECT_EQ(Exercise(TableOf(structures)).start, EFI_SUCCESS);
}

TEST(HostileTable, EndsAtAStructureWithHandleFFFF) {
  const std::vector<Structure> structures = Server();
  for (size_t i = 0; i < structures.size(); ++i) {
    std::vector<Structure> marked = structures;
    marked[i].handle = kNoHandle;
    SCOPED_TRACE("structure " + std::to_string(i));
    // The first one counts all the same.
    EXPECT_EQ(Exercise(TableOf(marked)).start, EFI_SUCCESS);
  }
}

TEST(HostileTable, WhoseCountLiesIsReadByItsBytes) {
  for (const unsigned count : {0, 1, 255, 256, 0xFFFF}) {
    fuzz::Table table = TableOf(Server());
    table.structureCount = static_cast<uint16_t>(count);
    const fuzz::Outcome outcome = Exercise(table);
    EXPECT_EQ(outcome.records, 3u);
    EXPECT_EQ(outcome.wouldHang, count > 255) << count;
  }
}

TEST(HostileTable, OfOneByteAgainAndAgainIsWalked) {
  for (unsigned byte = 0; byte <= 0xFF; ++byte) {
    fuzz::Table table;
    table.structures = Bytes(512, static_cast<uint8_t>(byte));
    SCOPED_TRACE("byte " + std::to_string(byte));
    EXPECT_EQ(Exercise(table).records, 0u);
  }
}

}  // namespace
}  // namespace tvq::test
