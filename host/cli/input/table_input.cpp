/*
 * The table that a command works on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/table_input.h"

#include <fmt/format.h>

#include <charconv>
#include <filesystem>

#include "host/cli/input/file_kind.h"
#include "host/cli/input/input.h"
#include "host/cli/input/state_file.h"
#include "host/table/dump.h"

namespace tvq::cli {
namespace {

using Version = std::pair<unsigned, unsigned>;

constexpr char kSystemHint[] =
    "this machine shows no SMBIOS table here, as in a container; capture it on the machine itself "
    "with `sudo dmidecode --dump-bin FILE`, then name it: `tvq show FILE`";

// "M.m", both from 0 to 255.
std::optional<Version> ParseVersion(const std::string& text) {
  Version version;
  const char* const end = text.data() + text.size();
  const auto major = std::from_chars(text.data(), end, version.first);
  if (major.ec != std::errc() || major.ptr == end || *major.ptr != '.') {
    return std::nullopt;
  }
  const auto minor = std::from_chars(major.ptr + 1, end, version.second);
  const bool isWhole = minor.ec == std::errc() && minor.ptr == end;
  return isWhole && version.first <= 255 && version.second <= 255 ? std::optional(version)
                                                                  : std::nullopt;
}

[[noreturn]] void ThrowUnusable(const TableOptions& options, const table::Error& error) {
  const std::string line = error.line == 0 ? "" : fmt::format("{}:", error.line);
  throw InputError(fmt::format("{}:{} {}", NameOf(options), line, error.message), error.hint);
}

// The bytes of a captured table, also where `dmidecode -u` spelled them out.
run::Bytes DumpOf(const TableOptions& options, run::Bytes file) {
  if (!table::IsHexText(file)) {
    return file;
  }
  const auto table = table::ReadHexText({reinterpret_cast<const char*>(file.data()), file.size()});
  if (!table) {
    ThrowUnusable(options, table.Failure());
  }
  auto dump = table::WriteDump(*table);
  if (!dump) {
    ThrowUnusable(options, dump.Failure());
  }
  return std::move(*dump);
}

// The same file, but for what names the machine and its parts.
run::Bytes RedactedFile(const TableOptions& options, run::Bytes file, const Masker& masker,
                        SecretList& secrets, const Console& console) {
  run::Bytes dump = DumpOf(options, std::move(file));
  const auto blanked = RedactDump(dump, masker, secrets);
  if (!blanked) {
    ThrowUnusable(options, blanked.Failure());
  }
  SayBlanked(*blanked, console);
  return dump;
}

run::Table FileTable(run::DriverRun& driver, const run::Bytes& file, const TableOptions& options,
                     const Console& console) {
  run::Table table = driver.ReadCapturedFile(DumpOf(options, file));
  if (options.version && table.isBare) {
    table.major = options.version->first;
    table.minor = options.version->second;
  } else if (options.version) {
    console.Warning(fmt::format("--smbios-version is ignored: {} states version {}.{} itself",
                                NameOf(options), table.major, table.minor));
  }
  return table;
}

[[noreturn]] void ThrowNoTable(const TableOptions& options, const run::TableError& error) {
  throw InputError(
      fmt::format("{} is no SMBIOS table that can be used: {}", NameOf(options), error.what()),
      kTableHint);
}

// The table that a saved state was made of, as the machine published it.
run::StateTable TableOfState(run::DriverRun& driver, const run::Bytes& state,
                             const TableOptions& options, const Console& console) {
  run::StateTable kept;
  try {
    kept = driver.ReadStateTable(state);
  } catch (const run::StateError& error) {
    throw InputError(fmt::format("{} {}", NameOf(options), error.what()), kTableHint);
  }
  if (!kept.table) {
    throw InputError(fmt::format("{} is a saved state without its table", NameOf(options)),
                     fmt::format("name the state first, and a table to compare it with: `tvq diff "
                                 "{} TABLE`",
                                 options.file));
  }
  if (const std::optional<Masker> masker = MakeMasker(options.redact)) {
    SayBlanked(RedactTable(kept.table->structures, *masker), console);
  }
  return kept;
}

// Whether the options name a file or a folder, of which either may be a state.
bool MayBeState(const TableOptions& options) {
  std::error_code error;
  return !options.file.empty() && options.file != "-" &&
         (!std::filesystem::is_directory(options.file, error) || HoldsStates(options.file));
}

// The table of the state that the options name; nothing where they name none.
std::optional<run::StateTable> StateTableOf(run::DriverRun& driver, const TableOptions& options,
                                            const Console& console) {
  const std::optional<run::Bytes> state =
      MayBeState(options) ? StateIn(driver, options.file, console) : std::nullopt;
  return state ? std::optional(TableOfState(driver, *state, options, console)) : std::nullopt;
}

// A state does not keep the entry point: this one says what every machine's does. No table of a state is
// too long for it.
run::Bytes DumpWithEntryPoint(const run::Table& published, const TableOptions& options) {
  table::Table table;
  table.version = {static_cast<uint8_t>(published.major), static_cast<uint8_t>(published.minor)};
  table.structures = published.structures;
  table.entryPoint = table::EntryPoint::k32Bit;
  auto dump = table::WriteDump(table);
  if (!dump) {
    ThrowUnusable(options, dump.Failure());
  }
  return std::move(*dump);
}

void AddTableSource(Parameters parameters, TableOptions& options) {
  const Parameter dump =
      parameters
          .Value("--from-dump", options.file,
                 "What `dmidecode --dump-bin FILE` or `dmidecode -u` wrote; '-' reads standard "
                 "input")
          .Named("FILE");
  const Parameter table =
      parameters.Value("--table", options.file, "A bare structure table, without an entry point")
          .Named("FILE")
          .Excludes(dump);
  parameters
      .Value("--sysfs", options.systemFolder,
             "Where this machine's table is shown (/sys/firmware/dmi/tables)")
      .Named("DIR")
      .Excludes(dump)
      .Excludes(table);
  parameters
      .Value(
          "--smbios-version",
          [&options](const std::string& text) { options.version = ParseVersion(text); },
          "The version that a bare table counts as (3.0)")
      .Named("M.m")
      .Needs(table)
      .Checked([](const std::string& text) {
        return ParseVersion(text) ? std::string() : "'" + text + "' is no version such as 3.2";
      });
}

}  // namespace

void AddTableOptions(Parameters parameters, TableOptions& options) {
  AddTableSource(parameters, options);
  AddRedact(parameters, options.redact);
}

void AddConform(Parameters parameters, bool& conform) {
  parameters.Flag(
      "--as-is", [&conform] { conform = false; },
      "Run on the table as it is, without names that stay with the slots");
  parameters.Flag(
      "--conform", [] {}, "The contrary, which is what happens anyway");
}

std::string NameOf(const TableOptions& options) {
  return options.file.empty()  ? options.systemFolder
         : options.file == "-" ? "standard input"
                               : options.file;
}

TableBytes Redacted(TableBytes bytes, const TableOptions& options, const Masker& masker,
                    SecretList& secrets, const Console& console) {
  if (!options.file.empty()) {
    bytes.file = RedactedFile(options, std::move(bytes.file), masker, secrets, console);
  } else {
    SayBlanked(RedactTogether({&bytes.file}, {}, masker, secrets), console);
  }
  return bytes;
}

TableBytes ReadTableBytes(const TableOptions& options, const Console& console) {
  const std::optional<Masker> masker = MakeMasker(options.redact);
  SecretList secrets;
  TableBytes bytes;
  if (!options.file.empty()) {
    bytes.file = ReadInput(options.file, kTableHint, console);
    RefuseOtherFiles(NameOf(options), bytes.file);
  } else {
    bytes.entryPoint = ReadFile(options.systemFolder + "/smbios_entry_point", kSystemHint);
    bytes.file = ReadFile(options.systemFolder + "/DMI", kSystemHint);
  }
  return masker ? Redacted(std::move(bytes), options, *masker, secrets, console) : bytes;
}

run::Table TableOf(run::DriverRun& driver, const TableBytes& bytes, const TableOptions& options,
                   const Console& console) {
  try {
    return options.file.empty() ? driver.ReadSeparateTable(bytes.entryPoint, bytes.file)
                                : FileTable(driver, bytes.file, options, console);
  } catch (const run::TableError& error) {
    ThrowNoTable(options, error);
  }
}

TableOrState ReadTableOrState(const TableOptions& options, const Console& console) {
  run::DriverRun driver;
  if (const auto kept = StateTableOf(driver, options, console)) {
    return {{DumpWithEntryPoint(*kept->table, options), {}}, kept->origin.isRedacted};
  }
  return {ReadTableBytes(options, console)};
}

run::Table ReadTable(run::DriverRun& driver, const TableOptions& options, const Console& console) {
  if (auto kept = StateTableOf(driver, options, console)) {
    return std::move(*kept->table);
  }
  return ReadTable(driver, ReadTableBytes(options, console), options, console);
}

run::Table ReadTable(run::DriverRun& driver, const TableBytes& bytes, const TableOptions& options,
                     const Console& console) {
  run::Table table = TableOf(driver, bytes, options, console);
  for (const std::string& warning : table.warnings) {
    console.Warning(warning);
  }
  return table;
}

bool ConformTable(run::DriverRun& driver, run::Table& table, const Console& console) {
  run::Conformed conformed = driver.Conform(table);
  if (conformed.isRefused) {
    console.Error("the table cannot be conformed: " + conformed.summary,
                  "the driver runs on the table as it is");
    return false;
  }
  for (const std::string& remark : conformed.remarks) {
    console.Line("conform: " + remark);
  }
  table = std::move(conformed.table);
  return true;
}

run::Results RunDriver(run::DriverRun& driver, const run::Table& table, const TableOptions& options,
                       const Console& console) {
  try {
    run::Results results = driver.Run(table);
    for (const std::string& complaint : results.complaints) {
      console.Warning(complaint);
    }
    if (results.start != "Success") {
      console.Warning(
          fmt::format("the driver's start ended with '{}'{}", results.start,
                      options.conform ? "" : "; without --as-is, the table is made fit for it"));
    }
    return results;
  } catch (const run::TableError& error) {
    ThrowNoTable(options, error);
  }
}

}  // namespace tvq::cli
