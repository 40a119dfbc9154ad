/*
 * The table that a command works on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/table_input.h"

#include <fmt/format.h>

#include "host/cli/input.h"

namespace tvq::cli {
namespace {

constexpr char kFileHint[] =
    "a table is captured with `dmidecode --dump-bin FILE`; a bare structure table will do as well";
constexpr char kSystemHint[] =
    "this machine shows no SMBIOS table here; name a captured one with --from-dump FILE";

session::Table ReadFileTable(session::Session& session, const TableOptions& options,
                             Diagnostics& diagnostics) {
  const session::Bytes file = ReadFile(options.file, kFileHint);
  session::Table table = session.ReadCapturedFile(file);
  if (options.version && table.isBare) {
    table.major = options.version->first;
    table.minor = options.version->second;
  } else if (options.version) {
    diagnostics.Warning(fmt::format("--smbios-version is ignored: {} states version {}.{} itself",
                                    options.file, table.major, table.minor));
  }
  return table;
}

session::Table ReadSystemTable(session::Session& session, const TableOptions& options) {
  const session::Bytes entryPoint =
      ReadFile(options.systemFolder + "/smbios_entry_point", kSystemHint);
  const session::Bytes structures = ReadFile(options.systemFolder + "/DMI", kSystemHint);
  return session.ReadSeparateTable(entryPoint, structures);
}

}  // namespace

session::Table ReadTable(session::Session& session, const TableOptions& options,
                         Diagnostics& diagnostics) {
  session::Table table = options.file.empty() ? ReadSystemTable(session, options)
                                              : ReadFileTable(session, options, diagnostics);
  for (const std::string& warning : table.warnings) {
    diagnostics.Warning(warning);
  }
  return table;
}

bool ConformTable(session::Session& session, session::Table& table, Diagnostics& diagnostics) {
  session::Conformed conformed = session.Conform(table);
  if (conformed.isRefused) {
    diagnostics.Error("the table cannot be conformed: " + conformed.summary,
                      "the driver runs on the table as it is");
    return false;
  }
  diagnostics.Line(
      conformed.changes.empty()
          ? "conform: " + conformed.summary
          : fmt::format("conform: {} changes, in a copy of the table", conformed.changes.size()));
  for (const std::string& change : conformed.changes) {
    diagnostics.Line("conform: " + change);
  }
  table = std::move(conformed.table);
  return true;
}

session::Results RunDriver(session::Session& session, const session::Table& table,
                           const TableOptions& options, Diagnostics& diagnostics) {
  session::Results results = session.Run(table);
  for (const std::string& complaint : results.complaints) {
    diagnostics.Warning(complaint);
  }
  if (results.start != "Success") {
    diagnostics.Warning(fmt::format("the driver's start ended with '{}'{}", results.start,
                                    options.conform ? "" : "; --conform makes a table fit for it"));
  }
  return results;
}

ExitStatus WithTable(const TableOptions& options, Diagnostics& diagnostics,
                     const std::function<ExitStatus()>& command) {
  const std::string source = options.file.empty() ? options.systemFolder : options.file;
  try {
    return command();
  } catch (const InputError& error) {
    diagnostics.Error(error.what(), error.Hint());
  } catch (const session::TableError& error) {
    diagnostics.Error(
        fmt::format("{} is no SMBIOS table that can be used: {}", source, error.what()), kFileHint);
  }
  return kExitTrouble;
}

}  // namespace tvq::cli
