/*
 * Rules about the locators of memory modules.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <map>

#include "host/lint/devices.h"
#include "host/lint/families.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

// A locator with this text anywhere loses its first five characters.
constexpr std::string_view kPrefix = "DIMM_";

constexpr char kAdvice[] =
    "make the three characters differ: \"A1\", or \"DIMM_A1\", whose \"DIMM_\" is skipped";

void CheckLocatorClash(const Subject& subject, Report& report) {
  std::map<Key, const Structure*> owners;
  bool isFirst = true;
  for (std::size_t i = 0; i < subject.Modules().size(); ++i) {
    const Structure& module = *subject.Modules()[i];
    const auto [owner, isNew] = owners.emplace(KeyOf(module), &module);
    if (isNew) {
      continue;
    }
    const std::size_t after = subject.Modules().size() - i - 1;
    const std::string lost = isFirst ? LostRecords("modules", after) : "the same device path again";
    isFirst = false;
    report.At(module,
              fmt::format("locator {} gives {}, as {} of {} does: {}",
                          Quote(module.TextOrEmpty(SMBIOS_FIELD(17, DeviceLocator))),
                          Quote(LocatorText(module)),
                          Quote(owner->second->TextOrEmpty(SMBIOS_FIELD(17, DeviceLocator))),
                          HandleName(owner->second->Handle()), lost),
              kAdvice);
  }
}

void CheckLocatorPrefix(const Subject& subject, Report& report) {
  for (const Structure* module : subject.Modules()) {
    const std::string_view locator = module->TextOrEmpty(SMBIOS_FIELD(17, DeviceLocator));
    const std::size_t at = locator.find(kPrefix);
    if (at != std::string_view::npos && at != 0) {
      report.At(*module,
                fmt::format("locator {} has \"DIMM_\" behind its start, and loses its first five "
                            "characters all the same: {} is left",
                            Quote(locator), Quote(LocatorText(*module))),
                "begin the locator with \"DIMM_\", or leave it out");
    }
  }
}

void CheckLocatorShort(const Subject& subject, Report& report) {
  for (const Structure* module : subject.Modules()) {
    const auto locator = module->Text(SMBIOS_FIELD(17, DeviceLocator));
    if (!locator) {
      report.At(*module,
                "the module has no locator: its name is \"DIMM \", and its device path has zeros",
                "name the slot in two or three characters: \"A1\"");
      continue;
    }
    const std::string name = LocatorText(*module);
    if (name.size() < 2) {
      report.At(*module,
                fmt::format("locator {} leaves {} to name the module, and the bytes behind it in "
                            "the table get into the device path",
                            Quote(*locator), name.empty() ? "nothing" : Quote(name)),
                "name the slot in two or three characters: \"A1\"");
    }
  }
}

constexpr Rule kRules[] = {
    {"locator-clash", Severity::kError, kDriver,
     "The locators of two modules give the same three characters.",
     "Three characters of the locator are all that tells the device paths of two modules apart: "
     "the first three, or those from the sixth on where \"DIMM_\" stands anywhere in it. The "
     "firmware refuses a second handle with an equal path (Already started), and the driver ends "
     "building modules there: this one and all behind it get no record. \"P1-DIMMA1\" and "
     "\"P1-DIMMB1\" both give \"P1-\".",
     "Let the first three characters differ, or begin with \"DIMM_\" and let the next three. "
     "Commands do so in a copy of the table, unless `--as-is` is given.",
     "[memory-device like @dimm1]\nlocator = \"P1-DIMMA1\"\nserial  = \"7A2C0002\"\n"
     "[memory-device like @dimm1]\nlocator = \"P1-DIMMB1\"\nserial  = \"7A2C0003\"\n",
     CheckLocatorClash},
    {"locator-prefix", Severity::kWarning, kDriver,
     "\"DIMM_\" stands in a locator, but not at its start.",
     "Where \"DIMM_\" is found anywhere in the locator, the driver skips five characters from the "
     "start of the locator, not from where it was found: \"CPU1_DIMM_A1\" becomes \"DIM\".",
     "Begin the locator with \"DIMM_\", or leave it out.",
     "[memory-device like @dimm1]\nlocator = \"CPU1_DIMM_A2\"\nserial  = \"7A2C0002\"\n",
     CheckLocatorPrefix},
    {"locator-short", Severity::kWarning, kDriver,
     "A locator has fewer than two characters to name the module.",
     "The driver takes three bytes whatever the length of the locator: its terminator, and the "
     "first byte of the string behind it. They end up in the device path, so that a change of an "
     "unrelated string makes the module another device.",
     "Name the slot in two or three characters.",
     "[memory-device like @dimm1]\nlocator = \"B\"\nserial  = \"7A2C0002\"\n", CheckLocatorShort},
};

}  // namespace

Rules LocatorRules() {
  return kRules;
}

}  // namespace tvq::lint
