/*
 * The driver's blocks and log lines in a form that tests compare.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_SHARED_DRIVER_MEMORY_H_
#define TVQ_TESTS_UNIT_SHARED_DRIVER_MEMORY_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "host/firmware/firmware.h"
#include "tests/unit/shared/platform_double.h"

namespace tvq::test {

// The routine that wanted a block, by the names that the driver logs under or that its interfaces
// have: "MakeDIMMs", "GetCacheInfo". The arrays of a collection name who collected:
// "SmbiosGetStructuresByType < MakeCPUs".
std::string RoutineOf(const host::Block& block);

// RoutineOf() of the driver's live blocks that are younger than the serial number, oldest first.
std::vector<std::string> RoutinesSince(const host::Pool& memory, uint64_t serial);
// The serial number of the youngest live block.
uint64_t LastSerial(const host::Pool& memory);

// The log with a '*' where a line prints an address, which differs from run to run.
std::vector<LogLine> WithoutAddresses(std::vector<LogLine> log);

// Lines as "function: text", those of the error level as "error: function: text".
std::vector<std::string> Lines(const std::vector<LogLine>& log);

// Compares two lists and tells where they part.
testing::AssertionResult SameLines(const std::vector<std::string>& actual,
                                   const std::vector<std::string>& expected);

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_SHARED_DRIVER_MEMORY_H_
