/*
 * The file that the node exporter of Prometheus reads metrics from.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/fleet/metrics_file.h"

#include <fmt/format.h>

#include <ctime>

#include "host/cli/input/folder.h"
#include "host/cli/output/whole_file.h"

namespace tvq::cli {
namespace {

constexpr std::string_view kSuffix = ".prom";

}  // namespace

void AddMetrics(Parameters parameters, MetricsOptions& options) {
  const Parameter file =
      parameters
          .Value("--metrics", options.file,
                 "Write metrics for Prometheus there, also of a run that fails; the node "
                 "exporter reads files whose names end in .prom")
          .Named("FILE");
  parameters.Flag("--metrics-serials", options.hasSerials, "Serial numbers in the metrics, too")
      .Needs(file);
}

void WriteMetrics(const MetricsOptions& options, MeasuredRun run, const Console& console) {
  if (options.file.empty()) {
    return;
  }
  const std::string name = NameOfFile(options.file);
  if (name.size() <= kSuffix.size() ||
      name.compare(name.size() - kSuffix.size(), kSuffix.size(), kSuffix) != 0) {
    console.Warning(fmt::format("the node exporter does not read {}: its name does not end in {}",
                                options.file, kSuffix));
  }
  run.time = static_cast<std::uint64_t>(std::time(nullptr));
  run.lastSuccess = run.EndedWell() ? run.time : LastSuccessIn(StartOfFile(options.file));
  WriteWhole({options.file, "metrics"},
             MetricsText(run, options.hasSerials ? Serials::kShown : Serials::kHidden),
             Readers::kEveryone);
}

}  // namespace tvq::cli
