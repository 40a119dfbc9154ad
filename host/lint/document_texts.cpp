/*
 * The texts of a table that the driver writes into documents.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/document_texts.h"

#include "host/lint/devices.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

constexpr std::size_t kUsualLimit = 127;
constexpr std::size_t kUnlimited = std::string_view::npos;

enum class Cut {
  kNone,
  kTrimmed,    // blanks at both ends
  kFirstWord,  // up to the first blank behind those at the start
};

struct Source {
  smbios::Field<std::uint8_t> field;
  std::string_view element;
  std::size_t limit = kUsualLimit;
  Cut cut = Cut::kNone;
};

constexpr Source kSources[] = {
    {SMBIOS_FIELD(0, BiosVersion), "BIOSVersion"},
    {SMBIOS_FIELD(0, BiosReleaseDate), "BIOSReleaseDate"},
    {SMBIOS_FIELD(1, ProductName), "ProductName"},
    {SMBIOS_FIELD(1, Manufacturer), "Manufacturer"},
    {SMBIOS_FIELD(1, SerialNumber), "ServiceTag"},
    {SMBIOS_FIELD(2, LocationInChassis), "LocationInChassis"},
    {SMBIOS_FIELD(3, Manufacturer), "Manufacturer"},
    {SMBIOS_FIELD(3, SerialNumber), "ServiceTag"},
    {SMBIOS_FIELD(3, AssetTag), "AssetTag"},
    {SMBIOS_FIELD(9, SlotDesignation), "Desig"},
    {SMBIOS_FIELD(4, ProcessorVersion), "MarketingName", kUsualLimit, Cut::kTrimmed},
    {SMBIOS_FIELD(4, ProcessorManufacturer), "ProcessorManufacturer"},
    {SMBIOS_FIELD(17, SerialNumber), "WWN", devices::kSerialLength},
    {SMBIOS_FIELD(17, Manufacturer), "Manufacturer"},
    {SMBIOS_FIELD(17, BankLocator), "BankLocator"},
    {SMBIOS_FIELD(17, AssetTag), "AssetTag"},
    {SMBIOS_FIELD(17, PartNumber), "PartNumber", kUnlimited, Cut::kFirstWord},
    {SMBIOS_FIELD(226, FirmwareVersion), "FirmwareVersion", 31},
};

std::string Keep(const Source& source, std::string_view whole) {
  std::string_view kept = whole;
  if (source.cut != Cut::kNone) {
    kept.remove_prefix(std::min(kept.find_first_not_of(' '), kept.size()));
    kept = kept.substr(
        0, source.cut == Cut::kFirstWord ? kept.find(' ') : kept.find_last_not_of(' ') + 1);
  }
  return std::string(kept.substr(0, source.limit));
}

// The structures of a type whose texts get into a document.
std::vector<const Structure*> Written(const Subject& subject, std::uint8_t type) {
  if (type == kProcessor) {
    return subject.Processors();
  }
  if (type == kMemoryDevice) {
    return subject.Modules();
  }
  const auto structures = subject.SeenOfType(type);
  const bool isSingle = type == kBios || type == kSystem;
  return isSingle && structures.size() != 1 ? std::vector<const Structure*>() : structures;
}

}  // namespace

std::vector<DocumentText> DocumentTexts(const Subject& subject) {
  std::vector<DocumentText> texts;
  for (const Source& source : kSources) {
    for (const Structure* structure : Written(subject, source.field.Type)) {
      const std::string_view whole = structure->TextOrEmpty(source.field);
      texts.push_back({structure, source.element, whole, Keep(source, whole)});
    }
  }
  for (const Structure* module : subject.Modules()) {
    texts.push_back({module, "DIMMLocation", module->TextOrEmpty(SMBIOS_FIELD(17, DeviceLocator)),
                     LocatorText(*module)});
  }
  for (const Structure* cpu : subject.Processors()) {
    const auto digit = static_cast<char>('0' + devices::SocketNumber(*cpu));
    texts.push_back({cpu, "CPULocation", cpu->TextOrEmpty(SMBIOS_FIELD(4, Socket)),
                     digit == '\0' ? "CPU" : std::string("CPU") + digit});
  }
  return texts;
}

}  // namespace tvq::lint
