/*
 * Where -o writes: what is there before, what is said when it fails, and which folders are made.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/output_file.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "host/cli/input/input.h"
#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/cli/failing_call.h"

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;

constexpr char kFileHint[] =
    "; name a file in a folder that you may write to, by a path without links";
constexpr char kFolderHint[] = "; name a folder that you may write to, by a path without links";

class OutputFile : public CliTest {
 protected:
  // What goes to standard output.
  static std::string Output(const std::string& path, const std::string& result) {
    std::istringstream in;
    std::ostringstream out;
    WriteOutput(path, result, Console{in, out, out});
    return out.str();
  }
  // The error with its hint; empty where there is none.
  static std::string Failure(const std::function<void()>& action) {
    try {
      action();
    } catch (const InputError& error) {
      return error.what() + std::string("; ") + error.Hint();
    }
    return "";
  }
  static std::string FailureOf(const std::string& path) {
    return Failure([&path] { Output(path, "new"); });
  }
  std::string Contents(const std::string& name) const {
    const test::Bytes bytes = Read(name);
    return std::string(bytes.begin(), bytes.end());
  }
};

TEST_F(OutputFile, IsStandardOutputWhereNothingElseIsNamed) {
  EXPECT_EQ(Output("", "result"), "result");
  EXPECT_EQ(Output("-", "result"), "result");
}

TEST_F(OutputFile, IsReplacedAsAWhole) {
  Write("file", {'o', 'l', 'd'});
  EXPECT_EQ(Output(Path("file"), "new"), "");
  EXPECT_EQ(Contents("file"), "new");
}

TEST_F(OutputFile, InAFolderThatIsMissingIsAnError) {
  EXPECT_EQ(FailureOf(Path("missing/file")),
            "cannot write " + Path("missing/file") + ": No such file or directory" + kFileHint);
  EXPECT_FALSE(fs::exists(Path("missing")));
}

TEST_F(OutputFile, BehindALinkNamesTheLink) {
  fs::create_directory(Path("folder"));
  fs::create_directory_symlink(Path("folder"), Path("link"));
  EXPECT_EQ(FailureOf(Path("link/file")), "cannot write " + Path("link/file") + ": " +
                                              Path("link") + " is a symbolic link" + kFileHint);
}

TEST_F(OutputFile, StaysWhereTheNewOneCannotBeWritten) {
  Write("file", {'o', 'l', 'd'});
  const FailingCall full(Call::kWrite, ENOSPC);
  EXPECT_EQ(FailureOf(Path("file")),
            "cannot write " + Path("file") + ": No space left on device" + kFileHint);
  EXPECT_EQ(Contents("file"), "old");
}

TEST_F(OutputFile, WhoseNameMayNotHaveReachedTheDiskIsSaidToBeWritten) {
  const FailingCall sync(Call::kSync, EIO, 2);
  EXPECT_EQ(FailureOf(Path("file")), "written, but perhaps not on the disk: " + Path("file") +
                                         ": Input/output error" + kFileHint);
  EXPECT_EQ(Contents("file"), "new");
}

TEST_F(OutputFile, MayBeAFolderThatIsMade) {
  EXPECT_EQ(Failure([this] { MakeOutputFolder(Path("folder")); }), "");
  EXPECT_TRUE(fs::is_directory(Path("folder")));
  EXPECT_EQ(Failure([this] { MakeOutputFolder(Path("folder")); }), "") << "once more";
}

TEST_F(OutputFile, MayBeNoFolderInPlaceOfAFileOrBehindALink) {
  Write("file", {});
  EXPECT_EQ(Failure([this] { MakeOutputFolder(Path("file")); }),
            "cannot make the folder " + Path("file") + ": Not a directory" + kFolderHint);
  fs::create_directory(Path("folder"));
  fs::create_directory_symlink(Path("folder"), Path("link"));
  EXPECT_EQ(Failure([this] { MakeOutputFolder(Path("link/pages")); }),
            "cannot make the folder " + Path("link/pages") + ": " + Path("link") +
                " is a symbolic link" + kFolderHint);
}

}  // namespace
}  // namespace tvq::cli
