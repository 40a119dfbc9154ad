/*
 * The devices of one machine, each in one flat row: what many machines are asked about together.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_FLEET_DEVICE_ROW_H_
#define TVQ_HOST_CLI_FLEET_DEVICE_ROW_H_

#include <cstdint>
#include <string>
#include <vector>

#include "host/run/driver_run.h"

namespace tvq::cli {

// Texts are UTF-8, empty where the table says nothing or has a placeholder; numbers are 0 where it
// does not say.
struct DeviceRow {
  std::string kind;   // "processor", "memory module", "HBM stack" or "system"
  std::string fqdd;   // empty for a device without a record
  std::string label;  // what the machine prints at its place
  std::string maker;
  std::string part;    // of a processor without a part number, and of the system, the model's name
  std::string serial;  // tells the part from all others; of a processor without one, its PPIN
  std::uint64_t sizeInBytes = 0;
  std::uint64_t speed = 0;       // as it runs: MT/s of memory, MHz of a processor
  std::uint64_t ratedSpeed = 0;  // as it could
  std::string firmware;          // its own; of the system, the machine's
  std::string verdict;           // empty where nothing was compared
  bool isFinding = false;        // the exit status says that somebody has to look at it
  std::uint16_t handle = 0;      // of its structure
};

// The system, populated sockets and slots, and stacks of high-bandwidth memory, in the order of the
// table. `table` is the one that the driver ran on.
std::vector<DeviceRow> MakeRows(const run::Table& table, const run::Results& results);

// Adds what became of each device, and where it is, if only the finding says so. One that is gone gets
// a row that says no more of it than its place, so that no part is found where it was.
void AddVerdicts(const run::Comparison& comparison, std::vector<DeviceRow>& rows);

// What tells the machine from others, in UTF-8; empty where nothing does.
std::string MachineIdentityOf(const run::Table& table);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_FLEET_DEVICE_ROW_H_
