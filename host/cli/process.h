/*
 * What `tvq` does as a process of its own, whatever the command.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_PROCESS_H_
#define TVQ_HOST_CLI_PROCESS_H_

#include <functional>

#include "host/cli/output/console.h"

namespace tvq::cli {

// What is opened later must not take the number of a standard descriptor that was closed: a worker's
// socket would get what is printed. Reading and writing still fail, as they do where it is closed.
// False: it stays closed.
bool HoldStandardDescriptors();

// The standard streams.
Console StandardConsole();

// Runs a command and returns the exit status of the process, also where the command throws or its output
// cannot be written.
int RunGuarded(const Console& console, const std::function<int()>& command);

// The whole of `tvq`.
int RunProcess(int argc, const char* const* argv);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_PROCESS_H_
