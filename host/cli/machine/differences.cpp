/*
 * Where the document of a device says something else than the machine's own table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/machine/differences.h"

#include "host/cli/device/inventory.h"
#include "host/facts/field.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using facts::Part;
using facts::Value;

struct Comparison {
  const char* fact;
  const char* path;  // of the element
};

constexpr Comparison kProcessor[] = {
    {"version", "Inventory/MarketingName"},
    {"manufacturer", "Configuration/cpuData/ProcessorManufacturer"},
    {"coreCount", "Configuration/cpuData/CoreCount"},
    {"enabledCoreCount", "Configuration/cpuData/EnabledCoreCount"},
    {"threadCount", "Configuration/cpuData/ThreadCount"},
    {"currentSpeedInMHz", "Configuration/cpuData/CurrentSpeed"},
    {"maximumSpeedInMHz", "Configuration/cpuData/MaxSpeed"},
    {"ppin", "Configuration/cpuData/PPIN"},
};
constexpr Comparison kModule[] = {
    {"serial", "Inventory/WWN"},
    {"partNumber", "Configuration/dimmData/PartNumber"},
    {"manufacturer", "Configuration/dimmData/Manufacturer"},
    {"bank", "Configuration/dimmData/BankLocator"},
    {"assetTag", "Configuration/dimmData/AssetTag"},
    {"ratedSpeedInMTs", "Configuration/dimmData/Speed"},
    {"configuredSpeedInMTs", "Configuration/dimmData/ConfiguredMemClockSpeed"},
    {"totalWidthInBits", "Configuration/dimmData/TotalWidth"},
    {"dataWidthInBits", "Configuration/dimmData/DataWidth"},
};
constexpr Comparison kSystem[] = {
    {"product", "Inventory/Identifier/SystemInformation/ProductName"},
    {"manufacturer", "Inventory/Identifier/SystemInformation/Manufacturer"},
    {"serial", "Inventory/Identifier/SystemInformation/ServiceTag"},
};
constexpr Comparison kFirmware[] = {
    {"version", "Configuration/BIOSData/BIOSVersion"},
    {"date", "Configuration/BIOSData/BIOSReleaseDate"},
};

constexpr std::uint64_t kUnknownWord = 0xFFFF;

bool SaysTheSame(const Value& table, const std::string& document) {
  if (const auto* const number = std::get_if<std::uint64_t>(&table)) {
    return NumberOf(document) == *number;
  }
  if (const auto* const text = std::get_if<std::string>(&table)) {
    return facts::TextValue(document) == Value(*text);
  }
  // Nothing in the table: a document has no word for it but these.
  const std::uint64_t number = NumberOf(document);
  return !facts::IsKnown(facts::TextValue(document)) || document == "0" || number == kUnknownWord;
}

template <std::size_t N>
void Compare(const Comparison (&list)[N], const Part& part, const Element& document,
             std::vector<Difference>& differences) {
  for (const Comparison& one : list) {
    const std::string path = one.path;
    const std::size_t slash = path.rfind('/');
    const std::string text(document.TextOf(path));
    if (document.Has(path) && !SaysTheSame(part.Find(one.fact), text)) {
      differences.push_back({one.fact, path.substr(slash + 1), text, part.Find(one.fact)});
    }
  }
}

void CompareSize(const Part& part, const Element& document, std::vector<Difference>& differences) {
  const Element* const configuration = document.Find("Configuration");
  const Element* const dimm = configuration == nullptr ? nullptr : configuration->Find("dimmData");
  if (dimm == nullptr) {
    return;
  }
  const std::optional<std::uint64_t> bytes = ModuleSizeInBytes(*dimm);
  Value size;
  if (bytes) {
    size = *bytes;
  }
  if (size != part.Find("sizeInBytes")) {
    differences.push_back(
        {"sizeInBytes", "Size", std::string(dimm->TextOf("Size")), part.Find("sizeInBytes")});
  }
}

}  // namespace

std::vector<Difference> FindDifferences(const facts::Machine& machine, PartPlace place,
                                        const Element& document) {
  std::vector<Difference> differences;
  const Part& part = machine.Of(place.kind)[place.index];
  switch (place.kind) {
    case Kind::kProcessor:
      Compare(kProcessor, part, document, differences);
      break;
    case Kind::kModule:
      CompareSize(part, document, differences);
      Compare(kModule, part, document, differences);
      break;
    case Kind::kSystem:
      Compare(kSystem, part, document, differences);
      if (!machine.Of(Kind::kFirmware).empty()) {
        Compare(kFirmware, machine.Of(Kind::kFirmware).front(), document, differences);
      }
      break;
    default:
      break;
  }
  return differences;
}

}  // namespace tvq::cli
