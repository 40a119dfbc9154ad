/*
 * Rules about what tells a machine from others of its model.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "host/lint/devices.h"
#include "host/lint/families.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

constexpr smbios::SizeType kUuid = SMBIOS_FIELD(1, Uuid).Offset;
using Uuid = std::array<std::uint8_t, 16>;

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
Uuid AsWritten(const Uuid& stored) {
  constexpr std::size_t kOrder[] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  Uuid written;
  std::transform(std::begin(kOrder), std::end(kOrder), written.begin(),
                 [&](std::size_t at) { return stored[at]; });
  return written;
}

bool CountsUp(const Uuid& uuid) {
  const auto isNotNext = [](unsigned left, unsigned right) { return right != left + 1; };
  return std::adjacent_find(uuid.begin(), uuid.end(), isNotNext) == uuid.end();
}

bool CountsUpInWords(const Uuid& uuid) {
  const auto word = [&](std::size_t at) { return uuid[at] << 8 | uuid[at + 1]; };
  for (std::size_t at = 2; at < uuid.size(); at += 2) {
    if (word(at) != word(at - 2) + 1) {
      return false;
    }
  }
  return true;
}

// Zeros and FFh say that there is none, as the standard wants it.
bool IsMadeUp(const Uuid& stored) {
  constexpr Uuid kDigits = {0x12, 0x34, 0x56, 0x78, 0x12, 0x34, 0x56, 0x78,
                            0x90, 0xAB, 0xCD, 0xDE, 0xEF, 0xAA, 0xBB, 0xCC};
  const Uuid written = AsWritten(stored);
  const bool isOneByte = std::all_of(stored.begin(), stored.end(),
                                     [&](std::uint8_t byte) { return byte == stored[0]; });
  const bool saysNone = isOneByte && (stored[0] == 0x00 || stored[0] == 0xFF);
  return !saysNone &&
         (isOneByte || CountsUp(stored) || CountsUp(written) || CountsUpInWords(stored) ||
          CountsUpInWords(written) || stored == kDigits || written == kDigits);
}

std::string FormatUuid(const Uuid& stored) {
  const Uuid uuid = AsWritten(stored);
  std::string text;
  for (std::size_t i = 0; i < uuid.size(); ++i) {
    const bool beginsGroup = i == 4 || i == 6 || i == 8 || i == 10;
    text += fmt::format("{}{:02x}", beginsGroup ? "-" : "", uuid[i]);
  }
  return text;
}

void CheckUuid(const Subject& subject, Report& report) {
  for (const Structure* system : subject.SeenOfType(kSystem)) {
    Uuid uuid = {};
    if (!system->Has(kUuid, uuid.size())) {
      continue;
    }
    for (std::size_t i = 0; i < uuid.size(); ++i) {
      uuid[i] = system->Byte(kUuid + i);
    }
    if (IsMadeUp(uuid)) {
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
