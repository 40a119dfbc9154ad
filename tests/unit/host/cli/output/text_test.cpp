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

}  // namespace
}  // namespace tvq::cli
