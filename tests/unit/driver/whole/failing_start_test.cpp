/*
 * Every allocation and every service call of a start fails once alone, and once together with all
 * that follow: what was published before keeps serving, each builder logs and ends as it should,
 * nothing is freed twice, and exactly those blocks stay that are to stay.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <functional>
#include <string>
#include <vector>

#include "tests/unit/shared/driver_memory.h"
#include "tests/unit/shared/driver_harness.h"
#include "tests/unit/driver/whole/samples.h"
#include "tests/unit/driver/common/servers.h"
#include "tests/unit/driver/model/start_model.h"

namespace tvq::test {
namespace {

using host::Owner;
using host::Service;

Owner Driver() {
  return host::images::driver;
}

// One start, with whatever is made to fail between loading and starting.
class StartRun {
 public:
  explicit StartRun(const Table& table) {
    mHarness.Publish(table);
    EXPECT_EQ(mHarness.Load(), EFI_SUCCESS);
    mRequest = mHarness.StartRequest();
    mSerial = LastSerial(mHarness.Memory());
    mFirstAllocation = mHarness.Memory().Allocations();
  }

  host::Firmware& Firmware() { return mHarness.Firmware(); }
  host::Pool& Memory() { return mHarness.Memory(); }

  void Run() {
    const uint64_t own = Memory().Allocations(Driver());
    mSeen.status = mRequest->Start(nullptr);
    mAllAllocations = Memory().Allocations() - mFirstAllocation;
    mSeen.allocations = Memory().Allocations(Driver()) - own;
    Memory().StopFailing();
    Firmware().StopFailingCalls();
    mSeen.log = WithoutAddresses(mHarness.TakeLog());
    mSeen.blocks = RoutinesSince(Memory(), mSerial);
    mRecords = mHarness.Records();
    for (const RecordHandle& record : mRecords) {
      const auto* const path = reinterpret_cast<const TVQ_DEVICE_PATH*>(record.devicePath);
      mSeen.records.emplace_back(path->Data, path->Data + sizeof(path->Data));
    }
  }

  const StartOutcome& Seen() const { return mSeen; }
  // Everybody's allocations during the start, those that failed included.
  uint64_t AllAllocations() const { return mAllAllocations; }

  void Expect(const StartOutcome& expected) {
    EXPECT_EQ(mSeen.status, expected.status);
    EXPECT_TRUE(SameLines(Lines(mSeen.log), Lines(expected.log)));
    EXPECT_EQ(mSeen.records, expected.records);
    EXPECT_TRUE(SameLines(mSeen.blocks, expected.blocks));
    ExpectAllServe();
  }
  void ExpectAllServe() {
    for (const RecordHandle& record : mRecords) {
      const Served served = mHarness.Get(record);
      EXPECT_EQ(served.status, EFI_SUCCESS);
      EXPECT_TRUE(served.IsWhole());
    }
    EXPECT_TRUE(Firmware().Misuses().empty());
    EXPECT_TRUE(Firmware().Assertions().empty());
  }

 private:
  DriverHarness mHarness;
  TVQ_START_REQUEST* mRequest = nullptr;
  uint64_t mSerial = 0;
  uint64_t mFirstAllocation = 0;
  uint64_t mAllAllocations = 0;
  StartOutcome mSeen;
  std::vector<RecordHandle> mRecords;
};

struct TableCase {
  const char* name;
  Table (*make)();
};

class FailingStart : public testing::TestWithParam<TableCase> {
 protected:
  FailingStart() : mTable(GetParam().make()), mClean(ModelStart(mTable)) {}

  // A start with `arm` called in between; it is to end as `expected` says.
  void ExpectStart(const std::function<void(StartRun&)>& arm, const StartOutcome& expected) {
    StartRun run(mTable);
    arm(run);
    run.Run();
    run.Expect(expected);
  }
  uint64_t CallsOf(Service service) {
    StartRun run(mTable);
    const uint64_t before = run.Firmware().Calls(Driver(), service);
    run.Run();
    return run.Firmware().Calls(Driver(), service) - before;
  }
  const Table mTable;
  const StartOutcome mClean;
};

// The same on tables without equal device paths. Whether the core sees that two are equal depends
// on memory, too.
class FailingCore : public FailingStart {
 protected:
  uint64_t AllAllocations() {
    StartRun run(mTable);
    run.Run();
    return run.AllAllocations();
  }
  // Fails everybody's allocations one after the other, each alone or with all that follow.
  void FailEverybodysAllocations(bool isLasting);
  // What that can lead to, in the order in which the start asks for memory: one of the driver's own
  // allocations fails, or one of those that the core makes to install a record or to open the
  // loaded image.
  std::vector<StartOutcome> OutcomesInOrder(bool isLasting) const;
};

std::vector<StartOutcome> FailingCore::OutcomesInOrder(bool isLasting) const {
  std::vector<StartOutcome> outcomes;
  const auto add = [&](const StartFailures& failures) {
    const StartOutcome outcome = ModelStart(mTable, failures);
    if (!isLasting && outcome.LooksLike(mClean)) {
      return;  // without structures there is little to lose
    }
    if (outcomes.empty() || !outcome.LooksLike(outcomes.back())) {
      outcomes.push_back(outcome);
    }
  };
  uint64_t install = 1;
  for (uint64_t n = 1; n <= mClean.allocations; ++n) {
    while (install <= mClean.installs && mClean.allocationsBeforeInstall[install - 1] < n) {
      add(isLasting ? StartFailures::NoMemoryFrom(n, install)
                    : StartFailures::OneInstall(install, EFI_OUT_OF_RESOURCES));
      ++install;
    }
    add(isLasting ? StartFailures::NoMemoryFrom(n, install) : StartFailures::OneAllocation(n));
  }
  add(StartFailures::LoadedImage(EFI_OUT_OF_RESOURCES));
  return outcomes;
}

void FailingCore::FailEverybodysAllocations(bool isLasting) {
  const std::vector<StartOutcome> outcomes = OutcomesInOrder(isLasting);
  const uint64_t allocations = AllAllocations();
  size_t reached = 0;
  for (uint64_t n = 1; n <= allocations && !HasFailure(); ++n) {
    SCOPED_TRACE("allocation " + std::to_string(n));
    StartRun run(mTable);
    isLasting ? run.Memory().FailFromAllocation(n) : run.Memory().FailAllocation(n);
    run.Run();
    if (!isLasting && run.Seen().LooksLike(mClean)) {
      run.ExpectAllServe();
      continue;
    }
    if (!run.Seen().LooksLike(outcomes[reached]) && reached + 1 < outcomes.size()) {
      ++reached;
    }
    run.Expect(outcomes[reached]);
  }
  EXPECT_EQ(reached + 1, outcomes.size()) << "some allocation never failed";
}

TEST_P(FailingStart, BuildsEverythingWhenNothingFails) {
  StartRun run(mTable);
  run.Run();
  run.Expect(mClean);
  EXPECT_EQ(run.Seen().allocations, mClean.allocations);
}

TEST_P(FailingStart, KeepsExactlyWhatItShouldWhenOneOwnAllocationFails) {
  for (uint64_t n = 1; n <= mClean.allocations && !HasFailure(); ++n) {
    SCOPED_TRACE("allocation " + std::to_string(n));
    ExpectStart([&](StartRun& run) { run.Memory().FailAllocation(n, Driver()); },
                ModelStart(mTable, StartFailures::OneAllocation(n)));
  }
}

TEST_P(FailingStart, KeepsExactlyWhatItShouldWhenOwnAllocationsFailFromOneOn) {
  for (uint64_t n = 1; n <= mClean.allocations && !HasFailure(); ++n) {
    SCOPED_TRACE("allocations from " + std::to_string(n));
    ExpectStart([&](StartRun& run) { run.Memory().FailFromAllocation(n, Driver()); },
                ModelStart(mTable, StartFailures::AllocationsFrom(n)));
  }
}

TEST_P(FailingCore, KeepsServingWhenOneAllocationFailsWhoeverAskedForIt) {
  FailEverybodysAllocations(false);
}

TEST_P(FailingCore, KeepsServingWhenThereIsNoMemoryForAnybodyFromOneAllocationOn) {
  FailEverybodysAllocations(true);
}

TEST_P(FailingStart, EndsABuilderWhoseRecordCannotBeInstalled) {
  for (uint64_t n = 1; n <= mClean.installs; ++n) {
    SCOPED_TRACE("record " + std::to_string(n));
    ExpectStart(
        [&](StartRun& run) {
          run.Firmware().FailCall(Driver(), Service::InstallMultipleProtocolInterfaces, n,
                                  EFI_ACCESS_DENIED);
        },
        ModelStart(mTable, StartFailures::OneInstall(n, EFI_ACCESS_DENIED)));
  }
}

TEST_P(FailingStart, DoesNotMindThatARecordCannotBeOpened) {
  const uint64_t opens = mClean.records.size();
  ASSERT_EQ(CallsOf(Service::OpenProtocol), opens + 1);
  for (uint64_t n = 1; n <= opens; ++n) {
    SCOPED_TRACE("record " + std::to_string(n));
    ExpectStart(
        [&](StartRun& run) {
          run.Firmware().FailCall(Driver(), Service::OpenProtocol, n, EFI_ACCESS_DENIED);
        },
        mClean);
  }
}

TEST_P(FailingStart, ReportsThatTheLoadedImageCannotBeOpenedAndKeepsTheRecords) {
  ExpectStart(
      [&](StartRun& run) {
        run.Firmware().FailCall(Driver(), Service::OpenProtocol, mClean.records.size() + 1,
                                EFI_ACCESS_DENIED);
      },
      ModelStart(mTable, StartFailures::LoadedImage(EFI_ACCESS_DENIED)));
}

TEST_P(FailingStart, DoesNotMindThatTheVariableCannotBeWritten) {
  ASSERT_GT(CallsOf(Service::SetVariable), 0u);
  ExpectStart(
      [&](StartRun& run) {
        run.Firmware().FailCallsFrom(Driver(), Service::SetVariable, 1, EFI_DEVICE_ERROR);
      },
      mClean);
}

std::string NameOf(const testing::TestParamInfo<TableCase>& info) {
  return info.param.name;
}

const TableCase kTables[] = {
    {"MinimalServer", MinimalServer},
    {"MissingParts", TwoSocketServer},
    {"HbmServer", HbmServer},
    {"TwoSocketSample", [] { return Sample("two-socket"); }},
    {"HbmOnlySample", [] { return Sample("hbm-only"); }},
    {"HbmMixedSample", [] { return Sample("hbm-mixed"); }},
};
INSTANTIATE_TEST_SUITE_P(Tables, FailingStart, testing::ValuesIn(kTables), NameOf);
INSTANTIATE_TEST_SUITE_P(Tables, FailingCore, testing::ValuesIn(kTables), NameOf);
INSTANTIATE_TEST_SUITE_P(EqualPaths, FailingStart,
                         testing::Values(TableCase{"TwinModuleServer", TwinModuleServer}), NameOf);

}  // namespace
}  // namespace tvq::test
