/*
 * The whole life of the driver on a table with any bytes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/fuzz/exercise.h"

#include "tests/fuzz/started_driver.h"

namespace tvq::fuzz {
namespace {

// The walk of a slot query counts structures in eight bits.
constexpr unsigned kLongestEndingWalk = 0xFF;

}  // namespace

Outcome Exercise(const Table& table, host::Guard guard, DeviceSet* verified) {
  StartedDriver driver(table, guard, verified);
  for (const Record& record : driver.Records()) {
    driver.Asking().AskRecord(record);
  }
  driver.Asking().AskAttributes();
  driver.StartAgain();
  driver.Unload();
  driver.ExpectNoComplaints();

  Outcome outcome;
  outcome.start = driver.StartStatus();
  outcome.records = driver.Records().size();
  outcome.wouldHang = !EFI_ERROR(outcome.start) && table.structureCount > kLongestEndingWalk;
  return outcome;
}

}  // namespace tvq::fuzz
