/*
 * The devices that the driver makes no record of, and why.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/missing.h"

#include <Library/TvqDeviceLib.h>
#include <fmt/format.h>

#include <algorithm>

#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using devices::Unserved;

constexpr char kSuccess[] = "Success";
constexpr uint8_t kSystemInformation = 1;
constexpr uint8_t kFqddMap = 225;
constexpr unsigned kSystemRecord = 4;

struct Kind {
  devices::Kind kind;
  const char* what;
  const char* key;
};
constexpr Kind kKinds[] = {
    {devices::Kind::kProcessor, "processor", "the same fourth character of the socket designation"},
    {devices::Kind::kModule, "memory module", "the same three characters of the locator"}};

smbios::Bytes ViewOf(const run::Bytes& bytes) {
  return {bytes.data(), bytes.size()};
}

std::string CopyOf(smbios::Text text) {
  return std::string(text.begin(), text.end());
}

std::string Name(const smbios::Structure& device) {
  const smbios::Text name = devices::NameOf(device);
  return name ? fmt::format("\"{}\"", Printable(CopyOf(name))) : "without a designation";
}

// What tells the device from others, as a person would say it.
std::string KeyText(const smbios::Structure& device) {
  std::string text;
  if (devices::KindOf(device) == devices::Kind::kProcessor) {
    text.push_back(static_cast<char>(devices::SocketNumber(device) + '0'));
  } else {
    const devices::LocatorKey key = devices::KeyOfLocator(device);
    text.assign(std::begin(key.Characters), std::end(key.Characters));
  }
  text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
  return Printable(devices::NameOf(device) ? text : "");
}

std::string Explain(const Kind& kind, const Unserved& device) {
  switch (device.Why) {
    case Unserved::Reason::kClash:
      return fmt::format(
          "{} (\"{}\") as for handle 0x{:04X}: {} here, {} there; the firmware refuses a second "
          "record with an equal device path, and the driver stops",
          kind.key, KeyText(device.Device), device.Other.Handle(), Name(device.Device),
          Name(device.Other));
    case Unserved::Reason::kBehind:
      return fmt::format("behind handle 0x{:04X}, at which the driver stopped",
                         device.Other.Handle());
    case Unserved::Reason::kBehindTable:
      return fmt::format("behind handle 0x{:04X}, which ends the table for the driver",
                         device.Other.Handle());
    case Unserved::Reason::kRefused:
      break;
  }
  return "the driver stopped here; its log tells why (`tvq export`)";
}

// Adds a device to the last entry where that says the same.
void Add(std::vector<Missing>& missing, const std::string& what, unsigned handle,
         const std::string& why) {
  if (missing.empty() || missing.back().what != what || missing.back().why != why) {
    missing.push_back({what, {}, why});
  }
  missing.back().handles.push_back(handle);
}

// Devices of one kind after a start that worked.
void AddOfKind(const Kind& kind, const run::Table& table, const std::vector<devices::Key>& served,
               std::vector<Missing>& missing) {
  devices::UnservedDevices found(ViewOf(table.structures), kind.kind,
                                 {served.data(), served.size()});
  for (Unserved device; found.Next(device);) {
    Add(missing, kind.what, device.Device.Handle(), Explain(kind, device));
  }
}

// The keys of the records of one kind.
std::vector<devices::Key> KeysOf(const run::Results& results, const Kind& kind) {
  const uint8_t type = devices::RecordTypeOf(kind.kind);
  std::vector<devices::Key> keys;
  for (const run::Record& record : results.records) {
    if (record.deviceType == type) {
      keys.push_back(devices::KeyOfPath(ViewOf(record.devicePath.value_or(run::Bytes()))));
    }
  }
  return keys;
}

void AddSystem(const run::Table& table, const run::Results& results,
               std::vector<Missing>& missing) {
  for (const run::Record& record : results.records) {
    if (record.deviceType == kSystemRecord) {
      return;
    }
  }
  const size_t count = smbios::CountOfType(ViewOf(table.structures), kSystemInformation);
  missing.push_back(
      {"system",
       {},
       count == 1
           ? "the structure of type 1 has no product name"
           : fmt::format("there are {} structures of type 1, where the driver wants exactly one",
                         count)});
}

std::string WhyNoNames(const run::Table& table) {
  switch (devices::FindFqddMap(ViewOf(table.structures))) {
    case devices::FqddMap::kMissing:
      return smbios::CountOfType(ViewOf(table.structures), kFqddMap) == 0
                 ? ": there is no structure of type 225, which names the devices"
                 : ": the structure of type 225, which names the devices, is behind one with "
                   "handle "
                   "0xFFFF, which ends the table for the driver";
    case devices::FqddMap::kOtherFormat:
      return ": a structure of type 225, which names the devices, has another format than 1";
    case devices::FqddMap::kCutOff:
      return ": a structure of type 225, which names the devices, is cut off by the end of the "
             "table";
    case devices::FqddMap::kUsable:
      break;
  }
  return "";
}

// Everything after a start that failed.
void AddAll(const run::Table& table, const std::string& why, std::vector<Missing>& missing) {
  for (const Kind& kind : kKinds) {
    for (const smbios::Structure& structure : smbios::Walk(ViewOf(table.structures))) {
      if (devices::KindOf(structure) == kind.kind) {
        Add(missing, kind.what, structure.Handle(), why);
      }
    }
  }
  missing.push_back({"system", {}, why});
}

}  // namespace

std::vector<Missing> FindMissing(const run::Table& table, const run::Results& results,
                                 const std::string& trouble) {
  std::vector<Missing> missing;
  if (!trouble.empty()) {
    AddAll(table, "the driver did not run: " + trouble, missing);
    return missing;
  }
  if (results.start != kSuccess) {
    AddAll(table,
           fmt::format("the driver's start ended with \"{}\"{}", results.start, WhyNoNames(table)),
           missing);
    return missing;
  }
  for (const Kind& kind : kKinds) {
    AddOfKind(kind, table, KeysOf(results, kind), missing);
  }
  AddSystem(table, results, missing);
  return missing;
}

std::string DescribeOthers(const run::Table& table) {
  constexpr std::pair<devices::Kind, const char*> kOthers[] = {
      {devices::Kind::kHbm, "HBM stack"}, {devices::Kind::kLogical, "logical memory device"}};
  std::string text;
  for (const auto& [kind, words] : kOthers) {
    size_t count = 0;
    for (const smbios::Structure& structure : smbios::Walk(ViewOf(table.structures))) {
      count += devices::KindOf(structure) == kind ? 1 : 0;
    }
    if (count != 0) {
      text += (text.empty() ? "" : ", ") + Counted(count, words);
    }
  }
  return text;
}

}  // namespace tvq::cli
