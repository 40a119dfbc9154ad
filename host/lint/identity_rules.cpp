/*
 * Rules about what tells a machine from others of its model.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <Library/TvqDeviceLib.h>
#include <fmt/format.h>

#include <iterator>

#include "host/lint/devices.h"
#include "host/lint/families.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

constexpr smbios::SizeType kUuid = SMBIOS_FIELD(1, Uuid).Offset;
using Uuid = std::uint8_t[devices::kUuidSize];

void CheckSerial(const Subject& subject, Report& report, smbios::Field<std::uint8_t> field,
                 std::string_view whose) {
  for (const Structure* structure : subject.SeenOfType(field.Type)) {
    const auto serial = structure->Text(field);
    if (serial && IsDummy(*serial)) {
      report.At(
          *structure,
          fmt::format("the serial number of the {} is {}, which stands for none: nothing tells "
                      "it from others of its model",
                      whose, Quote(*serial)),
          "write the serial number when the machine is made, or string 0 for none");
    }
  }
}

void CheckSystemSerial(const Subject& subject, Report& report) {
  CheckSerial(subject, report, SMBIOS_FIELD(1, SerialNumber), "system");
}

void CheckBoardSerial(const Subject& subject, Report& report) {
  CheckSerial(subject, report, SMBIOS_FIELD(2, SerialNumber), "board");
}

// As it is written: SMBIOS keeps the first three groups with their lowest byte first.
std::string FormatUuid(const Uuid& stored) {
  constexpr std::size_t kOrder[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  std::string text;
  for (std::size_t i = 0; i < std::size(kOrder); ++i) {
    const bool beginsGroup = i == 4 || i == 6 || i == 8 || i == 10;
    text += fmt::format("{}{:02x}", beginsGroup ? "-" : "", stored[kOrder[i]]);
  }
  return text;
}

void CheckUuid(const Subject& subject, Report& report) {
  for (const Structure* system : subject.SeenOfType(kSystem)) {
    Uuid uuid = {};
    if (!system->Has(kUuid, std::size(uuid))) {
      continue;
    }
    for (std::size_t i = 0; i < std::size(uuid); ++i) {
      uuid[i] = system->Byte(kUuid + i);
    }
    if (devices::IsMadeUp(uuid)) {
      report.At(
          *system,
          fmt::format("the UUID is {}, which firmware has that was given none: other machines "
                      "have the same",
                      FormatUuid(uuid)),
          "write a UUID when the machine is made, or zeros for none");
    }
  }
}

constexpr Rule kRules[] = {
    {"system-serial", Severity::kWarning, kBoth,
     "The serial number of the system is one that stands for none.",
     "Firmware that was given no serial number has texts such as \"Default string\". Inventories "
     "take them for serial numbers: all machines of the model become one. The driver hands it out "
     "as the service tag.",
     "Write the serial number when the machine is made. String 0 says that there is none.",
     "version = 3.3\n[bios]\n[system]\nproduct = \"Node\"\nserial  = \"Default string\"\n"
     "[fqdd-map]\nformat = 1\n[end]\n",
     CheckSystemSerial},
    {"system-uuid", Severity::kWarning, kBoth,
     "The UUID of the system is one that stands for none.",
     "A UUID whose bytes are all the same, or count up, was never written: all machines of the "
     "model have it, and what goes by UUIDs (network boot, virtual machine managers, licences) "
     "mixes them up. Zeros, and FFh in all bytes, say that there is none, and are no fault.",
     "Write a UUID when the machine is made, or zeros.",
     "version = 3.3\n[bios]\n[system]\nproduct = \"Node\"\n"
     "uuid = 03000200-0400-0500-0006-000700080009\n[fqdd-map]\nformat = 1\n[end]\n",
     CheckUuid},
    {"board-serial", Severity::kWarning, kTable,
     "The serial number of a board is one that stands for none.",
     "Where the system has no serial number of its own, inventories fall back on the board's. One "
     "that stands for none is the same on all machines of the model.",
     "Write the serial number when the machine is made. String 0 says that there is none.",
     "[board]\nchassis = 0xFFFF\nserial  = \"Default string\"\n", CheckBoardSerial},
};

}  // namespace

Rules IdentityRules() {
  return kRules;
}

}  // namespace tvq::lint
