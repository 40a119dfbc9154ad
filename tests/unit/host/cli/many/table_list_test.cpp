/*
 * Which tables the arguments of a command name.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/many/table_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "host/cli/command.h"
#include "host/cli/input/input.h"
#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

class TableList : public CliTest {
 protected:
  TableList() { fs::create_directories(Path("rack")); }

  // The names of the files below the fixture's folder; a file that cannot be used has "!" behind its name.
  std::vector<std::string> NamesOf(const std::vector<std::string>& arguments) const {
    std::vector<std::string> names;
    for (const TableFile& file : ListTables(arguments)) {
      names.push_back(file.path.substr(Path("").size()) + (file.trouble.empty() ? "" : "!"));
    }
    return names;
  }
  std::string Trouble(const std::string& argument) const {
    for (const TableFile& file : ListTables({argument})) {
      if (!file.trouble.empty()) {
        return file.trouble;
      }
    }
    return "";
  }
  bool IsMany(const std::string& name) const { return AreMany({Path(name)}); }
};

TEST_F(TableList, HasTheFilesOfAFolderInTheOrderOfTheirNames) {
  fs::create_directories(Path("rack/b"));
  for (const char* const name : {"rack/c", "rack/a", "rack/b/z", "rack/b/-", "rack/.hidden"}) {
    Write(name, {1});
  }
  EXPECT_THAT(NamesOf({Path("rack")}), ElementsAre("rack/a", "rack/b/-", "rack/b/z", "rack/c"));
}

TEST_F(TableList, KeepsTheOrderOfTheArguments) {
  Write("rack/a", {1});
  Write("single", {1});
  EXPECT_THAT(NamesOf({Path("single"), Path("rack"), Path("missing")}),
              ElementsAre("single", "rack/a", "missing"));
  EXPECT_THAT(NamesOf({}), IsEmpty());
}

TEST_F(TableList, FollowsLinksToFilesAndNotToFolders) {
  fs::create_directories(Path("elsewhere"));
  Write("elsewhere/table", {1});
  fs::create_symlink(Path("elsewhere/table"), Path("rack/file"));
  fs::create_directory_symlink(Path("elsewhere"), Path("rack/folder"));
  fs::create_symlink(Path("nowhere"), Path("rack/lost"));
  EXPECT_THAT(NamesOf({Path("rack")}), ElementsAre("rack/file", "rack/lost!"));
  EXPECT_EQ(Trouble(Path("rack")), Path("rack/lost") + " is a link that leads nowhere");
}

TEST_F(TableList, HasAFolderOfStatesForItsNewestOne) {
  fs::create_directories(Path("rack/host"));
  Write("rack/host/state-1.bin", {1});
  Write("rack/host/state-2.bin", {1});
  EXPECT_THAT(NamesOf({Path("rack")}), ElementsAre("rack/host"));
  EXPECT_TRUE(IsMany("rack"));
  EXPECT_FALSE(IsMany("rack/host"));
}

TEST_F(TableList, HasTheMachinesOfAStickAndNothingElseOfIt) {
  for (const char* const machine : {"rack/TVQ/machine-B", "rack/TVQ/machine-A"}) {
    fs::create_directories(Path(machine));
  }
  Write("rack/TVQ/machine-log.txt", {1});
  Write("rack/readme", {1});
  EXPECT_THAT(NamesOf({Path("rack")}), ElementsAre("rack/TVQ/machine-A", "rack/TVQ/machine-B"));
  EXPECT_TRUE(IsMany("rack"));
  EXPECT_TRUE(IsMany("rack/TVQ"));
  EXPECT_FALSE(IsMany("rack/TVQ/machine-A") && IsMany("rack/readme"));
}

TEST_F(TableList, IsOfManyWhereThereAreSeveralArgumentsOrOneFolder) {
  Write("rack/a", {1});
  EXPECT_FALSE(AreMany({}));
  EXPECT_FALSE(IsMany("rack/a"));
  EXPECT_TRUE(IsMany("rack"));
  EXPECT_TRUE(AreMany({"a", "b"}));
}

TEST_F(TableList, HasStandardInputOnceAtMost) {
  EXPECT_EQ(ListTables({"-"}).size(), 1u);
  EXPECT_EQ(ListTables({"-", "a"}).size(), 2u);
  EXPECT_THROW(ListTables({"-", "a", "-"}), UsageError);
}

TEST_F(TableList, NamesAFolderThatCannotBeRead) {
  fs::create_directories(Path("rack/closed"));
  Write("rack/open", {1});
  fs::permissions(Path("rack/closed"), fs::perms::none);
  const std::vector<TableFile> files = AsNobody([] { return ListTables({"rack"}); });
  const std::string error = AsNobody([]() -> std::string {
    try {
      ListTables({"rack/closed"});
    } catch (const InputError& refused) {
      return refused.what();
    }
    return "";
  });
  fs::permissions(Path("rack/closed"), fs::perms::owner_all);
  ASSERT_EQ(files.size(), 2u);
  EXPECT_EQ(files[0].path, "rack/closed");
  EXPECT_EQ(files[0].trouble, "cannot read the folder rack/closed: Permission denied");
  EXPECT_EQ(files[1].path, "rack/open");
  EXPECT_EQ(files[1].trouble, "");
  EXPECT_EQ(error, files[0].trouble);
}

}  // namespace
}  // namespace tvq::cli
