/*
 * The table that a command works on: the options that name it, and what is said about it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_INPUT_TABLE_INPUT_H_
#define TVQ_HOST_CLI_INPUT_TABLE_INPUT_H_

#include <optional>
#include <string>
#include <utility>

#include "host/cli/command.h"
#include "host/cli/redact/redact.h"
#include "host/run/driver_run.h"

namespace tvq::cli {

inline constexpr char kTableHint[] =
    "a table is captured with `dmidecode --dump-bin FILE`; a bare structure table will do as well";

struct TableOptions {
  std::string file;  // empty: the table of this machine; "-": standard input
  std::optional<std::pair<unsigned, unsigned>> version;  // of a table without an entry point
  bool conform = true;
  RedactOptions redact;
  std::string systemFolder = "/sys/firmware/dmi/tables";
};

// Adds --from-dump, --table, --smbios-version, --sysfs and those of --redact. The options have to live until the command ran.
void AddTableOptions(Parameters parameters, TableOptions& options);
// Adds --as-is, and --conform for what happens without it.
void AddConform(Parameters parameters, bool& conform);
inline void AddConform(Parameters parameters, TableOptions& options) {
  AddConform(parameters, options.conform);
}

// How messages name the table.
std::string NameOf(const TableOptions& options);

// What a table is read from: a file, or the structures with an entry point apart from them;
// redacted where that is wanted.
struct TableBytes {
  run::Bytes file;
  run::Bytes entryPoint;  // empty where the file holds everything
};
TableBytes ReadTableBytes(const TableOptions& options, const Console& console);
// The same, also of the table that a saved state was made of, for which an entry point is made up.
struct TableOrState {
  TableBytes bytes;
  bool wasRedacted = false;  // of a state: its table was, before it was saved
};
TableOrState ReadTableOrState(const TableOptions& options, const Console& console);
// The same bytes, but for what names the machine and its parts.
TableBytes Redacted(TableBytes bytes, const TableOptions& options, const Masker& masker,
                    SecretList& secrets, const Console& console);
// The table in these bytes. Throws InputError.
run::Table TableOf(run::DriverRun& driver, const TableBytes& bytes, const TableOptions& options,
                   const Console& console);

// Reads the table that the options name, also the one that a saved state was made of; what is odd about it is said. Throws InputError.
run::Table ReadTable(run::DriverRun& driver, const TableOptions& options, const Console& console);
// The same, of bytes that were read already.
run::Table ReadTable(run::DriverRun& driver, const TableBytes& bytes, const TableOptions& options,
                     const Console& console);

// Puts the conformed table in place of the table. Says how much changed, and whatever is more than a
// new name for a device. False: it could not be conformed.
bool ConformTable(run::DriverRun& driver, run::Table& table, const Console& console);

// Runs the driver on a table; what it complains about is said. Throws InputError.
run::Results RunDriver(run::DriverRun& driver, const run::Table& table, const TableOptions& options,
                       const Console& console);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_INPUT_TABLE_INPUT_H_
