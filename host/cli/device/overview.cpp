/*
 * A machine as the driver sees it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/overview.h"

#include <nlohmann/json.hpp>

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

}  // namespace

Overview MakeOverview(const TableOptions& options, const Console& console) {
  run::DriverRun driver;
  Overview overview;
  overview.table = ReadTable(driver, options, console);
  if (options.conform) {
    ConformTable(driver, overview.table, console);
  }
  overview.results = RunDriver(driver, overview.table, options, console);
  overview.devices = ToDevices(overview.results.records);
  overview.missing = FindMissing(overview.table, overview.results);
  overview.empty = DescribeEmpty(overview.table);
  if (!overview.missing.empty()) {
    overview.conformable = driver.Conform(overview.table);
  }
  return overview;
}

Json ToJson(const Device& device) {
  return {{"name", OrNull(device.name)},
          {"fqdd", OrNull(device.fqdd)},
          {"deviceType", device.type},
          {"model", OrNull(device.model)},
          {"identity", OrNull(device.identity)},
          {"partNumber", OrNull(device.part)},
          {"cores", OrNull(device.cores)},
          {"size", OrNull(device.size)},
          {"speed", OrNull(device.speed)},
          {"slot", OrNull(device.slot)},
          {"document", device.document ? ToJson(*device.document) : Json()},
          {"trouble", OrNull(device.trouble)}};
}

Json ToJson(const Overview& overview) {
  Json devices = Json::array();
  for (const Device& device : overview.devices) {
    devices.push_back(ToJson(device));
  }
  Json missing = Json::array();
  for (const Missing& entry : overview.missing) {
    missing.push_back(ToJson(entry));
  }
  Json json = {{"smbios", SmbiosJson(overview.table)},
               {"start", overview.results.start},
               {"devices", devices},
               {"withoutRecord", missing},
               {"empty", OrNull(overview.empty)},
               {"conform", Json()},
               {"attributes", AttributesJson(overview.results.attributes)}};
  if (!overview.missing.empty()) {
    json["conform"] = {{"isRefused", overview.conformable.isRefused},
                       {"summary", overview.conformable.summary},
                       {"changes", overview.conformable.changes}};
  }
  return json;
}

}  // namespace tvq::cli
