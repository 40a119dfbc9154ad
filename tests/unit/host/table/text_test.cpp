/*
 * Numbers and texts as the source form writes them, and the name that was probably meant.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/text.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

namespace tvq::table {
namespace {

TEST(TableText, NumbersAreDecimalOrHexadecimal) {
  EXPECT_EQ(ParseNumber("19"), 19u);
  EXPECT_EQ(ParseNumber("0x1f"), 0x1Fu);
  EXPECT_EQ(ParseNumber("0X1F"), 0x1Fu);
  EXPECT_EQ(ParseNumber("18446744073709551615"), 0xFFFFFFFFFFFFFFFFu);
  for (const std::string_view text : {"", "1F", "0x", "1x", "-1", " 1", "18446744073709551616"}) {
    EXPECT_EQ(ParseNumber(text), std::nullopt) << text;
  }
}

TEST(TableText, ANumberOfOneByteEndsAt255) {
  EXPECT_EQ(ParseByte("0"), 0);
  EXPECT_EQ(ParseByte("255"), 255);
  EXPECT_EQ(ParseByte("256"), std::nullopt);
  EXPECT_EQ(ParseByte("x"), std::nullopt);
}

TEST(TableText, WhatIsNotPrintableIsQuotedAsItsByte) {
  EXPECT_EQ(Quote("\x1F ~\x7F"), R"("\x1F ~\x7F")");
  EXPECT_EQ(Quote("a\"b\\c\xFF"), R"("a\"b\\c\xFF")");
}

// The only name that there is, where it is near enough to the word.
std::string Meant(std::string_view word, std::string_view name) {
  return DidYouMean(word, {name});
}

TEST(TableText, ANameIsMeantThatDiffersInHalfOfTheLetters) {
  EXPECT_EQ(Meant("serail", "serial"), "did you mean 'serial'?");
  EXPECT_EQ(Meant("abcdef", "abcxyz"), "did you mean 'abcxyz'?");
  EXPECT_EQ(Meant("abcdef", "abwxyz"), "");
  EXPECT_EQ(Meant("bank", "kb"), "");
  // Letters too many, in front and behind.
  EXPECT_EQ(Meant("xxxxxserial", "serial"), "did you mean 'serial'?");
  EXPECT_EQ(Meant("serialxxxxx", "serial"), "did you mean 'serial'?");
  EXPECT_EQ(Meant("abcd", "d"), "");
  // Letters too few.
  EXPECT_EQ(Meant("ab", "abc"), "did you mean 'abc'?");
  EXPECT_EQ(Meant("ab", "abcd"), "");
}

TEST(TableText, OneLetterMayBeWrongInTheShortestWords) {
  EXPECT_EQ(Meant("i", "id"), "did you mean 'id'?");
  EXPECT_EQ(Meant("x", "id"), "");
}

TEST(TableText, TheNearestNameIsMeantAndTheFirstOfThem) {
  EXPECT_EQ(DidYouMean("serail", {"socket", "serial", "status"}), "did you mean 'serial'?");
  EXPECT_EQ(DidYouMean("ad", {"ab", "ac"}), "did you mean 'ab'?");
}

}  // namespace
}  // namespace tvq::table
