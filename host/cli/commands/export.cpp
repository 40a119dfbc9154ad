/*
 * `tvq export`: the inventory of an SMBIOS table as one JSON document.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <CLI/CLI.hpp>
#include <ostream>

#include "host/cli/output/json.h"
#include "host/cli/input/table_input.h"

namespace tvq::cli {
namespace {

constexpr CommandText kText = {
    "export", "Prints all that the driver makes of a table as one JSON document",
    "The document holds the device records with their blobs, the attributes, the variables and "
    "the\n"
    "driver's log. Warnings and reports go to standard error. Without FILE, the table of this\n"
    "machine is read from /sys/firmware/dmi/tables, which takes root rights.",
    "  sudo tvq export\n"
    "  tvq export dump.bin\n"
    "  dmidecode -u | tvq export -\n",
    "0 the document was printed; 1 it was printed, but the table could not be\n"
    "conformed; 2 there is no table that can be used, or the command line is wrong."};

ExitStatus Export(const TableOptions& options, Console& console) {
  run::DriverRun driver(run::LogLines::kKept);
  run::Table table = ReadTable(driver, options, console);
  const bool isConformed = !options.conform || ConformTable(driver, table, console);
  const run::Results results = RunDriver(driver, table, options, console);
  PrintJson(ToJson(table, results), console);
  return isConformed ? kExitNothingFound : kExitFound;
}

}  // namespace

void AddExport(Commands& commands) {
  const auto options = std::make_shared<TableOptions>();
  CLI::App& app =
      commands.Add(kText, [options](Console& console) { return Export(*options, console); });
  AddTableOptions(app, *options);
  AddTableFile(app, *options);
  AddConform(app, *options);
}

}  // namespace tvq::cli
