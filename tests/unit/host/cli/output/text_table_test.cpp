/*
 * Tables on a terminal that is as wide as it is: what has no room stands elsewhere, and nothing is cut.
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

std::vector<Column> Columns(const std::vector<std::string>& headings) {
  std::vector<Column> columns;
  for (const std::string& heading : headings) {
    columns.push_back({heading, ""});
  }
  return columns;
}

TEST(Table, AlignsItsColumns) {
  TextTable table(Columns({"A", "Second", "C"}));
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
  TextTable table(Columns({"A", "Empty", "C"}));
  table.Add({"1", "-", "-"});
  table.Add({"-", "-", "3"});
  EXPECT_EQ(table.Render(Wide(0)),
            "  A  C\n"
            "  1  -\n"
            "  -  3\n");
}

TEST(Table, KnowsWhetherItIsEmpty) {
  TextTable table(Columns({"A"}));
  EXPECT_TRUE(table.IsEmpty());
  table.Add({"1"});
  EXPECT_FALSE(table.IsEmpty());
}

TEST(Table, OfOneColumnIsAList) {
  TextTable table(Columns({"A", "Empty"}));
  table.Add({"one", "-"});
  table.Add({"two", "-"});
  EXPECT_EQ(table.Render(Wide(0)), "  one, two\n");
  EXPECT_EQ(table.Render(Wide(7)), "  one,\n  two\n");
}

TEST(Table, PrintsItsHeadingsBold) {
  TextTable table(Columns({"A", "B"}));
  table.Add({"1", "2"});
  Terminal coloured;
  coloured.hasColour = true;
  EXPECT_EQ(table.Render(coloured), "  " + Painted(coloured, Ink::kBold, "A  B") + "\n  1  2\n");
}

class NarrowTable : public testing::Test {
 protected:
  NarrowTable()
      : mTable({{"NAME", ""}, {"PART", "part "}, {"RANK", "rank "}, {"BANK", "bank "}}, 1) {
    mTable.Add({"A1", "P-77", "2", "Channel 0"});
    mTable.Add({"A2", "P-88", "2", "Channel 1"});
  }
  TextTable mTable;
};

TEST_F(NarrowTable, SaysOnceWhatIsTheSameWhereItDoesNotFit) {
  EXPECT_EQ(mTable.Render(Wide(25), 0),
            "all: rank 2\n"
            "NAME  PART  BANK\n"
            "A1    P-77  Channel 0\n"
            "A2    P-88  Channel 1\n");
  EXPECT_EQ(mTable.Render(Wide(27), 0),
            "NAME  PART  RANK  BANK\n"
            "A1    P-77  2     Channel 0\n"
            "A2    P-88  2     Channel 1\n");
}

TEST_F(NarrowTable, PutsWhatStillHasNoRoomBelowItsRow) {
  EXPECT_EQ(mTable.Render(Wide(20), 0),
            "all: rank 2\n"
            "NAME  PART\n"
            "A1    P-77\n"
            "    bank Channel 0\n"
            "A2    P-88\n"
            "    bank Channel 1\n");
}

TEST_F(NarrowTable, SaysNothingBelowARowThatHasNothingThere) {
  mTable.Add({"A3", "P-99", "2", "-"});
  EXPECT_EQ(mTable.Render(Wide(20), 0),
            "all: rank 2\n"
            "NAME  PART\n"
            "A1    P-77\n"
            "    bank Channel 0\n"
            "A2    P-88\n"
            "    bank Channel 1\n"
            "A3    P-99\n");
}

TEST(Table, SharesNothingOfASingleRow) {
  TextTable table({{"NAME", ""}, {"BANK", "bank "}}, 1);
  table.Add({"A1", "Channel 0"});
  EXPECT_EQ(table.Render(Wide(11), 0), "NAME\nA1\n    bank\n    Channel\n    0\n");
}

TEST(Table, BreaksALabelThatIsLongerThanALine) {
  TextTable table({{"NAME", ""}, {"BANK", "bank "}}, 1);
  table.Add({"abcdefghijkl", "0"});
  EXPECT_EQ(table.Render(Wide(8), 0), "NAME\nabcdefgh\n  ijkl\n    bank\n    0\n");
}

}  // namespace
}  // namespace tvq::cli
