/*
 * What a start leaves in the pool: the driver's blocks by the routine that asked for them, and
 * which of them a model of the start, worked out from the table alone, does not know.
 *
 *     tvq_bench_pool FILE
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cinttypes>
#include <cstdio>
#include <exception>
#include <fstream>
#include <iterator>
#include <map>
#include <string>

#include "images/driver.h"
#include "tests/bench/measured_driver.h"
#include "tests/unit/shared/driver_memory.h"
#include "tests/unit/driver/model/start_model.h"

namespace tvq::bench {
namespace {

struct Blocks {
  size_t count = 0;
  size_t bytes = 0;
};

test::Table TableOf(const MeasuredDriver& driver) {
  test::Table table;
  table.majorVersion = driver.MajorVersion();
  table.minorVersion = driver.MinorVersion();
  table.Add(tvq::test::Raw{driver.Structures()});
  return table;
}

// How many of the blocks the model does not know.
size_t CountUnexpected(std::map<std::string, Blocks> held, const test::Table& table) {
  for (const std::string& routine : test::ModelStart(table).blocks) {
    Blocks& blocks = held[routine];
    blocks.count -= blocks.count != 0 ? 1 : 0;
  }
  size_t unexpected = 0;
  for (const auto& [routine, blocks] : held) {
    unexpected += blocks.count;
  }
  return unexpected;
}

void Measure(const char* path) {
  std::ifstream file(path, std::ios::binary);
  MeasuredDriver driver(DebugLog::kAbsent);
  driver.Publish(Bytes(std::istreambuf_iterator<char>(file), {}));
  const host::Pool& memory = driver.Firmware().Memory();
  const uint64_t loaded = test::LastSerial(memory);
  const auto nothing = [] {};
  driver.Start({nothing, nothing});

  std::map<std::string, Blocks> held;
  Blocks all;
  for (const host::Block& block : memory.LiveBlocks(host::images::driver)) {
    if (block.serial > loaded) {
      Blocks& routine = held[test::RoutineOf(block)];
      for (Blocks* sum : {&routine, &all}) {
        ++sum->count;
        sum->bytes += block.size;
      }
    }
  }
  std::printf("records %zu\nblocks %zu\nbytes %zu\nunexpected %zu\n", driver.RecordCount(),
              all.count, all.bytes, CountUnexpected(held, TableOf(driver)));
}

}  // namespace
}  // namespace tvq::bench

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: %s FILE\n", arguments[0]);
    return 2;
  }
  try {
    tvq::bench::Measure(arguments[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", arguments[1], error.what());
    return 2;
  }
  return 0;
}
