/*
 * What a file says at its beginning, as far as there is one.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/whole_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;

class WholeFile : public CliTest {};

TEST_F(WholeFile, SaysAtItsBeginningWhatItSays) {
  EXPECT_EQ(StartOfFile(Write("file", {'t', 'e', 'x', 't'})), "text");
  EXPECT_EQ(StartOfFile(Write("empty", {})), "");
}

TEST_F(WholeFile, SaysNoMoreThanFourKilobytesOfIt) {
  test::Bytes bytes(4097, 'x');
  bytes[4095] = 'y';
  EXPECT_EQ(StartOfFile(Write("file", bytes)), std::string(4095, 'x') + 'y');
}

TEST_F(WholeFile, SaysNothingWhereThereIsNone) {
  fs::create_directory(Path("folder"));
  fs::create_symlink(Write("file", {'x'}), Path("link"));
  for (const char* const name : {"missing", "missing/file", "folder", "link", "file/file"}) {
    EXPECT_EQ(StartOfFile(Path(name)), "") << name;
  }
  EXPECT_FALSE(fs::exists(Path("missing")));
}

}  // namespace
}  // namespace tvq::cli
