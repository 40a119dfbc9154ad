/*
 * Tables in files: entry points that fit the structures, and what is read back from dumps and from
 * text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numeric>
#include <string>
#include <utility>

#include "host/table/dump.h"
#include "host/table/source.h"
#include "tests/unit/host/table/table_bytes.h"

namespace tvq::table {
namespace {

using testing::SizeIs;

// Two structures of 11 and 6 bytes.
constexpr char kSource[] = "version = 2.0\n[system 0x0001]\nmanufacturer = \"M\"\n[end 0x0002]\n";

Bytes Dump(const std::string& source) {
  const auto table = ParseSource(source);
  EXPECT_TRUE(table);
  const auto dump = WriteDump(*table);
  EXPECT_TRUE(dump);
  return *dump;
}

int Sum(const Bytes& bytes, std::size_t start, std::size_t end) {
  return std::accumulate(bytes.begin() + start, bytes.begin() + end, 0) & 0xFF;
}

TEST(WriteDump, MakesA32BitEntryPointThatFits) {
  const Bytes dump = Dump(kSource);
  ASSERT_THAT(dump, SizeIs(0x20 + 17));
  const Bytes entry(dump.begin(), dump.begin() + 0x20);
  EXPECT_EQ(Sum(entry, 0, 0x1F), 0);
  EXPECT_EQ(Sum(entry, 0x10, 0x1F), 0);
  Bytes expected = FromHex(
      "5F 53 4D 5F 00 1F 02 00 0B 00 00 00 00 00 00 00"
      " 5F 44 4D 49 5F 00 11 00 20 00 00 00 02 00 20 00");
  expected[0x04] = entry[0x04];
  expected[0x15] = entry[0x15];
  EXPECT_EQ(entry, expected);
}

TEST(WriteDump, MakesA64BitEntryPointThatFits) {
  const Bytes dump = Dump(std::string("entry-point = 64\n") + kSource);
  ASSERT_THAT(dump, SizeIs(0x20 + 17));
  const Bytes entry(dump.begin(), dump.begin() + 0x20);
  EXPECT_EQ(Sum(entry, 0, 0x18), 0);
  Bytes expected = FromHex(
      "5F 53 4D 33 5F 00 18 02 00 00 01 00 11 00 00 00"
      " 20 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00");
  expected[0x05] = entry[0x05];
  EXPECT_EQ(entry, expected);
}

TEST(WriteDump, MakesAWindowsHeader) {
  const Bytes dump = Dump("version = 3.2\nentry-point = windows\n[end 1]\n");
  EXPECT_EQ(dump, FromHex("00 03 02 00 06 00 00 00 7F 04 01 00 00 00"));
}

TEST(WriteDump, StatesTheWholeLengthInAWindowsHeader) {
  Table table;
  table.entryPoint = EntryPoint::kWindows;
  table.structures.resize(0x01020304);
  const auto dump = WriteDump(table);
  ASSERT_TRUE(dump);
  ASSERT_THAT(*dump, SizeIs(8 + 0x01020304));
  EXPECT_EQ(Bytes(dump->begin(), dump->begin() + 8), FromHex("00 03 03 00 04 03 02 01"));
}

TEST(WriteDump, PutsNothingBeforeABareTable) {
  EXPECT_EQ(Dump("entry-point = none\n[end 1]"), FromHex("7F 04 01 00 00 00"));
}

TEST(WriteDump, LaysChangesOverTheEntryPoint) {
  const Bytes dump = Dump(std::string(kSource) + "[entry-point]\nbytes 0x1C = FF FF\n");
  EXPECT_EQ(Bytes(dump.begin() + 0x1C, dump.begin() + 0x1E), FromHex("FF FF"));
}

TEST(WriteDump, RefusesChangesOutsideTheEntryPoint) {
  Table table;
  for (const std::size_t offset : {0x1F, 0x20, 0x21}) {
    table.entryPointPatches = {{offset, FromHex("00 00")}};
    EXPECT_FALSE(WriteDump(table)) << offset;
  }
  table.entryPointPatches = {{0x21, {}}};
  EXPECT_FALSE(WriteDump(table));
  table.entryPointPatches = {{0x1E, FromHex("00 00")}, {0x20, {}}};
  EXPECT_TRUE(WriteDump(table));
}

TEST(WriteDump, CountsOnlyWhatIsAStructure) {
  const Bytes dump = Dump(std::string(kSource) + "[raw]\nbytes 0 = 04 FF 01 00\n");
  EXPECT_EQ(dump[0x1C], 2);
  EXPECT_EQ(dump[0x16], 21);
}

TEST(ReadDump, FindsTheTableOfEitherEntryPoint) {
  for (const char* entryPoint : {"32", "64", "windows"}) {
    const auto table = ReadDump(Dump("entry-point = " + std::string(entryPoint) + "\n" + kSource));
    ASSERT_TRUE(table) << table.Failure().message;
    EXPECT_EQ(table->version.majorNumber, 2);
    EXPECT_EQ(table->version.minorNumber, 0);
    EXPECT_EQ(table->structures, ParseSource(kSource)->structures);
    EXPECT_THAT(table->entryPointPatches, SizeIs(0));
  }
}

TEST(ReadDump, TakesAFileWithoutEntryPointForABareTable) {
  const auto table = ReadDump(FromHex("7F 04 01 00 00 00"));
  ASSERT_TRUE(table);
  EXPECT_EQ(table->entryPoint, EntryPoint::kNone);
  EXPECT_EQ(table->structures, FromHex("7F 04 01 00 00 00"));
}

TEST(ReadDump, RemembersWhatIsOddAboutTheEntryPoint) {
  Bytes dump = Dump(kSource);
  dump[0x08] = 0xEE;
  dump[0x09] = 0xDD;
  dump[0x1C] = 0x07;
  const auto table = ReadDump(dump);
  ASSERT_TRUE(table);
  ASSERT_THAT(table->entryPointPatches, SizeIs(2));
  EXPECT_EQ(table->entryPointPatches[0].offset, 0x08u);
  EXPECT_EQ(table->entryPointPatches[0].bytes, FromHex("EE DD"));
  EXPECT_EQ(table->entryPointPatches[1].bytes, FromHex("07"));
  EXPECT_EQ(*WriteDump(*table), dump);
}

TEST(ReadDump, RemembersWhatIsOddAboutAWindowsHeader) {
  const Bytes dump = FromHex("01 03 02 1E 06 00 00 00 7F 04 01 00 00 00");
  const auto table = ReadDump(dump);
  ASSERT_TRUE(table);
  EXPECT_EQ(table->entryPoint, EntryPoint::kWindows);
  ASSERT_THAT(table->entryPointPatches, SizeIs(2));
  EXPECT_EQ(table->entryPointPatches[0].offset, 0x00u);
  EXPECT_EQ(table->entryPointPatches[0].bytes, FromHex("01"));
  EXPECT_EQ(table->entryPointPatches[1].offset, 0x03u);
  EXPECT_EQ(*WriteDump(*table), dump);
}

TEST(ReadDump, FindsAWindowsHeaderWhereAByteFollows) {
  const auto table = ReadDump(FromHex("00 03 02 00 01 00 00 00 7F"));
  ASSERT_TRUE(table);
  EXPECT_EQ(table->entryPoint, EntryPoint::kWindows);
  EXPECT_EQ(table->structures, FromHex("7F"));
  const auto alone = ReadDump(FromHex("00 03 02 00 00 00 00 00"));
  ASSERT_TRUE(alone);
  EXPECT_EQ(alone->entryPoint, EntryPoint::kNone);
  EXPECT_THAT(alone->structures, SizeIs(8));
}

TEST(ReadDump, TakesWhatACutFileStillHolds) {
  Bytes dump = Dump(kSource);
  dump.resize(dump.size() - 3);
  const auto table = ReadDump(dump);
  ASSERT_TRUE(table);
  EXPECT_THAT(table->structures, SizeIs(14));
  EXPECT_EQ(*WriteDump(*table), dump);
}

TEST(ReadDump, RefusesAFileThatEndsInTheEntryPoint) {
  Bytes dump = Dump(kSource);
  dump.resize(0x20);
  const auto whole = ReadDump(dump);
  ASSERT_TRUE(whole);
  EXPECT_THAT(whole->structures, SizeIs(0));
  for (const std::size_t size : {0x1F, 0x06}) {
    dump.resize(size);
    const auto table = ReadDump(dump);
    ASSERT_FALSE(table) << size;
    EXPECT_EQ(table.Failure().message, "the file ends inside the entry point");
  }
}

TEST(ReadDump, RefusesATableAtAnotherAddress) {
  Bytes dump = Dump(kSource);
  dump[0x1A] = 0x0F;
  const auto table = ReadDump(dump);
  ASSERT_FALSE(table);
  EXPECT_EQ(table.Failure().message,
            "the entry point names address 0x000F0020, but in a dump the table begins at 0x20");
}

// The text of a string may look like bytes, as "00" does here.
constexpr char kHexText[] =
    "# dmidecode 3.4\n"
    "Getting SMBIOS data from sysfs.\n"
    "SMBIOS 3.1.1 present.\n"
    "2 structures occupying 22 bytes.\n"
    "\n"
    "Handle 0x0001, DMI type 1, 8 bytes\n"
    "\tHeader and Data:\n"
    "\t\t01 08 01 00 01 02 00\n"
    "\t\t00\n"
    "\tStrings:\n"
    "\t\t41 42\n"
    "\t\t43 00\n"
    "\t\tABC\n"
    "\t\t30 30 00\n"
    "\t\t00\n"
    "\n"
    "Handle 0x0002, DMI type 127, 4 bytes\n"
    "\tHeader and Data:\n"
    "\t\t7F 04 02 00\n";

Bytes TextBytes(const std::string& text) {
  return {text.begin(), text.end()};
}

TEST(ReadHexText, TakesBytesAndVersionFromTheText) {
  const auto table = ReadHexText(kHexText);
  ASSERT_TRUE(table) << table.Failure().message;
  EXPECT_EQ(table->version.majorNumber, 3);
  EXPECT_EQ(table->version.minorNumber, 1);
  EXPECT_EQ(table->entryPoint, EntryPoint::k32Bit);
  EXPECT_EQ(table->structures, FromHex("01 08 01 00 01 02 00 00") + WithNul("ABC") + WithNul("00") +
                                   FromHex("00 7F 04 02 00 00 00"));
}

TEST(ReadHexText, KeepsTheDefaultWhereTheVersionIsNone) {
  const auto versionOf = [](const std::string& line) {
    const auto table = ReadHexText(line + "\n");
    EXPECT_TRUE(table);
    const Version version = table ? table->version : Version{0, 0};
    return std::pair<int, int>(version.majorNumber, version.minorNumber);
  };
  EXPECT_EQ(versionOf("SMBIOS 2.7 present."), std::pair(2, 7));
  EXPECT_EQ(versionOf("SMBIOS 255.255 present."), std::pair(255, 255));
  for (const std::string line :
       {"SMBIOS 256.1 present.", "SMBIOS 1.256 present.", "SMBIOS x.1 present.",
        "SMBIOS 1.x present.", "SMBIOS 1 present.", "SMBIOS present."}) {
    EXPECT_EQ(versionOf(line), std::pair(3, 3)) << line;
  }
}

TEST(ReadHexText, PassesOverWhatStandsInFrontOfTheBytes) {
  const auto table = ReadHexText(
      "Handle 0x0001, DMI type 127, 4 bytes\n\t\tfirst\n\tHeader and Data:\n\t\t7F 04 01 00\n"
      "Handle 0x0002, DMI type 127, 4 bytes\n\t\tsecond\n\tHeader and Data:\n\t\t7F 04 02 00\n");
  ASSERT_TRUE(table) << table.Failure().message;
  EXPECT_EQ(table->structures, FromHex("7F 04 01 00 00 00 7F 04 02 00 00 00"));
}

TEST(ReadHexText, IsToldFromATable) {
  EXPECT_TRUE(IsHexText(TextBytes(kHexText)));
  EXPECT_FALSE(IsHexText(Dump(kSource)));
  EXPECT_FALSE(IsHexText(TextBytes("version = 3.3\n")));
  EXPECT_FALSE(IsHexText(TextBytes(kHexText) + Bytes{0}));
}

TEST(ReadHexText, NamesTheLineThatIsNoBytes) {
  for (const std::string line : {"0x01", "01x02", "zz 01", "01 zz", "01 2", "01,02"}) {
    const auto table =
        ReadHexText("Handle 0x0001, DMI type 1, 8 bytes\n\tHeader and Data:\n\t\t" + line + "\n");
    ASSERT_FALSE(table) << line;
    EXPECT_EQ(table.Failure().line, 3u);
    EXPECT_EQ(table.Failure().message, "the line does not hold bytes");
  }
}

TEST(ReadHexText, NamesTheStructureWithoutBytes) {
  const std::string heading = "Handle 0x0001, DMI type 1, 8 bytes\n";
  const std::string whole = heading + "\tHeader and Data:\n\t\t01 04 01 00\n";
  const std::string cut = heading + "\tHeader and Data:\n\t\t01 04 01\n";
  for (const std::string& text :
       {"\n\n\n" + heading + "System Information\n", "\n\n\n" + cut, whole + heading}) {
    const auto table = ReadHexText(text);
    ASSERT_FALSE(table) << text;
    EXPECT_EQ(table.Failure().line, 4u);
    EXPECT_EQ(table.Failure().message, "the structure has no bytes");
    EXPECT_EQ(table.Failure().hint,
              "have dmidecode print the bytes: `sudo dmidecode -u | tvq show -`");
  }
  EXPECT_TRUE(ReadHexText(whole));
}

}  // namespace
}  // namespace tvq::table
