/*
 * What a device's blobs and document say.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/inventory.h"

#include <fmt/format.h>

#include <charconv>

#include "host/cli/device/blob.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

constexpr unsigned kProcessor = 2;
constexpr unsigned kModule = 3;

// The size word of a memory device (SMBIOS 7.18).
constexpr uint64_t kSizeUnknown = 0xFFFF;
constexpr uint64_t kSizeIsExtended = 0x7FFF;
constexpr uint64_t kSizeInKilobytes = 0x8000;

// Without blanks at the end.
std::string OrDash(const std::optional<std::u16string>& text) {
  const std::string shown = text ? Printable(*text) : "";
  const auto last = shown.find_last_not_of(' ');
  return last == std::string::npos ? "-" : shown.substr(0, last + 1);
}

// A document of another kind of device tells nothing of this one.
bool IsOfKind(const Element& document, unsigned type) {
  const char* const wanted = type == kProcessor ? "Configuration/cpuData"
                             : type == kModule  ? "Configuration/dimmData"
                                                : "Configuration";
  return document.Has(wanted);
}

}  // namespace

Device ToDevice(const run::Record& record) {
  Device device;
  device.type = record.deviceType;
  device.fqdd = OrDash(record.fqdd);
  device.nameRule = record.label ? record.label->rule : "";
  if (!record.blobs[1]) {
    device.trouble = "it has no configuration blob";
    return device;
  }
  try {
    Element document = ReadDocument(DocumentText(*record.blobs[1]));
    if (IsOfKind(document, device.type)) {
      device.document = std::move(document);
    } else {
      device.trouble = "it is no document of this kind of device";
    }
  } catch (const DataError& error) {
    device.trouble = error.what();
  }
  return device;
}

std::string_view DocumentText(const run::Bytes& configurationBlob) {
  if (configurationBlob.size() <= blobs::kDocument) {
    throw DataError(configurationBlob.size(), "the blob ends before its document");
  }
  const std::string_view text(reinterpret_cast<const char*>(configurationBlob.data()),
                              configurationBlob.size());
  return text.substr(blobs::kDocument, text.find('\0', blobs::kDocument) - blobs::kDocument);
}

std::optional<uint64_t> ModuleSizeInBytes(const Element& dimm) {
  const uint64_t size = NumberOf(dimm.TextOf("Size"));
  if (size == kSizeUnknown) {
    return std::nullopt;
  }
  if (size == kSizeIsExtended) {
    return (NumberOf(dimm.TextOf("ExtendedSize")) & 0x7FFFFFFF) << 20;
  }
  return (size & kSizeInKilobytes) != 0 ? (size & ~kSizeInKilobytes) << 10 : size << 20;
}

std::string SizeInWords(uint64_t bytes) {
  constexpr const char* kUnits[] = {"bytes", "KB", "MB", "GB", "TB"};
  size_t unit = 0;
  while (unit + 1 < std::size(kUnits) && bytes != 0 && bytes % 1024 == 0) {
    bytes /= 1024;
    ++unit;
  }
  return fmt::format("{} {}", bytes, kUnits[unit]);
}

uint64_t NumberOf(std::string_view text, int base) {
  uint64_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number, base);
  return result.ec == std::errc() && result.ptr == text.data() + text.size() ? number : 0;
}

}  // namespace tvq::cli
