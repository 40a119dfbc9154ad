/*
 * What each construct of the source form becomes in bytes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "host/table/layout.h"
#include "host/table/source.h"
#include "host/table/structure.h"
#include "tests/unit/host/table/table_bytes.h"

namespace tvq::table {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

Table Parse(const std::string& source) {
  const auto table = ParseSource(source);
  EXPECT_TRUE(table) << "line " << table.Failure().line << ": " << table.Failure().message;
  return table ? *table : Table();
}

Bytes Build(const std::string& source) {
  return Parse(source).structures;
}

std::vector<std::uint16_t> HandlesOf(const std::string& source) {
  const Bytes table = Build(source);
  std::vector<std::uint16_t> handles;
  for (const Structure& structure : SplitTable(table)) {
    handles.push_back(structure.Handle());
  }
  return handles;
}

TEST(TableSource, AnEmptySourceIsAnEmptyTableOfTheDefaultVersion) {
  const Table table = Parse("");
  EXPECT_THAT(table.structures, SizeIs(0));
  EXPECT_EQ(table.version.majorNumber, kDefaultVersion.majorNumber);
  EXPECT_EQ(table.version.minorNumber, kDefaultVersion.minorNumber);
  EXPECT_EQ(table.entryPoint, EntryPoint::k32Bit);
}

TEST(TableSource, CommentsBlankLinesAndCarriageReturnsMeanNothing) {
  EXPECT_EQ(Build("# one\r\n\r\n[end 0x0001]  # two\r\n\t# three"), FromHex("7F 04 01 00 00 00"));
}

TEST(TableSource, SettingsStateVersionAndEntryPoint) {
  const Table table = Parse("version = 2.7\nentry-point = 64");
  EXPECT_EQ(table.version.majorNumber, 2);
  EXPECT_EQ(table.version.minorNumber, 7);
  EXPECT_EQ(table.entryPoint, EntryPoint::k64Bit);
  EXPECT_EQ(Parse("entry-point = 32").entryPoint, EntryPoint::k32Bit);
  EXPECT_EQ(Parse("entry-point = windows").entryPoint, EntryPoint::kWindows);
  EXPECT_EQ(Parse("entry-point = none").entryPoint, EntryPoint::kNone);
}

TEST(TableSource, AVersionHasTwoBytes) {
  const Table table = Parse("version = 255.255");
  EXPECT_EQ(table.version.majorNumber, 255);
  EXPECT_EQ(table.version.minorNumber, 255);
}

TEST(TableSource, FieldsStandAtTheirOffsetsWithTheLowByteFirst) {
  const Bytes table = Build(
      "[memory-array 0x1234]\n"
      "location = 3\n"
      "maximum-capacity = 0x01020304\n"
      "error-handle = 0xFFFE\n"
      "device-count = 515\n"
      "extended-maximum-capacity = 0x1122334455667788\n");
  EXPECT_EQ(table, FromHex("10 17 34 12 03 00 00 04 03 02 01 FE FF 03 02"
                           " 88 77 66 55 44 33 22 11 00 00"));
}

TEST(TableSource, FieldsMayBeGivenInAnyOrder) {
  EXPECT_EQ(Build("[chassis 0x0300 @main]\n[board 0x0200]\nboard-type = 10\nchassis = @main\n"),
            Build("[chassis 0x0300 @main]\n[board 0x0200]\nchassis = @main\nboard-type = 10\n"));
}

TEST(TableSource, AUuidHasItsFirstThreeGroupsSwapped) {
  const Bytes table =
      Build("version = 2.1\n[system 1]\nuuid = 00112233-4455-6677-8899-aaBBccDDeeFF\n");
  EXPECT_EQ(table, FromHex("01 19 01 00 00 00 00 00"
                           " 33 22 11 00 55 44 77 66 88 99 AA BB CC DD EE FF 00 00 00"));
}

TEST(TableSource, StringsAreNumberedAsTheyComeAndSharedWhenAlike) {
  const Bytes table = Build(
      "version = 2.0\n"
      "[system 1]\n"
      "product = \"P\"\n"
      "manufacturer = \"M\"\n"
      "serial = \"P\"\n");
  EXPECT_EQ(table, FromHex("01 08 01 00 02 01 00 01") + WithNul("P") + WithNul("M") + Bytes{0});
}

TEST(TableSource, ANewStringIsNotShared) {
  const Bytes table = Build("version = 2.0\n[system 1]\nproduct = \"P\"\nserial = new \"P\"\n");
  EXPECT_EQ(table, FromHex("01 08 01 00 00 01 00 02") + WithNul("P") + WithNul("P") + Bytes{0});
}

TEST(TableSource, AStringMayBeAddedWithoutAFieldAndAFieldMayNameAnyNumber) {
  const Bytes table = Build(
      "version = 2.0\n"
      "[system 1]\n"
      "string = \"S\"\n"
      "manufacturer = 9\n"
      "product = \"S\"\n");
  EXPECT_EQ(table, FromHex("01 08 01 00 09 01 00 00") + WithNul("S") + Bytes{0});
}

TEST(TableSource, EscapesStandForAnyByte) {
  const Bytes table = Build(R"([type 221 0x0000]
string = "a\"b\\c\x80\xfF#=")");
  EXPECT_EQ(table, FromHex("DD 04 00 00 61 22 62 5C 63 80 FF 23 3D 00 00"));
}

TEST(TableSource, TheFirstStringMayBeEmpty) {
  EXPECT_EQ(Build("[type 221 0]\nstring = \"\"\nstring = \"A\""),
            FromHex("DD 04 00 00 00 41 00 00"));
}

TEST(TableSource, AStructureIsAsLongAsTheVersionHasIt) {
  EXPECT_THAT(Build("version = 2.1\n[memory-device]"), SizeIs(0x15 + 2));
  EXPECT_THAT(Build("version = 2.6\n[memory-device]"), SizeIs(0x1C + 2));
  EXPECT_THAT(Build("version = 2.7\n[memory-device]"), SizeIs(0x22 + 2));
  EXPECT_THAT(Build("version = 2.8\n[memory-device]"), SizeIs(0x28 + 2));
  EXPECT_THAT(Build("version = 3.2\n[memory-device]"), SizeIs(0x54 + 2));
  EXPECT_THAT(Build("version = 3.3\n[memory-device]"), SizeIs(0x5C + 2));
  EXPECT_THAT(Build("version = 3.7\n[memory-device]"), SizeIs(0x64 + 2));
  EXPECT_THAT(Build("version = 2.6\n[processor]"), SizeIs(0x2A + 2));
  EXPECT_THAT(Build("version = 3.0\n[processor]"), SizeIs(0x30 + 2));
  EXPECT_THAT(Build("version = 3.6\n[processor]"), SizeIs(0x32 + 2));
}

TEST(TableSource, AFieldOfALaterVersionMakesTheStructureLonger) {
  const Bytes table = Build("version = 2.6\n[memory-device]\nextended-size = 1\n");
  EXPECT_EQ(table[1], 0x20);
  EXPECT_THAT(table, SizeIs(0x20 + 2));
}

TEST(TableSource, AStatedLengthHolds) {
  EXPECT_EQ(Build("[boot-status 0]\nlength = 12"),
            FromHex("20 0C 00 00 00 00 00 00 00 00 00 00 00 00"));
  EXPECT_EQ(Build("[system 0]\nlength = 4"), FromHex("01 04 00 00 00 00"));
}

TEST(TableSource, BytesAreLaidOverFieldsAndHeader) {
  const Bytes table = Build(
      "version = 2.0\n"
      "[system 0x0001]\n"
      "bytes 0x05 = AA \"xy\" 0F\n"
      "bytes 1 = FF\n"
      "manufacturer = 1\n");
  EXPECT_EQ(table, FromHex("01 FF 01 00 01 AA 78 79 0F 00 00"));
}

TEST(TableSource, TypesWithoutANameTakeBytesAndStrings) {
  EXPECT_EQ(Build("[type 221 0x0102]\nbytes 0x04 = AA\nbytes 0x06 = BB\nstring = \"s\""),
            FromHex("DD 07 02 01 AA 00 BB 73 00 00"));
}

TEST(TableSource, TypesWithANameMayBeNumbered) {
  EXPECT_EQ(Build("[type 127 3]"), Build("[end 3]"));
  EXPECT_EQ(Build("[type 255 3]"), FromHex("FF 04 03 00 00 00"));
  EXPECT_EQ(Build("[type 4 3]\nsocket = \"CPU1\""), Build("[processor 3]\nsocket = \"CPU1\""));
}

TEST(TableSource, CountsFollowFromWhatIsThere) {
  EXPECT_EQ(Build("[oem-strings 0]\nstring = \"a\"\nstring = \"a\""),
            FromHex("0B 05 00 00 02") + WithNul("a") + WithNul("a") + Bytes{0});
  EXPECT_EQ(Build("[oem-strings 0]\ncount = 7\nstring = \"a\""),
            FromHex("0B 05 00 00 07") + WithNul("a") + Bytes{0});
  EXPECT_EQ(Build("[board 0]\ncontains = 1\ncontains = 0x0203")[0x0E], 2);
  EXPECT_EQ(Build("[board 0]\ncontained-count = 5\ncontains = 1")[0x0E], 5);
}

TEST(TableSource, GroupsRepeatAndLeftOutValuesAreZero) {
  const Bytes table = Build(
      "[fqdd-map 0xE100]\n"
      "format = 1\n"
      "fqdd = \"A\" 0x0400 7\n"
      "fqdd = new \"A\" 0x0401\n"
      "fqdd = \"A\"\n");
  EXPECT_EQ(table, FromHex("E1 11 00 E1 01 01 00 04 07 02 01 04 00 01 00 00 00") + WithNul("A") +
                       WithNul("A") + Bytes{0});
}

TEST(TableSource, ADimmExtensionHasThirteenBytes) {
  const Bytes table = Build(
      "[dimm-extension 0xE200]\n"
      "device = 0x1100\n"
      "firmware-version = \"1.2\"\n"
      "component-id = 0x01020304\n"
      "product-id = 0x0506\n");
  EXPECT_EQ(table, FromHex("E2 0D 00 E2 00 11 01 04 03 02 01 06 05") + WithNul("1.2") + Bytes{0});
}

TEST(TableSource, AutomaticHandlesFollowTheStructureAbove) {
  EXPECT_THAT(HandlesOf("[end]\n[end]\n[end 0x0100]\n[end]\n"), ElementsAre(0, 1, 0x100, 0x101));
  EXPECT_THAT(HandlesOf("[end 0xFFFD]\n[end]\n"), ElementsAre(0xFFFD, 0xFFFE));
}

TEST(TableSource, StatedHandlesMayRepeatAndMayBeAnything) {
  EXPECT_THAT(HandlesOf("[end 5]\n[end 5]\n[end 0xFFFF]"), ElementsAre(5, 5, 0xFFFF));
}

TEST(TableSource, LabelsStandForHandlesAlsoFromAbove) {
  const Bytes table = Build(
      "version = 2.1\n"
      "[processor 0x0400 @cpu]\n"
      "l1-cache = @l1\n"
      "[cache 0x0700 @l1]\n"
      "[dimm-extension]\n"
      "device = @cpu\n");
  const auto structures = SplitTable(table);
  ASSERT_THAT(structures, SizeIs(3));
  EXPECT_EQ(structures[0].Word(0x1A), 0x0700);
  EXPECT_EQ(structures[2].Word(0x04), 0x0400);
}

TEST(TableSource, LikeTakesOverWhatIsNotStated) {
  const Bytes table = Build(
      "version = 2.0\n"
      "[system 1 @a]\n"
      "manufacturer = \"M\"\n"
      "product = \"P\"\n"
      "serial = \"S1\"\n"
      "bytes 0x06 = 05\n"
      "[system 2 like @a]\n"
      "serial = \"S2\"\n"
      "product = \"Q\"\n"
      "bytes 0x06 = 06\n");
  const Bytes first =
      FromHex("01 08 01 00 01 02 05 03") + WithNul("M") + WithNul("P") + WithNul("S1") + Bytes{0};
  const Bytes second =
      FromHex("01 08 02 00 01 02 06 03") + WithNul("M") + WithNul("Q") + WithNul("S2") + Bytes{0};
  EXPECT_EQ(table, first + second);
}

TEST(TableSource, LikeAddsStringsAndGroups) {
  const Bytes table = Build(
      "[oem-strings 1 @a]\nstring = \"x\"\n[oem-strings 2 @b like @a]\nstring = \"y\"\n"
      "[oem-strings 3 like @b]\n");
  const Bytes both = WithNul("x") + WithNul("y") + Bytes{0};
  EXPECT_EQ(table, FromHex("0B 05 01 00 01") + WithNul("x") + Bytes{0} + FromHex("0B 05 02 00 02") +
                       both + FromHex("0B 05 03 00 02") + both);
}

TEST(TableSource, RawBytesStandAsTheyAre) {
  const Bytes table = Build(
      "[end 1]\n"
      "[raw]\n"
      "bytes 0x00 = 04 FF \"no end\"\n"
      "bytes 0x0A = 01\n"
      "[raw]\n"
      "bytes 0x01 = 02\n");
  EXPECT_EQ(table, FromHex("7F 04 01 00 00 00 04 FF 6E 6F 20 65 6E 64 00 00 01 00 02"));
}

TEST(TableSource, RawBytesTakeNoHandle) {
  EXPECT_THAT(HandlesOf("[end 1]\n[raw]\nbytes 0 = 7F 04 09 00 00 00\n[end]"),
              ElementsAre(1, 9, 2));
}

TEST(TableSource, TheEntryPointMayBeChanged) {
  const Table table = Parse("entry-point = 64\n[entry-point]\nbytes 0x1E = 01 02\n");
  ASSERT_THAT(table.entryPointPatches, SizeIs(1));
  EXPECT_EQ(table.entryPointPatches[0].offset, 0x1Eu);
  EXPECT_EQ(table.entryPointPatches[0].bytes, FromHex("01 02"));
}

TEST(TableLayout, FieldsOfATypeFollowOneAnotherAndHaveNamesOfTheirOwn) {
  for (const Layout& layout : Layouts()) {
    std::set<std::string_view> names = {"length", "string", "bytes"};
    std::size_t end = smbios::kHeaderSize;
    for (const Field& field : layout.fields) {
      EXPECT_TRUE(names.insert(field.name).second) << layout.name << ' ' << field.name;
      EXPECT_GE(field.offset, end) << layout.name << ' ' << field.name;
      end = field.End();
    }
    if (!layout.group.name.empty()) {
      EXPECT_TRUE(names.insert(layout.group.name).second) << layout.name;
      EXPECT_EQ(layout.group.offset, end) << layout.name;
    }
  }
}

TEST(TableLayout, LaterFieldsAreOfLaterVersions) {
  for (const Layout& layout : Layouts()) {
    for (std::size_t i = 1; i < layout.fields.size(); ++i) {
      EXPECT_TRUE(layout.fields[i - 1].since <= layout.fields[i].since)
          << layout.name << ' ' << layout.fields[i].name;
    }
  }
}

}  // namespace
}  // namespace tvq::table
