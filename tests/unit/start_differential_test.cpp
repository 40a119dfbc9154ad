/*
 * Whole starts on random tables: the driver logs, publishes and keeps what a model that shares no
 * code with it works out from the table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/support/driver_memory.h"
#include "tests/unit/support/random_table.h"
#include "tests/unit/support/rig.h"
#include "tests/unit/support/start_model.h"

namespace tvq::test {
namespace {

// Most of a start's time goes into looking up who allocated each block.
constexpr unsigned kTables = 200;

StartOutcome StartDriver(const Table& table) {
  Rig rig;
  rig.Publish(table);
  EXPECT_EQ(rig.Load(), EFI_SUCCESS);
  const uint64_t loaded = LastSerial(rig.Memory());
  StartOutcome outcome;
  outcome.status = rig.Start();
  outcome.log = WithoutAddresses(rig.TakeLog());
  outcome.blocks = RoutinesSince(rig.Memory(), loaded);
  for (const RecordHandle& record : rig.Records()) {
    const auto* const path = reinterpret_cast<const TVQ_DEVICE_PATH*>(record.devicePath);
    outcome.records.emplace_back(path->Data, path->Data + sizeof(path->Data));
  }
  return outcome;
}

TEST(DifferentialStart, LogsPublishesAndKeepsWhatTheModelSays) {
  RandomTables tables(20210315);
  for (unsigned i = 0; i < TablesToTry(kTables); ++i) {
    SCOPED_TRACE(i);
    const Table table = tables.Next();
    const StartOutcome expected = ModelStart(table);
    const StartOutcome outcome = StartDriver(table);
    ASSERT_EQ(outcome.status, expected.status);
    ASSERT_TRUE(SameLines(Lines(outcome.log), Lines(expected.log)));
    ASSERT_EQ(outcome.records, expected.records);
    ASSERT_TRUE(SameLines(outcome.blocks, expected.blocks));
  }
}

}  // namespace
}  // namespace tvq::test
