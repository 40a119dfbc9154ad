/*
 * `tvq mktable`: an SMBIOS table from its readable source form, and back.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MKTABLE_COMMAND_H_
#define TVQ_HOST_CLI_MKTABLE_COMMAND_H_

#include <iosfwd>

namespace CLI {
class App;
}

namespace tvq::cli {

// Adds the subcommand. It runs while `app` parses and leaves the exit status in `status`: 0, or 2
// when there is no result. `app`, the streams and `status` have to live until then.
void AddMktableCommand(CLI::App& app, std::ostream& out, std::ostream& diagnostics, int& status);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MKTABLE_COMMAND_H_
