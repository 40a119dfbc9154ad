/*
 * Whole starts on random tables: the driver logs, publishes and keeps what a model that shares no
 * code with it works out from the table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <string>

#include "tests/unit/shared/driver_memory.h"
#include "tests/unit/driver/model/random_table.h"
#include "tests/unit/shared/driver_harness.h"
#include "tests/unit/driver/model/start_model.h"

namespace tvq::test {
namespace {

// Most of a start's time goes into looking up who allocated each block.
constexpr unsigned kTables = 150;

// An index is made of nothing smaller.
constexpr unsigned kSmallestStructure = 6;

struct Started {
  StartOutcome outcome;
  std::vector<Bytes> blobs;
};

Started StartDriver(const Table& table, bool withIndex = true) {
  DriverHarness harness;
  harness.Publish(table);
  EXPECT_EQ(harness.Load(), EFI_SUCCESS);
  const uint64_t loaded = LastSerial(harness.Memory());
  if (!withIndex) {
    harness.FailAllocation();  // the first block of the start
  }
  Started started;
  StartOutcome& outcome = started.outcome;
  outcome.status = harness.Start();
  outcome.log = WithoutAddresses(harness.TakeLog());
  outcome.blocks = RoutinesSince(harness.Memory(), loaded);
  for (const RecordHandle& record : harness.Records()) {
    const auto* const path = reinterpret_cast<const TVQ_DEVICE_PATH*>(record.devicePath);
    outcome.records.emplace_back(path->Data, path->Data + sizeof(path->Data));
    const Served served = harness.Get(record);
    EXPECT_EQ(served.status, EFI_SUCCESS);
    started.blobs.insert(started.blobs.end(), served.blobs.begin(), served.blobs.end());
  }
  return started;
}

// The table with a few bytes changed and, at times, its end cut off.
Table Spoilt(RandomTables& random) {
  const Table original = random.Next();
  Bytes bytes = original.Bytes();
  const auto last = static_cast<unsigned>(bytes.size()) - 1;
  for (unsigned changes = random.Number(0, 4); changes != 0; --changes) {
    static constexpr uint8_t kNasty[] = {0, 0, 1, 3, 4, 5, 0x7F, 0xFE, 0xFF};
    bytes[random.Number(0, last)] = kNasty[random.Number(0, std::size(kNasty) - 1)];
  }
  if (random.Once(4)) {
    bytes.resize(random.Number(kSmallestStructure, last));
  }
  Table table = Table::Of(Raw{bytes});
  table.statedCount = static_cast<uint16_t>(original.Count());
  return table;
}

TEST(DifferentialStart, LogsPublishesAndKeepsWhatTheModelSays) {
  RandomTables tables(20210315);
  for (unsigned i = 0; i < TablesToTry(kTables); ++i) {
    SCOPED_TRACE(i);
    const Table table = tables.Next();
    const StartOutcome expected = ModelStart(table);
    const StartOutcome outcome = StartDriver(table).outcome;
    ASSERT_EQ(outcome.status, expected.status);
    ASSERT_TRUE(SameLines(Lines(outcome.log), Lines(expected.log)));
    ASSERT_EQ(outcome.records, expected.records);
    ASSERT_TRUE(SameLines(outcome.blocks, expected.blocks));
  }
}

TEST(DifferentialStart, DoesTheSameWithoutTheIndexAlsoWhenBytesLie) {
  RandomTables random(20210317);
  for (unsigned i = 0; i < TablesToTry(kTables); ++i) {
    SCOPED_TRACE(i);
    const Table table = Spoilt(random);
    const Started with = StartDriver(table);
    const Started without = StartDriver(table, false);
    ASSERT_EQ(with.outcome.status, without.outcome.status);
    ASSERT_TRUE(SameLines(Lines(with.outcome.log), Lines(without.outcome.log)));
    ASSERT_EQ(with.outcome.records, without.outcome.records);
    ASSERT_TRUE(SameLines(with.outcome.blocks, without.outcome.blocks));
    ASSERT_EQ(with.blobs, without.blobs);
  }
}

}  // namespace
}  // namespace tvq::test
