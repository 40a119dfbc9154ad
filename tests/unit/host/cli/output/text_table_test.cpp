/*
 * Tables and paragraphs on a terminal that is as wide as it is.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/text_table.h"

#include <gtest/gtest.h>

namespace tvq::cli {
namespace {

Terminal Wide(std::size_t width) {
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

TEST(Cut, EndsWithAnEllipsisWhereSomethingIsLeftOut) {
  EXPECT_EQ(Cut("abcdef", 7), "abcdef");
  EXPECT_EQ(Cut("abcdef", 6), "abcdef");
  EXPECT_EQ(Cut("abcdef", 5), "abcd…");
  EXPECT_EQ(Cut("abcdef", 2), "a…");
  EXPECT_EQ(Cut("abcdef", 1), "…");
  EXPECT_EQ(Cut("abcdef", 0), "");
  EXPECT_EQ(Cut("", 0), "");
}

TEST(Cut, KeepsCharactersWhole) {
  EXPECT_EQ(Cut("äöü", 3), "äöü");
  EXPECT_EQ(Cut("äöü", 2), "ä…");
  EXPECT_EQ(Cut("€𝄞x", 2), "€…");
}

TEST(Wrapped, IsOneLineWhereTheWidthIsNotKnown) {
  EXPECT_EQ(Wrapped("one two three", Wide(0), 3), "   one two three\n");
  EXPECT_EQ(Wrapped("", Wide(0), 2), "  \n");
}

TEST(Wrapped, IsBrokenBeforeTheWordThatDoesNotFit) {
  EXPECT_EQ(Wrapped("one two three", Wide(15), 2), "  one two three\n");
  EXPECT_EQ(Wrapped("one two three", Wide(14), 2), "  one two\n    three\n");
  EXPECT_EQ(Wrapped("one two three", Wide(9), 2), "  one two\n    three\n");
  EXPECT_EQ(Wrapped("one two three", Wide(8), 2), "  one\n    two\n    three\n");
  EXPECT_EQ(Wrapped("one two three", Wide(1), 2), "  one\n    two\n    three\n");
}

TEST(Wrapped, CountsTheDeeperIndentOfLaterLines) {
  EXPECT_EQ(Wrapped("aaaa bb cc dd", Wide(7), 0), "aaaa bb\n  cc dd\n");
  EXPECT_EQ(Wrapped("aaaa bb cc dd", Wide(6), 0), "aaaa\n  bb\n  cc\n  dd\n");
  EXPECT_EQ(Wrapped("ää öö", Wide(5), 0), "ää öö\n");
}

TEST(Table, AlignsItsColumns) {
  TextTable table({"A", "Second", "C"});
  table.Add({"long cell", "x", "1"});
  table.Add({"y", "é", "22"});
  EXPECT_EQ(table.Render(Wide(0)),
            "  A          Second  C\n"
            "  long cell  x       1\n"
            "  y          é       22\n");
  EXPECT_EQ(table.Render(Wide(0), 0),
            "A          Second  C\n"
            "long cell  x       1\n"
            "y          é       22\n");
}

TEST(Table, LeavesOutColumnsThatHoldNothing) {
  TextTable table({"A", "Empty", "C"});
  table.Add({"1", "-", "-"});
  table.Add({"-", "-", "3"});
  EXPECT_EQ(table.Render(Wide(0)),
            "  A  C\n"
            "  1  -\n"
            "  -  3\n");
}

TEST(Table, KnowsWhetherItIsEmpty) {
  TextTable table({"A"});
  EXPECT_TRUE(table.IsEmpty());
  table.Add({"1"});
  EXPECT_FALSE(table.IsEmpty());
}

TEST(Table, PrintsItsHeadingsBold) {
  TextTable table({"A"});
  table.Add({"1"});
  Terminal coloured;
  coloured.hasColour = true;
  EXPECT_EQ(table.Render(coloured), "  " + Painted(coloured, Ink::kBold, "A") + "\n  1\n");
}

class NarrowTable : public testing::Test {
 protected:
  // Two columns of 8 and 16 characters, of which the first tells the rows apart.
  static std::string Line(std::size_t width) {
    TextTable table({"Name", "Text"}, 1);
    table.Add({"abcdefgh", "0123456789ABCDEF"});
    const std::string text = table.Render(Wide(width));
    return text.substr(text.find('\n') + 1);
  }
};

TEST_F(NarrowTable, IsCutOnlyWhereItDoesNotFit) {
  EXPECT_EQ(Line(28), "  abcdefgh  0123456789ABCDEF\n");
  EXPECT_EQ(Line(27), "  abcdefgh  0123456789ABCD…\n");
  EXPECT_EQ(Line(26), "  abcdefgh  0123456789ABC…\n");
}

TEST_F(NarrowTable, CutsWhatTellsTheRowsApartLast) {
  EXPECT_EQ(Line(18), "  abcdefgh  01234…\n");
  EXPECT_EQ(Line(17), "  abcdef…  01234…\n");
  EXPECT_EQ(Line(16), "  abcde…  01234…\n");
}

TEST_F(NarrowTable, KeepsSixCharactersOfEachColumn) {
  EXPECT_EQ(Line(15), "  abcde…  01234…\n");
  EXPECT_EQ(Line(3), "  abcde…  01234…\n");
}

TEST_F(NarrowTable, IsWholeWhereThereIsNoRoomForAnything) {
  EXPECT_EQ(Line(2), "  abcdefgh  0123456789ABCDEF\n");
}

TEST(Table, CutsTheWidestColumnsFirst) {
  TextTable table({"1", "2", "3"});
  table.Add({"aaaaaaaaaa", "bbbbbbbb", "cccccccccc"});  // 10, 8 and 10 characters
  EXPECT_EQ(table.Render(Wide(32), 0),
            "1           2         3\naaaaaaaaaa  bbbbbbbb  cccccccccc\n");
  EXPECT_EQ(table.Render(Wide(30), 0), "1          2         3\naaaaaaaa…  bbbbbbbb  cccccccc…\n");
  EXPECT_EQ(table.Render(Wide(25), 0), "1        2        3\naaaaaa…  bbbbbb…  cccccc…\n");
}

}  // namespace
}  // namespace tvq::cli
