/*
 * main() of the unit tests over code whose operators, constants and statuses can be switched one at a time.
 *
 *   PROGRAM reach FILE   runs each test in a process of its own, and writes a line for each to the file: name,
 *                        microseconds of the processor, 1 if it passed, the places it reached
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

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "host/firmware/firmware.h"
#include "tests/mutation/switch.h"

namespace {

std::string NameOf(const testing::TestInfo& test) {
  return std::string(test.test_suite_name()) + "." + test.name();
}

std::vector<std::string> NamesOfTests() {
  std::vector<std::string> names;
  const testing::UnitTest& all = *testing::UnitTest::GetInstance();
  for (int i = 0; i < all.total_test_suite_count(); i++) {
    const testing::TestSuite& suite = *all.GetTestSuite(i);
    for (int j = 0; j < suite.total_test_count(); j++) {
      const std::string name = NameOf(*suite.GetTestInfo(j));
      if (name.find("DISABLED_") == std::string::npos) {
        names.push_back(name);
      }
    }
  }
  return names;
}

// Notes what the processes that the test starts reach, too.
bool ShareReached() {
  const std::vector<unsigned char> before(gTvqHostReached, gTvqHostReached + kTvqHostPoints);
  const void* const shared = mmap(gTvqHostReached, kTvqHostPoints, PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
  std::copy(before.begin(), before.end(), gTvqHostReached);
  return shared == gTvqHostReached;
}

/// Runs one test, and adds its line to the file.
[[noreturn]] void RecordTest(const std::string& name, const char* path) {
  if (!ShareReached()) {
    std::perror("mmap");
    _exit(2);
  }
  const std::clock_t start = std::clock();
  GTEST_FLAG_SET(filter, name);
  const int failed = RUN_ALL_TESTS();
  const auto microseconds = (std::clock() - start) * 1'000'000 / CLOCKS_PER_SEC;
  std::ofstream file(path, std::ios::app);
  file << name << ' ' << microseconds << ' ' << (failed == 0);
  for (size_t point = 0; point < kTvqHostPoints; point++) {
    if (gTvqHostReached[point] != 0) {
      file << ' ' << point;
    }
  }
  file << std::endl;
  _exit(failed);
}

// Every test starts from where the program does: what is made once is made for each, and found to be reached by each.
int RecordTests(const char* path) {
  std::ofstream(path).close();
  int failed = 0;
  for (const std::string& name : NamesOfTests()) {
    const pid_t child = fork();
    if (child == 0) {
      RecordTest(name, path);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
      std::perror("fork");
      return 2;
    }
    failed += status != 0;
  }
  return failed == 0 ? 0 : 1;
}

/// Keeps the name of the running test where the parent process sees it, and gives each test the same
/// time. Processor time ends an endless loop also on a busy machine, the alarm one that sleeps.
class Announcer : public testing::EmptyTestEventListener {
 public:
  explicit Announcer(char* shared) : mShared(shared) {}

  void SetLimit(unsigned seconds) { mSeconds = seconds; }

  void OnTestStart(const testing::TestInfo& test) override {
    // Once one has failed, the others are said to start and do not.
    if (testing::UnitTest::GetInstance()->Failed()) {
      return;
    }
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

// A mutant may ask for more memory than there is.
void LimitResources() {
  constexpr rlimit kNone{0, 0};
  constexpr rlimit kMemory{4ull << 30, 4ull << 30};
  setrlimit(RLIMIT_CORE, &kNone);
  setrlimit(RLIMIT_FSIZE, &kMemory);
#ifndef __SANITIZE_ADDRESS__
  setrlimit(RLIMIT_AS, &kMemory);
#endif
}

// What stands in place of a test's name once all of them have run.
constexpr char kDone[] = "done";

/// The folder that a mutant runs in, for files that it makes by mistake: a next one would find them there.
class Folder {
 public:
  Folder() {
    mPath = (std::filesystem::temp_directory_path() / "mutant-XXXXXX").string();
    if (mkdtemp(mPath.data()) == nullptr) {
      std::perror("mkdtemp");
      std::exit(2);
    }
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;
  ~Folder() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
  }

  void Enter() const {
    if (chdir(mPath.c_str()) != 0 || setenv("TMPDIR", mPath.c_str(), 1) != 0 ||
        setenv("TEST_TMPDIR", mPath.c_str(), 1) != 0) {
      std::abort();
    }
  }

 private:
  std::string mPath;
};

[[noreturn]] void RunMutant(unsigned mutant, const std::string& filter, char* running) {
  LimitResources();
  if (std::freopen("/dev/null", "w", stdout) == nullptr ||
      std::freopen("/dev/null", "w", stderr) == nullptr) {
    std::abort();
  }
  gTvqHostMutant = mutant;
  GTEST_FLAG_SET(filter, filter);
  GTEST_FLAG_SET(fail_fast, true);
  const int failed = RUN_ALL_TESTS();
  if (failed == 0) {
    std::strcpy(running, kDone);
  }
  _exit(failed);
}

// A program that ended in the middle of a test has not passed it, whatever its status is.
std::string Outcome(int status, const char* test) {
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0 && std::strcmp(test, kDone) == 0) {
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
    const Folder folder;
    const pid_t child = fork();
    if (child == 0) {
      setpgid(0, 0);
      folder.Enter();
      announcer->SetLimit(seconds);
      RunMutant(mutant, filter, running);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child) {
      std::perror("fork");
      return 2;
    }
    // What the test started and nobody ended.
    kill(-child, SIGKILL);
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
    return RecordTests(argv[2]);
  }
  return RUN_ALL_TESTS();
}
