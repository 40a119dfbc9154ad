/*
 * The devices that the driver makes no record of, and why.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/missing.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "host/cli/output/text.h"
#include "host/session/table_devices.h"

namespace tvq::cli {
namespace {

using session::DeviceKind;
using session::TableDevice;

constexpr char kSuccess[] = "Success";
constexpr unsigned kSystemInformation = 1;
constexpr unsigned kSystemRecord = 4;

struct Kind {
  DeviceKind kind;
  unsigned recordType;
  const char* what;
  const char* key;
};
constexpr Kind kKinds[] = {
    {DeviceKind::kProcessor, 2, "processor", "the same fourth character of the socket designation"},
    {DeviceKind::kModule, 3, "memory module", "the same three characters of the locator"}};

std::string Designation(const TableDevice& device) {
  return device.designation ? fmt::format("\"{}\"", Printable(*device.designation))
                            : "without a designation";
}

std::string Clash(const Kind& kind, const TableDevice& device, const TableDevice& other) {
  return fmt::format(
      "{} (\"{}\") as for handle 0x{:04X}: {} here, {} there; the firmware refuses a second record "
      "with an equal device path, and the driver stops",
      kind.key, Printable(device.keyText), other.handle, Designation(device), Designation(other));
}

// Adds a device to the last entry where that says the same.
void Add(std::vector<Missing>& missing, const std::string& what, unsigned handle,
         const std::string& why) {
  if (missing.empty() || missing.back().what != what || missing.back().why != why) {
    missing.push_back({what, {}, why});
  }
  missing.back().handles.push_back(handle);
}

// Devices of one kind after a start that worked: the driver makes records in the table's order and
// stops at the first one that the firmware refuses.
void AddOfKind(const Kind& kind, const std::vector<TableDevice>& devices,
               const session::Results& results, std::vector<Missing>& missing) {
  std::vector<session::Bytes> recordKeys;
  for (const session::Record& record : results.records) {
    if (record.deviceType == kind.recordType) {
      recordKeys.push_back(session::KeyOf(record));
    }
  }
  std::map<session::Bytes, const TableDevice*> served;
  std::string behind;
  for (const TableDevice& device : devices) {
    if (device.kind != kind.kind) {
      continue;
    }
    const auto [first, isFirst] = served.try_emplace(device.key, &device);
    const bool hasRecord =
        isFirst && std::find(recordKeys.begin(), recordKeys.end(), device.key) != recordKeys.end();
    if (hasRecord) {
      continue;
    }
    if (!behind.empty()) {
      Add(missing, kind.what, device.handle, behind);
    } else {
      Add(missing, kind.what, device.handle,
          isFirst ? "the driver stopped here; its log tells why (`tvq export`)"
                  : Clash(kind, device, *first->second));
      behind = fmt::format("behind handle 0x{:04X}, at which the driver stopped", device.handle);
    }
  }
  // Structures that the driver reaches in another order than they stand: it has a record of each.
  const auto wanted = static_cast<size_t>(
      std::count_if(devices.begin(), devices.end(),
                    [&kind](const TableDevice& device) { return device.kind == kind.kind; }));
  if (recordKeys.size() >= wanted) {
    missing.erase(std::remove_if(missing.begin(), missing.end(),
                                 [&kind](const Missing& entry) { return entry.what == kind.what; }),
                  missing.end());
  }
}

void AddSystem(const session::Table& table, const session::Results& results,
               std::vector<Missing>& missing) {
  for (const session::Record& record : results.records) {
    if (record.deviceType == kSystemRecord) {
      return;
    }
  }
  const size_t count = session::CountStructures(table, kSystemInformation);
  missing.push_back(
      {"system",
       {},
       count == 1
           ? "the structure of type 1 has no product name"
           : fmt::format("there are {} structures of type 1, where the driver wants exactly one",
                         count)});
}

std::string WhyNotStarted(const session::Table& table, const session::Results& results) {
  const std::string names = session::WhyNoNames(table);
  return fmt::format("the driver's start ended with \"{}\"{}{}", results.start,
                     names.empty() ? "" : ": ", names);
}

}  // namespace

std::vector<Missing> FindMissing(const session::Table& table, const session::Results& results) {
  std::vector<Missing> missing;
  const std::vector<TableDevice> devices = session::DevicesOf(table);
  for (const Kind& kind : kKinds) {
    if (results.start == kSuccess) {
      AddOfKind(kind, devices, results, missing);
      continue;
    }
    for (const TableDevice& device : devices) {
      if (device.kind == kind.kind) {
        Add(missing, kind.what, device.handle, WhyNotStarted(table, results));
      }
    }
  }
  if (results.start == kSuccess) {
    AddSystem(table, results, missing);
  } else {
    missing.push_back({"system", {}, WhyNotStarted(table, results)});
  }
  return missing;
}

std::string DescribeEmpty(const session::Table& table) {
  constexpr std::pair<DeviceKind, const char*> kEmpty[] = {
      {DeviceKind::kEmptySocket, "empty processor sockets"},
      {DeviceKind::kEmptySlot, "empty memory slots"},
      {DeviceKind::kHbm, "HBM stacks, which are parts of processors"},
      {DeviceKind::kLogicalModule, "logical memory devices"}};
  const std::vector<TableDevice> devices = session::DevicesOf(table);
  std::string text;
  for (const auto& [kind, words] : kEmpty) {
    const auto count =
        std::count_if(devices.begin(), devices.end(),
                      [kind = kind](const TableDevice& device) { return device.kind == kind; });
    if (count != 0) {
      text += fmt::format("{}{} {}", text.empty() ? "" : "; ", count, words);
    }
  }
  return text;
}

}  // namespace tvq::cli
