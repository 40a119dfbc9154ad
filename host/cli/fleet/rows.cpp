/*
 * `tvq export --rows`: one line of JSON for each device.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/fleet/rows.h"

#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "host/cli/fleet/device_row.h"
#include "host/cli/input/stick.h"
#include "host/cli/output/json.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

// This machine's name, or that of the file: a folder of captured tables has a file for each machine.
std::string OwnName(const TableOptions& table) {
  if (table.file == "-") {
    return "";
  }
  if (!table.file.empty()) {
    return std::filesystem::path(table.file).stem().string();
  }
  char name[256] = {};
  return gethostname(name, sizeof(name) - 1) == 0 ? name : "";
}

// It tells which machine this is, as a serial number does.
std::string HostOf(const TableOptions& table, const RowOptions& options) {
  if (options.host) {
    return *options.host;
  }
  const std::optional<Masker> masker = MakeMasker(table.redact);
  const std::string name = OwnName(table);
  return masker ? masker->Mask(name) : name;
}

// Where nothing in the table tells the machine from others, its name has to.
std::string MachineOf(const run::Table& table, const std::string& host) {
  const std::string identity = MachineIdentityOf(table);
  return identity.empty() && !host.empty() ? "host:" + host : identity;
}

Json RowJson(const DeviceRow& row, std::uint64_t time, const std::string& host,
             const std::string& machine) {
  Json json = SchemaJson("tvq-row");
  json["time"] = time;
  json["host"] = host;
  json["machine"] = machine;
  json["class"] = row.kind;
  json["fqdd"] = row.fqdd;
  json["label"] = row.label;
  json["maker"] = row.maker;
  json["part"] = row.part;
  json["serial"] = row.serial;
  json["sizeInBytes"] = row.sizeInBytes;
  json["speed"] = row.speed;
  json["ratedSpeed"] = row.ratedSpeed;
  json["firmware"] = row.firmware;
  json["verdict"] = row.verdict;
  return json;
}

StateOptions OptionsToCompare(const TableOptions& table, const RowOptions& options) {
  StateOptions compared;
  compared.table = table;
  compared.folder = options.state;
  compared.otherMachine = options.otherMachine;
  return compared;
}

}  // namespace

void AddRows(Parameters parameters, RowOptions& options) {
  const Parameter rows =
      parameters.Flag("--rows", options.isWanted,
                      "Print one line for each device instead, for the tables of a database");
  const Parameter against =
      parameters
          .Value("--against", options.state,
                 "What became of each device since `tvq save DIR`, in the rows; of an agent's "
                 "stick, since it saw this machine")
          .Named("DIR")
          .Needs(rows);
  parameters
      .Flag("--other-machine", options.otherMachine,
            "Take the state of another machine for one of this machine")
      .Needs(against);
  parameters
      .Value("--host", options.host,
             "The machine's name in the rows, instead of its own or that of FILE")
      .Named("NAME")
      .Needs(rows);
  parameters.Value("--time", options.time, "When it was so, in seconds since 1970, instead of now")
      .Named("N")
      .Needs(rows);
}

std::optional<LoadedState> StateForRows(const TableOptions& table, const RowOptions& options,
                                        const Console& console) {
  if (options.state.empty()) {
    return std::nullopt;
  }
  const std::string folder = FolderOfMachine(OptionsToCompare(table, options), console);
  run::DriverRun driver;
  return LoadState(driver, folder, console);
}

std::string RowLines(const std::vector<DeviceRow>& rows, const run::Table& ranOn,
                     const TableOptions& table, const RowOptions& options,
                     const Terminal& terminal) {
  const std::uint64_t time =
      options.time ? *options.time : static_cast<std::uint64_t>(std::time(nullptr));
  const std::string host = HostOf(table, options);
  const std::string machine = MachineOf(ranOn, host);
  std::string lines;
  for (const DeviceRow& row : rows) {
    lines += JsonLine(RowJson(row, time, host, machine), terminal);
  }
  return lines;
}

void PrintRows(run::DriverRun& driver, const Collected& collected,
               const std::optional<LoadedState>& state, const TableOptions& table,
               const RowOptions& options, const Console& console) {
  std::vector<DeviceRow> rows = MakeRows(collected.table, collected.results);
  if (state) {
    const StateOptions compared = OptionsToCompare(table, options);
    CheckFit(driver, *state, compared, console);
    AddVerdicts(driver.Compare(state->bytes, OriginOf(compared), {}), rows);
  }
  console.out << RowLines(rows, collected.table, table, options, console.terminal);
}

}  // namespace tvq::cli
