/*
 * `tvq export`: the inventory of an SMBIOS table as one JSON document.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_EXPORT_COMMAND_H_
#define TVQ_HOST_CLI_EXPORT_COMMAND_H_

#include <iosfwd>
#include <optional>
#include <string>
#include <utility>

namespace tvq::cli {

enum ExitStatus : int {
  kExitSuccess = 0,
  kExitNotConformed = 1,  // the document is that of the table as it is
  kExitNoTable = 2,       // also wrong usage; there is no document
};

struct ExportOptions {
  std::string file;                                      // empty: the table of this machine
  std::optional<std::pair<unsigned, unsigned>> version;  // of a table without an entry point
  bool conform = false;
  std::string systemFolder = "/sys/firmware/dmi/tables";
};

// Prints the document to `out`, and warnings, reports and errors to `diagnostics`.
ExitStatus Export(const ExportOptions& options, std::ostream& out, std::ostream& diagnostics);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_EXPORT_COMMAND_H_
