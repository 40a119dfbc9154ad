/*
 * `tvq export`: the inventory of an SMBIOS table as one JSON document.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <CLI/CLI.hpp>
#include <optional>

#include "host/cli/fleet/rows.h"
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
    "  sudo tvq export --rows --against /var/lib/tvq\n",
    "0 it was printed; 1 it was printed, but the table could not be conformed; 2\n"
    "there is no table that can be used, or the state or the command line is wrong; 3 no state "
    "was\n"
    "saved yet."};

struct ExportOptions {
  TableOptions table;
  RowOptions rows;
};

ExitStatus Export(const ExportOptions& options, Console& console) {
  run::DriverRun driver(options.rows.isWanted ? run::LogLines::kDropped : run::LogLines::kKept);
  const std::optional<LoadedState> state = StateForRows(driver, options.rows, console);
  Collected collected;
  collected.table = ReadTable(driver, options.table, console);
  const bool isConformed = !options.table.conform || ConformTable(driver, collected.table, console);
  collected.results = RunDriver(driver, collected.table, options.table, console);
  if (options.rows.isWanted) {
    PrintRows(driver, collected, state, options.table, options.rows, console);
  } else {
    PrintJson(ToJson(collected.table, collected.results), console);
  }
  return isConformed ? kExitNothingFound : kExitFound;
}

}  // namespace

void AddExport(Commands& commands) {
  const auto options = std::make_shared<ExportOptions>();
  CLI::App& app =
      commands.Add(kText, [options](Console& console) { return Export(*options, console); });
  AddTableOptions(app, options->table);
  AddTableFile(app, options->table);
  AddConform(app, options->table);
  AddRows(app, options->rows);
}

}  // namespace tvq::cli
