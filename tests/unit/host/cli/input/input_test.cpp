/*
 * Reading input: all of it, and not without end.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "host/cli/input/input.h"
#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {
namespace {

using test::Bytes;

constexpr size_t kLargest = size_t{16} << 20;

class Input : public CliTest {
 protected:
  // What is read from standard input; nothing when it is refused.
  static std::optional<Bytes> FromStandardInput(const std::string& text) {
    std::istringstream in(text);
    std::ostringstream ignored;
    try {
      return ReadInput("-", "hint", Console{in, ignored, ignored});
    } catch (const InputError& error) {
      EXPECT_STREQ(error.what(), "standard input is larger than any SMBIOS table");
      EXPECT_EQ(error.Hint(), "hint");
      return std::nullopt;
    }
  }
  static std::string ErrorOf(const std::string& path) {
    try {
      ReadFile(path, "look elsewhere");
    } catch (const InputError& error) {
      return error.what() + std::string("; ") + error.Hint();
    }
    return "(none)";
  }
};

TEST_F(Input, IsReadWholeWhateverItsSize) {
  for (const size_t size : {0u, 1u, 0xFFFFu, 0x10000u, 0x10001u, 0x20000u, 300000u}) {
    std::string text(size, 'x');
    for (size_t i = 0; i < size; i += 1000) {
      text[i] = static_cast<char>('a' + i / 1000 % 26);
    }
    const Bytes bytes(text.begin(), text.end());
    EXPECT_EQ(FromStandardInput(text), bytes) << size;
    EXPECT_EQ(ReadFile(Write("input", bytes), ""), bytes) << size;
  }
}

TEST_F(Input, MayHaveSixteenMegabytes) {
  ASSERT_TRUE(FromStandardInput(std::string(kLargest, 'x')));
  EXPECT_EQ(FromStandardInput(std::string(kLargest, 'x'))->size(), kLargest);
  EXPECT_EQ(FromStandardInput(std::string(kLargest + 1, 'x')), std::nullopt);
}

TEST_F(Input, ThatNeverEndsIsRefused) {
  EXPECT_EQ(ErrorOf("/dev/zero"), "/dev/zero is larger than any SMBIOS table; look elsewhere");
}

TEST_F(Input, ThatCannotBeReadIsNamedWithTheReason) {
  EXPECT_EQ(ErrorOf(Path("missing")),
            "cannot read " + Path("missing") + ": No such file or directory; look elsewhere");
  EXPECT_EQ(ErrorOf(Path("")), "cannot read " + Path("") + ": Is a directory; look elsewhere");
}

TEST(Denied, IsWhatItsUserMayNotDo) {
  EXPECT_TRUE(IsDenied(EACCES));
  EXPECT_TRUE(IsDenied(EPERM));
  EXPECT_FALSE(IsDenied(ENOENT));
  EXPECT_FALSE(IsDenied(0));
}

TEST_F(Input, IsAFileWhereAnArgumentNamesOne) {
  EXPECT_TRUE(NamesFile("-"));
  EXPECT_TRUE(NamesFile("missing/file"));
  EXPECT_TRUE(NamesFile("."));
  EXPECT_FALSE(NamesFile("no-file-of-this-name"));
}

TEST_F(Input, ThatOnlyRootMayReadIsToBeReadByRoot) {
  const std::string path = Write("denied", {1});
  std::filesystem::permissions(path, std::filesystem::perms::none);
  constexpr uid_t kNobody = 65534;
  const uid_t user = geteuid();
  ASSERT_TRUE(user != 0 || seteuid(kNobody) == 0);
  const std::string error = ErrorOf(path);
  ASSERT_EQ(seteuid(user), 0);
  EXPECT_EQ(error,
            "cannot read " + path + ": Permission denied; only root may do that: `sudo {command}`");
}

}  // namespace
}  // namespace tvq::cli
