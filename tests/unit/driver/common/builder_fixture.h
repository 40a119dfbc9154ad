/*
 * A driver that is loaded and knows its table, and whose builders a test calls itself.
 *
 *     TEST_F(Cpus, ...) {
 *       ASSERT_EQ(Make(Table::Of(Processor{}, Cache{})), EFI_SUCCESS);
 *       EXPECT_EQ(Cpu().Socket, 1);
 *       EXPECT_TRUE(SameLines(log, LinesOf("MakeCPUs", {"Entry MakeCPUs\n", ...})));
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_COMMON_BUILDER_FIXTURE_H_
#define TVQ_TESTS_UNIT_DRIVER_COMMON_BUILDER_FIXTURE_H_

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <vector>

#include "tests/unit/driver/common/record_values.h"
#include "tests/unit/driver/common/servers.h"
#include "tests/unit/shared/driver_memory.h"
#include "tests/unit/shared/driver_harness.h"

#include "TvqSmbiosPkg/src/common/builders.h"

namespace tvq::test {

using record::Is;

// By value: nothing may refer to a field of a packed structure.
template <typename T>
T Value(T value) {
  return value;
}

// The bytes of an object.
template <typename T>
Bytes BytesOf(const T& object) {
  const auto* const first = reinterpret_cast<const uint8_t*>(&object);
  return Bytes(first, first + sizeof(object));
}

// `count` UCS-2 units as they lie in memory, terminators included.
std::u16string Units(const CHAR16* text, size_t count);

using Strings = std::vector<std::string>;

// The lines that one routine logs.
Strings LinesOf(const char* routine, std::initializer_list<const char*> texts);
// Lists one behind the other.
Strings Joined(std::initializer_list<Strings> parts);
// `count` times the same.
Strings Times(size_t count, const std::string& text);

class PreparedDriver : public testing::Test {
 protected:
  // Publishes the table, loads the driver and does what a start does before it calls the builders.
  // Without a structure of type 225 there is no FQDD map.
  void Prepare(const Table& table);
  // Calls a builder and keeps what it logged, and which of its blocks are left.
  EFI_STATUS Run(EFI_STATUS (*builder)());

  size_t RecordCount() { return harness.Records().size(); }
  // The record of the n-th handle.
  smTVQ* Record(size_t n = 0) { return harness.Records().at(n).record; }
  // The data of its device path.
  Bytes PathData(size_t n = 0);
  // The names that its device-list entry has.
  std::string NameOf(size_t n = 0);
  std::string FqddOf(size_t n = 0);
  // Asks it for its blobs.
  void ExpectServes(size_t n) { EXPECT_NE(DocumentOf(n), ""); }
  // The configuration document in its blobs.
  std::string DocumentOf(size_t n = 0);
  // That all around the device's own part, which takes `size` bytes, is as in every new record.
  void ExpectNothingBesides(size_t size);
  // What is installed on its handle, and how it is opened.
  void ExpectPublishedWhole(size_t n);
  // The n-th allocation of the next Run() fails.
  void FailAllocation(uint64_t n) { harness.FailAllocation(n); }
  void FailInstall(uint64_t n, EFI_STATUS status);

  // From here on every block that the driver frees is noted.
  void RecordFrees();
  // The serial numbers of the freed blocks that one of these routines wanted, in the order in which
  // they were freed.
  static std::vector<uint64_t> FreesOf(const Strings& routines);
  // How many lines of the last Run() were logged before the last block was freed.
  static size_t LinesBeforeLastFree();

  DriverHarness harness;
  // Of the last Run(): log lines, live blocks by routine, allocations asked for.
  Strings log;
  Strings blocks;
  uint64_t allocations = 0;

 private:
  EFI_STATUS AskNames(size_t n, CHAR16** name, CHAR16** fqdd);
};

// The tests of one builder.
template <EFI_STATUS (*kBuilder)()>
class BuilderTest : public PreparedDriver {
 protected:
  EFI_STATUS Make() { return Run(kBuilder); }
  EFI_STATUS Make(const Table& table) {
    Prepare(table);
    return Make();
  }
};

class Cpus : public BuilderTest<MakeCPUs> {
 protected:
  record::Cpu Cpu(size_t n = 0) { return record::Decode(Record(n)->device.cpu); }
};

class Dimms : public BuilderTest<MakeDIMMs> {
 protected:
  record::Dimm Dimm(size_t n = 0) { return record::Decode(Record(n)->device.dimm); }
};

class SystemRecord : public BuilderTest<MakeSYSTEM> {
 protected:
  record::System Fields() { return record::Decode(Record()->device.system); }
};

MATCHER(IsNewestFirst, "falls") {
  return std::is_sorted(arg.rbegin(), arg.rend());
}

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_COMMON_BUILDER_FIXTURE_H_
