/*
 * A machine as the driver sees it, as text and as JSON.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_DEVICE_OVERVIEW_H_
#define TVQ_HOST_CLI_DEVICE_OVERVIEW_H_

#include <nlohmann/json_fwd.hpp>

#include "host/cli/device/inventory.h"
#include "host/cli/device/missing.h"
#include "host/cli/input/table_input.h"

namespace tvq::cli {

struct Overview {
  run::Table table;  // conformed where that was asked for
  run::Results results;
  std::vector<Device> devices;
  std::vector<Missing> missing;
  std::string empty;           // DescribeEmpty
  run::Conformed conformable;  // what conforming would do, where something is missing
};

// Runs the driver on the table.
Overview MakeOverview(const TableOptions& options, const Console& console);

std::string OverviewText(const Overview& overview, const Terminal& terminal);
nlohmann::ordered_json ToJson(const Overview& overview);

// One device with its document.
std::string DeviceText(const Device& device, const Terminal& terminal);
nlohmann::ordered_json ToJson(const Device& device);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_DEVICE_OVERVIEW_H_
