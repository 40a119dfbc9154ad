/*
 * A machine, and what the driver makes of it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/overview.h"

#include <nlohmann/json.hpp>

#include "host/cli/input/input.h"
#include "host/cli/machine/differences.h"
#include "host/cli/machine/machine_json.h"
#include "host/cli/output/json.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

Json OrNull(const std::string& text) {
  return text == "-" || text.empty() ? Json() : Json(text);
}

Json ToJson(const Missing& missing) {
  return {{"what", missing.what}, {"handles", missing.handles}, {"why", missing.why}};
}

Json ToJson(const Overview& overview, const Device& device) {
  const facts::Part* const part = device.place ? &overview.View().At(*device.place) : nullptr;
  const std::string label = part == nullptr ? "" : LabelOf(*part);
  return {{"fqdd", OrNull(device.fqdd)},
          {"label", OrNull(label)},
          {"nameRule", OrNull(device.nameRule)},
          {"deviceType", device.type},
          {"kind", device.place ? Json(NameOf(device.place->kind).one) : Json()},
          {"handle", part == nullptr ? Json() : Json(part->handle)},
          {"differences", DifferencesJson(device.differences)},
          {"document", device.document ? ToJson(*device.document) : Json()},
          {"trouble", OrNull(device.trouble)}};
}

// The driver makes no record of a table that cannot be published.
void RunDriver(run::DriverRun& driver, const TableOptions& options, const Console& console,
               Overview& overview) {
  try {
    overview.results = RunDriver(driver, overview.table, options, console);
  } catch (const InputError& error) {
    overview.trouble = error.what();
  }
}

// The device of a record, which may be of a part of the machine.
Device MakeDevice(const facts::Machine& machine, const run::Record& record,
                  const std::optional<PartPlace>& place) {
  Device device = ToDevice(record);
  if (place && place->index < machine.Of(place->kind).size()) {
    device.place = place;
    if (device.document) {
      device.differences = FindDifferences(machine, *place, *device.document);
    }
  }
  return device;
}

void MakeDevices(Overview& overview, Documents documents) {
  const std::vector<run::Record>& records = overview.results.records;
  const auto places = LinkRecords(overview.table, records);
  for (std::size_t i = 0; i < records.size(); ++i) {
    overview.devices.push_back(MakeDevice(overview.machine, records[i], places[i]));
    if (documents == Documents::kDropped) {
      overview.devices.back().document.reset();
    }
  }
}

// Of a table as it was read.
Overview Survey(run::DriverRun& driver, run::Table table, const TableOptions& options,
                const Console& console, Documents documents) {
  Overview overview;
  overview.table = std::move(table);
  overview.machine = ReadMachine(overview.table);
  if (options.conform) {
    ConformTable(driver, overview.table, console);
  }
  RunDriver(driver, options, console, overview);
  MakeDevices(overview, documents);
  overview.missing = FindMissing(overview.table, overview.results, overview.trouble);
  overview.others = DescribeOthers(overview.table);
  if (!overview.missing.empty()) {
    overview.conformable = driver.Conform(overview.table, run::Described::kChanges);
  }
  return overview;
}

}  // namespace

Overview MakeOverview(const TableOptions& options, const Console& console, Documents documents) {
  run::DriverRun driver;
  return Survey(driver, ReadTable(driver, options, console), options, console, documents);
}

Overview MakeOverview(const TableBytes& bytes, const TableOptions& options, const Console& console,
                      Documents documents) {
  run::DriverRun driver;
  return Survey(driver, ReadTable(driver, bytes, options, console), options, console, documents);
}

Json DeviceJson(const Overview& overview, PartPlace place) {
  const Device* const device = overview.View().DeviceOf(place);
  Json json = SchemaJson("tvq-show-part");
  json["kind"] = NameOf(place.kind).one;
  json["part"] = PartJson(overview.View(), place);
  json["record"] = device == nullptr ? Json() : ToJson(overview, *device);
  return json;
}

Json ToJson(const Overview& overview) {
  Json devices = Json::array();
  for (const Device& device : overview.devices) {
    devices.push_back(ToJson(overview, device));
  }
  Json missing = Json::array();
  for (const Missing& entry : overview.missing) {
    missing.push_back(ToJson(entry));
  }
  Json json = SchemaJson("tvq-show");
  json["smbios"] = SmbiosJson(overview.table);
  json["machine"] = MachineJson(overview.View());
  json["start"] = OrNull(overview.results.start);
  json["trouble"] = OrNull(overview.trouble);
  json["devices"] = devices;
  json["withoutRecord"] = missing;
  json["conform"] = nullptr;
  json["attributes"] = AttributesJson(overview.results.attributes);
  if (!overview.missing.empty()) {
    json["conform"] = {{"isRefused", overview.conformable.isRefused},
                       {"summary", overview.conformable.summary},
                       {"changes", overview.conformable.changes}};
  }
  return json;
}

}  // namespace tvq::cli
