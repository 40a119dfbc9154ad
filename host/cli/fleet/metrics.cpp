/*
 * What a run of `tvq verify` found, in the text format that Prometheus reads.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/fleet/metrics.h"

#include <fmt/format.h>

#include <charconv>
#include <map>

#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

constexpr std::string_view kLastSuccess = "tvq_verify_last_success_timestamp_seconds";

// The header of a metric. All of them are gauges, and no help has a character to escape.
std::string Header(std::string_view name, std::string_view help) {
  return fmt::format("# HELP {0} {1}\n# TYPE {0} gauge\n", name, help);
}

std::string Gauge(std::string_view name, std::string_view help, std::uint64_t value) {
  return fmt::format("{}{} {}\n", Header(name, help), name, value);
}

// A label with its value in UTF-8. What the format reserves has a backslash in front, and a blank
// stands for each control character.
std::string Label(std::string_view name, const std::string& utf8) {
  std::string escaped;
  for (const char character : utf8) {
    if (character == '\\' || character == '"') {
      escaped += '\\';
    }
    escaped += static_cast<unsigned char>(character) < ' ' ? ' ' : character;
  }
  return fmt::format("{}=\"{}\"", name, escaped);
}

std::string LabelsOf(const DeviceRow& row, Serials serials) {
  std::string labels =
      fmt::format("{},{},{},{},{}", Label("class", row.kind), Label("fqdd", row.fqdd),
                  Label("label", row.label), Label("maker", row.maker), Label("part", row.part));
  if (serials == Serials::kShown) {
    labels += ',' + Label("serial", row.serial);
  }
  return labels + ',' + Label("verdict", row.verdict);
}

std::string LabelsOfFinding(const DeviceRow& row) {
  return fmt::format("{},{},{},{}", Label("class", row.kind), Label("fqdd", row.fqdd),
                     Label("label", row.label), Label("verdict", row.verdict));
}

// A reader refuses the whole file where two lines have the same labels, so that devices which nothing
// tells apart are counted.
using CountsByLabels = std::map<std::string, unsigned>;

std::string LinesOf(std::string_view name, const CountsByLabels& counts) {
  std::string lines;
  for (const auto& [labels, count] : counts) {
    lines += fmt::format("{}{{{}}} {}\n", name, labels, count);
  }
  return lines;
}

std::string DevicesText(const MeasuredDevices& devices, Serials serials) {
  std::string text = Gauge("tvq_firmware_updated",
                           "Whether the firmware is another one than when the state was saved.",
                           devices.hasOtherFirmware ? 1 : 0);
  text += Header("tvq_devices", "Devices by what became of them since the state was saved.");
  for (const auto& [verdict, count] : devices.counts) {
    text += fmt::format("tvq_devices{{{}}} {}\n", Label("verdict", verdict), count);
  }
  CountsByLabels all;
  CountsByLabels findings;
  for (const DeviceRow& row : devices.rows) {
    ++all[LabelsOf(row, serials)];
    if (row.isFinding) {
      ++findings[LabelsOfFinding(row)];
    }
  }
  text += Header("tvq_device_finding",
                 "Devices that somebody has to look at, as the exit status counts them.");
  text += LinesOf("tvq_device_finding", findings);
  text += Header("tvq_device_info",
                 "How many devices these labels describe: 1, unless nothing "
                 "tells several apart.");
  return text + LinesOf("tvq_device_info", all);
}

}  // namespace

std::string MetricsText(const MeasuredRun& run, Serials serials) {
  std::string text = Gauge(
      kLastSuccess, "When a run last ended well, whatever was found; 0 if never.", run.lastSuccess);
  text += Gauge("tvq_verify_last_run_timestamp_seconds",
                "When the devices were last to be compared, whether that was possible or not.",
                run.time);
  text += Gauge("tvq_verify_success",
                "Whether the last run compared all devices and wrote all that it was to write.",
                run.EndedWell() ? 1 : 0);
  text += Gauge("tvq_verify_exit_status",
                "0 nothing is to be looked at; 1 a device is; 2 not all could be compared or "
                "written; 3 no state was saved.",
                run.status);
  return run.devices ? text + DevicesText(*run.devices, serials) : text;
}

std::uint64_t LastSuccessIn(std::string_view metrics) {
  const std::string line = fmt::format("\n{} ", kLastSuccess);
  const std::size_t start = metrics.find(line);
  std::uint64_t time = 0;
  if (start != std::string_view::npos) {
    const std::string_view number = metrics.substr(start + line.size());
    std::from_chars(number.data(), number.data() + number.size(), time);
  }
  return time;
}

}  // namespace tvq::cli
