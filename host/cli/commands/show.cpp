/*
 * `tvq show`: what a machine is, and what the driver makes of it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>

#include "host/cli/input/input.h"
#include "host/cli/device/overview.h"
#include "host/cli/input/table_input.h"
#include "host/cli/many/many_tables.h"
#include "host/cli/many/table_list.h"
#include "host/cli/output/json.h"

#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

constexpr CommandText kText = {
    "show", "Shows what a machine is, and what the driver makes of it",
    "What the machine's own table says of it: system, boards, firmware, and everything that is in "
    "a\n"
    "socket or slot, by the label that is printed there; then which devices get no record, why, "
    "and\n"
    "where a document has another value. With a NAME, a printed label or an FQDD: that part "
    "alone,\n"
    "with its whole document. A single argument that is '-' or names a file is the table; without\n"
    "one it is this machine's, which takes root rights.\n"
    "\n"
    "Lines have 80 characters, or as many as the terminal shows; what has no room in a row stands\n"
    "below it. --wide prints a line for each part, however long.",
    "  sudo tvq show\n"
    "  tvq show dump.bin\n"
    "  tvq show dump.bin P1-DIMMA1\n"
    "  tvq show dump.bin CPU.Socket.1\n"
    "  ssh server sudo dmidecode -u | tvq show -\n"
    "  tvq show --json dump.bin\n",
    "0 every device has a record; 1 a device has none; 2 there is no table that can be\n"
    "used, no such part or several of that name, or the command line is wrong."};

struct ShowOptions {
  TableOptions table;
  std::vector<std::string> arguments;
  ManyOptions many;
  std::string name;
  bool json = false;
};

// Sorts the arguments into the table and the name. Of two, the first is the table.
void TakeArguments(ShowOptions& options) {
  const std::vector<std::string>& arguments = options.arguments;
  const bool hasTable = !options.table.file.empty();
  if (arguments.size() > (hasTable ? 1 : 2)) {
    throw InputError(fmt::format("'{}' is one argument too many", arguments.back()),
                     "`tvq show --help` has examples");
  }
  if (!hasTable && (arguments.size() == 2 || (arguments.size() == 1 && NamesFile(arguments[0])))) {
    options.table.file = arguments[0];
  }
  if (!arguments.empty() && (hasTable || arguments.size() == 2 || options.table.file.empty())) {
    options.name = arguments.back();
  }
}

PartPlace FindPart(const Overview& overview, const ShowOptions& options) {
  const MachineView view = overview.View();
  const std::vector<PartPlace> found = FindParts(view, options.name);
  if (found.empty()) {
    throw InputError(fmt::format("neither a part nor a file is named '{}'", options.name),
                     "`tvq show` lists the labels and FQDDs of all parts");
  }
  if (found.size() > 1) {
    throw InputError(fmt::format("{} parts are named '{}': {}", found.size(), options.name,
                                 NamesOf(view, found)),
                     "name one of them by its FQDD, or see them all with `tvq show`");
  }
  return found.front();
}

// A file that is not there was taken for a device.
Overview MakeOverview(const ShowOptions& options, const Console& console) {
  const bool showsDocuments = options.json || !options.name.empty();
  try {
    return MakeOverview(options.table, console,
                        showsDocuments ? Documents::kKept : Documents::kDropped);
  } catch (const InputError& error) {
    if (options.name.empty() || !options.table.file.empty()) {
      throw;
    }
    throw InputError(fmt::format("no file is named '{}', and to look for a part: {}", options.name,
                                 error.what()),
                     error.Hint());
  }
}

void Print(const Overview& overview, PartPlace place, bool isJson, const Console& console) {
  if (isJson) {
    PrintJson(DeviceJson(overview, place), console);
  } else {
    console.Page(DeviceText(overview, place, console.terminal));
  }
}

ExitStatus ShowOne(const ShowOptions& options, Console& console) {
  const Overview overview = MakeOverview(options, console);
  const ExitStatus status = overview.missing.empty() ? kExitNothingFound : kExitFound;
  if (!options.name.empty()) {
    Print(overview, FindPart(overview, options), options.json, console);
    return kExitNothingFound;
  }
  if (options.json) {
    PrintJson(ToJson(overview), console);
  } else {
    console.Page(OverviewText(overview, console.terminal));
  }
  return status;
}

// A second argument may be a part of the first; of three, all are tables.
bool AreTables(const ShowOptions& options) {
  const std::vector<std::string>& arguments = options.arguments;
  return options.table.file.empty() && AreMany(arguments) &&
         (arguments.size() == 1 || NamesFile(arguments[1]));
}

ExitStatus Show(ShowOptions options, Console& console) {
  const bool areTables = AreTables(options);
  if (!areTables) {
    TakeArguments(options);
  }
  if (areTables) {
    options.many.arguments = options.arguments;
  }
  options.many.areLines = options.many.areLines || (options.json && areTables);
  options.json = options.json || options.many.areLines;
  return RunOnTables(options.table, options.many, console,
                     [&options](const TableOptions& table, Console& own) {
                       options.table = table;
                       return ShowOne(options, own);
                     });
}

}  // namespace

void AddShow(Commands& commands) {
  const auto options = std::make_shared<ShowOptions>();
  Parameters parameters =
      commands.Add(kText, [options](Console& console) { return Show(*options, console); });
  parameters
      .Values("TABLE|NAME", options->arguments,
              "A captured table, or '-', or several, and folders; a printed label or an FQDD")
      .Named("");
  AddTableOptions(parameters, options->table);
  AddMany(parameters, options->many);
  AddConform(parameters, options->table);
  commands.AddWide(parameters);
  parameters.Flag("--json", options->json, "Print one JSON document");
}

}  // namespace tvq::cli
