/*
 * Fuzz target `load`: files as `tvq` reads them, with what becomes of their tables before the driver sees them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <string>
#include <vector>

#include "host/run/driver_run.h"
#include "host/table/dump.h"
#include "host/table/source.h"
#include "tests/fuzz/operations.h"
#include "tests/fuzz/target.h"

namespace {

using tvq::fuzz::Expect;
using tvq::run::DriverRun;
using tvq::table::Bytes;

// Where an entry point ends in a dump; the files of a Linux system have it apart.
constexpr size_t kEntryPointArea = 0x20;

DriverRun& CurrentRun() {
  return tvq::fuzz::Renewed([] { return std::make_unique<DriverRun>(); });
}

// What a 32-bit entry point can state.
constexpr size_t kMaxTableSize = 0xFFFF;

// What was conformed conforms, and fits an entry point.
void Conform(DriverRun& driver, const tvq::run::Table& table) {
  const tvq::run::Conformed conformed = driver.Conform(table, tvq::run::Described::kChanges);
  if (conformed.isRefused || conformed.changes.empty()) {
    return;
  }
  Expect(conformed.table.structures.size() <= kMaxTableSize,
         "a conformed table is larger than an entry point can state");
  const tvq::run::Conformed again = driver.Conform(conformed.table, tvq::run::Described::kChanges);
  Expect(!again.isRefused && again.changes.empty(), "a conformed table is conformed once more");
}

template <typename Read>
void ReadAndConform(DriverRun& driver, Read read) {
  try {
    Conform(driver, read());
  } catch (const tvq::run::TableError&) {
    // The bytes are no table.
  }
}

void ReadAsTheDriversInput(const Bytes& file) {
  DriverRun& driver = CurrentRun();
  ReadAndConform(driver, [&] { return driver.ReadCapturedFile(file); });
  const auto middle =
      file.begin() + static_cast<std::ptrdiff_t>(std::min(kEntryPointArea, file.size()));
  ReadAndConform(driver, [&] {
    return driver.ReadSeparateTable({file.begin(), middle}, {middle, file.end()});
  });
}

// A table keeps its bytes on the way to its source form and back.
void ExpectSameFromSource(const tvq::table::Table& table, const Bytes& dump) {
  const auto again = tvq::table::ParseSource(tvq::table::FormatSource(table));
  Expect(static_cast<bool>(again), "the source form of a table cannot be read");
  const auto rewritten = tvq::table::WriteDump(*again);
  Expect(rewritten && *rewritten == dump, "the source form of a table stands for another one");
}

void ReadAsASource(const Bytes& file) {
  const std::string text(file.begin(), file.end());
  if (tvq::table::IsHexText(file)) {
    (void)tvq::table::ReadHexText(text);
  }
  if (const auto table = tvq::table::ParseSource(text)) {
    const auto dump = tvq::table::WriteDump(*table);
    if (dump) {
      ExpectSameFromSource(*table, *dump);
    }
  }
}

void ReadAsADump(const Bytes& file) {
  const auto table = tvq::table::ReadDump(file);
  if (!table) {
    return;
  }
  const auto dump = tvq::table::WriteDump(*table);
  if (dump) {
    ExpectSameFromSource(*table, *dump);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const Bytes file(data, data + size);
  ReadAsTheDriversInput(file);
  ReadAsADump(file);
  ReadAsASource(file);
  return 0;
}
