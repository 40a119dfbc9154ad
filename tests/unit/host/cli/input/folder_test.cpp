/*
 * Files that are written as a whole or not at all, whatever the system answers.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/cli/failing_call.h"

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using testing::IsEmpty;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

class FolderFiles : public CliTest {
 protected:
  FolderFiles() { fs::create_directory(Path("folder")); }

  // Writes "file" of the folder; errno says why it is not there.
  Written WriteThere(const Bytes& bytes, Taken taken = Taken::kFails,
                     Readers readers = Readers::kOwner) {
    std::string link;
    const Descriptor folder = OpenFolder(Path("folder"), Missing::kFails, link);
    EXPECT_TRUE(folder.IsOpen());
    errno = 0;
    return WriteFile(folder, "file", bytes, taken, readers);
  }
  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(Path("folder"))) {
      names.push_back(entry.path().filename());
    }
    return names;
  }
  Bytes Contents() const { return Read("folder/file"); }
};

TEST_F(FolderFiles, AreWrittenOnWhereLessOrNothingWasWrittenOrASignalInterrupts) {
  const Bytes bytes = {1, 2, 3, 4};
  for (const int error : {kShort, kNoBytes, EINTR}) {
    const FailingCall partly(Call::kWrite, error);
    EXPECT_EQ(WriteThere(bytes, Taken::kReplaced), Written::kYes);
    EXPECT_EQ(Contents(), bytes) << error;
  }
}

TEST_F(FolderFiles, AreNotThereWhereTheyCannotBeWritten) {
  for (const Call call : {Call::kWrite, Call::kChangeMode, Call::kSync, Call::kCreate}) {
    const FailingCall failing(call, EIO);
    EXPECT_EQ(WriteThere({1}, Taken::kFails, Readers::kEveryone), Written::kNo);
    EXPECT_EQ(errno, EIO);
    EXPECT_THAT(Names(), IsEmpty()) << static_cast<int>(call);
  }
}

// Not every file system can promise that a name is not taken meanwhile.
TEST_F(FolderFiles, GetTheirNameAlsoWhereTheFileSystemCannotPromiseThatNobodyTakesIt) {
  {
    const FailingCall unsupported(Call::kRename, EINVAL);
    EXPECT_EQ(WriteThere({1}), Written::kYes);
    EXPECT_EQ(Contents(), Bytes({1}));
    EXPECT_THAT(Names(), UnorderedElementsAre("file"));
  }
  const FailingCall unsupported(Call::kRename, EINVAL);
  EXPECT_EQ(WriteThere({2}), Written::kNo) << "the name is taken";
  EXPECT_EQ(Contents(), Bytes({1}));
  EXPECT_THAT(Names(), UnorderedElementsAre("file"));
}

TEST_F(FolderFiles, AreNotThereWhereTheyCannotHaveTheirName) {
  const FailingCall failing(Call::kRename, EIO);
  EXPECT_EQ(WriteThere({1}), Written::kNo);
  EXPECT_EQ(errno, EIO);
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(FolderFiles, AreNeverReplacedByALaterTryWhereReplacingThemFails) {
  ASSERT_EQ(WriteThere({1}), Written::kYes);
  const FailingCall failing(Call::kRename, EINVAL);
  EXPECT_EQ(WriteThere({2}, Taken::kReplaced), Written::kNo);
  EXPECT_EQ(Contents(), Bytes({1}));
}

TEST_F(FolderFiles, TakeNoNameThatIsTakenUnlessTheyReplaceWhatHasIt) {
  ASSERT_EQ(WriteThere({1}), Written::kYes);
  EXPECT_EQ(WriteThere({2}), Written::kNo);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(Contents(), Bytes({1}));
  EXPECT_EQ(WriteThere({3}, Taken::kReplaced), Written::kYes);
  EXPECT_EQ(Contents(), Bytes({3}));
}

TEST_F(FolderFiles, ReplaceNeitherALinkNorAPipe) {
  Write("victim", {1});
  fs::create_symlink(Path("victim"), Path("folder/file"));
  EXPECT_EQ(WriteThere({2}, Taken::kReplaced), Written::kNo);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(Read("victim"), Bytes({1}));
  fs::remove(Path("folder/file"));
  ASSERT_EQ(mkfifo(Path("folder/file").c_str(), 0600), 0);
  EXPECT_EQ(WriteThere({2}, Taken::kReplaced), Written::kNo);
  EXPECT_TRUE(fs::is_fifo(Path("folder/file")));
}

TEST_F(FolderFiles, ThatAnInterruptedWriteLeftHaveADotInFrontAndANumberBehindTheirName) {
  const std::vector<std::string> others = {
      "file",
      ".file",
      "file.0123456789abcdef",
      "other.file.0123456789abcdef",
      ".0123456789abcdef",
      "..0123456789abcdef",
      ".file.0123456789abcde",
      ".file.0123456789abcdef0",
      ".file.0123456789abcdeg",
      ".somebody.0123456789abcdef",
  };
  for (const std::string& name : others) {
    Write("folder/" + name, {1});
  }
  fs::create_symlink(Path("nowhere"), Path("folder/.link.0123456789abcdef"));
  Write("folder/.file.0123456789abcdef", {1});
  Write("folder/.my.file.fedcba9876543210", {1});
  std::string link;
  RemoveLeftovers(OpenFolder(Path("folder"), Missing::kFails, link),
                  [](const std::string& name) { return name != "somebody"; });
  std::vector<std::string> left = others;
  left.emplace_back(".link.0123456789abcdef");
  EXPECT_THAT(Names(), UnorderedElementsAreArray(left));
}

TEST(Paths, HaveAFolderAndAName) {
  const std::vector<std::pair<std::string, std::pair<std::string, std::string>>> kPaths = {
      {"file", {".", "file"}},          {"/file", {"/", "file"}},     {"a/file", {"a/", "file"}},
      {"/a/b/file", {"/a/b/", "file"}}, {"folder/", {"folder/", ""}}, {"", {".", ""}}};
  for (const auto& [path, parts] : kPaths) {
    EXPECT_EQ(FolderOf(path), parts.first) << path;
    EXPECT_EQ(NameOfFile(path), parts.second) << path;
  }
}

}  // namespace
}  // namespace tvq::cli
