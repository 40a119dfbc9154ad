/*
 * Text that is broken into lines, of which nothing is lost.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/paragraph.h"

#include <gtest/gtest.h>

namespace tvq::cli {
namespace {

Terminal PageOfWidth(std::size_t width) {
  Terminal terminal;
  terminal.width = width;
  return terminal;
}

TEST(Width, CountsCharactersAndNotBytes) {
  EXPECT_EQ(WidthOf(""), 0u);
  EXPECT_EQ(WidthOf("abc"), 3u);
  EXPECT_EQ(WidthOf("aé€𝄞"), 4u);
  EXPECT_EQ(WidthOf("\x7F\xC2\x80"), 2u);
}

TEST(Width, OfACodeForColourIsNone) {
  EXPECT_EQ(WidthOf("\x1B[31mab\x1B[0m c"), 4u);
  EXPECT_EQ(WidthOf("\x1B[31"), 4u) << "a code that does not end";
}

TEST(Wrapped, IsOneLineWhereTheWidthIsNotKnown) {
  EXPECT_EQ(Wrapped("one two three", PageOfWidth(0), 3), "   one two three\n");
  EXPECT_EQ(Wrapped("", PageOfWidth(0), 2), "  \n");
}

TEST(Wrapped, IsBrokenBeforeTheWordThatDoesNotFit) {
  EXPECT_EQ(Wrapped("one two three", PageOfWidth(15), 2), "  one two three\n");
  EXPECT_EQ(Wrapped("one two three", PageOfWidth(14), 2), "  one two\n    three\n");
  EXPECT_EQ(Wrapped("one two three", PageOfWidth(9), 2), "  one two\n    three\n");
}

TEST(Wrapped, CountsTheDeeperIndentOfLaterLines) {
  EXPECT_EQ(Wrapped("aaaa bb cc dd", PageOfWidth(7), 0), "aaaa bb\n  cc dd\n");
  EXPECT_EQ(Wrapped("aaaa bb cc dd", PageOfWidth(6), 0), "aaaa\n  bb\n  cc\n  dd\n");
  EXPECT_EQ(Wrapped("ää öö", PageOfWidth(5), 0), "ää öö\n");
}

TEST(Wrapped, BreaksAWordThatIsLongerThanALine) {
  EXPECT_EQ(Wrapped("one abcdefgh two", PageOfWidth(6), 0), "one\n  abcd\n  efgh\n  two\n");
  EXPECT_EQ(Wrapped("äöüßé", PageOfWidth(4), 0), "äöüß\n  é\n");
  EXPECT_EQ(Wrapped("abc", PageOfWidth(1), 2), "  a\n    b\n    c\n")
      << "no room, and still an end";
}

TEST(Wrapped, KeepsACommandInOneLineWhereItFits) {
  EXPECT_EQ(Wrapped("try `a b c` now", PageOfWidth(10), 0), "try\n  `a b c`\n  now\n");
  EXPECT_EQ(Wrapped("`a b c d e f g`, so", PageOfWidth(10), 0), "`a b c d e\n  f g`, so\n");
  EXPECT_EQ(Wrapped("one ` alone is a word", PageOfWidth(10), 0), "one `\n  alone is\n  a word\n");
}

TEST(Wrapped, GoesOnBehindACommandAsBeforeIt) {
  EXPECT_EQ(Wrapped("try `a b` or go on", PageOfWidth(12), 0), "try `a b` or\n  go on\n");
  EXPECT_EQ(Wrapped("xx `` a `", PageOfWidth(8), 0), "xx `` a\n  `\n") << "no command in these";
}

TEST(Wrapped, BreaksAWordInACommandThatIsLongerThanALine) {
  EXPECT_EQ(Wrapped("`a bcdefghij k`", PageOfWidth(6), 0), "`a\n  bcde\n  fghi\n  j k`\n");
}

TEST(Wrapped, LeavesCodesForColourWhole) {
  EXPECT_EQ(Wrapped("\x1B[31mabcdef\x1B[0m gh", PageOfWidth(4), 0),
            "\x1B[31mabcd\n  ef\x1B[0m\n  gh\n");
}

TEST(Wrapped, CountsCharactersAsTheTerminalSpellsThem) {
  EXPECT_EQ(Wrapped("ab é", {7, false, false}, 0), "ab é\n");
  EXPECT_EQ(Wrapped("ab é", {7, false, true}, 0), "ab \\xE9\n");
  EXPECT_EQ(Wrapped("abc é", {7, false, true}, 0), "abc\n  \\xE9\n");
}

TEST(Folded, BreaksTheLinesThatAreTooLong) {
  EXPECT_EQ(Folded("short\n  a longer line\n\nshort\n", PageOfWidth(10)),
            "short\n  a longer\n    line\n\nshort\n");
  EXPECT_EQ(Folded("äöüßäöüßäö\n", PageOfWidth(10)), "äöüßäöüßäö\n");
  EXPECT_EQ(Folded("a longer line\n", PageOfWidth(0)), "a longer line\n");
  EXPECT_EQ(Folded("", PageOfWidth(10)), "");
}

TEST(Folded, KeepsTheBlanksBetweenColumns) {
  EXPECT_EQ(Folded("A    B    cc dd\n", PageOfWidth(13)), "A    B    cc\n  dd\n");
}

TEST(Filled, BreaksParagraphsAnew) {
  EXPECT_EQ(Filled("one\ntwo three\nfour\n\nfive", PageOfWidth(9)),
            "one two\nthree\nfour\n\nfive\n");
}

TEST(Listed, IsBrokenBetweenItems) {
  EXPECT_EQ(Listed({"one a", "two b", "three"}, PageOfWidth(0), "  T: ", 4),
            "  T: one a, two b, three\n");
  EXPECT_EQ(Listed({"one a", "two b", "three"}, PageOfWidth(18), "  T: ", 4),
            "  T: one a, two b,\n    three\n");
  EXPECT_EQ(Listed({"one a", "two b", "three"}, PageOfWidth(17), "  T: ", 4),
            "  T: one a,\n    two b, three\n");
}

TEST(Listed, IsBrokenInsideAnItemThatIsLongerThanALine) {
  EXPECT_EQ(Listed({"a", "two words more", "b"}, PageOfWidth(11), "", 2),
            "a,\n  two words\n  more, b\n");
}

TEST(Listed, HasNoLineForABlankAtTheEndOfAnItem) {
  EXPECT_EQ(Listed({"one two "}, PageOfWidth(7), "", 2), "one two\n");
}

TEST(Listed, BeginsBelowALeadThatFillsTheLine) {
  EXPECT_EQ(Listed({"abcdef"}, PageOfWidth(6), "lead: ", 2), "lead: \n  abcd\n  ef\n");
}

TEST(Counted, SaysOneInTheSingular) {
  EXPECT_EQ(Counted(0, "core"), "0 cores");
  EXPECT_EQ(Counted(1, "core"), "1 core");
  EXPECT_EQ(Counted(2, "core"), "2 cores");
  EXPECT_EQ(Counted(2, "supply", "supplies"), "2 supplies");
}

}  // namespace
}  // namespace tvq::cli
