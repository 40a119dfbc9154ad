/*
 * What a run of `tvq verify` found, in the text format that Prometheus reads.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_FLEET_METRICS_H_
#define TVQ_HOST_CLI_FLEET_METRICS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/command.h"
#include "host/cli/fleet/device_row.h"
#include "host/run/comparison.h"

namespace tvq::cli {

// What the metrics tell of devices that were compared.
struct MeasuredDevices {
  std::vector<DeviceRow> rows;
  std::vector<std::pair<std::string, std::size_t>> counts;  // of every verdict
  bool hasOtherFirmware = false;
};

// One run, at a time in seconds since 1970.
struct MeasuredRun {
  std::uint64_t time = 0;
  std::uint64_t lastSuccess = 0;  // of the last run that ended well; 0: never
  ExitStatus status = kExitTrouble;
  std::optional<MeasuredDevices> devices;  // none where nothing was compared
  bool isAllWritten = true;                // whatever else the run was to write

  bool EndedWell() const { return devices && isAllWritten; }
};

enum class Serials {
  kHidden,
  kShown,
};

std::string MetricsText(const MeasuredRun& run, Serials serials);

// When a run ended well, as a text of metrics says it; 0 where it says nothing.
std::uint64_t LastSuccessIn(std::string_view metrics);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_FLEET_METRICS_H_
