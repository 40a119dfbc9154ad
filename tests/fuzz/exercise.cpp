/*
 * The whole life of the driver on a table with any bytes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/fuzz/exercise.h"

#include "tests/fuzz/started_machine.h"

namespace tvq::fuzz {
namespace {

// The walk of a slot query counts structures in eight bits.
constexpr unsigned kLongestEndingWalk = 0xFF;

}  // namespace

Outcome Exercise(const Table& table, host::Guard guard, DeviceSet* verified) {
  StartedMachine machine(table, guard, verified);
  for (const Record& record : machine.Records()) {
    machine.Asking().AskRecord(record);
  }
  machine.Asking().AskAttributes();
  machine.StartAgain();
  machine.Unload();
  machine.ExpectNoComplaints();

  Outcome outcome;
  outcome.start = machine.StartStatus();
  outcome.records = machine.Records().size();
  outcome.wouldHang = !EFI_ERROR(outcome.start) && table.structureCount > kLongestEndingWalk;
  return outcome;
}

}  // namespace tvq::fuzz
