/*
 * `tvq export`: the inventory of an SMBIOS table as one JSON document.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/export_command.h"

#include <fmt/format.h>

#include <ostream>

#include "host/cli/input.h"
#include "host/cli/json.h"
#include "host/session/session.h"

namespace tvq::cli {
namespace {

constexpr char kFileHint[] =
    "a table is captured with `dmidecode --dump-bin FILE`; a bare structure table will do as well";
constexpr char kSystemHint[] =
    "this machine shows no SMBIOS table here; name a captured one with --from-dump FILE";

class Diagnostics {
 public:
  explicit Diagnostics(std::ostream& stream) : mStream(stream) {}

  void Line(const std::string& text) { mStream << "tvq: " << text << '\n'; }
  void Warning(const std::string& text) { Line("warning: " + text); }
  void Error(const std::string& text, const std::string& hint) {
    Line("error: " + text);
    Line("hint: " + hint);
  }

 private:
  std::ostream& mStream;
};

session::Table ReadFileTable(session::Session& session, const ExportOptions& options,
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

session::Table ReadSystemTable(session::Session& session, const ExportOptions& options) {
  const session::Bytes entryPoint =
      ReadFile(options.systemFolder + "/smbios_entry_point", kSystemHint);
  const session::Bytes structures = ReadFile(options.systemFolder + "/DMI", kSystemHint);
  return session.ReadSeparateTable(entryPoint, structures);
}

session::Table ReadTable(session::Session& session, const ExportOptions& options,
                         Diagnostics& diagnostics) {
  session::Table table = options.file.empty() ? ReadSystemTable(session, options)
                                              : ReadFileTable(session, options, diagnostics);
  for (const std::string& warning : table.warnings) {
    diagnostics.Warning(warning);
  }
  return table;
}

// Puts the conformed table in place of the table, and reports. False: it could not be conformed.
bool ConformTable(session::Session& session, session::Table& table, Diagnostics& diagnostics) {
  session::Conformed conformed = session.Conform(table);
  if (conformed.isRefused) {
    diagnostics.Error("the table cannot be conformed: " + conformed.summary,
                      "the document is that of the table as it is");
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

ExitStatus ExportOrThrow(const ExportOptions& options, std::ostream& out,
                         Diagnostics& diagnostics) {
  session::Session session;
  session::Table table = ReadTable(session, options, diagnostics);
  const bool isConformed = !options.conform || ConformTable(session, table, diagnostics);
  const session::Results results = session.Run(table);
  for (const std::string& complaint : results.complaints) {
    diagnostics.Warning(complaint);
  }
  if (results.start != "Success") {
    diagnostics.Warning(fmt::format("the driver's start ended with '{}'{}", results.start,
                                    options.conform ? "" : "; --conform makes a table fit for it"));
  }
  out << ToJson(table, results).dump(1) << '\n';
  return isConformed ? kExitSuccess : kExitNotConformed;
}

}  // namespace

ExitStatus Export(const ExportOptions& options, std::ostream& out,
                  std::ostream& diagnosticsStream) {
  Diagnostics diagnostics(diagnosticsStream);
  const std::string source = options.file.empty() ? options.systemFolder : options.file;
  try {
    return ExportOrThrow(options, out, diagnostics);
  } catch (const InputError& error) {
    diagnostics.Error(error.what(), error.Hint());
  } catch (const session::TableError& error) {
    diagnostics.Error(
        fmt::format("{} is no SMBIOS table that can be used: {}", source, error.what()), kFileHint);
  }
  return kExitNoTable;
}

}  // namespace tvq::cli
