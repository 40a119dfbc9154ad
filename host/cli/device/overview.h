/*
 * A machine, and what the driver makes of it, as text and as JSON.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_DEVICE_OVERVIEW_H_
#define TVQ_HOST_CLI_DEVICE_OVERVIEW_H_

#include <nlohmann/json_fwd.hpp>

#include "host/cli/device/inventory.h"
#include "host/cli/device/missing.h"
#include "host/cli/input/table_input.h"
#include "host/cli/machine/machine_view.h"
#include "host/facts/machine.h"

namespace tvq::cli {

struct Overview {
  facts::Machine machine;  // what the table says as it was read
  run::Table table;        // conformed where that was asked for
  run::Results results;
  std::vector<Device> devices;
  std::vector<Missing> missing;
  std::string others;          // DescribeOthers
  std::string trouble;         // why the driver did not run; empty when it did
  run::Conformed conformable;  // what conforming would do, where something is missing

  MachineView View() const { return {machine, devices}; }
};

// What becomes of the documents once they were compared: those of all devices are most of the memory.
enum class Documents {
  kDropped,
  kKept,
};

// Reads the machine, and runs the driver on its table.
Overview MakeOverview(const TableOptions& options, const Console& console, Documents documents);
// The same, of a table that was read already.
Overview MakeOverview(const TableBytes& bytes, const TableOptions& options, const Console& console,
                      Documents documents);

std::string OverviewText(const Overview& overview, const Terminal& terminal);
nlohmann::ordered_json ToJson(const Overview& overview);

// One part with its document, where it has a record.
std::string DeviceText(const Overview& overview, PartPlace place, const Terminal& terminal);
nlohmann::ordered_json DeviceJson(const Overview& overview, PartPlace place);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_DEVICE_OVERVIEW_H_
