/*
 * The file that the node exporter of Prometheus reads metrics from.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_FLEET_METRICS_FILE_H_
#define TVQ_HOST_CLI_FLEET_METRICS_FILE_H_

#include <optional>
#include <string>

#include "host/cli/fleet/metrics.h"
#include "host/cli/parameters.h"

namespace tvq::cli {

struct MetricsOptions {
  std::string file;  // empty: nobody wants any
  bool hasSerials = false;
};

// Adds --metrics and --metrics-serials.
void AddMetrics(Parameters parameters, MetricsOptions& options);

// Writes what a run came to, as a whole or not at all and for everybody to read, where that is wanted.
// Without devices, when a run last ended well stays what the file said before. False: it could not be
// written, which was said.
bool WriteMetrics(const MetricsOptions& options, ExitStatus status,
                  std::optional<MeasuredDevices> devices, const Console& console);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_FLEET_METRICS_FILE_H_
