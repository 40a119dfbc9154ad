/*
 * Tables from where they are kept: files of `dmidecode --dump-bin`, bare tables, and what is wrong with them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <numeric>
#include <random>

#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/smbios/capture.h"

namespace tvq::test {
namespace {

using smbios::EntryPointKind;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using tvqplatform::Capture;
using tvqplatform::CaptureError;

void Put(Bytes& bytes, size_t offset, size_t size, uint64_t value) {
  for (size_t i = 0; i < size; ++i) {
    bytes.at(offset + i) = static_cast<uint8_t>(value >> (8 * i));
  }
}

void FixChecksum(Bytes& bytes, size_t offset, size_t size, size_t checksum) {
  bytes.at(checksum) = 0;
  const auto first = bytes.begin() + offset;
  bytes.at(checksum) = static_cast<uint8_t>(-std::accumulate(first, first + size, 0));
}

// A 32-bit entry point and the table at 20h, as dmidecode writes them.
struct Dump32 {
  explicit Dump32(const Table& table) : bytes(0x20) {
    const char anchor[] = "_SM_";
    const char intermediate[] = "_DMI_";
    std::copy(anchor, anchor + 4, bytes.begin());
    std::copy(intermediate, intermediate + 5, bytes.begin() + 0x10);
    Put(bytes, 0x05, 1, 0x1F);
    Put(bytes, 0x06, 2, 0x0702);
    Put(bytes, 0x16, 2, table.Size());
    Put(bytes, 0x18, 4, 0x20);
    Put(bytes, 0x1C, 2, table.Count());
    bytes.insert(bytes.end(), table.Bytes().begin(), table.Bytes().end());
    Seal();
  }
  void Seal() {
    FixChecksum(bytes, 0x10, 0x0F, 0x15);
    FixChecksum(bytes, 0x00, 0x1F, 0x04);
  }
  Dump32& Set(size_t offset, size_t size, uint64_t value) {
    Put(bytes, offset, size, value);
    Seal();
    return *this;
  }
  Bytes bytes;
};

struct Dump64 {
  explicit Dump64(const Table& table, uint32_t maximum) : bytes(0x20) {
    const char anchor[] = "_SM3_";
    std::copy(anchor, anchor + 5, bytes.begin());
    Put(bytes, 0x06, 1, 0x18);
    Put(bytes, 0x07, 2, 0x0203);
    Put(bytes, 0x0C, 4, maximum);
    Put(bytes, 0x10, 8, 0x20);
    FixChecksum(bytes, 0, 0x18, 0x05);
    bytes.insert(bytes.end(), table.Bytes().begin(), table.Bytes().end());
  }
  Bytes bytes;
};

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
  const Found found = Read(Dump32(table).bytes);
  EXPECT_EQ(found.error, CaptureError::kNone);
  EXPECT_EQ(found.kind, EntryPointKind::k32Bit);
  EXPECT_EQ(found.version, 207u);
  EXPECT_EQ(found.count, table.Count());
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes, ElementsAre());
}

TEST_F(AgentCapture, ReadsTheTableWhereTheEntryPointPlacesIt) {
  const Table table = MinimalServer();
  Dump32 dump(table);
  dump.bytes.insert(dump.bytes.begin() + 0x20, 0x10, 0xEE);
  EXPECT_EQ(Read(dump.Set(0x18, 4, 0x30).bytes).table, table.Bytes());
}

TEST_F(AgentCapture, ReadsTheTableAt20hWhenTheEntryPointPlacesItOutsideTheFile) {
  const Table table = MinimalServer();
  const Found found = Read(Dump32(table).Set(0x18, 4, 0x7F000000).bytes);
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes, ElementsAre(HasSubstr("0x7F000000")));
}

TEST_F(AgentCapture, KeepsACountThatLiesAndSaysSo) {
  const Table table = MinimalServer();
  const Found found = Read(Dump32(table).Set(0x1C, 2, 999).bytes);
  EXPECT_EQ(found.error, CaptureError::kNone);
  EXPECT_EQ(found.count, 999u);
  EXPECT_THAT(found.notes, ElementsAre("the entry point states 999 structures, the table has " +
                                       std::to_string(table.Count())));
}

TEST_F(AgentCapture, UsesWhatIsThereOfALengthThatLies) {
  const Table table = MinimalServer();
  const Found found = Read(Dump32(table).Set(0x16, 2, 60000).bytes);
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes, ElementsAre(HasSubstr("a table of 60000 bytes, but only " +
                                                 std::to_string(table.Size()))));
}

TEST_F(AgentCapture, BelievesALengthThatIsTooShort) {
  const Table table = MinimalServer();
  const Found found = Read(Dump32(table).Set(0x16, 2, 100).bytes);
  EXPECT_EQ(found.table.size(), 100u);
  EXPECT_THAT(found.notes, Contains(HasSubstr("cut off")));
  EXPECT_THAT(found.notes, Contains(HasSubstr("type 127")));
}

TEST_F(AgentCapture, SaysWhenAChecksumIsWrong) {
  const Table table = MinimalServer();
  Dump32 dump(table);
  dump.bytes[0x0A] ^= 0x55;
  EXPECT_THAT(Read(dump.bytes).notes, ElementsAre("the entry point's checksum is wrong"));
  dump.Seal();
  dump.bytes[0x1E] ^= 0x55;
  FixChecksum(dump.bytes, 0, 0x1F, 0x04);
  EXPECT_THAT(Read(dump.bytes).notes, ElementsAre(HasSubstr("intermediate checksum")));
  dump.bytes[0x10] = 'x';
  FixChecksum(dump.bytes, 0, 0x1F, 0x04);
  EXPECT_THAT(Read(dump.bytes).notes, ElementsAre(HasSubstr("_DMI_")));
  EXPECT_EQ(Read(dump.bytes).table, table.Bytes());
}

TEST_F(AgentCapture, SaysWhenAnEntryPointStatesAnOddLengthOfItsOwn) {
  const Table table = MinimalServer();
  EXPECT_THAT(Read(Dump32(table).Set(0x05, 1, 0x1E).bytes).notes,
              ElementsAre(HasSubstr("30 bytes, where 31 are usual")));
  // A length that reaches past the file is not summed up.
  EXPECT_THAT(Read(Dump32(Table()).Set(0x05, 1, 0xFF).bytes).notes,
              Contains(HasSubstr("255 bytes")));
}

TEST_F(AgentCapture, SaysWhenSomethingFollowsTheEndOfTable) {
  const Table table = Table::Of(MinimalServer(), Raw{{0, 0, 0, 0}});
  const Found found = Read(Dump32(table).bytes);
  EXPECT_EQ(found.table, table.Bytes()) << "a 32-bit entry point's length holds";
  EXPECT_THAT(found.notes, Contains(HasSubstr("4 bytes follow the end-of-table structure")));
}

TEST_F(AgentCapture, SaysWhenTheLastBytesAreNoStructure) {
  const Table table = Table::Of(MinimalServer(), Raw{{1, 2}});
  EXPECT_THAT(Read(Dump32(table).bytes).notes, Contains(HasSubstr("last 2 bytes")));
}

TEST_F(AgentCapture, RefusesAnEntryPointWithoutATable) {
  const Table table;
  EXPECT_EQ(Read(Dump32(table).bytes).error, CaptureError::kNothingBehind);
  const Table server = MinimalServer();
  EXPECT_EQ(Read(Dump32(server).Set(0x16, 2, 0).bytes).error, CaptureError::kNothingBehind);
}

// --- A 64-bit entry point ---

TEST_F(AgentCapture, EndsTheTableOfA64BitEntryPointAfterItsEndOfTable) {
  const Table table = Table::Of(MinimalServer(), Raw{Bytes(100, 0)});
  const size_t end = MinimalServer().Size();
  const Found found = Read(Dump64(table, static_cast<uint32_t>(table.Size())).bytes);
  EXPECT_EQ(found.kind, EntryPointKind::k64Bit);
  EXPECT_EQ(found.version, 302u);
  EXPECT_EQ(found.table, Bytes(table.Bytes().begin(), table.Bytes().begin() + end));
  EXPECT_EQ(found.count, MinimalServer().Count());
  EXPECT_THAT(found.notes, ElementsAre(HasSubstr("Not Found")));
}

TEST_F(AgentCapture, TakesTheLengthOfA64BitEntryPointForAMaximum) {
  const Table table = MinimalServer();
  EXPECT_THAT(Read(Dump64(table, 1'000'000).bytes).notes, ElementsAre(HasSubstr("Not Found")));
}

TEST_F(AgentCapture, SaysWhenTheTableOfA64BitEntryPointIsCut) {
  Table table = MinimalServer();
  table.Chop(10);
  const Found found = Read(Dump64(table, 1'000'000).bytes);
  EXPECT_EQ(found.table, table.Bytes());
  EXPECT_THAT(found.notes, Contains(HasSubstr("but only")));
  EXPECT_THAT(found.notes, Contains(HasSubstr("type 127")));
}

TEST_F(AgentCapture, PlacesNothingPastTheFileForA64BitAddress) {
  Dump64 dump(MinimalServer(), 4096);
  Put(dump.bytes, 0x10, 8, 0xFFFFFFFFFFFFFFF0);
  EXPECT_EQ(Read(dump.bytes).table, MinimalServer().Bytes());
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
  for (const Bytes& dump : {Dump32(MinimalServer()).bytes, Dump64(MinimalServer(), 4096).bytes}) {
    for (size_t size = 0; size < dump.size(); ++size) {
      Read(Bytes(dump.begin(), dump.begin() + size));
    }
    EXPECT_EQ(Read(dump).error, CaptureError::kNone);
  }
}

// --- Apart from its entry point ---

TEST_F(AgentCapture, ReadsATableApartFromItsEntryPoint) {
  const Table table = MinimalServer();
  Bytes entry = Dump32(table).Set(0x18, 4, 0xDEADBEEF).bytes;
  entry.resize(0x1F);
  Capture capture;
  tvqplatform::ReadSeparateTable(View(entry), View(table.Bytes()), capture);
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
