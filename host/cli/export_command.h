/*
 * `tvq export`: the inventory of an SMBIOS table as one JSON document.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_EXPORT_COMMAND_H_
#define TVQ_HOST_CLI_EXPORT_COMMAND_H_

#include <iosfwd>

#include "host/cli/table_input.h"

namespace tvq::cli {

// Prints the document to `out`, and warnings, reports and errors to `diagnostics`. kExitFound: it is
// that of the table as it is, because the table could not be conformed.
ExitStatus Export(const TableOptions& options, std::ostream& out, std::ostream& diagnostics);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_EXPORT_COMMAND_H_
