/*
 * An SMBIOS table in memory that ends at an inaccessible page, or begins at one.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_FUZZ_GUARDED_TABLE_H_
#define TVQ_TESTS_FUZZ_GUARDED_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "host/firmware/firmware.h"

extern "C" {
#include <IndustryStandard/SmBios.h>
}

namespace tvq::fuzz {

using Bytes = std::vector<uint8_t>;

// What a 32-bit entry point can state.
constexpr size_t kMaxTableSize = 0xFFFF;

// A table and what its entry point states about it. The length is stated as it is.
struct Table {
  uint8_t major = 3;
  uint8_t minor = 3;
  uint16_t structureCount = 0;
  Bytes structures;
};

// Copies a table to its place and describes it in an entry point. The memory serves for one table after the other: with
// Guard::kBehind the bytes before the table belong to earlier ones, so a reader has to be watched at both ends in two
// runs.
class GuardedTable {
 public:
  GuardedTable(Table table, host::Guard guard);
  GuardedTable(const GuardedTable&) = delete;
  GuardedTable& operator=(const GuardedTable&) = delete;

  SMBIOS_TABLE_ENTRY_POINT* EntryPoint() { return &mEntryPoint; }
  // False: somebody wrote into the table.
  bool IsAsItWas() const;

 private:
  Table mTable;
  UINT8* mData = nullptr;
  SMBIOS_TABLE_ENTRY_POINT mEntryPoint = {};
};

}  // namespace tvq::fuzz

#endif  // TVQ_TESTS_FUZZ_GUARDED_TABLE_H_
