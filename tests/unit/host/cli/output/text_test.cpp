/*
 * How texts and bytes are shown in JSON.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using namespace std::string_literals;

TEST(CliText, ShowsEachWideUnitAsTheCharacterOfItsCode) {
  EXPECT_EQ(Utf8OfWide(u"plain"), "plain");
  EXPECT_EQ(Utf8OfWide(u"\u00E4\u0141"), "\xC3\xA4\xC5\x81");
  EXPECT_EQ(Utf8OfWide(u"\uFF81\uFFFF"), "\xEF\xBE\x81\xEF\xBF\xBF");
  EXPECT_EQ(Utf8OfWide(u"a\u0001\nb"), "a\x01\nb");
  EXPECT_EQ(Utf8OfWide(u""), "");
}

TEST(CliText, JoinsTheHalvesOfASurrogatePair) {
  EXPECT_EQ(Utf8OfWide(u"\U0001F600"), "\xF0\x9F\x98\x80");
}

TEST(CliText, ReplacesALoneSurrogate) {
  const std::string replacement = "\xEF\xBF\xBD";
  EXPECT_EQ(Utf8OfWide(std::u16string{u'a', 0xD83D, u'b'}), "a" + replacement + "b");
  EXPECT_EQ(Utf8OfWide(std::u16string{0xD83D}), replacement);
  EXPECT_EQ(Utf8OfWide(std::u16string{0xDE00, 0xD83D}), replacement + replacement);
  EXPECT_EQ(Utf8OfWide(std::u16string{0xD83D, 0xD83D, 0xDE00}), replacement + "\xF0\x9F\x98\x80");
}

TEST(CliText, ShowsEachByteAsTheCharacterOfItsCode) {
  EXPECT_EQ(Utf8OfBytes("plain"), "plain");
  EXPECT_EQ(Utf8OfBytes("\x80\xE4\xFF"), "\xC2\x80\xC3\xA4\xC3\xBF");
}

TEST(CliText, ShowsBytesAsLowerCaseDigits) {
  EXPECT_EQ(Hex({0x00, 0x1A, 0xFF}), "001aff");
  EXPECT_EQ(Hex({}), "");
}

// The first and the last code of each length, and those around the surrogates.
TEST(CliText, EncodesEachCodeAsUtf8DoesIt) {
  const std::pair<std::u16string, std::string> kCodes[] = {{u"\x7F", "\x7F"},
                                                           {u"\x80", "\xC2\x80"},
                                                           {u"\x7FF", "\xDF\xBF"},
                                                           {u"\x800", "\xE0\xA0\x80"},
                                                           {u"\xD7FF", "\xED\x9F\xBF"},
                                                           {u"\xD800", "\xEF\xBF\xBD"},
                                                           {u"\xDBFF", "\xEF\xBF\xBD"},
                                                           {u"\xDC00", "\xEF\xBF\xBD"},
                                                           {u"\xDFFF", "\xEF\xBF\xBD"},
                                                           {u"\xE000", "\xEE\x80\x80"},
                                                           {u"\xFFFF", "\xEF\xBF\xBF"},
                                                           {u"\U00010000", "\xF0\x90\x80\x80"},
                                                           {u"\U0010FFFF", "\xF4\x8F\xBF\xBF"},
                                                           {u"\U0010FC00", "\xF4\x8F\xB0\x80"},
                                                           {u"\U000103FF", "\xF0\x90\x8F\xBF"}};
  for (const auto& [wide, utf8] : kCodes) {
    EXPECT_EQ(Utf8OfWide(wide), utf8);
    EXPECT_EQ(Utf8OfWide(u"a" + wide + u"b"), "a" + utf8 + "b");
  }
}

TEST(CliText, DoesNotJoinHalvesInTheWrongOrder) {
  const std::string replaced = "\xEF\xBF\xBD";
  EXPECT_EQ(Utf8OfWide(u"\xDC00\xD800"), replaced + replaced);
  EXPECT_EQ(Utf8OfWide(u"\xD800\xE000"), replaced + "\xEE\x80\x80");
  EXPECT_EQ(Utf8OfWide(u"\xD800\xDBFF\xDC00"), replaced + "\xF4\x8F\xB0\x80");
  EXPECT_EQ(Utf8OfWide(u"\xDC00\xDC00"), replaced + replaced);
}

TEST(CliText, EndsWhereItEnds) {
  EXPECT_EQ(Utf8OfWide(std::u16string_view(u"\xD83D\xDE00", 1)), "\xEF\xBF\xBD");
}

TEST(CliText, PrintsControlCharactersByTheirCodes) {
  const std::pair<std::u16string, std::string> kCodes[] = {
      {u"\x1", "\\x01"},  {u"\x1F", "\\x1F"}, {u" ", " "},          {u"~", "~"},
      {u"\x7F", "\\x7F"}, {u"\x9F", "\\x9F"}, {u"\xA0", "\xC2\xA0"}};
  for (const auto& [wide, printed] : kCodes) {
    EXPECT_EQ(Printable(wide), printed);
    EXPECT_EQ(Printable(u"a" + wide + u"b"), "a" + printed + "b");
    const std::string bytes(1, static_cast<char>(wide[0]));
    EXPECT_EQ(Printable(bytes), printed);
    EXPECT_EQ(Printable("a" + bytes + "b"), "a" + printed + "b");
  }
  EXPECT_EQ(Printable(std::u16string()), "");
  EXPECT_EQ(Printable(std::u16string(u"\x1\x2")), "\\x01\\x02");
}

TEST(CliText, IsPrintedInAsciiWhereATerminalShowsNoMore) {
  const Terminal ascii = {80, false, true};
  EXPECT_EQ(Printable("a\x7F\x80\xE9 b"s, ascii), "a\\x7F\\x80\\xE9 b");
  EXPECT_EQ(Printable(u"a\x7F\x80\u00E9\u20AC b"s, ascii), "a\\x7F\\x80\\xE9\\x20AC b");
  EXPECT_EQ(Printable("a\xE9"s, Terminal()), "a\xC3\xA9");
  EXPECT_EQ(Printable(u"a\u20AC"s, Terminal()), "a\xE2\x82\xAC");
}

TEST(Label, IsShownWithoutTheBlanksAroundIt) {
  EXPECT_EQ(LabelText("DIMM A1"), "DIMM A1");
  EXPECT_EQ(LabelText("  DIMM A1   "), "DIMM A1");
  EXPECT_EQ(LabelText("\x1F!\x1F"), "\\x1F!\\x1F");
  EXPECT_EQ(LabelText("!"), "!");
  EXPECT_EQ(LabelText("   "), "-");
  EXPECT_EQ(LabelText(""), "-");
}

// What a terminal obeys, or shows in another order, and what is no UTF-8.
TEST(Harmless, SpellsOutWhatIsMoreThanACharacter) {
  const std::pair<std::string, std::string> kTexts[] = {
      {"a\x1B[31mb\n\x7F", "a\\x1B[31mb\\x0A\\x7F"},
      {"\u0085\u009F\u00A0", "\\x85\\x9F\u00A0"},
      {"\u061B\u061C\u061D", "\u061B\\x61C\u061D"},
      {"\u200D\u200E\u200F\u2010", "\u200D\\x200E\\x200F\u2010"},
      {"\u2027\u2028\u2029\u202E\u202F", "\u2027\\x2028\\x2029\\x202E\u202F"},
      {"\u2065\u2066\u2067\u2069\u206A", "\u2065\\x2066\\x2067\\x2069\u206A"},
      {"\x80\xBF\xC3", "\\x80\\xBF\\xC3"},
      {"\xC1\xBF\xF5\x80\x80\x80", "\\xC1\\xBF\\xF5\\x80\\x80\\x80"},
      {"\xE0\x9F\xBF\xF0\x8F\xBF\xBF", "\\x7FF\\xFFFF"},
      {"\xED\xA0\x80\xED\xBF\xBF\xF4\x90\x80\x80", "\\xD800\\xDFFF\\x110000"}};
  for (const auto& [text, harmless] : kTexts) {
    EXPECT_EQ(Harmless(text), harmless);
    EXPECT_EQ(Harmless("<" + text + ">"), "<" + harmless + ">");
  }
}

// The first and the last code of each length, and those around the surrogates.
TEST(Harmless, LeavesEveryOtherCharacter) {
  for (const char* const character :
       {"", " ", "~", "\u00A0", "\u07FF", "\u0800", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
        "\U00010000", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(Harmless(character), character);
  }
}

TEST(Shown, IsTheTextWhereTheTerminalShowsAll) {
  EXPECT_EQ(Shown("aé€𝄞\xFF", {}), "aé€𝄞\xFF");
}

TEST(Shown, SpellsOutWhatIsNoAscii) {
  const Terminal ascii = {80, false, true};
  EXPECT_EQ(Shown("plain\x7F", ascii), "plain\x7F");
  EXPECT_EQ(Shown("aé€𝄞b", ascii), "a\\xE9\\x20AC\\x1D11Eb");
}

TEST(Shown, SpellsOutBytesThatAreNoUtf8) {
  const Terminal ascii = {80, false, true};
  EXPECT_EQ(Shown("\xFF\xC3", ascii), "\\xFF\\xC3");
  EXPECT_EQ(Shown("\xC3x\xE2\x82x\x80", ascii), "\\xC3x\\xE2\\x82x\\x80");
  EXPECT_EQ(Shown("\xC0\x80", ascii), "\\xC0\\x80");
}

}  // namespace
}  // namespace tvq::cli
