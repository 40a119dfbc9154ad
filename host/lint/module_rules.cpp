/*
 * Rules about the identity of memory modules: what tells that one was replaced.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <map>
#include <utility>

#include "host/lint/devices.h"
#include "host/lint/families.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

using devices::kSerialLength;

// The driver reads up to these offsets without a test of the length, the second ones only from
// structures longer than kLateFieldsBeyond.
constexpr std::size_t kConfiguredSpeedEnd = SMBIOS_FIELD(17, ConfiguredMemoryClockSpeed).End();
constexpr std::size_t kLateFieldsBeyond = SMBIOS_FIELD(17, NonVolatileSize).Offset - 1;
constexpr std::size_t kLateFieldsEnd = SMBIOS_FIELD(17, LogicalSize).End();

using StringField = smbios::Field<std::uint8_t>;
constexpr StringField kSerial = SMBIOS_FIELD(17, SerialNumber);
constexpr StringField kPartNumber = SMBIOS_FIELD(17, PartNumber);

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  return first == std::string_view::npos
             ? std::string_view()
             : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool IsDummyAt(const Structure& module, StringField field) {
  return !module.IsStringMissing(field) && IsDummy(module.TextOrEmpty(field));
}

std::string Value(const Structure& module, StringField field) {
  const std::string_view text = module.TextOrEmpty(field);
  return Trimmed(text).empty() ? "is missing or blank" : fmt::format("is {}", Quote(text));
}

void CheckSerialPlaceholder(const Subject& subject, Report& report) {
  for (const Structure* module : subject.Modules()) {
    if (IsDummyAt(*module, kSerial)) {
      report.At(*module,
                fmt::format("the serial number {}: a replacement by a module of the same part "
                            "number cannot be told",
                            Value(*module, kSerial)),
                "write the serial number of the module's SPD");
    }
  }
}

void CheckPartPlaceholder(const Subject& subject, Report& report) {
  for (const Structure* module : subject.Modules()) {
    if (IsDummyAt(*module, kPartNumber)) {
      report.At(*module,
                fmt::format("the part number {}: a replacement can be told by the serial number "
                            "alone",
                            Value(*module, kPartNumber)),
                "write the part number of the module's SPD");
    }
  }
}

void CheckSerialLong(const Subject& subject, Report& report) {
  for (const Structure* module : subject.Modules()) {
    const std::string_view serial = module->TextOrEmpty(kSerial);
    if (serial.size() > kSerialLength && !IsDummy(serial)) {
      report.At(*module,
                fmt::format("serial number {} has {} characters: blob and document keep the first "
                            "{}, {}",
                            Quote(serial), serial.size(), kSerialLength,
                            Quote(serial.substr(0, kSerialLength))),
                fmt::format("write serial numbers of up to {} characters", kSerialLength));
    }
  }
}

// Makers number their modules each for themselves.
using Identity = std::pair<std::string_view, std::string_view>;

Identity IdentityOf(const Structure& module) {
  return {module.TextOrEmpty(SMBIOS_FIELD(17, Manufacturer)), module.TextOrEmpty(kSerial)};
}

void CheckSerialRepeated(const Subject& subject, Report& report) {
  std::map<Identity, const Structure*> owners;
  for (const Structure* module : subject.Modules()) {
    const Identity identity = IdentityOf(*module);
    if (IsDummy(identity.second)) {
      continue;
    }
    const auto [owner, isNew] = owners.emplace(identity, module);
    if (!isNew) {
      report.At(
          *module,
          fmt::format("serial number {} is that of {}, too, of the same maker: the two cannot "
                      "be told apart",
                      Quote(identity.second), HandleName(owner->second->Handle())),
          "write the serial number of each module's SPD");
    }
  }
}

// Modules with the same serial number have a rule of their own.
void CheckSerialAlike(const Subject& subject, Report& report) {
  std::map<std::string_view, const Structure*> owners;
  for (const Structure* module : subject.Modules()) {
    const std::string_view serial = module->TextOrEmpty(kSerial);
    if (IsDummy(serial)) {
      continue;
    }
    const auto [owner, isNew] = owners.emplace(serial.substr(0, kSerialLength), module);
    if (!isNew && IdentityOf(*owner->second) != IdentityOf(*module)) {
      report.At(*module,
                fmt::format("serial number {} and that of {} are alike in their first {} "
                            "characters: an exchange of the two cannot be told",
                            Quote(serial), HandleName(owner->second->Handle()), kSerialLength),
                "write the serial number of each module's SPD");
    }
  }
}

void CheckPartBlank(const Subject& subject, Report& report) {
  for (const Structure* module : subject.Modules()) {
    const std::string_view part = Trimmed(module->TextOrEmpty(kPartNumber));
    const std::size_t blank = part.find(' ');
    if (blank != std::string_view::npos && !IsDummy(part)) {
      report.At(*module,
                fmt::format("part number {} has a blank inside: the document keeps {}, and only "
                            "that is compared later",
                            Quote(part), Quote(part.substr(0, blank))),
                "write the part number without blanks");
    }
  }
}

void CheckPartLeadingBlank(const Subject& subject, Report& report) {
  for (const Structure* module : subject.Modules()) {
    const std::string_view part = module->TextOrEmpty(kPartNumber);
    if (part.substr(0, 1) == " " && !Trimmed(part).empty()) {
      report.At(*module,
                fmt::format("part number {} begins with a blank, which the document does not: "
                            "an agent that verifies before it gets the blobs is told of a "
                            "replacement on every boot",
                            Quote(part)),
                "write the part number without blanks in front");
    }
  }
}

void CheckMemoryShort(const Subject& subject, Report& report) {
  for (const Structure* module : subject.Modules()) {
    const std::size_t length = module->Length();
    const bool isLate = length > kLateFieldsBeyond && length < kLateFieldsEnd;
    if (module->IsWellFormed() && (length < kConfiguredSpeedEnd || isLate)) {
      report.At(*module,
                fmt::format("the structure has {:02X}h bytes, and the driver reads {}, out of "
                            "its texts",
                            length, isLate ? "fields up to 54h" : "the configured speed at 20h"),
                isLate ? "make the structure 54h bytes long, or 28h"
                       : "make the structure 22h bytes long at least");
    }
  }
}

// In MT/s; 0 where the module does not say.
std::uint32_t SpeedOf(const Structure& module, smbios::Field<std::uint16_t> speed,
                      smbios::Field<std::uint32_t> extended) {
  constexpr std::uint16_t kTooFast = 0xFFFF;
  const std::uint16_t value = module.Get(speed);
  return value == kTooFast ? module.Get(extended) & 0x7FFFFFFF : value;
}

void CheckSpeed(const Subject& subject, Report& report) {
  for (const Structure* module : subject.Modules()) {
    const std::uint32_t rated =
        SpeedOf(*module, SMBIOS_FIELD(17, Speed), SMBIOS_FIELD(17, ExtendedSpeed));
    const std::uint32_t configured = SpeedOf(*module, SMBIOS_FIELD(17, ConfiguredMemoryClockSpeed),
                                             SMBIOS_FIELD(17, ExtendedConfiguredMemorySpeed));
    if (rated != 0 && configured > rated) {
      report.At(
          *module, fmt::format("the module runs at {} MT/s, and is made for {}", configured, rated),
          "write the speed that the module is made for at 15h, and the one it runs at at 20h");
    }
  }
}

constexpr Rule kRules[] = {
    {"serial-placeholder", Severity::kWarning, kDriver,
     "A module has no serial number, or one that stands for none.",
     "A module counts as replaced when its serial number differs from the stored one, or when its "
     "part number does not begin with the stored one. Without a serial number of its own, a "
     "module that is replaced by one of the same kind looks the same.",
     "Write the serial number that the module's SPD has.",
     "[memory-device like @dimm1]\nlocator = \"A2\"\nserial  = \"To Be Filled By O.E.M.\"\n",
     CheckSerialPlaceholder},
    {"part-placeholder", Severity::kNote, kDriver,
     "A module has no part number, or one that stands for none.",
     "The part number tells replacements where serial numbers do not. A stored part number that is "
     "empty is the beginning of every other.",
     "Write the part number that the module's SPD has.",
     "[memory-device like @dimm1]\nlocator     = \"A2\"\nserial      = \"7A2C0002\"\n"
     "part-number = \"Not Specified\"\n",
     CheckPartPlaceholder},
    {"serial-long", Severity::kWarning, kDriver,
     "The serial number of a module has more than 14 characters.",
     "The inventory blob, the document and the comparison with a stored document use the first 14 "
     "characters.",
     "Use shorter serial numbers, or make sure that they differ in the first 14 characters.",
     "[memory-device like @dimm1]\nlocator = \"A2\"\nserial  = \"S/N 2024-11-7A2C0002\"\n",
     CheckSerialLong},
    {"serial-repeated", Severity::kWarning, kBoth,
     "Two modules of a maker have the same serial number.",
     "A serial number is one part's. Inventories take the two modules for one, and when they "
     "change "
     "places, or one takes the place of the other, both look the same as before.",
     "Write the serial number that each module's SPD has.",
     "[memory-device like @dimm1]\nlocator = \"A2\"  # and the serial number of A1\n",
     CheckSerialRepeated},
    {"serial-alike", Severity::kWarning, kDriver,
     "The serial numbers of two modules are alike in the first 14 characters.",
     "Only 14 characters reach the stored document. When the two modules change places, or one "
     "takes the place of the other, both look the same as before.",
     "Write the serial number that each module's SPD has.",
     "[memory-device like @dimm1]\nlocator      = \"A2\"\nmanufacturer = \"Another Maker\"\n",
     CheckSerialAlike},
    {"part-blank", Severity::kWarning, kDriver, "The part number of a module has a blank inside.",
     "Blanks at both ends are trimmed, and of the rest the document keeps what stands before the "
     "first blank. A module with another second word does not count as replaced by its part "
     "number.",
     "Write the part number without blanks.",
     "[memory-device like @dimm1]\nlocator     = \"A2\"\nserial      = \"7A2C0002\"\n"
     "part-number = \"TVQ D5-64G\"\n",
     CheckPartBlank},
    {"part-leading-blank", Severity::kWarning, kDriver,
     "The part number of a module begins with a blank.",
     "The document has the part number trimmed. The record's own is trimmed when the document is "
     "written, that is on the first Get of a boot. A Verify before that compares the stored part "
     "number with one that begins with a blank, and reports a replacement.",
     "Write the part number without blanks in front; or let the agent get the blobs first.",
     "[memory-device like @dimm1]\nlocator     = \"A2\"\nserial      = \"7A2C0002\"\n"
     "part-number = \" TVQ-D5-64G\"\n",
     CheckPartLeadingBlank},
    {"speed-above-rated", Severity::kWarning, kTable, "A module runs faster than it is made for.",
     "The configured speed at 20h is above the speed at 15h, which is the highest that the module "
     "is "
     "made for (SMBIOS 7.18). Either the module is overclocked, or one of the two is something "
     "else: "
     "a clock in MHz beside a rate in MT/s, say.",
     "Write the speed that the module is made for at 15h, and the one that it runs at at 20h.",
     "[memory-device like @dimm1]\nlocator = \"A2\"\nserial  = \"7A2C0002\"\n"
     "array   = 0xFFFF\nspeed   = 2400\nconfigured-speed = 2666\n",
     CheckSpeed},
    {"memory-short", Severity::kWarning, kDriver,
     "A memory device is too short for the fields that the driver reads from it.",
     "The configured speed at 20h is read whatever the length of the structure, and ten fields "
     "from 28h to 53h as soon as it is longer than 33h. What lies behind the formatted part are "
     "texts: their first characters become numbers in the document.",
     "Make type 17 as long as the version of the standard has it: 22h for 2.7, 28h for 2.8, 54h "
     "for 3.2.",
     "[memory-device like @dimm1]\nlocator = \"A2\"\nserial  = \"7A2C0002\"\nlength  = 0x1C\n",
     CheckMemoryShort},
};

}  // namespace

Rules ModuleRules() {
  return kRules;
}

}  // namespace tvq::lint
