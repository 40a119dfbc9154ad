/*
 * The files of many pages have names that every file system keeps apart.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/page_names.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace tvq::cli {
namespace {

using testing::ElementsAre;

std::vector<std::string> NamesAfter(const std::vector<std::string>& paths) {
  PageNamer namer;
  std::vector<std::string> names;
  for (const std::string& path : paths) {
    names.push_back(namer.NameAfter(path));
  }
  return names;
}

TEST(PageNames, AreThoseOfTheFilesWithoutTheEndingOfATable) {
  EXPECT_THAT(NamesAfter({"rack/a.bin", "b.DMP", "c.v2", "d.txt", ".bin", "e"}),
              ElementsAre("a.html", "b.html", "c.v2.html", "d.html", "_bin.html", "e.html"));
}

TEST(PageNames, OfFoldersAreWhole) {
  EXPECT_THAT(NamesAfter({"/proc/", "/proc/sys//"}), ElementsAre("proc.html", "sys.html"));
}

TEST(PageNames, AreNeverEqualAlsoWithoutCase) {
  EXPECT_THAT(NamesAfter({"a.bin", "x/A.bin", "y/a.bin", "Index.bin", "a-2.bin"}),
              ElementsAre("a.html", "A-2.html", "a-3.html", "Index-2.html", "a-2-2.html"));
}

TEST(PageNames, HaveOnlyCharactersThatEveryFileSystemTakes) {
  EXPECT_THAT(NamesAfter({"a b<c>.bin", "..", "/", ""}),
              ElementsAre("a_b_c_.html", "_..html", "machine.html", "machine-2.html"));
}

TEST(PageNames, HaveALengthThatEveryFileSystemTakes) {
  EXPECT_THAT(NamesAfter({std::string(300, 'n'), std::string(301, 'n')}),
              ElementsAre(std::string(100, 'n') + ".html", std::string(100, 'n') + "-2.html"));
}

TEST(PageNames, CanDoWithoutTheNameOfTheFile) {
  PageNamer namer;
  EXPECT_EQ(namer.NameAfter("machine.bin"), "machine.html");
  EXPECT_EQ(namer.NameWithout(), "machine-2.html");
}

}  // namespace
}  // namespace tvq::cli
