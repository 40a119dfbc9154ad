/*
 * What the source form refuses: the line, what is wrong with it, and what to do.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "host/table/dump.h"
#include "host/table/source.h"

namespace tvq::table {
namespace {

using testing::HasSubstr;

struct Refusal {
  const char* name;
  std::string source;
  std::size_t line;
  const char* message;
  const char* hint;
};

std::ostream& operator<<(std::ostream& out, const Refusal& refusal) {
  return out << refusal.name;
}

class TableError : public testing::TestWithParam<Refusal> {};

TEST_P(TableError, NamesLineReasonAndWayOut) {
  const auto table = ParseSource(GetParam().source);
  ASSERT_FALSE(table);
  EXPECT_EQ(table.Failure().line, GetParam().line);
  EXPECT_EQ(table.Failure().message, GetParam().message);
  EXPECT_EQ(table.Failure().hint, GetParam().hint);
}

std::string Repeat(const std::string& text, int times) {
  std::string all;
  for (int i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

std::string ManyStrings(int count) {
  std::string all;
  for (int i = 0; i < count; ++i) {
    all += "string = \"" + std::to_string(i) + "\"\n";
  }
  return all;
}

constexpr char kHeadingHint[] = "a heading is [processor 0x0004 @cpu1]";
constexpr char kNumberHint[] = "it takes a number, decimal or hexadecimal as in 0x1F";

const Refusal kLines[] = {
    {"StrangeCharacter", "[end]\nlength = ;4", 2, "unexpected character \";\"",
     "text stands between quotation marks, comments after #"},
    {"StringWithoutEnd", "\n\n[system]\nserial = \"abc\n", 4, "the string has no end",
     "close it with a quotation mark on the same line"},
    {"UnknownEscape", "[system]\nserial = \"a\\n\"", 2, "unknown escape in the string",
     R"(there are \\, \" and \xNN for any byte)"},
    {"ShortEscape", "[system]\nserial = \"\\x4\"", 2, "unknown escape in the string",
     R"(there are \\, \" and \xNN for any byte)"},
    {"LineWithoutEquals", "[system]\nserial", 2, "the line is no 'name = value'",
     "bytes take an offset as well: bytes 0x10 = 00 FF"},
    {"TwoArguments", "[end]\nbytes 0x04 0x05 = 00", 2, "the line is no 'name = value'",
     "bytes take an offset as well: bytes 0x10 = 00 FF"},
    {"LineWithoutName", "= 3", 1, "the line is no 'name = value'",
     "bytes take an offset as well: bytes 0x10 = 00 FF"},
    {"NameInQuotationMarks", "[system]\n\"serial\" = 3", 2, "the line is no 'name = value'",
     "bytes take an offset as well: bytes 0x10 = 00 FF"},
    {"NoValue", "[system]\nserial = # none", 2, "'serial' has no value", ""},
    {"MarkAsValue", "[system]\nserial = [", 2, "'serial' does not take '[' as a value", ""},
    {"ArgumentOfAField", "[system]\nserial 4 = \"x\"", 2, "'serial' takes no '4' before the '='",
     ""},
    {"GivenTwice", "[system]\nserial = 1\nserial = 2", 3, "'serial' stands on line 2 already", ""},
    {"GivenTwiceWithLike", "[system @a]\nserial = 1\n[system like @a]\nserial = 2\nserial = 3", 5,
     "'serial' stands on line 4 already", ""},
    {"BytesGivenTwice", "[system]\nbytes 0x04 = 01\nbytes 0x04 = 02", 3,
     "'bytes' stands on line 2 already", ""},
};

const Refusal kHeadings[] = {
    {"HeadingWithoutEnd", "[system", 1, "the heading has no ']' at its end", kHeadingHint},
    {"HeadingWithoutType", "[]", 1, "the heading names no type", kHeadingHint},
    {"UnknownType", "\n[procesor]", 2, "there is no type of structure named 'procesor'",
     "did you mean 'processor'?"},
    {"UnlikeAnyType", "[xyzzyxyzzy]", 1, "there is no type of structure named 'xyzzyxyzzy'", ""},
    {"TypeNumberTooLarge", "[type 256]", 1, "'type' takes a number from 0 to 255",
     "[type 221 0x0050], for example"},
    {"TypeWithoutNumber", "[type]", 1, "'type' takes a number from 0 to 255",
     "[type 221 0x0050], for example"},
    {"HandleTooLarge", "[end 0x10000]", 1, "the handle 0x10000 does not fit a word",
     "handles end at 0xFFFF"},
    {"LabelWithoutAName", "[end @]", 1, "'@' has no place in this heading",
     "a heading is [TYPE HANDLE @label like @other], [raw] or [entry-point]"},
    {"LabelTwice", "[end @a]\n[end @a]", 2, "the label @a stands on line 1",
     "every structure takes a label of its own"},
    {"LikeNothing", "[end like @a]", 1, "'like' names no structure of this type above",
     "it takes the label of one: [memory-device @b like @a]"},
    {"LikeAnotherType", "[system @a]\n[end like @a]", 2,
     "'like' names no structure of this type above",
     "it takes the label of one: [memory-device @b like @a]"},
    {"HeadingWithMore", "[raw 0x0001]", 1, "'0x0001' has no place in this heading",
     "a heading is [TYPE HANDLE @label like @other], [raw] or [entry-point]"},
    {"AutomaticHandleIsTaken", "[end 4]\n[end]\n[end 5]", 2,
     "the handle that follows, 0x0005, is that of line 3", "state a handle in the heading"},
    {"LastHandleIsTaken", "[end 0xFFFD]\n[end]\n[end 0xFFFE]", 2,
     "the handle that follows, 0xFFFE, is that of line 3", "state a handle in the heading"},
    {"NoHandleFollows", "[end 0xFFFE]\n[end]", 2,
     "the handle that follows, 0xFFFF, is no handle that a structure may have",
     "state a handle in the heading"},
};

const Refusal kSettings[] = {
    {"BadVersion", "version = 3", 1, "'version' takes a version such as 3.3", ""},
    {"VersionTooLarge", "version = 3.256", 1, "'version' takes a version such as 3.3", ""},
    {"VersionWithoutMajorNumber", "version = x.3", 1, "'version' takes a version such as 3.3", ""},
    {"TwoVersions", "version = 3.3 3.2", 1, "'version' takes a version such as 3.3", ""},
    {"VersionInQuotationMarks", "version = \"3.3\"", 1, "'version' takes a version such as 3.3",
     ""},
    {"SettingGivenTwice", "version = 3.3\nversion = 3.2", 2, "'version' stands on line 1 already",
     ""},
    {"BadEntryPoint", "entry-point = 16", 1, "'entry-point' takes 32, 64, windows or none", ""},
    {"UnknownSetting", "colour = 1", 1, "'colour' is no setting of a table",
     "before the first [block] there are 'version' and 'entry-point'"},
    {"SettingBehindABlock", "[end]\nversion = 3.3", 2, "'version' is no field of end", ""},
    {"ChangeOfNoEntryPoint", "entry-point = none\n[entry-point]\nbytes 0 = 00", 2,
     "there is no entry point to change", "state entry-point = 32 or 64"},
    {"ChangePastTheEntryPoint", "[entry-point]\nbytes 0x1F = 00 00", 2,
     "'bytes' ends past 32, where this block has its end", ""},
    {"FieldInRaw", "[raw]\nlength = 4", 2, "'length' has no place here",
     "this block takes 'bytes' alone"},
    {"RawTooLarge", "[raw]\nbytes 0x1000000 = 00", 2,
     "'bytes' ends past 16777216, where this block has its end", ""},
};

const Refusal kValues[] = {
    {"UnknownField", "[system]\n\nserail = 1", 3, "'serail' is no field of system",
     "did you mean 'serial'?"},
    {"UnknownGroup", "[fqdd-map]\nfqddd = 1", 2, "'fqddd' is no field of fqdd-map",
     "did you mean 'fqdd'?"},
    {"FieldOfANumberedType", "[type 221]\nserial = 1", 2, "'serial' is no field of type 221",
     "did you mean 'string'?"},
    {"TextForANumber", "[slot]\nid = \"1\"", 2, "'id' does not take \"1\"", kNumberHint},
    {"WordForANumber", "[slot]\nid = 1Fh", 2, "'id' does not take '1Fh'", kNumberHint},
    {"WordForAString", "[system]\nserial = ABC", 2, "'serial' does not take 'ABC'",
     "it takes text in quotation marks, or the number of a string"},
    {"WordForAHandle", "[board]\nchassis = main", 2, "'chassis' does not take 'main'",
     "it takes a handle such as 0x0010, or the @label of a structure"},
    {"ByteTooLarge", "[slot]\nusage = 256", 2, "'usage' 256 does not fit 1 byte", ""},
    {"WordTooLarge", "[slot]\nid = 0x10000", 2, "'id' 0x10000 does not fit 2 bytes", ""},
    {"QwordTooLarge", "[bios]\ncharacteristics = 0x10000000000000000", 2,
     "'characteristics' does not take '0x10000000000000000'", kNumberHint},
    {"TwoValues", "[slot]\nid = 1 2", 2, "'id' does not take '2' behind its other values", ""},
    {"FourValuesOfThree", "[fqdd-map]\nfqdd = \"a\" 1 2 3", 2,
     "'fqdd' does not take '3' behind its other values", ""},
    {"NewWithoutText", "[system]\nserial = new", 2, "'serial' has no text after 'new'", ""},
    {"NewNumber", "[system]\nserial = new 3", 2, "'serial' takes text in quotation marks, not '3'",
     ""},
    {"StringWithoutText", "[system]\nstring = 3", 2,
     "'string' takes text in quotation marks, not '3'", ""},
    {"TwoStrings", "[system]\nstring = \"a\" \"b\"", 2, "'string' takes one text", ""},
    {"BadUuid", "[system]\nuuid = 00112233-4455-6677-8899-aabbccddeefg", 2,
     "'uuid' does not take '00112233-4455-6677-8899-aabbccddeefg'",
     "it takes a UUID such as 00112233-4455-6677-8899-aabbccddeeff"},
    {"UuidInQuotationMarks", "[system]\nuuid = \"00112233-4455-6677-8899-aabbccddeeff\"", 2,
     "'uuid' does not take \"00112233-4455-6677-8899-aabbccddeeff\"",
     "it takes a UUID such as 00112233-4455-6677-8899-aabbccddeeff"},
    {"UuidWithoutDashes", "[system]\nuuid = 00112233445566778899aabbccddeeff0000", 2,
     "'uuid' does not take '00112233445566778899aabbccddeeff0000'",
     "it takes a UUID such as 00112233-4455-6677-8899-aabbccddeeff"},
    {"LabelInQuotationMarks", "[chassis @a]\n[board]\nchassis = \"@a\"", 3,
     "'chassis' does not take \"@a\"",
     "it takes a handle such as 0x0010, or the @label of a structure"},
    {"UnknownLabel", "[board]\nchassis = @a", 2,
     "'chassis' names @a, which no structure is labelled", ""},
    {"EmptyString", "[system]\nserial = \"a\"\nproduct = \"\"", 3,
     "'product' is empty, which would end the strings of the structure",
     "for no string, leave the field out"},
    {"NulInAString", "[system]\nserial = \"a\\x00b\"", 2,
     "'serial' holds a NUL, which would end the string",
     "a structure that is wrong on purpose can be written as [raw]"},
};

const Refusal kSizes[] = {
    {"LengthTooSmall", "[end]\nlength = 3", 2, "'length' takes a number from 4 to 255",
     "a length that lies is written as bytes 0x01 = FF"},
    {"LengthTooLarge", "[end]\nlength = 256", 2, "'length' takes a number from 4 to 255",
     "a length that lies is written as bytes 0x01 = FF"},
    {"TwoLengths", "[end]\nlength = 5 6", 2, "'length' takes a number from 4 to 255",
     "a length that lies is written as bytes 0x01 = FF"},
    {"LengthInQuotationMarks", "[end]\nlength = \"5\"", 2, "'length' takes a number from 4 to 255",
     "a length that lies is written as bytes 0x01 = FF"},
    {"LengthCutsAField", "[system]\nlength = 7\nserial = 1", 2,
     "'length' is 7, but the values given end at 8", ""},
    {"BytesWithoutOffset", "[end]\nbytes = 00", 2, "'bytes' needs the offset of the first byte",
     "bytes 0x10 = 00 FF, for example"},
    {"BytesOfOneDigit", "[end]\nbytes 0x04 = 1", 2, "'bytes' does not take '1'",
     "it takes bytes of two hexadecimal digits, and text"},
    {"BytesPastTheStructure", "[end]\nbytes 0xFE = 00 00", 2,
     "'bytes' ends past 255, where this block has its end", ""},
    {"GroupsPastTheStructure", "[fqdd-map]\n" + Repeat("fqdd = 1 2 3\n", 63), 64,
     "'fqdd' does not fit: a structure has no more than 255 bytes",
     "start a second structure of this type"},
    {"MoreStringsThanTheCountHolds", "\n[oem-strings]\n" + ManyStrings(256), 2,
     "the structure has 256 strings, which its count cannot hold", "state 'count'"},
    {"StringNumberTooLarge", "[system]\n" + ManyStrings(255) + "serial = \"new\"", 257,
     "'serial' needs string number 256, which does not fit a byte", ""},
    {"FieldBehindAList", "[chassis]\nelement-count = 1\nsku = \"x\"", 3,
     "'sku' lies behind a list whose count is not 0", "give the list and what follows it as bytes"},
};

std::string NameOf(const testing::TestParamInfo<Refusal>& info) {
  return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(Lines, TableError, testing::ValuesIn(kLines), NameOf);
INSTANTIATE_TEST_SUITE_P(Headings, TableError, testing::ValuesIn(kHeadings), NameOf);
INSTANTIATE_TEST_SUITE_P(Settings, TableError, testing::ValuesIn(kSettings), NameOf);
INSTANTIATE_TEST_SUITE_P(Values, TableError, testing::ValuesIn(kValues), NameOf);
INSTANTIATE_TEST_SUITE_P(Sizes, TableError, testing::ValuesIn(kSizes), NameOf);

TEST(TableLimits, StructuresMayFillTheirSpace) {
  EXPECT_TRUE(ParseSource("[fqdd-map]\n" + Repeat("fqdd = 1 2 3\n", 62)));
  EXPECT_TRUE(ParseSource("[system]\n" + ManyStrings(254) + "serial = \"new\""));
  EXPECT_TRUE(ParseSource("[oem-strings]\n" + ManyStrings(255)));
  EXPECT_TRUE(ParseSource("[oem-strings]\ncount = 255\n" + ManyStrings(256)));
  EXPECT_TRUE(ParseSource("[board]\n" + Repeat("contains = 1\n", 120)));
  EXPECT_TRUE(ParseSource("[type 221]\nbytes 0xFE = 00"));
  EXPECT_TRUE(ParseSource("[type 221]\nbytes 0xFF = \"\""));
  EXPECT_TRUE(ParseSource("[type 221]\nlength = 255"));
  EXPECT_TRUE(ParseSource("[entry-point]\nbytes 0x1F = 00"));
}

TEST(TableLimits, A32BitEntryPointEndsAt65535Bytes) {
  Table table;
  table.structures.resize(0xFFFF);
  EXPECT_TRUE(WriteDump(table));
  table.structures.resize(0x10000);
  const auto dump = WriteDump(table);
  ASSERT_FALSE(dump);
  EXPECT_THAT(dump.Failure().message, HasSubstr("65536 bytes, more than its entry point can say"));
  EXPECT_EQ(dump.Failure().hint, "state entry-point = 64 or none");
  table.entryPoint = EntryPoint::k64Bit;
  EXPECT_TRUE(WriteDump(table));
}

}  // namespace
}  // namespace tvq::table
