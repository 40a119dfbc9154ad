/*
 * `tvq export --rows`: one line of JSON for each device, for the tables of a database.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_FLEET_ROWS_H_
#define TVQ_HOST_CLI_FLEET_ROWS_H_

#include <cstdint>
#include <optional>
#include <string>

#include "host/cli/fleet/device_row.h"
#include "host/cli/input/state_run.h"
#include "host/cli/parameters.h"

namespace tvq::cli {

struct RowOptions {
  bool isWanted = false;
  std::string state;  // a folder of states to compare with; empty: nothing is compared
  bool otherMachine = false;
  std::optional<std::string> host;    // as it is wanted in the rows
  std::optional<std::uint32_t> time;  // seconds since 1970, instead of now
};

// Adds --rows, and what goes with it.
void AddRows(Parameters parameters, RowOptions& options);

// The state to compare with, where one is wanted. Throws an InputError.
std::optional<LoadedState> StateForRows(const TableOptions& table, const RowOptions& options,
                                        const Console& console);

// A line of JSON for each row of a table that the driver ran on.
std::string RowLines(const std::vector<DeviceRow>& rows, const run::Table& ranOn,
                     const TableOptions& table, const RowOptions& options,
                     const Terminal& terminal);

// Prints the rows of a table that the driver ran on. Throws an InputError.
void PrintRows(run::DriverRun& driver, const Collected& collected,
               const std::optional<LoadedState>& state, const TableOptions& table,
               const RowOptions& options, const Console& console);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_FLEET_ROWS_H_
