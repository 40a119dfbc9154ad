/*
 * Work in several processes: results in their order, and crashes that cost one item.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/many/worker_pool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <system_error>
#include <vector>

namespace tvq::cli {
namespace {

using testing::HasSubstr;

struct Handed {
  std::vector<std::size_t> items;
  std::vector<WorkResult> results;
};

Handed RunAll(std::size_t count, unsigned workers, const Work& work) {
  Handed taken;
  WorkInOrder(count, workers, work, [&taken](std::size_t item, WorkResult&& result) {
    taken.items.push_back(item);
    taken.results.push_back(std::move(result));
  });
  return taken;
}

TEST(WorkerPool, HandsResultsOverInTheOrderOfTheItems) {
  const Handed taken = RunAll(40, 3, [](std::size_t item) {
    usleep(item % 3 == 0 ? 3000 : 0);  // the first of three is the last to be done
    return WorkResult{static_cast<std::uint32_t>(item), std::to_string(item), "said", ""};
  });
  ASSERT_EQ(taken.items.size(), 40u);
  for (std::size_t i = 0; i < taken.items.size(); ++i) {
    EXPECT_EQ(taken.items[i], i);
    EXPECT_EQ(taken.results[i].status, i);
    EXPECT_EQ(taken.results[i].out, std::to_string(i));
    EXPECT_EQ(taken.results[i].diagnostics, "said");
  }
}

TEST(WorkerPool, TakesResultsOfAnySize) {
  const Handed taken = RunAll(4, 2, [](std::size_t item) {
    return WorkResult{0, std::string(item * 3000000, 'x'), "", ""};
  });
  ASSERT_EQ(taken.results.size(), 4u);
  EXPECT_EQ(taken.results[0].out, "");
  EXPECT_EQ(taken.results[3].out.size(), 9000000u);
}

TEST(WorkerPool, ACrashCostsOneItem) {
  for (const unsigned workers : {1u, 3u}) {
    const Handed taken = RunAll(9, workers, [](std::size_t item) {
      if (item % 4 == 1) {
        kill(getpid(), SIGKILL);
      }
      return WorkResult{0, "done", "", ""};
    });
    ASSERT_EQ(taken.results.size(), 9u);
    for (std::size_t i = 0; i < taken.results.size(); ++i) {
      const bool crashed = i % 4 == 1;
      EXPECT_EQ(taken.results[i].out, crashed ? "" : "done") << i;
      EXPECT_THAT(taken.results[i].crash, HasSubstr(crashed ? "signal 9" : "")) << i;
    }
  }
}

// As few descriptors as a process has now, and some more, as long as this lives.
class FewDescriptors {
 public:
  explicit FewDescriptors(unsigned more) {
    getrlimit(RLIMIT_NOFILE, &mBefore);
    const int free = dup(STDERR_FILENO);
    close(free);
    rlimit few = mBefore;
    few.rlim_cur = static_cast<unsigned>(free) + more;
    setrlimit(RLIMIT_NOFILE, &few);
  }
  FewDescriptors(const FewDescriptors&) = delete;
  FewDescriptors& operator=(const FewDescriptors&) = delete;
  ~FewDescriptors() { setrlimit(RLIMIT_NOFILE, &mBefore); }

 private:
  rlimit mBefore = {};
};

TEST(WorkerPool, GoesOnWithTheWorkersThatCouldBeStarted) {
  const FewDescriptors few(3);  // for two workers
  const Handed taken = RunAll(30, 8, [](std::size_t) { return WorkResult{0, "done", "", ""}; });
  ASSERT_EQ(taken.results.size(), 30u);
  for (const WorkResult& result : taken.results) {
    EXPECT_EQ(result.out, "done");
  }
}

TEST(WorkerPool, SaysSoWhereNoWorkerCanBeStarted) {
  const FewDescriptors few(1);
  EXPECT_THROW(RunAll(3, 2, [](std::size_t) { return WorkResult(); }), std::system_error);
}

TEST(WorkerPool, DoesNothingWithNoItems) {
  EXPECT_TRUE(RunAll(0, 4, [](std::size_t) { return WorkResult(); }).items.empty());
}

}  // namespace
}  // namespace tvq::cli
