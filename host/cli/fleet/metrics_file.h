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

// Writes what a run came to now, as a whole or not at all and for everybody to read, where that is
// wanted. Unless it ended well, when one last did stays what the file said before. Throws an
// InputError.
void WriteMetrics(const MetricsOptions& options, MeasuredRun run, const Console& console);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_FLEET_METRICS_FILE_H_
