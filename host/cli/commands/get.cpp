/*
 * `tvq get`: one value of a table, for scripts.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <ostream>

#include "host/cli/device/overview.h"
#include "host/cli/input/input.h"
#include "host/cli/machine/paths.h"

namespace tvq::cli {
namespace {

constexpr CommandText kText = {
    "get", "Prints one value of a table, for scripts",
    "PATH is a part and the name of a value: board.serial, system.uuid, slot[2].label. Processors\n"
    "and modules also go by their FQDD and by the label that is printed beside them:\n"
    "DIMM.Socket.A1.serial, P1-DIMMA1.serial. --list prints every path that the table has a value\n"
    "for, and the value behind a tab. The values are those of the machine's own table.",
    "  tvq get dump.bin board.serial\n"
    "  tvq get dump.bin DIMM.Socket.A1.serial\n"
    "  tvq get dump.bin --list\n"
    "  sudo tvq get system.uuid\n",
    "0 the value was printed; 1 the table has none there; 2 there is no table that can be\n"
    "used, several parts have that label, or the command line is wrong."};

struct GetOptions {
  TableOptions table;
  std::vector<std::string> arguments;
  bool isList = false;
};

// Of two arguments the first is the table; so is a single one that names a file.
std::string TakeArguments(GetOptions& options) {
  std::vector<std::string>& arguments = options.arguments;
  const std::size_t wanted = options.isList ? 0 : 1;
  const bool isTable =
      arguments.size() > wanted || (arguments.size() == 1 && NamesFile(arguments.front()));
  if (options.table.file.empty() && isTable) {
    options.table.file = arguments.front();
    arguments.erase(arguments.begin());
  }
  if (arguments.size() != wanted) {
    throw InputError(arguments.empty() ? "no path is given"
                                       : fmt::format("'{}' is one argument too many", arguments[0]),
                     "`tvq get TABLE --list` prints all paths");
  }
  return options.isList ? "" : arguments.front();
}

// Finding the names takes a run of the driver, whose remarks are for `tvq show`.
Overview MakeQuietOverview(const GetOptions& options, const Console& console) {
  Console quiet = {console.in, console.out, console.diagnostics, console.terminal, true};
  return MakeOverview(options.table, quiet, Documents::kDropped);
}

// A program takes lines apart at the tab, so that they have to stay whole.
void PrintPaths(const std::vector<PathValue>& paths, const Console& console) {
  for (const PathValue& one : paths) {
    const std::string line = fmt::format("{}\t{}\n", one.path, one.value);
    if (console.terminal.isPipe) {
      console.Text(line);
    } else {
      console.Page(fmt::format("{}  {}\n", one.path, one.value));
    }
  }
}

ExitStatus Get(GetOptions options, Console& console) {
  const std::string path = TakeArguments(options);
  const Overview overview = MakeQuietOverview(options, console);
  const MachineView view = overview.View();
  if (options.isList) {
    PrintPaths(ListPaths(view), console);
    return kExitNothingFound;
  }
  const Selection selection = Select(view, path);
  if (selection.parts.size() > 1) {
    throw InputError(fmt::format("'{}' may be of any of {} parts: {}", path, selection.parts.size(),
                                 NamesOf(view, selection.parts)),
                     "begin the path with one of these names");
  }
  const std::string value =
      selection.parts.empty() ? "" : ReadFact(view, selection.parts.front(), selection.fact);
  if (value.empty()) {
    console.Warning(fmt::format("the table has no '{}'", path));
    return kExitFound;
  }
  console.Text(value + '\n');
  return kExitNothingFound;
}

}  // namespace

void AddGet(Commands& commands) {
  const auto options = std::make_shared<GetOptions>();
  Parameters parameters =
      commands.Add(kText, [options](Console& console) { return Get(*options, console); });
  parameters
      .Values("TABLE|PATH", options->arguments, "A captured table, or '-'; what to print of it")
      .Named("");
  parameters.Flag("--list", options->isList, "Print every path with its value");
  commands.AddWide(parameters);
  AddTableOptions(parameters, options->table);
  AddConform(parameters, options->table);
}

}  // namespace tvq::cli
