/*
 * `tvq save` and `tvq verify`: was a part replaced since the state was saved?
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_STATE_COMMANDS_H_
#define TVQ_HOST_CLI_STATE_COMMANDS_H_

#include <iosfwd>
#include <string>

#include "host/cli/table_input.h"

namespace tvq::cli {

struct StateOptions {
  TableOptions table;
  std::string folder;
  bool json = false;
};

// Saves the state of all devices. kExitTrouble: nothing was saved, and what was there still is.
ExitStatus Save(const StateOptions& options, std::ostream& out, std::ostream& diagnostics);

// Compares all devices with the saved state. kExitFound: one was replaced, is new, gone or moved.
// kExitTrouble: one could not be verified, or nothing could be read.
ExitStatus Verify(const StateOptions& options, std::ostream& out, std::ostream& diagnostics);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_STATE_COMMANDS_H_
