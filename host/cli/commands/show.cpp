/*
 * `tvq show`: what a machine looks like to the driver.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <ostream>

#include "host/cli/input/input.h"
#include "host/cli/device/overview.h"
#include "host/cli/input/table_input.h"

#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

constexpr CommandText kText = {
    "show", "Shows what a machine looks like to the driver",
    "An overview of the devices, the system and the attributes; which devices get no record, why,\n"
    "and what --conform would change. With a DEVICE, an FQDD or a name such as \"DIMM A1\": that\n"
    "device alone, with its whole document. An argument that is '-' or names a file is the table;\n"
    "without one it is this machine's, which takes root rights.",
    "  sudo tvq show\n"
    "  tvq show dump.bin\n"
    "  tvq show dump.bin --conform\n"
    "  tvq show dump.bin CPU.Socket.1 --conform\n"
    "  ssh server sudo dmidecode -u | tvq show -\n"
    "  tvq show --json dump.bin\n",
    "0 every device has a record; 1 a device has none; 2 there is no table that can be\n"
    "used, no such device, or the command line is wrong."};

struct ShowOptions {
  TableOptions table;
  std::vector<std::string> arguments;
  std::string device;
  bool json = false;
};

bool NamesFile(const std::string& argument) {
  struct stat status = {};
  return argument == "-" || argument.find('/') != std::string::npos ||
         stat(argument.c_str(), &status) == 0;
}

// Sorts the arguments into the table and the device.
void TakeArguments(ShowOptions& options) {
  for (const std::string& argument : options.arguments) {
    std::string& target = NamesFile(argument) ? options.table.file : options.device;
    if (!target.empty()) {
      throw InputError(fmt::format("'{}' is one {} too many", argument,
                                   NamesFile(argument) ? "table" : "device"),
                       "`tvq show --help` has examples");
    }
    target = argument;
  }
}

const Device& FindDevice(const Overview& overview, const ShowOptions& options) {
  const auto found = std::find_if(
      overview.devices.begin(), overview.devices.end(), [&options](const Device& device) {
        return device.fqdd == options.device || device.name == options.device;
      });
  if (found == overview.devices.end()) {
    throw InputError(fmt::format("there is neither a device nor a file named '{}'", options.device),
                     overview.devices.empty()
                         ? "the driver made no record; `tvq show` tells why"
                         : fmt::format("the first device is '{}'; `tvq show` lists them all",
                                       overview.devices.front().fqdd));
  }
  return *found;
}

// A file that is not there was taken for a device.
Overview MakeOverview(const ShowOptions& options, const Console& console) {
  try {
    return MakeOverview(options.table, console);
  } catch (const InputError& error) {
    if (options.device.empty() || !options.table.file.empty()) {
      throw;
    }
    throw InputError(fmt::format("no file is named '{}', and to look for a device: {}",
                                 options.device, error.what()),
                     error.Hint());
  }
}

ExitStatus Show(ShowOptions options, Console& console) {
  TakeArguments(options);
  const Overview overview = MakeOverview(options, console);
  const ExitStatus status = overview.missing.empty() ? kExitNothingFound : kExitFound;
  if (!options.device.empty()) {
    const Device& device = FindDevice(overview, options);
    console.out << (options.json ? ToJson(device).dump(1) + '\n'
                                 : DeviceText(device, console.terminal));
    return kExitNothingFound;
  }
  console.out << (options.json ? ToJson(overview).dump(1) + '\n'
                               : OverviewText(overview, console.terminal));
  return status;
}

}  // namespace

void AddShow(Commands& commands) {
  const auto options = std::make_shared<ShowOptions>();
  CLI::App& app =
      commands.Add(kText, [options](Console& console) { return Show(*options, console); });
  app.add_option("TABLE|DEVICE", options->arguments, "A captured table, or '-'; an FQDD or a name")
      ->type_name("");
  AddTableOptions(app, options->table);
  AddConform(app, options->table);
  app.add_flag("--json", options->json, "Print one JSON document");
}

}  // namespace tvq::cli
