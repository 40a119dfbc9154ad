/*
 * An agent's stick, which has a folder of states for each machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_INPUT_STICK_H_
#define TVQ_HOST_CLI_INPUT_STICK_H_

#include <functional>
#include <string>

#include "host/cli/input/state_run.h"

namespace tvq::cli {

// What a state of the machine in question would be, made with this run of the driver. It says nothing.
using MakeNow = std::function<run::Bytes(run::DriverRun& driver, const Console& quiet)>;

// Where the path is that of a stick: the folder of its machine, whose state is of the same one as
// `now`. Any other path stays as it is. Throws a NoStateError where the stick has no such machine.
std::string FolderOfMachine(const std::string& path, const MakeNow& now, const Console& console);

// The same for the machine of a run with these options.
std::string FolderOfMachine(const StateOptions& options, const Console& console);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_INPUT_STICK_H_
