/*
 * The command line of `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMMAND_LINE_H_
#define TVQ_HOST_CLI_COMMAND_LINE_H_

#include "host/cli/output/console.h"

namespace tvq::cli {

// Runs the command that the arguments name and returns the exit status of the process.
int RunCommandLine(int argc, const char* const* argv, Console& console);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMMAND_LINE_H_
