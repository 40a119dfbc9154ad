/*
 * A fresh machine with the reference platform, on which the driver was started on a table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_FUZZ_STARTED_DRIVER_H_
#define TVQ_TESTS_FUZZ_STARTED_DRIVER_H_

#include <vector>

#include "host/firmware/firmware.h"
#include "tests/fuzz/guarded_table.h"
#include "tests/fuzz/operations.h"

namespace tvq::fuzz {

class StartedDriver {
 public:
  explicit StartedDriver(Table table, host::Guard guard = host::Guard::kBehind,
                         DeviceSet* verified = nullptr);

  host::Firmware& Firmware() { return mFirmware; }
  Operations& Asking() { return mOperations; }
  EFI_STATUS StartStatus() const { return mStatus; }
  const std::vector<Record>& Records() const { return mRecords; }

  // A second start finds everything in place.
  void StartAgain();
  void Unload();
  // No assertion failed, no rule of the UEFI specification was broken, and nobody wrote into the table.
  void ExpectNoComplaints() const;

 private:
  EFI_STATUS Start();
  EFI_STATUS RequestStart();

  GuardedTable mTable;
  host::Firmware mFirmware;
  EFI_STATUS mStatus;
  Operations mOperations;
  std::vector<Record> mRecords;
};

}  // namespace tvq::fuzz

#endif  // TVQ_TESTS_FUZZ_STARTED_DRIVER_H_
