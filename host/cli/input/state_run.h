/*
 * A run of the driver for commands that save a state or compare with one.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_INPUT_STATE_RUN_H_
#define TVQ_HOST_CLI_INPUT_STATE_RUN_H_

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "host/cli/input/state_file.h"
#include "host/cli/input/table_input.h"
#include "host/cli/parameters.h"

namespace tvq::cli {

struct StateOptions {
  TableOptions table;
  std::string folder;
  bool json = false;
  bool otherMachine = false;
  bool isVerbose = false;  // of verifying alone
  // Of saving alone:
  unsigned kept = kKeptStates;
  bool incomplete = false;
};

// What a save came to.
struct SavedState {
  std::string path;  // of the state that counts now
  std::vector<run::StateHole> holes;
  bool isNew = false;  // otherwise a state is there that says the same
};

// Adds DIR, the options of the table, --other-machine and --json.
void AddStateOptions(Parameters parameters, const char* folder, StateOptions& options);
// Adds --keep and --incomplete.
void AddSaveOptions(Parameters parameters, StateOptions& options);

// A table that the driver ran on, and what it made of it.
struct Collected {
  run::Table table;
  run::Results results;
};

// Runs the driver.
Collected Collect(run::DriverRun& driver, const StateOptions& options, const Console& console);
// Throws an InputError where it made no record.
void RequireRecords(const Collected& collected, const StateOptions& options);
// Both.
Collected CollectRecords(run::DriverRun& driver, const StateOptions& options,
                         const Console& console);

// What a state that is made now says of itself.
run::Origin OriginOf(const StateOptions& options);

// Says what the state is. Throws an InputError where it is of another machine, unless that is wanted,
// or was saved with other options.
run::StateFit CheckFit(run::DriverRun& driver, const LoadedState& state,
                       const StateOptions& options, const Console& console);

// A warning for each: what, the device, and why.
void SayHoles(const std::vector<run::StateHole>& holes, const std::string& what,
              const Console& console);
// One of them as a sentence without a full stop.
std::string DescribeHole(const std::string& what, const run::StateHole& hole);
// The same as JSON: "fqdd", null for a device that has none, and "why".
nlohmann::ordered_json HolesJson(const std::vector<run::StateHole>& holes);

// Saves a state, unless it is what was saved already, or would put an incomplete state in place of a
// complete one.
SavedState SaveChecked(run::DriverRun& driver, const StateOptions& options,
                       const std::optional<LoadedState>& before,
                       const std::function<run::Bytes(uint64_t number)>& encode,
                       const Console& console);

// Says where the state is, or prints all that is known of it as JSON.
void PrintSaved(const SavedState& saved, const run::Results& results, bool isJson,
                const Console& console);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_INPUT_STATE_RUN_H_
