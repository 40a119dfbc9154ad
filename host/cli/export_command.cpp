/*
 * `tvq export`: the inventory of an SMBIOS table as one JSON document.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/export_command.h"

#include <ostream>

#include "host/cli/json.h"

namespace tvq::cli {

ExitStatus Export(const TableOptions& options, std::ostream& out, std::ostream& diagnosticsStream) {
  Diagnostics diagnostics(diagnosticsStream);
  return WithTable(options, diagnostics, [&] {
    session::Session session;
    session::Table table = ReadTable(session, options, diagnostics);
    const bool isConformed = !options.conform || ConformTable(session, table, diagnostics);
    const session::Results results = RunDriver(session, table, options, diagnostics);
    out << ToJson(table, results).dump(1) << '\n';
    return isConformed ? kExitNothingFound : kExitFound;
  });
}

}  // namespace tvq::cli
