/*
 * What a start of the driver logs, installs and leaves in the pool for a well-formed table, worked
 * out from the table alone. The tests that make allocations and services fail one by one compare
 * the driver with it.
 *
 *     StartFailures failures;
 *     failures.allocations.Fail(7);  // the seventh that the driver asks for
 *     const StartOutcome outcome = ModelStart(MinimalServer(), failures);
 *
 * The model shares no code with the driver, and it knows nothing of tables whose bytes lie.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_MODEL_START_MODEL_H_
#define TVQ_TESTS_UNIT_DRIVER_MODEL_START_MODEL_H_

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "host/firmware/edk2.h"
#include "tests/unit/shared/platform_double.h"
#include "tests/unit/shared/table.h"

namespace tvq::test {

// Which calls fail, numbered from 1.
class FailurePlan {
 public:
  // That one alone, or that one and all that follow.
  void Fail(uint64_t number) { mFirst = mLast = number; }
  void FailFrom(uint64_t number) {
    mFirst = number;
    mLast = std::numeric_limits<uint64_t>::max();
  }
  bool Fails(uint64_t number) const { return mFirst <= number && number <= mLast; }

 private:
  uint64_t mFirst = std::numeric_limits<uint64_t>::max();
  uint64_t mLast = 0;
};

struct StartFailures {
  FailurePlan allocations;  // of the driver itself
  FailurePlan installs;     // of the records' protocols
  EFI_STATUS installStatus = EFI_OUT_OF_RESOURCES;
  EFI_STATUS loadedImageStatus = EFI_SUCCESS;  // of the driver's open of its loaded-image protocol

  static StartFailures OneAllocation(uint64_t number);
  static StartFailures AllocationsFrom(uint64_t number);
  static StartFailures OneInstall(uint64_t number, EFI_STATUS status);
  static StartFailures LoadedImage(EFI_STATUS status);
  // No memory from here on, neither for the driver nor for the core.
  static StartFailures NoMemoryFrom(uint64_t allocation, uint64_t install);
};

struct StartOutcome {
  EFI_STATUS status = EFI_SUCCESS;
  std::vector<LogLine> log;
  // The device path's data of every record that got a handle.
  std::vector<Bytes> records;
  // The routines whose blocks are still allocated, oldest first; see RoutineOf().
  std::vector<std::string> blocks;
  // Calls, those that failed included.
  uint64_t allocations = 0;
  uint64_t installs = 0;
  // For each install, how many allocations went before it.
  std::vector<uint64_t> allocationsBeforeInstall;

  // The same to whoever looks on from outside.
  bool LooksLike(const StartOutcome& other) const;
};

// Runs the start on a table; the platform's protocols are all there.
StartOutcome ModelStart(const Table& table, const StartFailures& failures = {});

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_MODEL_START_MODEL_H_
