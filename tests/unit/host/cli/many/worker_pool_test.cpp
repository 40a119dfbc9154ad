/*
 * Work in several processes: results in their order, and crashes that cost one item.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/many/worker_pool.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <new>
#include <system_error>
#include <vector>

#include "tests/unit/host/cli/failing_call.h"

namespace tvq::cli {
namespace {

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
  const auto textOf = [](std::size_t item) { return std::string(item * 3000000, 'x'); };
  const Handed taken = RunAll(4, 2, [&textOf](std::size_t item) {
    return WorkResult{0, textOf(item), "", ""};
  });
  ASSERT_EQ(taken.results.size(), 4u);
  for (std::size_t i = 0; i < taken.results.size(); ++i) {
    EXPECT_TRUE(taken.results[i].out == textOf(i)) << i;
  }
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
      EXPECT_EQ(taken.results[i].crash, crashed ? "signal 9 (Killed)" : "") << i;
    }
  }
}

TEST(WorkerPool, AWorkerThatExitsIsACrashToo) {
  const Handed taken = RunAll(1, 1, [](std::size_t) -> WorkResult { _exit(7); });
  ASSERT_EQ(taken.results.size(), 1u);
  EXPECT_EQ(taken.results[0].crash, "exit status 7");
}

TEST(WorkerPool, LeavesNoProcessBehind) {
  RunAll(5, 3, [](std::size_t) { return WorkResult(); });
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

// Texts of all items, which tell when one of them got lost or into the wrong place.
void ExpectEveryText(unsigned workers) {
  const Handed taken = RunAll(6, workers, [](std::size_t item) {
    return WorkResult{static_cast<std::uint32_t>(item), "out " + std::to_string(item),
                      "said " + std::to_string(item), ""};
  });
  ASSERT_EQ(taken.results.size(), 6u);
  for (std::size_t i = 0; i < taken.results.size(); ++i) {
    EXPECT_EQ(taken.results[i].status, i);
    EXPECT_EQ(taken.results[i].out, "out " + std::to_string(i));
    EXPECT_EQ(taken.results[i].diagnostics, "said " + std::to_string(i));
    EXPECT_EQ(taken.results[i].crash, "");
  }
}

TEST(WorkerPool, GoesOnWhereASignalInterruptsIt) {
  for (const Call call : {Call::kSend, Call::kReceive, Call::kPoll, Call::kWait}) {
    for (const unsigned which : {1u, 2u}) {
      SCOPED_TRACE(static_cast<int>(call));
      const FailingCall interrupted(call, EINTR, which);
      ExpectEveryText(2);
    }
  }
}

TEST(WorkerPool, GoesOnWhereLessIsSentOrReceivedThanThereIs) {
  for (const Call call : {Call::kSend, Call::kReceive}) {
    SCOPED_TRACE(static_cast<int>(call));
    const FailingCall partly(call, kShort);
    ExpectEveryText(2);
  }
}

TEST(WorkerPool, KnowsHowAWorkerEndedAlsoWhereASignalInterruptsIt) {
  const FailingCall interrupted(Call::kWait, EINTR);
  const Handed taken = RunAll(1, 1, [](std::size_t) -> WorkResult { _exit(7); });
  ASSERT_EQ(taken.results.size(), 1u);
  EXPECT_EQ(taken.results[0].crash, "exit status 7");
}

TEST(WorkerPool, CountsAWorkerThatCannotBeHeardAsCrashed) {
  const FailingCall deaf(Call::kReceive, EIO);
  const Handed taken = RunAll(1, 1, [](std::size_t) { return WorkResult(); });
  ASSERT_EQ(taken.results.size(), 1u);
  EXPECT_EQ(taken.results[0].crash, "exit status 0");
}

TEST(WorkerPool, CountsAWorkerThatCannotBeGivenItsItemAsCrashed) {
  const FailingCall full(Call::kSend, ENOBUFS);
  const Handed taken = RunAll(2, 1, [](std::size_t) { return WorkResult{0, "done", "", ""}; });
  ASSERT_EQ(taken.results.size(), 2u);
  EXPECT_EQ(taken.results[0].crash, "exit status 0");
  EXPECT_EQ(taken.results[1].out, "done");
}

TEST(WorkerPool, CountsAWorkerThatCannotSendAllOfItsResultAsCrashed) {
  const FailingCall full(Call::kSend, ENOBUFS, 2);  // behind the item, and behind the sizes
  const Handed taken = RunAll(1, 1, [](std::size_t) { return WorkResult{0, "lost", "said", ""}; });
  ASSERT_EQ(taken.results.size(), 1u);
  EXPECT_EQ(taken.results[0].out, "");
  EXPECT_EQ(taken.results[0].crash, "exit status 0");
}

// Where this process was started by one that ignores how its children end, the system tells nobody.
TEST(WorkerPool, SaysSoWhereNobodyKnowsHowAWorkerEnded) {
  const auto before = std::signal(SIGCHLD, SIG_IGN);
  const Handed taken = RunAll(1, 1, [](std::size_t) -> WorkResult { _exit(7); });
  std::signal(SIGCHLD, before);
  ASSERT_EQ(taken.results.size(), 1u);
  EXPECT_EQ(taken.results[0].crash, "an unknown status");
}

TEST(WorkerPool, WorksInOneProcessWhereOneIsWantedOrNone) {
  for (const unsigned workers : {0u, 1u}) {
    int calls = 0;
    const Handed taken = RunAll(5, workers, [&calls](std::size_t) {
      return WorkResult{0, std::to_string(calls++), "", ""};
    });
    ASSERT_EQ(taken.results.size(), 5u);
    for (std::size_t i = 0; i < taken.results.size(); ++i) {
      EXPECT_EQ(taken.results[i].out, std::to_string(i)) << "a worker keeps what it changes";
    }
    EXPECT_EQ(calls, 0) << "and this process does not";
  }
}

// A number that all processes have in common.
class SharedCount {
 public:
  SharedCount()
      : mPage(mmap(nullptr, sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                   MAP_SHARED | MAP_ANONYMOUS, -1, 0)),
        mCount(new (mPage) std::atomic<int>(0)) {}
  SharedCount(const SharedCount&) = delete;
  SharedCount& operator=(const SharedCount&) = delete;
  ~SharedCount() { munmap(mPage, sizeof(std::atomic<int>)); }

  void Add() { ++*mCount; }
  // Waits, though not for ever, until so many were added, and a little longer for more.
  int AtLeast(int wanted) const {
    for (int i = 0; i < 2000 && *mCount < wanted; ++i) {
      usleep(1000);
    }
    usleep(5000);
    return *mCount;
  }

 private:
  void* mPage;
  std::atomic<int>* mCount;
};

TEST(WorkerPool, BeginsFourItemsForEachWorkerBeforeTheFirstIsDone) {
  SharedCount others;
  const Handed taken = RunAll(20, 2, [&others](std::size_t item) {
    if (item == 0) {
      return WorkResult{static_cast<std::uint32_t>(others.AtLeast(7)), "", "", ""};
    }
    others.Add();
    return WorkResult();
  });
  ASSERT_EQ(taken.results.size(), 20u);
  EXPECT_EQ(taken.results[0].status, 7u);
}

TEST(WorkerPool, SleepsWhileItsWorkersWork) {
  const FailingCall tenth(Call::kPoll, EINTR, 10);
  RunAll(1, 1, [](std::size_t) {
    usleep(20000);
    return WorkResult();
  });
  EXPECT_FALSE(tenth.HasFailed()) << "it asks again and again whether they are done";
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

TEST(ProcessorCount, IsThatOfTheProcessorsThatThisProcessMayRunOn) {
  cpu_set_t all;
  ASSERT_EQ(sched_getaffinity(0, sizeof(all), &all), 0);
  EXPECT_EQ(ProcessorCount(), static_cast<unsigned>(CPU_COUNT(&all)));
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  ASSERT_EQ(sched_setaffinity(0, sizeof(one), &one), 0);
  EXPECT_EQ(ProcessorCount(), 1u);
  ASSERT_EQ(sched_setaffinity(0, sizeof(all), &all), 0);
}

TEST(ProcessorCount, IsOneWhereItIsNotKnown) {
  const FailingCall unknown(Call::kAffinity, EINVAL);
  EXPECT_EQ(ProcessorCount(), 1u);
}

TEST(WorkerPool, DoesNothingWithNoItems) {
  EXPECT_TRUE(RunAll(0, 4, [](std::size_t) { return WorkResult(); }).items.empty());
}

}  // namespace
}  // namespace tvq::cli
