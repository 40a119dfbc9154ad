/*
 * What `tvq` knows of the terminal, and how it shows messages and colours.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/console.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>

namespace tvq::cli {
namespace {

// Sets a variable of the environment, or removes it, as long as it lives.
class Variable {
 public:
  Variable(const char* name, const std::optional<std::string>& value) : mName(name) {
    if (const char* const before = std::getenv(name)) {
      mBefore = before;
    }
    Set(value);
  }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;
  ~Variable() { Set(mBefore); }

 private:
  void Set(const std::optional<std::string>& value) {
    if (value) {
      setenv(mName, value->c_str(), 1);
    } else {
      unsetenv(mName);
    }
  }

  const char* mName;
  std::optional<std::string> mBefore;
};

// Puts a terminal in the place of standard output as long as it lives.
class FakeTerminal {
 public:
  explicit FakeTerminal(unsigned short columns = 132)
      : mMaster(posix_openpt(O_RDWR | O_NOCTTY)), mBefore(dup(STDOUT_FILENO)) {
    EXPECT_EQ(grantpt(mMaster), 0);
    EXPECT_EQ(unlockpt(mMaster), 0);
    const int slave = open(ptsname(mMaster), O_RDWR | O_NOCTTY);
    winsize size = {};
    size.ws_col = columns;
    EXPECT_EQ(ioctl(slave, TIOCSWINSZ, &size), 0);
    EXPECT_EQ(dup2(slave, STDOUT_FILENO), STDOUT_FILENO);
    close(slave);
  }
  FakeTerminal(const FakeTerminal&) = delete;
  FakeTerminal& operator=(const FakeTerminal&) = delete;
  ~FakeTerminal() {
    dup2(mBefore, STDOUT_FILENO);
    close(mBefore);
    close(mMaster);
  }

 private:
  int mMaster;
  int mBefore;
};

bool HasColour(const std::optional<std::string>& term, const std::optional<std::string>& noColour) {
  const Variable first("TERM", term);
  const Variable second("NO_COLOR", noColour);
  const FakeTerminal terminal;
  return StandardTerminal().hasColour;
}

TEST(StandardTerminal, IsAPageWithoutColourWhereThereIsNone) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const int before = dup(STDOUT_FILENO);
  dup2(ends[1], STDOUT_FILENO);
  const Variable term("TERM", "xterm");
  const Terminal terminal = StandardTerminal();
  dup2(before, STDOUT_FILENO);
  for (const int file : {ends[0], ends[1], before}) {
    close(file);
  }
  EXPECT_EQ(terminal.width, 80u);
  EXPECT_FALSE(terminal.hasColour);
  EXPECT_TRUE(terminal.isPipe);
}

TEST(StandardTerminal, IsAsWideAsItIs) {
  const FakeTerminal terminal;
  EXPECT_EQ(StandardTerminal().width, 132u);
  EXPECT_FALSE(StandardTerminal().isPipe);
}

TEST(StandardTerminal, IsOfTheUsualWidthWhereItDoesNotSay) {
  const FakeTerminal terminal(0);
  EXPECT_EQ(StandardTerminal().width, 80u);
}

TEST(StandardTerminal, HasColourUnlessItIsDumbOrNobodyWantsAny) {
  EXPECT_TRUE(HasColour("xterm", std::nullopt));
  EXPECT_TRUE(HasColour("xterm", ""));
  EXPECT_FALSE(HasColour("xterm", "1"));
  EXPECT_FALSE(HasColour("dumb", std::nullopt));
  EXPECT_FALSE(HasColour(std::nullopt, std::nullopt));
}

TEST(StandardTerminal, ShowsMoreThanAsciiWhereItsLocaleSaysSo) {
  const auto isAscii = [](const std::optional<std::string>& all,
                          const std::optional<std::string>& type,
                          const std::optional<std::string>& language) {
    const Variable first("LC_ALL", all);
    const Variable second("LC_CTYPE", type);
    const Variable third("LANG", language);
    return StandardTerminal().isAscii;
  };
  EXPECT_FALSE(isAscii("C.UTF-8", "C", "C"));
  EXPECT_FALSE(isAscii({}, "de_DE.utf8", "C"));
  EXPECT_FALSE(isAscii("", "", "en_US.UTF-8"));
  EXPECT_TRUE(isAscii("C", "C.UTF-8", "C.UTF-8")) << "the first that is set counts";
  EXPECT_TRUE(isAscii({}, "POSIX", "C.UTF-8"));
  EXPECT_TRUE(isAscii({}, {}, "de_DE.ISO-8859-1"));
  EXPECT_TRUE(isAscii({}, {}, {}));
}

TEST(Painted, HasTheCodeOfItsInkAroundIt) {
  Terminal coloured;
  coloured.hasColour = true;
  EXPECT_EQ(Painted(coloured, Ink::kBold, "x"), "\x1B[1mx\x1B[0m");
  EXPECT_EQ(Painted(coloured, Ink::kDim, "x"), "\x1B[2mx\x1B[0m");
  EXPECT_EQ(Painted(coloured, Ink::kRed, "x"), "\x1B[31mx\x1B[0m");
  EXPECT_EQ(Painted(coloured, Ink::kGreen, "x"), "\x1B[32mx\x1B[0m");
  EXPECT_EQ(Painted(coloured, Ink::kYellow, "x"), "\x1B[33mx\x1B[0m");
  EXPECT_EQ(Painted(coloured, Ink::kPlain, "x"), "x");
  EXPECT_EQ(Painted({}, Ink::kRed, "x"), "x");
}

TEST(Messages, BeginWithTheNameOfTheCommand) {
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream diagnostics;
  const Console console{in, out, diagnostics};
  console.Line("a line");
  console.Warning("mind this");
  console.Error("that failed");
  console.Error("this too", "try it so");
  EXPECT_EQ(diagnostics.str(),
            "tvq: a line\n"
            "tvq: warning: mind this\n"
            "tvq: error: that failed\n"
            "tvq: error: this too\n"
            "tvq: hint: try it so\n");
  EXPECT_EQ(out.str(), "");
}

TEST(Messages, AreShownAsThePageIs) {
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream diagnostics;
  const Console console{in, out, diagnostics, {20, false, true}};
  console.Error("caf\xC3\xA9 is no table");
  console.Page("a line that is long\n  \xE2\x82\xAC and a line of it too\n");
  console.Text("one line, however long, of \xC3\xA9\n");
  EXPECT_EQ(diagnostics.str(), "tvq: error: caf\\xE9\n  is no table\n");
  EXPECT_EQ(out.str(),
            "a line that is long\n"
            "  \\x20AC and a line\n    of it too\n"
            "one line, however long, of \\xE9\n");
}

TEST(Messages, OfAQuietRunAreErrorsAlone) {
  std::istringstream in;
  std::ostringstream out;
  std::ostringstream diagnostics;
  const Console console{in, out, diagnostics, {}, true};
  console.Line("a line");
  console.Warning("mind this");
  console.Error("that failed", "try it so");
  EXPECT_EQ(diagnostics.str(), "tvq: error: that failed\ntvq: hint: try it so\n");
}

}  // namespace
}  // namespace tvq::cli
