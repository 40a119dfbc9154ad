/*
 * Rules about the extensions of memory modules, type 226.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <vector>

#include "host/lint/families.h"
#include "host/lint/fqdd_map.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

// Other makers use the type for other things. It is ours in a table with our FQDD map, and where it
// begins as an extension does.
bool IsOurs(const Subject& subject, const Structure& structure) {
  const Structure* device =
      subject.FindHandle(structure.GetHandle(SMBIOS_FIELD(226, Type17Handle)));
  return HasFqddMap(subject) || (device != nullptr && device->Type() == kMemoryDevice);
}

std::vector<const Structure*> Extensions(const Subject& subject) {
  std::vector<const Structure*> extensions = subject.SeenOfType(kDimmExtension);
  extensions.erase(
      std::remove_if(extensions.begin(), extensions.end(),
                     [&](const Structure* structure) { return !IsOurs(subject, *structure); }),
      extensions.end());
  return extensions;
}

bool IsLongEnough(const Structure& extension) {
  return extension.Length() >= SMBIOS_FIELD(226, ProductID).End();
}

// Whether it makes it into the driver's list.
bool IsListed(const Structure& extension) {
  return IsLongEnough(extension) && extension.Text(SMBIOS_FIELD(226, FirmwareVersion)).has_value();
}

void CheckLayout(const Subject& subject, Report& report) {
  for (const Structure* extension : Extensions(subject)) {
    if (extension->Length() >= smbios::kHeaderSize && !IsLongEnough(*extension)) {
      report.At(
          *extension,
          fmt::format("the structure has {} bytes, and the driver reads 13, the last ones out "
                      "of its texts",
                      extension->Length()),
          "use type 226 for the extension of memory devices alone, with 13 bytes");
    }
  }
}

void CheckFirmware(const Subject& subject, Report& report) {
  for (const Structure* extension : Extensions(subject)) {
    if (IsLongEnough(*extension) && !IsListed(*extension)) {
      report.At(*extension,
                fmt::format("string {} for the firmware version is not there: the driver ignores "
                            "the whole structure, component and product ID included",
                            extension->Get(SMBIOS_FIELD(226, FirmwareVersion))),
                "name a string for the firmware version, if need be an empty one");
    }
  }
}

// Why no record takes anything from an extension of this device; empty when one does.
std::string ReasonUnread(const Subject& subject, const Structure* device) {
  if (device == nullptr) {
    return "that of no structure";
  }
  if (device->Type() != kMemoryDevice) {
    return fmt::format("of type {}, no memory device", device->Type());
  }
  const auto& modules = subject.Modules();
  return std::find(modules.begin(), modules.end(), device) == modules.end()
             ? "that of a memory device without a record, empty or no module"
             : "";
}

void CheckDevice(const Subject& subject, Report& report) {
  for (const Structure* extension : Extensions(subject)) {
    const std::uint16_t handle = extension->GetHandle(SMBIOS_FIELD(226, Type17Handle));
    const std::string reason = ReasonUnread(subject, subject.FindHandle(handle));
    if (IsListed(*extension) && !reason.empty()) {
      report.At(*extension,
                fmt::format("{} is {}: no record takes anything from this structure",
                            HandleName(handle), reason),
                "name the handle of a populated memory device (type 17)");
    }
  }
}

void CheckRepeated(const Subject& subject, Report& report) {
  std::map<std::uint16_t, const Structure*> owners;
  for (const Structure* extension : Extensions(subject)) {
    if (!IsListed(*extension)) {
      continue;
    }
    const std::uint16_t device = extension->GetHandle(SMBIOS_FIELD(226, Type17Handle));
    const auto [owner, isNew] = owners.emplace(device, extension);
    if (!isNew) {
      report.At(*extension,
                fmt::format("the memory device with {} has an extension already, {}: this one is "
                            "never read",
                            HandleName(device), HandleName(owner->second->Handle())),
                "let each memory device have one structure of type 226");
    }
  }
}

constexpr Rule kRules[] = {
    {"extension-layout", Severity::kWarning, kDriver,
     "A structure of type 226 is shorter than an extension of a memory device.",
     "The driver takes every structure of type 226 for an extension: the handle of the memory "
     "device at 04h, the number of the firmware version's string at 06h, component ID at 07h and "
     "product ID at 0Bh. It does not test the length; in a shorter structure it reads texts as "
     "numbers. Other makers use the type for other things: a structure that does not begin with "
     "the "
     "handle of a memory device is left alone where the table has no FQDD map.",
     "Use type 226 for extensions of memory devices alone.",
     "[dimm-extension]\nlength = 0x08\ndevice = @dimm1\nfirmware-version = \"1.0\"\n", CheckLayout},
    {"extension-firmware", Severity::kWarning, kDriver,
     "An extension of a memory device names no firmware version.",
     "A structure of type 226 whose firmware version is no string is left out of the driver's list "
     "without a message: the module's record then has no component ID and no product ID either.",
     "Name a string.",
     "[dimm-extension]\ndevice = @dimm1\ncomponent-id = 100\nproduct-id = 0x2001\n", CheckFirmware},
    {"extension-device", Severity::kWarning, kDriver, "An extension is for no module.",
     "The driver looks extensions up by the handle of each memory device that gets a record. One "
     "for another handle, or for an empty slot, is never found.",
     "Name the handle of a populated memory device.",
     "[dimm-extension]\ndevice = 0x0DEA\nfirmware-version = \"1.0\"\n", CheckDevice},
    {"extension-repeated", Severity::kWarning, kDriver, "A memory device has two extensions.",
     "The first structure of type 226 for a memory device wins; the driver never reads the others.",
     "Let each memory device have one.",
     "[dimm-extension]\ndevice = @dimm1\nfirmware-version = \"1.0\"\n"
     "[dimm-extension]\ndevice = @dimm1\nfirmware-version = \"2.0\"\n",
     CheckRepeated},
};

}  // namespace

Rules ExtensionRules() {
  return kRules;
}

}  // namespace tvq::lint
