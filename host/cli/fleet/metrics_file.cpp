/*
 * The file that the node exporter of Prometheus reads metrics from.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/fleet/metrics_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstring>
#include <ctime>

#include "host/cli/input/folder.h"

namespace tvq::cli {
namespace {

constexpr std::string_view kSuffix = ".prom";

struct FilePlace {
  std::string folder;
  std::string name;
};

FilePlace PlaceOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? FilePlace{".", path}
                                    : FilePlace{path.substr(0, slash + 1), path.substr(slash + 1)};
}

// What the file says at its beginning, where it is one.
std::string StartOf(const Descriptor& folder, const std::string& name) {
  // A pipe that nobody writes to would be waited for.
  const Descriptor file(
      openat(folder.Number(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  char buffer[4096];
  const ssize_t count = file.IsOpen() ? read(file.Number(), buffer, sizeof(buffer)) : 0;
  return std::string(buffer, count < 0 ? 0 : static_cast<std::size_t>(count));
}

void SayWhyNot(const std::string& path, const std::string& link, const Console& console) {
  const std::string reason =
      link.empty() ? std::strerror(errno) : fmt::format("{} is a symbolic link", link);
  console.Error(fmt::format("the metrics cannot be written to {}: {}", path, reason),
                link.empty() ? "name a file in a folder that is there and that you may write to"
                             : "links are not followed; name the folder that it leads to");
}

}  // namespace

void AddMetrics(CLI::App& app, MetricsOptions& options) {
  CLI::Option* const file =
      app.add_option("--metrics", options.file,
                     "Write metrics for Prometheus there, also of a run that fails; the node "
                     "exporter reads files whose names end in .prom")
          ->type_name("FILE");
  app.add_flag("--metrics-serials", options.hasSerials, "Serial numbers in the metrics, too")
      ->needs(file);
}

bool WriteMetrics(const MetricsOptions& options, ExitStatus status,
                  std::optional<MeasuredDevices> devices, const Console& console) {
  if (options.file.empty()) {
    return true;
  }
  const FilePlace place = PlaceOf(options.file);
  std::string link;
  const Descriptor folder = OpenFolder(place.folder, Missing::kFails, link);
  if (!folder.IsOpen()) {
    SayWhyNot(options.file, link, console);
    return false;
  }
  if (place.name.size() <= kSuffix.size() ||
      place.name.compare(place.name.size() - kSuffix.size(), kSuffix.size(), kSuffix) != 0) {
    console.Warning(fmt::format("the node exporter does not read {}: its name does not end in {}",
                                options.file, kSuffix));
  }
  MeasuredRun run;
  run.time = static_cast<std::uint64_t>(std::time(nullptr));
  run.lastSuccess = devices ? run.time : LastSuccessIn(StartOf(folder, place.name));
  run.status = status;
  run.devices = std::move(devices);
  const std::string text =
      MetricsText(run, options.hasSerials ? Serials::kShown : Serials::kHidden);
  const Written written = WriteFile(folder, place.name, {text.begin(), text.end()},
                                    Taken::kReplaced, Readers::kEveryone);
  if (written == Written::kNo) {
    SayWhyNot(options.file, "", console);
  }
  return written != Written::kNo;
}

}  // namespace tvq::cli
