/*
 * `tvq export`: the inventory of an SMBIOS table as one JSON document.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <optional>

#include "host/cli/fleet/rows.h"
#include "host/cli/many/many_tables.h"
#include "host/cli/many/table_list.h"
#include "host/cli/input/table_input.h"
#include "host/cli/output/json.h"

namespace tvq::cli {
namespace {

constexpr CommandText kText = {
    "export", "Prints all that the driver makes of a table as one JSON document",
    "The document holds the device records with their blobs, the attributes, the variables and "
    "the\n"
    "driver's log. Warnings and reports go to standard error. Without FILE, the table of this\n"
    "machine is read from /sys/firmware/dmi/tables, which takes root rights. With --rows it is "
    "one\n"
    "flat line for each device, with nothing but texts and numbers in it; a device that is gone\n"
    "has a row with its place alone.",
    "  sudo tvq export\n"
    "  tvq export dump.bin\n"
    "  dmidecode -u | tvq export -\n"
    "  tvq export dumps/ > dumps.ndjson\n"
    "  sudo tvq export --rows --against /var/lib/parts\n",
    "0 it was printed; 1 it was printed, but the table could not be conformed; 2\n"
    "there is no table that can be used, or the state or the command line is wrong; 3 no state "
    "was\n"
    "saved yet."};

struct ExportOptions {
  TableOptions table;
  RowOptions rows;
  ManyOptions many;
};

ExitStatus Export(const TableOptions& table, const RowOptions& rows, Console& console) {
  const std::optional<LoadedState> state = StateForRows(table, rows, console);
  run::DriverRun driver(rows.isWanted ? run::LogLines::kDropped : run::LogLines::kKept);
  Collected collected;
  collected.table = ReadTable(driver, table, console);
  const bool isConformed = !table.conform || ConformTable(driver, collected.table, console);
  collected.results = RunDriver(driver, collected.table, table, console);
  if (rows.isWanted) {
    PrintRows(driver, collected, state, table, rows, console);
  } else {
    PrintExport(collected.table, collected.results, console);
  }
  return isConformed ? kExitNothingFound : kExitFound;
}

}  // namespace

void AddExport(Commands& commands) {
  const auto options = std::make_shared<ExportOptions>();
  Parameters parameters = commands.Add(kText, [options](Console& console) {
    ManyOptions many = options->many;
    many.areRows = options->rows.isWanted;
    // Documents that follow one another are lines.
    many.areLines = !many.areRows && (many.areLines || AreMany(many.arguments));
    return RunOnTables(options->table, many, console, [&](const TableOptions& table, Console& own) {
      return Export(table, options->rows, own);
    });
  });
  AddTableOptions(parameters, options->table);
  AddTableFiles(parameters, options->many);
  AddConform(parameters, options->table);
  AddMany(parameters, options->many);
  AddRows(parameters, options->rows);
}

}  // namespace tvq::cli
