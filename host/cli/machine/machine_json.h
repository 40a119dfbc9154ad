/*
 * The parts of a machine as JSON.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MACHINE_MACHINE_JSON_H_
#define TVQ_HOST_CLI_MACHINE_MACHINE_JSON_H_

#include <nlohmann/json_fwd.hpp>

#include "host/cli/machine/machine_view.h"

namespace tvq::cli {

nlohmann::ordered_json ToJson(const facts::Value& value);

// Every fact by its name, with the handle and, of what may have a record, the FQDD.
nlohmann::ordered_json PartJson(const MachineView& view, PartPlace place);

// A list of parts for each kind.
nlohmann::ordered_json MachineJson(const MachineView& view);

nlohmann::ordered_json DifferencesJson(const std::vector<Difference>& differences);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MACHINE_MACHINE_JSON_H_
