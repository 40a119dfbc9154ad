/*
 * A table whose devices are those of a saved state.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/compare/state_table.h"

#include <Library/TvqDeviceLib.h>
#include <fmt/format.h>

#include <stdexcept>

#include "host/cli/device/blob.h"
#include "host/cli/output/text.h"
#include "host/table/source.h"
#include "host/table/structure.h"
#include "host/table/text.h"

namespace tvq::cli {
namespace {

constexpr std::string_view kProcessor = "cpuData";
constexpr std::string_view kModule = "dimmData";
constexpr unsigned kFirstHandle = 0x1000;
constexpr std::size_t kNamesPerStructure = 60;

bool IsKind(const Device& device, std::string_view section) {
  const Element* const configuration = device.document->Find("Configuration");
  return configuration != nullptr && configuration->Find(section) != nullptr;
}

// A line of the source form; none for an empty text, which no string number then leads to.
std::string Line(const char* field, std::string_view text) {
  return text.empty() ? "" : fmt::format("{} = {}\n", field, table::Quote(text));
}

// The structure of a device, in source form.
std::string SourceOf(const Device& device, unsigned handle) {
  const Element& document = *device.document;
  if (IsKind(device, kProcessor)) {
    return fmt::format("[processor 0x{:04X}]\nstatus = 0x41\ncore-count = {}\n", handle,
                       NumberOf(document.TextOf("Configuration/cpuData/CoreCount")) & 0xFF) +
           Line("socket", document.TextOf("Inventory/Identifier/CPULocation")) +
           Line("version", document.TextOf("Inventory/MarketingName"));
  }
  if (IsKind(device, kModule)) {
    const std::string locator =
        // The driver skips it, whatever follows.
        devices::kLocatorPrefix + std::string(document.TextOf("Inventory/Identifier/DIMMLocation"));
    return fmt::format("[memory-device 0x{:04X}]\nsize = 1\n", handle) + Line("locator", locator) +
           Line("serial", document.TextOf("Inventory/WWN")) +
           Line("part-number", document.TextOf("Configuration/dimmData/PartNumber"));
  }
  const std::string system = "Inventory/Identifier/SystemInformation/";
  return fmt::format("[system 0x{:04X}]\n", handle) +
         Line("product", document.TextOf(system + "ProductName")) +
         Line("manufacturer", document.TextOf(system + "Manufacturer")) +
         Line("serial", document.TextOf(system + "ServiceTag"));
}

}  // namespace

std::vector<Device> ToDevices(const std::vector<run::SavedDevice>& saved) {
  std::vector<Device> devices;
  for (const run::SavedDevice& one : saved) {
    Device device;
    device.fqdd = Printable(one.fqdd);
    device.trouble = "it has no configuration blob";
    const std::string_view bytes(reinterpret_cast<const char*>(one.blobs.data()), one.blobs.size());
    for (const Blob& blob : SplitBlobs(bytes).blobs) {
      if (blob.type != blobs::kConfiguration) {
        continue;
      }
      try {
        device.document = ReadDocument(ReadConfigurationBlob(blob));
        device.trouble.clear();
      } catch (const DataError& error) {
        device.trouble = error.what();
      }
    }
    devices.push_back(std::move(device));
  }
  return devices;
}

run::Table TableOf(const std::vector<Device>& devices) {
  std::string source = "version = 3.3\n";
  std::string names;
  std::size_t count = 0;
  for (const Device& device : devices) {
    if (!device.document) {
      continue;
    }
    const unsigned handle = kFirstHandle + static_cast<unsigned>(count);
    source += SourceOf(device, handle);
    if (count % kNamesPerStructure == 0) {
      names += "[fqdd-map]\nformat = 1\n";
    }
    names += fmt::format("fqdd = {} 0x{:04X}\n", table::Quote(device.fqdd), handle);
    ++count;
  }
  const auto parsed = table::ParseSource(source + names + "[end]\n");
  if (!parsed) {
    throw std::logic_error("the state's devices are no table: " + parsed.Failure().message);
  }
  run::Table table;
  table.major = parsed->version.majorNumber;
  table.minor = parsed->version.minorNumber;
  table.structures = parsed->structures;
  table.structureCount = static_cast<unsigned>(table::SplitTable(parsed->structures).size());
  return table;
}

}  // namespace tvq::cli
