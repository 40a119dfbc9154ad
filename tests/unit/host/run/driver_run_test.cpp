/*
 * What a run of the driver tells beside its records: the log, what a state says of itself, what moved.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/run/driver_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "tests/unit/shared/table.h"

namespace tvq::run {
namespace {

using testing::ThrowsMessage;

enum class Left {
  kAsIs,
  kConformed,
};

// A machine, and its state after a run.
struct StateOf {
  const test::Table& machine;
  Left left = Left::kConformed;
  std::optional<unsigned> statedCount = std::nullopt;  // of structures, where it is another one

  Bytes Saved(const Origin& origin = {}) const {
    DriverRun driver;
    Table table = driver.ReadCapturedFile(machine.Bytes());
    table.structureCount = statedCount.value_or(table.structureCount);
    driver.Run(left == Left::kAsIs ? table : driver.Conform(table).table);
    return driver.State(origin);
  }
};

TEST(DriverRun, LogsFromTheFirstLineOfTheStart) {
  DriverRun driver(LogLines::kKept);
  const Results results = driver.Run(driver.ReadCapturedFile(test::MinimalServer().Bytes()));
  ASSERT_FALSE(results.log.empty());
  EXPECT_EQ(results.log[0].text, u"Entry MakeCPUs\n");
}

TEST(SavedState, SaysWithWhichOptionsItWasMade) {
  const test::Table machine = test::MinimalServer();
  for (const Left left : {Left::kAsIs, Left::kConformed}) {
    for (const bool isRedacted : {false, true}) {
      const Bytes state = StateOf{machine, left}.Saved({isRedacted, 0});
      DriverRun driver;
      const StateFit fit = driver.FitOf(state, state);
      EXPECT_EQ(fit.options.isAsIs, left == Left::kAsIs);
      EXPECT_EQ(fit.options.isRedacted, isRedacted);
    }
  }
}

TEST(SavedState, HasTheCountOfStructuresThatTheMachineStates) {
  const test::Table machine = test::MinimalServer();
  for (const Left left : {Left::kAsIs, Left::kConformed}) {
    const Bytes state = StateOf{machine, left, 99}.Saved();
    EXPECT_EQ(DriverRun().ReadStateTable(state).table->structureCount, 99u);
  }
}

TEST(SavedState, IsNotWhatAnotherFileIs) {
  DriverRun driver;
  EXPECT_THAT([&driver] { driver.ReadStateTable(Bytes(100, 'x')); },
              ThrowsMessage<StateError>("is no saved state"));
}

// The driver makes no record of a stack of high-bandwidth memory, so that it has no FQDD.
TEST(ComparedStates, NameTheFormerPlaceOfAStackOfMemoryByItsLocator) {
  const auto stateWithStackAt = [](const char* locator) {
    const test::Table machine = test::Table::Of(
        test::Bios{}, test::System{}, test::Processor{},
        test::MemoryDevice{.locator = locator, .memoryType = 0x20, .serial = "11223344"},
        test::End{});
    return StateOf{machine}.Saved();
  };
  const Bytes before = stateWithStackAt("CPU1_HBM0");
  const Bytes after = stateWithStackAt("CPU1_HBM1");
  DriverRun driver;
  const Comparison comparison = driver.CompareStates(before, after, {});
  ASSERT_EQ(comparison.findings.size(), 3u);
  const Finding& stack = comparison.findings[2];
  EXPECT_EQ(stack.kind, "HBM stack");
  EXPECT_EQ(stack.label, "CPU1_HBM1");
  EXPECT_EQ(stack.verdict, "moved");
  EXPECT_EQ(stack.movedFrom, u"CPU1_HBM0");
}

}  // namespace
}  // namespace tvq::run
