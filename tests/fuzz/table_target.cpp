/*
 * Fuzz target `table`: the whole life of the driver on a table.
 *
 * The input is a dump: 32 bytes with the entry point, the structures behind them. Of the entry point count the version,
 * the number of structures, and the lowest bit of its checksum, which tells at which end of the table the inaccessible
 * page lies. The length is that of the input.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>

#include "tests/fuzz/exercise.h"
#include "tests/fuzz/target.h"
#include "tests/fuzz/would_hang.h"

namespace {

constexpr size_t kEntryPointArea = 0x20;
constexpr size_t kChecksum = 0x04;
constexpr size_t kMajor = 0x06;
constexpr size_t kMinor = 0x07;
constexpr size_t kCount = 0x1C;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < kEntryPointArea) {
    return 0;
  }
  tvq::fuzz::Table table;
  table.major = data[kMajor];
  table.minor = data[kMinor];
  table.structureCount = static_cast<uint16_t>(data[kCount] | (data[kCount + 1] << 8));
  table.structures.assign(data + kEntryPointArea,
                          data + std::min(size, kEntryPointArea + tvq::fuzz::kMaxTableSize));
  const bool isBehind = (data[kChecksum] & 1) == 0;
  const tvq::fuzz::Outcome outcome =
      tvq::fuzz::Exercise(table, isBehind ? tvq::host::Guard::kBehind : tvq::host::Guard::kBefore);
  if (outcome.wouldHang) {
    tvq::fuzz::SayWouldHang(table.structureCount);
  }
  return 0;
}
