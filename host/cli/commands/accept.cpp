/*
 * `tvq accept`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <ostream>

#include "host/cli/command.h"
#include "host/cli/device/unit_name.h"
#include "host/cli/input/input.h"
#include "host/cli/input/state_run.h"
#include "host/cli/input/stick.h"

namespace tvq::cli {
namespace {

constexpr CommandText kText = {
    "accept", "Takes over single devices into the saved state",
    "Runs the driver on an SMBIOS table and saves a state in which the named devices are as they\n"
    "are now, and everything else is as it was saved. A device is named by its FQDD or its label,\n"
    "as `tvq verify` prints them; one that is gone leaves the state. To take over all devices, "
    "use\n"
    "`tvq save`.",
    "  sudo tvq accept /var/lib/parts DIMM.Socket.A1\n"
    "  tvq accept before \"DIMM A1\" CPU.Socket.2 --from-dump dump.bin\n",
    "0 the state is saved, or it is what was saved already; 2 it is not, and what\n"
    "was there still is; 3 no state was saved yet."};

struct AcceptOptions {
  StateOptions state;
  std::vector<std::string> names;
  bool areEscaped = false;
};

ExitStatus Accept(AcceptOptions options, Console& console) {
  options.state.folder = FolderOfMachine(options.state, console);
  if (options.areEscaped) {
    std::transform(options.names.begin(), options.names.end(), options.names.begin(),
                   UnescapedFromUnit);
  }
  run::DriverRun driver;
  const LoadedState before = LoadState(driver, options.state.folder, console);
  const run::Results results = CollectRecords(driver, options.state, console).results;
  CheckFit(driver, before, options.state, console);
  const run::Origin origin = OriginOf(options.state);
  try {
    const SavedState saved = SaveChecked(
        driver, options.state, before,
        [&](uint64_t number) { return driver.Accept(before.bytes, options.names, origin, number); },
        console);
    PrintSaved(saved, results, options.state.json, console);
  } catch (const run::StateError& error) {
    throw InputError(
        error.what(),
        fmt::format("`tvq verify {}` lists the devices by name and label", options.state.folder));
  }
  return kExitNothingFound;
}

}  // namespace

void AddAccept(Commands& commands) {
  const auto options = std::make_shared<AcceptOptions>();
  Parameters parameters =
      commands.Add(kText, [options](Console& console) { return Accept(*options, console); });
  AddStateOptions(parameters, "The folder that `tvq save` was given, or an agent's stick",
                  options->state);
  AddSaveOptions(parameters, options->state);
  parameters.Flag("--escaped", options->areEscaped,
                  "NAMEs are parts of names of systemd's units, with \\x20 for a blank");
  parameters.Values("NAME", options->names, "The FQDDs or labels of the devices")
      .Named("")
      .Required();
}

}  // namespace tvq::cli
