/*
 * `tvq` as a process: its standard descriptors and streams, and what it ends with when a command throws or cannot print.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <list>
#include <new>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "TvqSmbiosPkg/Include/TvqVersion.h"

namespace tvq::cli {
namespace {

// A standard descriptor is closed, or of another file, as long as this lives.
class StandIn {
 public:
  explicit StandIn(int standard)
      : mStandard(standard), mBefore(fcntl(standard, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    close(standard);
  }
  StandIn(int standard, const char* file) : StandIn(standard) {
    const int other = open(file, O_RDWR | O_NOCTTY);
    if (other != standard) {
      dup2(other, standard);
      close(other);
    }
  }
  StandIn(const StandIn&) = delete;
  StandIn& operator=(const StandIn&) = delete;
  ~StandIn() {
    dup2(mBefore, mStandard);
    close(mBefore);
  }

 private:
  int mStandard;
  int mBefore;
};

constexpr char kTerminal[] = "/dev/ptmx";
constexpr char kNoTerminal[] = "/dev/null";

// What each standard descriptor is open for; -1 where it is closed.
std::vector<int> AccessModes() {
  std::vector<int> modes;
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    const int flags = fcntl(standard, F_GETFL);
    modes.push_back(flags < 0 ? -1 : flags & O_ACCMODE);
  }
  return modes;
}

std::vector<int> DescriptorFlags() {
  return {fcntl(STDIN_FILENO, F_GETFD), fcntl(STDOUT_FILENO, F_GETFD),
          fcntl(STDERR_FILENO, F_GETFD)};
}

std::ptrdiff_t OpenFiles() {
  namespace fs = std::filesystem;
  return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

TEST(StandardDescriptors, ThatAreClosedAreHeldByWhatCanNeitherBeReadNorWritten) {
  const std::vector<int> before = AccessModes();
  for (const std::vector<int>& closed : {std::vector<int>{STDIN_FILENO},
                                         {STDOUT_FILENO},
                                         {STDERR_FILENO},
                                         {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}}) {
    std::vector<int> expected = before;
    std::list<StandIn> none;
    for (const int standard : closed) {
      none.emplace_back(standard);
      expected[static_cast<std::size_t>(standard)] = standard == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    }
    const bool areHeld = HoldStandardDescriptors();
    const std::vector<int> held = AccessModes();
    none.clear();
    EXPECT_TRUE(areHeld);
    EXPECT_EQ(held, expected);
  }
}

TEST(StandardDescriptors, ThatAreOpenStayAsTheyAre) {
  const StandIn in(STDIN_FILENO, kNoTerminal);
  const StandIn out(STDOUT_FILENO, kNoTerminal);
  fcntl(STDIN_FILENO, F_SETFD, FD_CLOEXEC);
  const std::vector<int> flags = DescriptorFlags();
  const std::ptrdiff_t files = OpenFiles();
  EXPECT_TRUE(HoldStandardDescriptors());
  EXPECT_EQ(DescriptorFlags(), flags);
  EXPECT_EQ(OpenFiles(), files);
}

// What cannot be held ends the process before it prints anything.
TEST(StandardDescriptors, ThatCannotBeHeldAreTrouble) {
  rlimit before = {};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  std::ostringstream printed;
  std::streambuf* const out = std::cout.rdbuf(printed.rdbuf());
  const char* const arguments[] = {"tvq", "--version"};
  bool areHeld = true;
  int status = 0;
  {
    const StandIn closed(STDIN_FILENO);
    const rlimit none = {0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    areHeld = HoldStandardDescriptors();
    status = RunProcess(2, arguments);
    setrlimit(RLIMIT_NOFILE, &before);
  }
  std::cout.rdbuf(out);
  EXPECT_FALSE(areHeld);
  EXPECT_EQ(status, 2);
  EXPECT_EQ(printed.str(), "");
}

TEST(StandardConsole, ShowsProgressWhereStandardErrorIsATerminal) {
  const auto hasProgress = [](const char* out, const char* diagnostics) {
    const StandIn first(STDOUT_FILENO, out);
    const StandIn second(STDERR_FILENO, diagnostics);
    return StandardConsole().hasProgress;
  };
  EXPECT_TRUE(hasProgress(kNoTerminal, kTerminal));
  EXPECT_FALSE(hasProgress(kTerminal, kNoTerminal));
}

TEST(Process, PrintsToStandardOutput) {
  std::ostringstream printed;
  std::streambuf* const out = std::cout.rdbuf(printed.rdbuf());
  const char* const arguments[] = {"tvq", "--version"};
  const int status = RunProcess(2, arguments);
  std::cout.rdbuf(out);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(printed.str(), "tvq " TVQ_VERSION "\n");
}

struct Ended {
  int status;
  std::string diagnostics;
};

Ended RunThere(std::ostream& out, const std::function<int()>& command) {
  std::istringstream in;
  std::ostringstream diagnostics;
  const int status = RunGuarded(Console{in, out, diagnostics}, command);
  return {status, diagnostics.str()};
}

TEST(Process, EndsWithTheStatusOfItsCommand) {
  for (const int status : {0, 1, 2, 3}) {
    std::ostringstream out;
    const Ended ended = RunThere(out, [status] { return status; });
    EXPECT_EQ(ended.status, status);
    EXPECT_EQ(ended.diagnostics, "");
  }
}

TEST(Process, EndsInTroubleWhereItsOutputCannotBeWritten) {
  std::ofstream full("/dev/full");
  const Ended ended = RunThere(full, [&] {
    full << "which is written at the end";
    return 0;
  });
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.diagnostics, "tvq: error: the output cannot be written\n");
}

TEST(Process, EndsInTroubleWhereItsCommandThrows) {
  std::ostringstream out;
  const Ended ended = RunThere(out, []() -> int { throw std::runtime_error("this is why"); });
  EXPECT_EQ(ended.status, 2);
  EXPECT_EQ(ended.diagnostics, "tvq: error: this is why\n");
  const Ended poor = RunThere(out, []() -> int { throw std::bad_alloc(); });
  EXPECT_EQ(poor.status, 2);
  EXPECT_EQ(poor.diagnostics, "tvq: error: there is not enough memory for this\n");
}

}  // namespace
}  // namespace tvq::cli
