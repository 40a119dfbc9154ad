/*
 * main() of the unit tests over a driver whose operators, constants and statuses can be switched one at a time.
 *
 *   PROGRAM reach FILE   runs all tests; a line of the file for each: name, milliseconds, 1 if it passed, places reached
 *   PROGRAM run          for each line `MUTANT SECONDS FILTER` on stdin: runs these tests with the mutant, in a process
 *                        of its own, and answers `MUTANT killed|slow TEST` or `MUTANT survived`
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

#include "host/firmware/firmware.h"

namespace {

constexpr size_t kMaxPoints = 1 << 18;

}  // namespace

// What the driver reads and writes. Number 0 is the driver as it is.
extern "C" {
extern unsigned gTvqHostMutant;
extern unsigned char gTvqHostReached[kMaxPoints];
unsigned gTvqHostMutant = 0;
unsigned char gTvqHostReached[kMaxPoints];
}

namespace {

std::string NameOf(const testing::TestInfo& test) {
  return std::string(test.test_suite_name()) + "." + test.name();
}

/// Writes what each test reaches. What a suite's set-up reaches belongs to its first test.
class Recorder : public testing::EmptyTestEventListener {
 public:
  explicit Recorder(const std::string& path) : mFile(path) {}

  void OnTestEnd(const testing::TestInfo& test) override {
    mFile << NameOf(test) << ' ' << test.result()->elapsed_time() << ' ' << test.result()->Passed();
    for (size_t point = 0; point < kMaxPoints; point++) {
      if (gTvqHostReached[point] != 0) {
        mFile << ' ' << point;
      }
    }
    mFile << '\n';
    std::memset(gTvqHostReached, 0, sizeof(gTvqHostReached));
  }

 private:
  std::ofstream mFile;
};

/// Keeps the name of the running test where the parent process sees it, and gives each test the same
/// time. Processor time ends an endless loop also on a busy machine, the alarm one that sleeps.
class Announcer : public testing::EmptyTestEventListener {
 public:
  explicit Announcer(char* shared) : mShared(shared) {}

  void SetLimit(unsigned seconds) { mSeconds = seconds; }

  void OnTestStart(const testing::TestInfo& test) override {
    std::snprintf(mShared, kSize, "%s", NameOf(test).c_str());
    const itimerval limit{{0, 0}, {static_cast<time_t>(mSeconds), 0}};
    setitimer(ITIMER_PROF, &limit, nullptr);
    alarm(20 * mSeconds);
  }

  static constexpr size_t kSize = 1024;

 private:
  char* mShared;
  unsigned mSeconds = 1;
};

[[noreturn]] void RunMutant(unsigned mutant, const std::string& filter) {
  constexpr rlimit kNone{0, 0};
  setrlimit(RLIMIT_CORE, &kNone);
  if (std::freopen("/dev/null", "w", stdout) == nullptr ||
      std::freopen("/dev/null", "w", stderr) == nullptr) {
    std::abort();
  }
  gTvqHostMutant = mutant;
  GTEST_FLAG_SET(filter, filter);
  GTEST_FLAG_SET(fail_fast, true);
  _exit(RUN_ALL_TESTS());
}

std::string Outcome(int status, const char* test) {
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) {
    return "survived";
  }
  const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  const bool slow = signal == SIGPROF || signal == SIGALRM;
  return std::string(slow ? "slow " : "killed ") + test;
}

int RunMutants() {
  auto* running = static_cast<char*>(
      mmap(nullptr, Announcer::kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  if (running == MAP_FAILED) {
    std::perror("mmap");
    return 2;
  }
  auto* announcer = new Announcer(running);
  testing::UnitTest::GetInstance()->listeners().Append(announcer);
  unsigned mutant = 0;
  unsigned seconds = 0;
  for (std::string filter; std::cin >> mutant >> seconds >> filter;) {
    std::strcpy(running, "start");
    const pid_t child = fork();
    if (child == 0) {
      announcer->SetLimit(seconds);
      RunMutant(mutant, filter);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
      std::perror("fork");
      return 2;
    }
    std::cout << mutant << ' ' << Outcome(status, running) << std::endl;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  tvq::host::SetFailureHandler([](const std::string& message) { ADD_FAILURE() << message; });
  const std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "run") {
    return RunMutants();
  }
  if (mode == "reach" && argc > 2) {
    testing::UnitTest::GetInstance()->listeners().Append(new Recorder(argv[2]));
  }
  return RUN_ALL_TESTS();
}
