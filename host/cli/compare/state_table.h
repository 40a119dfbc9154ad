/*
 * A table whose devices are those of a saved state, so that the driver can compare them with others.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMPARE_STATE_TABLE_H_
#define TVQ_HOST_CLI_COMPARE_STATE_TABLE_H_

#include <vector>

#include "host/cli/device/inventory.h"
#include "host/run/driver_run.h"

namespace tvq::cli {

// The devices of a state with their documents.
std::vector<Device> ToDevices(const std::vector<run::SavedDevice>& saved);

// A table of which the driver makes records with the same names, serial and part numbers, models and
// core counts: all that it compares. Devices whose document cannot be read are left out.
run::Table TableOf(const std::vector<Device>& devices);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMPARE_STATE_TABLE_H_
