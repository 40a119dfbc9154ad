/*
 * From the table to the source form and back: the same bytes, for every table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "host/table/dump.h"
#include "host/table/source.h"
#include "tests/unit/host/table/table_bytes.h"

namespace tvq::table {
namespace {

using testing::HasSubstr;

constexpr int kRounds = 2000;

// The file that the source of this file makes.
Bytes ThereAndBack(const Bytes& file) {
  const auto table = ReadDump(file);
  if (!table) {
    ADD_FAILURE() << table.Failure().message;
    return {};
  }
  const std::string source = FormatSource(*table);
  const auto again = ParseSource(source);
  if (!again) {
    ADD_FAILURE() << "line " << again.Failure().line << ": " << again.Failure().message << '\n'
                  << source;
    return {};
  }
  const auto dump = WriteDump(*again);
  EXPECT_TRUE(dump);
  return dump ? *dump : Bytes();
}

std::string SourceOf(const Bytes& structures) {
  Table table;
  table.structures = structures;
  return FormatSource(table);
}

class RandomTable : public testing::Test {
 protected:
  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(mEngine);
  }

  std::uint8_t Byte() { return static_cast<std::uint8_t>(Below(256)); }

  // A structure with named fields, few and often equal strings, and a NUL too many when it has any.
  Bytes Structure() {
    constexpr std::uint8_t kTypes[] = {0, 1, 2, 3, 4, 9, 11, 13, 14, 17, 221, 225, 226};
    Bytes bytes = {kTypes[Below(std::size(kTypes))], static_cast<std::uint8_t>(4 + Below(96))};
    while (bytes.size() < bytes[1]) {
      bytes.push_back(Below(2) == 0 ? Byte() : static_cast<std::uint8_t>(Below(5)));
    }
    for (std::size_t strings = Below(6); strings > 0; --strings) {
      bytes =
          std::move(bytes) + WithNul(std::string(1 + Below(2), static_cast<char>('a' + Below(2))));
    }
    return std::move(bytes) + FromHex("00 00");
  }

  std::mt19937 mEngine{20240318};
};

TEST_F(RandomTable, OfAnyBytesStaysTheSame) {
  for (int round = 0; round < kRounds; ++round) {
    Bytes file(Below(300));
    for (std::uint8_t& byte : file) {
      byte = Below(3) == 0 ? 0 : Byte();
    }
    ASSERT_EQ(ThereAndBack(file), file) << "round " << round;
  }
}

TEST_F(RandomTable, OfStructuresStaysTheSame) {
  for (int round = 0; round < kRounds; ++round) {
    Bytes file;
    for (std::size_t count = 1 + Below(4); count > 0; --count) {
      file = std::move(file) + Structure();
    }
    file.resize(file.size() - Below(3));
    ASSERT_EQ(ThereAndBack(file), file) << "round " << round;
  }
}

TEST_F(RandomTable, WithADamagedEntryPointStaysTheSame) {
  const Bytes sound = *WriteDump(*ParseSource("[system]\nserial = \"1\"\n[end]\n"));
  for (int round = 0; round < kRounds; ++round) {
    Bytes file = sound;
    // Anchor, length and address stay: without them the file is another one.
    const std::size_t at = 4 + Below(0x12);
    file[at] = Byte();
    file[0x1C + Below(4)] = Byte();
    ASSERT_EQ(ThereAndBack(file), file) << "round " << round;
  }
}

TEST_F(RandomTable, OfSourceTextEndsInATableOrALine) {
  const std::string sound = ReadText(SampleFiles().at(0));
  const auto lines = static_cast<std::size_t>(std::count(sound.begin(), sound.end(), '\n'));
  for (int round = 0; round < kRounds / 10; ++round) {
    std::string source = sound;
    for (std::size_t changes = 1 + Below(3); changes > 0; --changes) {
      source[Below(source.size())] = "[]=\"\\@#x09 \nz"[Below(13)];
    }
    const auto table = ParseSource(source);
    if (!table) {
      EXPECT_GE(table.Failure().line, 1u);
      EXPECT_LE(table.Failure().line, lines + 4) << source;
      EXPECT_FALSE(table.Failure().message.empty());
    }
  }
}

class TableFile : public testing::TestWithParam<std::string> {};
// There are none where nobody has put captured tables.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(TableFile);

TEST_P(TableFile, StaysTheSame) {
  const Bytes file = ReadBytes(GetParam());
  EXPECT_EQ(ThereAndBack(file), file);
}

TEST_P(TableFile, IsNamedStructures) {
  const auto table = ReadDump(ReadBytes(GetParam()));
  ASSERT_TRUE(table) << table.Failure().message;
  EXPECT_THAT(FormatSource(*table), HasSubstr("[memory-device 0x"));
}

INSTANTIATE_TEST_SUITE_P(Captured, TableFile, testing::ValuesIn(DumpFiles()),
                         [](const auto& info) { return NameOfFile(info.param); });

TEST(FormatSource, NamesTypesFieldsAndStrings) {
  const auto table = ParseSource(
      "version = 2.0\n[system 0x1210]\nmanufacturer = \"M\"\nserial = 7\nproduct = \"M\"\n");
  EXPECT_EQ(FormatSource(*table),
            "# An SMBIOS table of 1 structures in 11 bytes.\n\n"
            "version = 2.0\n\n"
            "[system 0x1210]\n"
            "manufacturer = \"M\"\n"
            "product      = \"M\"\n"
            "version      = 0\n"
            "serial       = 7  # no such string\n");
}

TEST(FormatSource, NumbersAStringThatAnEarlierOneHides) {
  EXPECT_THAT(SourceOf(FromHex("DD 04 00 00") + WithNul("a") + WithNul("a") + Bytes{0}),
              HasSubstr("string = \"a\"\nstring = \"a\"\n"));
  EXPECT_THAT(SourceOf(FromHex("E2 0D 00 00 00 00 02 00 00 00 00 00 00") + WithNul("a") +
                       WithNul("a") + Bytes{0}),
              HasSubstr("firmware-version = 2  # \"a\"\n"));
  EXPECT_THAT(SourceOf(FromHex("01 08 00 00 01 02 00 00") + WithNul("a") + WithNul("a") + Bytes{0}),
              HasSubstr("product      = new \"a\"\n"));
}

TEST(FormatSource, StatesALengthThatDoesNotFollow) {
  EXPECT_THAT(SourceOf(FromHex("7F 05 00 00 00 00 00")), HasSubstr("[end 0x0000]\nlength = 5\n"));
  EXPECT_THAT(SourceOf(FromHex("7F 04 00 00 00 00")), testing::Not(HasSubstr("length")));
}

TEST(FormatSource, StatesACountThatIsNotThatOfTheGroups) {
  const auto board = [](const std::string& count, const std::string& length) {
    return SourceOf(FromHex("02 " + length + " 00 00 00 00 00 00 00 00 00 00 00 00 " + count +
                            " 01 00 02 00 00 00"));
  };
  EXPECT_THAT(board("02", "13"), testing::Not(HasSubstr("contained-count")));
  EXPECT_THAT(board("04", "13"), HasSubstr("contained-count = 4\n"));
  EXPECT_THAT(board("01", "13"), HasSubstr("contained-count = 1\n"));
}

TEST(FormatSource, LeavesZerosOutThatHaveNoName) {
  EXPECT_THAT(SourceOf(FromHex("20 0B 00 00 00 00 00 00 00 00 05 00 00")),
              testing::EndsWith("\n[boot-status 0x0000]\nstatus = 0x05\n"));
  EXPECT_THAT(SourceOf(FromHex("20 0B 00 00 00 00 00 00 00 09 05 00 00")),
              testing::EndsWith("status     = 0x05\nbytes 0x04 = 00 00 00 00 00 09\n"));
}

TEST(FormatSource, GivesSixteenBytesALine) {
  EXPECT_THAT(SourceOf(FromHex("04 FF 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12")),
              testing::EndsWith("\n[raw]\n"
                                "bytes 0x00 = 04 FF 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F\n"
                                "bytes 0x10 = 10 11 12\n"));
}

TEST(FormatSource, NamesTheEntryPointUnlessItIsThe32BitOne) {
  const auto settings = [](const std::string& entryPoint) {
    return FormatSource(*ParseSource("entry-point = " + entryPoint + "\n[end]\n"));
  };
  for (const std::string entryPoint : {"64", "windows", "none"}) {
    EXPECT_THAT(settings(entryPoint),
                HasSubstr("version = 3.3\nentry-point = " + entryPoint + "\n\n[end"));
  }
  EXPECT_THAT(settings("32"), HasSubstr("version = 3.3\n\n[end"));
}

TEST(FormatSource, KeepsRemarksBehindAllValues) {
  EXPECT_THAT(SourceOf(FromHex("E1 09 00 00 01 07 34 12 05 00 00")),
              HasSubstr("fqdd   = 7 0x1234 0x05  # no such string\n"));
}

TEST(FormatSource, DeclaresStringsThatAreNamedOutOfOrder) {
  EXPECT_THAT(SourceOf(FromHex("01 08 00 00 02 01 00 00") + WithNul("a") + WithNul("b") + Bytes{0}),
              HasSubstr("string       = \"a\"\n"
                        "string       = \"b\"\n"
                        "manufacturer = \"b\"\n"
                        "product      = \"a\"\n"));
}

TEST(FormatSource, GivesFieldsBehindAListAsBytes) {
  const Bytes chassis =
      FromHex("03 19 00 00 00 17 00 00 00 03 03 03 02 00 00 00 00 02 01 01 03 83 01 02 00 00 00");
  const std::string source = SourceOf(chassis);
  EXPECT_THAT(source, HasSubstr("bytes 0x15         = 83 01 02 00\n"));
  EXPECT_THAT(source, testing::Not(HasSubstr("sku")));
}

TEST(FormatSource, LeavesTheRestOfACutTableAsRawBytes) {
  EXPECT_THAT(SourceOf(FromHex("7F 04 00 00 00 00 04 30 01 00 02")),
              HasSubstr("\n[end 0x0000]\n\n[raw]\nbytes 0x00 = 04 30 01 00 02\n"));
}

TEST(FormatSource, GivesEachByteOfTheEntryPointOnce) {
  const auto table = ParseSource(
      "[entry-point]\nbytes 0x04 = 01 02 03\n"
      "[entry-point]\nbytes 0x04 = 11\nbytes 0x06 = 13 14\n");
  ASSERT_TRUE(table);
  const std::string source = FormatSource(*table);
  EXPECT_THAT(source, HasSubstr("\n[entry-point]\nbytes 0x04 = 11 02 13 14\n"));
  const auto again = ParseSource(source);
  ASSERT_TRUE(again);
  EXPECT_EQ(*WriteDump(*again), *WriteDump(*table));
}

}  // namespace
}  // namespace tvq::table
