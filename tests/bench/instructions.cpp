/*
 * What callgrind counts. It writes one profile for each phase; what was done goes to the standard
 * output.
 *
 *     valgrind --tool=callgrind --instr-atstart=no --collect-atstart=no --dump-instr=yes \
 *         tvq_bench_instructions WORK FILE
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <valgrind/callgrind.h>

#include <cinttypes>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

#include "tests/bench/measured_driver.h"
#include "tests/unit/driver/model/reference_walk.h"

namespace tvq::bench {
namespace {

using test::ReferenceWalk;

// The types that a start collects, in its order.
constexpr uint8_t kCollected[] = {225, 4, 7, 11, 17, 16, 17, 226, 1, 3, 16, 0, 2, 9, 0, 1};

void Toggle() {
  CALLGRIND_TOGGLE_COLLECT;
}

const Meter kMeter = {Toggle, Toggle};

void PrintTable(const MeasuredDriver& driver) {
  std::printf("structures %u\nbytes %zu\n", driver.StructureCount(), driver.Structures().size());
}

// Ends the profile of one phase; `phase` is a literal.
#define END_PHASE(phase) CALLGRIND_DUMP_STATS_AT(phase)

void MeasureStart(MeasuredDriver& driver) {
  driver.Start(kMeter);
  END_PHASE("start");
  std::printf("records %zu\n", driver.RecordCount());
}

void MeasureOperations(MeasuredDriver& driver) {
  const uint64_t bytes = driver.GetAll(kMeter);
  END_PHASE("get");
  driver.GetAll(kMeter);
  END_PHASE("get again");
  const size_t compared = driver.VerifyAll(kMeter);
  END_PHASE("verify");
  std::printf("blob_bytes %" PRIu64 "\ncompared %zu\n", bytes, compared);
}

// A collection as it is defined: each step searches the table from its beginning for the handle
// that the step before named. Once to count, once to fill.
size_t CollectByHandle(const ReferenceWalk& walk, const Bytes& table, uint8_t type) {
  size_t found = 0;
  for (int pass = 0; pass < 2; ++pass) {
    uint16_t handle = 0xFFFF;
    do {
      const ReferenceWalk::Next next = walk.GetNext(handle);
      found += next.found && table[next.record] == type ? 1 : 0;
      handle = next.handle;
    } while (handle != 0xFFFF);
  }
  return found;
}

size_t CollectByPosition(const ReferenceWalk& walk, uint8_t type) {
  return walk.ByType(type).size() + walk.ByType(type).size();
}

void MeasureWalks(const Bytes& table) {
  const ReferenceWalk walk(table);
  size_t found = 0;
  Toggle();
  for (const uint8_t type : kCollected) {
    found += CollectByHandle(walk, table, type);
  }
  Toggle();
  END_PHASE("walk by handle");
  Toggle();
  for (const uint8_t type : kCollected) {
    found -= CollectByPosition(walk, type);
  }
  Toggle();
  END_PHASE("walk by position");
  if (found != 0) {
    throw std::runtime_error("the two walks differ");
  }
}

Bytes ReadFile(const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) {
    throw std::runtime_error("cannot be opened");
  }
  Bytes bytes(size_t{1} << 20);
  bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
  std::fclose(file);
  return bytes;
}

struct Work {
  const char* name;
  void (*run)(const Bytes& file);
};

void Run(const Bytes& file, DebugLog log, bool withOperations) {
  MeasuredDriver driver(log);
  driver.Publish(file);
  PrintTable(driver);
  CALLGRIND_START_INSTRUMENTATION;
  MeasureStart(driver);
  if (withOperations) {
    MeasureOperations(driver);
  }
}

constexpr Work kWorks[] = {
    {"start", [](const Bytes& file) { Run(file, DebugLog::kAbsent, false); }},
    {"start-logged", [](const Bytes& file) { Run(file, DebugLog::kPresent, false); }},
    {"all", [](const Bytes& file) { Run(file, DebugLog::kAbsent, true); }},
    {"all-logged", [](const Bytes& file) { Run(file, DebugLog::kPresent, true); }},
    {"walks",
     [](const Bytes& file) {
       MeasuredDriver driver(DebugLog::kAbsent);
       driver.Publish(file);
       PrintTable(driver);
       CALLGRIND_START_INSTRUMENTATION;
       MeasureWalks(driver.Structures());
     }},
};

int Main(const std::string& name, const std::string& path) {
  try {
    for (const Work& work : kWorks) {
      if (name == work.name) {
        work.run(ReadFile(path));
        return 0;
      }
    }
    std::fprintf(stderr, "there is no work '%s'\n", name.c_str());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), error.what());
  }
  return 2;
}

}  // namespace
}  // namespace tvq::bench

int main(int count, char** arguments) {
  if (count != 3) {
    std::fprintf(stderr, "usage: %s start|start-logged|all|all-logged|walks FILE\n", arguments[0]);
    return 2;
  }
  return tvq::bench::Main(arguments[1], arguments[2]);
}
