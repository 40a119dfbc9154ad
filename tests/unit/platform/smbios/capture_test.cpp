/*
 * Tables from where they are kept: files of `dmidecode --dump-bin`, bare tables, and what is wrong with them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <random>

#include "tests/unit/platform/platform_fixture.h"
#include "tests/unit/shared/entry_point.h"

#include "TvqPlatformPkg/src/smbios/capture.h"

namespace tvq::test {
namespace {

using smbios::EntryPointKind;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using tvqplatform::Capture;
using tvqplatform::CaptureError;

EntryPointBytes Of32Bits(const Table& table) {
  return EntryPointBytes::Of32Bits(table).Set(kMajorVersion, 1, 2).Set(kMinorVersion, 1, 7);
}

// A file as dmidecode writes it.
Bytes Dump32(const Table& table) {
  return Of32Bits(table).FileWith(table);
}

EntryPointBytes Of64Bits(const Table& table, size_t maximum) {
  return EntryPointBytes::Of64Bits(table)
      .Set(kMajorVersion64, 1, 3)
      .Set(kMinorVersion64, 1, 2)
      .Set(kMaximumTableSize64, 4, maximum);
}

Bytes Dump64(const Table& table, size_t maximum) {
  return Of64Bits(table, maximum).FileWith(table);
}

class AgentCapture : public AgentTest {
 protected:
  struct Found {
    CaptureError error = CaptureError::kNone;
    EntryPointKind kind = EntryPointKind::kNone;
    unsigned version = 0;
    unsigned count = 0;
    Bytes table;
    std::vector<std::string> notes;
  };
  static Found ToFound(const Capture& capture) {
    Found found{capture.Error,
                capture.Kind,
                capture.Table.Major * 100u + capture.Table.Minor,
                capture.Table.StructureCount,
                Copy(capture.Table.Structures),
                {}};
    for (UINTN i = 0; i < capture.Remarks.Size(); ++i) {
      char sentence[256];
      tvqplatform::FormatNote(capture.Remarks[i], sentence, sizeof(sentence));
      found.notes.emplace_back(sentence);
    }
    return found;
  }
  static Found Read(const Bytes& file) {
    const Bytes exact(file.begin(), file.end());
    Capture capture;
    tvqplatform::ReadCapturedFile(View(exact), capture);
    return ToFound(capture);
  }
};

// --- A 32-bit entry point ---

TEST_F(AgentCapture, ReadsADumpWithA32BitEntryPoint) {
  const Table table = MinimalServer();
  const Found found = Read(Dump32(table));
  EXPECT_EQ(found.error, CaptureError::kNone);
  EXPECT_EQ(found.kind, EntryPointKind::k32Bit);
  EXPECT_EQ(found.version, 207u);
  EXPECT_EQ(found.count, table.Count());
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes, ElementsAre());
}

TEST_F(AgentCapture, ReadsTheTableWhereTheEntryPointPlacesIt) {
  const Table table = MinimalServer();
  Bytes dump = Of32Bits(table).Set(kTableAddress, 4, kTableInFile + 0x10).FileWith(table);
  dump.insert(dump.begin() + kTableInFile, 0x10, 0xEE);
  EXPECT_EQ(Read(dump).table, table.Bytes());
}

TEST_F(AgentCapture, ReadsTheTableAt20hWhenTheEntryPointPlacesItOutsideTheFile) {
  const Table table = MinimalServer();
  const Found found = Read(Of32Bits(table).Set(kTableAddress, 4, 0x7F000000).FileWith(table));
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes,
              ElementsAre("the entry point places the table at 0x7F000000, which is not in the "
                          "file; reading it at 0x20"));
  const size_t sizeOfFile = kTableInFile + table.Size();
  EXPECT_EQ(Read(Of32Bits(table).Set(kTableAddress, 4, sizeOfFile).FileWith(table)).table,
            table.Bytes());
}

TEST_F(AgentCapture, KeepsACountThatLiesAndSaysSo) {
  const Table table = MinimalServer();
  const Found found = Read(Of32Bits(table).Set(kStructureCount, 2, 999).FileWith(table));
  EXPECT_EQ(found.error, CaptureError::kNone);
  EXPECT_EQ(found.count, 999u);
  EXPECT_THAT(found.notes, ElementsAre("the entry point states 999 structures, the table has " +
                                       std::to_string(table.Count())));
}

TEST_F(AgentCapture, UsesWhatIsThereOfALengthThatLies) {
  const Table table = MinimalServer();
  const Found found = Read(Of32Bits(table).Set(kTableLength, 2, 60000).FileWith(table));
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes, ElementsAre(HasSubstr("a table of 60000 bytes, but only " +
                                                 std::to_string(table.Size()))));
}

TEST_F(AgentCapture, BelievesALengthThatIsTooShort) {
  const Table table = MinimalServer();
  const Found found = Read(Of32Bits(table).Set(kTableLength, 2, 100).FileWith(table));
  EXPECT_EQ(found.table.size(), 100u);
  EXPECT_THAT(found.notes, Contains(HasSubstr("cut off")));
  EXPECT_THAT(found.notes, Contains(HasSubstr("type 127")));
}

TEST_F(AgentCapture, SaysWhenAChecksumIsWrong) {
  const Table table = MinimalServer();
  const auto notesOn = [&](const EntryPointBytes& entry) {
    const Found found = Read(entry.FileWith(table));
    EXPECT_EQ(found.table, table.Bytes());
    return found.notes;
  };
  EXPECT_THAT(notesOn(Of32Bits(table).Spoil(kMaximumStructureSize)),
              ElementsAre("the entry point's checksum is wrong"));
  EXPECT_THAT(notesOn(Of32Bits(table).SpoilInside(kIntermediateChecksum)),
              ElementsAre(HasSubstr("intermediate checksum")));
  EXPECT_THAT(notesOn(Of32Bits(table).SpoilInside(kIntermediateAnchor)),
              ElementsAre(HasSubstr("_DMI_")));
}

TEST_F(AgentCapture, SaysWhenAnEntryPointStatesAnOddLengthOfItsOwn) {
  const Table table = MinimalServer();
  EXPECT_THAT(Read(Of32Bits(table).Set(kEntryPointLength, 1, 0x1E).FileWith(table)).notes,
              ElementsAre(HasSubstr("30 bytes, where 31 are usual")));
  // A length that reaches past the file is not summed up.
  EXPECT_THAT(Read(Of32Bits(Table()).Set(kEntryPointLength, 1, 0xFF).FileWith(Table())).notes,
              Contains(HasSubstr("255 bytes")));
}

TEST_F(AgentCapture, SaysWhenSomethingFollowsTheEndOfTable) {
  const Table table = Table::Of(MinimalServer(), Raw{{0, 0, 0, 0}});
  const Found found = Read(Dump32(table));
  EXPECT_EQ(found.table, table.Bytes()) << "a 32-bit entry point's length holds";
  EXPECT_THAT(found.notes, Contains(HasSubstr("4 bytes follow the end-of-table structure")));
}

TEST_F(AgentCapture, SaysWhenTheLastBytesAreNoStructure) {
  const Table table = Table::Of(MinimalServer(), Raw{{1, 2}});
  EXPECT_THAT(Read(Dump32(table)).notes, Contains(HasSubstr("last 2 bytes")));
}

TEST_F(AgentCapture, RefusesAnEntryPointWithoutATable) {
  const Table table;
  EXPECT_EQ(Read(Dump32(table)).error, CaptureError::kNothingBehind);
  const Table server = MinimalServer();
  for (const size_t length : {0, 3}) {
    EXPECT_EQ(Read(Of32Bits(server).Set(kTableLength, 2, length).FileWith(server)).error,
              CaptureError::kNothingBehind);
  }
  EXPECT_EQ(Read(Of32Bits(server).Set(kTableLength, 2, 4).FileWith(server)).error,
            CaptureError::kNone)
      << "a header is the least that there can be of a table";
}

TEST_F(AgentCapture, FindsNothingWrongWithAFirstStructureThatIsAHeaderAlone) {
  EXPECT_THAT(Read(Dump32(Table::Of(End{}))).notes, ElementsAre());
}

// --- A 64-bit entry point ---

TEST_F(AgentCapture, EndsTheTableOfA64BitEntryPointAfterItsEndOfTable) {
  const Table table = Table::Of(MinimalServer(), Raw{Bytes(100, 0)});
  const size_t end = MinimalServer().Size();
  const Found found = Read(Dump64(table, table.Size()));
  EXPECT_EQ(found.kind, EntryPointKind::k64Bit);
  EXPECT_EQ(found.version, 302u);
  EXPECT_EQ(found.table, Bytes(table.Bytes().begin(), table.Bytes().begin() + end));
  EXPECT_EQ(found.count, MinimalServer().Count());
  EXPECT_THAT(found.notes, ElementsAre(HasSubstr("Not Found")));
}

TEST_F(AgentCapture, EndsTheTableOfA64BitEntryPointAfterTheStringsOfItsEndOfTable) {
  for (const std::vector<std::string>& strings :
       {std::vector<std::string>{"x"}, std::vector<std::string>{"", "x"}}) {
    const Table table = Table::Of(Structure{.type = 127, .strings = strings});
    EXPECT_EQ(Read(Dump64(Table::Of(table, Raw{Bytes(100, 0)}), 1'000)).table, table.Bytes());
  }
}

TEST_F(AgentCapture, TakesTheLengthOfA64BitEntryPointForAMaximum) {
  const Table table = MinimalServer();
  EXPECT_THAT(Read(Dump64(table, 1'000'000)).notes, ElementsAre(HasSubstr("Not Found")));
}

// A maximum may reach into memory of devices.
TEST_F(AgentCapture, ReadsNothingBehindTheEndOfTableOfA64BitEntryPoint) {
  const Table table = MinimalServer();
  const host::LowMapping memory = host::MapBelow4G(table.Size(), host::Guard::kBehind);
  std::copy(table.Bytes().begin(), table.Bytes().end(), memory.Data());
  Bytes entry = Of64Bits(table, 0x100000).FileWith(table);
  entry.resize(0x18);
  tvqplatform::Capture capture;
  tvqplatform::ReadSeparateTable(View(entry), {memory.Data(), 0x100000}, capture);
  EXPECT_EQ(capture.Table.Structures.Size(), table.Size());
  EXPECT_EQ(Copy(capture.Table.Structures), table.Bytes());
}

TEST_F(AgentCapture, SaysWhenTheTableOfA64BitEntryPointIsCut) {
  Table table = MinimalServer();
  table.Chop(10);
  const Found found = Read(Dump64(table, 1'000'000));
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes, Contains(HasSubstr("but only")));
  EXPECT_THAT(found.notes, Contains(HasSubstr("type 127")));
}

TEST_F(AgentCapture, PlacesNothingPastTheFileForA64BitAddress) {
  const Table table = MinimalServer();
  const Bytes dump =
      Of64Bits(table, 4096).Set(kTableAddress64, 8, 0xFFFFFFFFFFFFFFF0).FileWith(table);
  EXPECT_EQ(Read(dump).table, table.Bytes());
}

// --- A bare table ---

TEST_F(AgentCapture, ReadsABareTableAsVersion3) {
  const Table table = MinimalServer();
  const Found found = Read(table.Bytes());
  EXPECT_EQ(found.error, CaptureError::kNone);
  EXPECT_EQ(found.kind, EntryPointKind::kNone);
  EXPECT_EQ(found.version, 300u);
  EXPECT_EQ(found.count, table.Count());
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes, ElementsAre());
}

TEST_F(AgentCapture, ReadsABareTableThatIsCut) {
  Table table = MinimalServer();
  table.Chop(20);
  const Found found = Read(table.Bytes());
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes, Contains(HasSubstr("type 127")));
}

TEST_F(AgentCapture, ReadsABareTableThatBeginsWithSomethingElse) {
  Bytes file = {0x00, 0x03, 0x02, 0x00, 0x2F, 0x04, 0x00, 0x00};
  const Bytes table = MinimalServer().Bytes();
  file.insert(file.end(), table.begin(), table.end());
  const Found found = Read(file);
  EXPECT_EQ(found.error, CaptureError::kNone);
  EXPECT_EQ(found.table, file);
  EXPECT_THAT(found.notes, ElementsAre(HasSubstr("length of 3 bytes")));
  // A second structure of such a length, and an end that is cut off, are too much.
  Bytes twice = file;
  twice.insert(twice.begin(), file.begin(), file.begin() + 8);
  EXPECT_EQ(Read(twice).error, CaptureError::kNoTable);
  file.pop_back();
  EXPECT_EQ(Read(file).error, CaptureError::kNoTable);
}

TEST_F(AgentCapture, TakesABareTableWithoutAnEndByTheTextsOfItsFirstStructure) {
  EXPECT_EQ(Read(Table::Of(OemStrings{.texts = {" a text"}}).Bytes()).error, CaptureError::kNone);
  EXPECT_EQ(Read(Table::Of(OemStrings{.texts = {"\x1F a text"}}).Bytes()).error,
            CaptureError::kNoTable);
}

TEST_F(AgentCapture, RefusesWhatIsNoTable) {
  EXPECT_EQ(Read({}).error, CaptureError::kEmpty);
  const std::string script = "#!/bin/sh\necho a longer file, with lines of text in it\n";
  EXPECT_EQ(Read(Bytes(script.begin(), script.end())).error, CaptureError::kNoTable);
  EXPECT_EQ(Read(Bytes(4096, 0)).error, CaptureError::kNoTable);
  EXPECT_EQ(Read(Bytes(4096, 0xFF)).error, CaptureError::kNoTable);
  EXPECT_EQ(Read({'_', 'S', 'M', '_'}).error, CaptureError::kNoTable);
  EXPECT_EQ(Read({1}).error, CaptureError::kNoTable);
  // An ELF file begins as an end-of-table structure of 69 bytes would.
  Bytes program = {0x7F, 'E', 'L', 'F', 2, 1, 1};
  program.resize(4096);
  EXPECT_EQ(Read(program).error, CaptureError::kNoTable);
}

TEST_F(AgentCapture, RefusesRandomBytes) {
  std::mt19937 random(7);
  int refused = 0;
  for (int round = 0; round < 200; ++round) {
    Bytes noise(random() % 5000);
    std::generate(noise.begin(), noise.end(), [&] { return static_cast<uint8_t>(random()); });
    refused += Read(noise).error == CaptureError::kNone ? 0 : 1;
  }
  EXPECT_EQ(refused, 200);
}

TEST_F(AgentCapture, SaysWhatIsWrongInWords) {
  for (const CaptureError error :
       {CaptureError::kEmpty, CaptureError::kNoTable, CaptureError::kNothingBehind}) {
    EXPECT_GT(std::string(tvqplatform::CaptureErrorText(error)).size(), 5u);
  }
}

TEST_F(AgentCapture, ReadsNothingPastADumpThatIsCutAnywhere) {
  for (const Bytes& dump : {Dump32(MinimalServer()), Dump64(MinimalServer(), 4096)}) {
    for (size_t size = 0; size < dump.size(); ++size) {
      Read(Bytes(dump.begin(), dump.begin() + size));
    }
    EXPECT_EQ(Read(dump).error, CaptureError::kNone);
  }
}

// --- Apart from its entry point ---

TEST_F(AgentCapture, ReadsATableApartFromItsEntryPoint) {
  const Table table = MinimalServer();
  const EntryPointBytes entry = Of32Bits(table).Set(kTableAddress, 4, 0xDEADBEEF);
  Capture capture;
  tvqplatform::ReadSeparateTable(View(entry.Bytes()), View(table.Bytes()), capture);
  const Found found = ToFound(capture);
  EXPECT_EQ(found.error, CaptureError::kNone);
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes, ElementsAre());
}

TEST_F(AgentCapture, RefusesATableWhoseEntryPointIsNone) {
  const Table table = MinimalServer();
  Capture capture;
  tvqplatform::ReadSeparateTable(View(table.Bytes()), View(table.Bytes()), capture);
  EXPECT_EQ(capture.Error, CaptureError::kNoTable);
}

}  // namespace
}  // namespace tvq::test
