/*
 * The whole life of the driver on a table with any bytes, on a fresh machine with the reference platform.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_FUZZ_EXERCISE_H_
#define TVQ_TESTS_FUZZ_EXERCISE_H_

#include <cstddef>

#include "host/firmware/firmware.h"
#include "tests/fuzz/guarded_table.h"
#include "tests/fuzz/operations.h"

namespace tvq::fuzz {

struct Outcome {
  EFI_STATUS start = EFI_NOT_READY;
  size_t records = 0;
  // A slot query that matches nothing would not return on firmware, where the walks are not bounded.
  bool wouldHang = false;
};

// Loads and starts the driver on the table, calls every operation of every record and every attribute, starts it a
// second time, and unloads it. Broken promises are complained about. Verify reads what is in the blobs and nothing of the
// table: with `verified`, which the caller keeps over many tables, equal devices are verified once.
Outcome Exercise(const Table& table, host::Guard guard, DeviceSet* verified = nullptr);

}  // namespace tvq::fuzz

#endif  // TVQ_TESTS_FUZZ_EXERCISE_H_
