/*
 * Rules about the system: its structure, the firmware's, and the system's name.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/lint/families.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

// Reports the second structure of a type and all later ones, or that there is none.
void CheckSingle(const Subject& subject, Report& report, std::uint8_t type,
                 const std::string& consequence) {
  const auto structures = subject.SeenOfType(type);
  const std::string advice =
      fmt::format("let the table have exactly one structure of type {}", type);
  if (structures.empty()) {
    report.OnTable(fmt::format("there is no structure of type {}: {}", type, consequence), advice);
  }
  for (std::size_t i = 1; i < structures.size(); ++i) {
    report.At(*structures[i],
              fmt::format("there is another structure of type {}, {}: {}", type,
                          HandleName(structures[0]->Handle()), consequence),
              advice);
  }
}

void CheckSystemCount(const Subject& subject, Report& report) {
  CheckSingle(subject, report, kSystem,
              "the system gets no record, and the attributes for service tag and system name "
              "answer Not Found");
}

void CheckBiosCount(const Subject& subject, Report& report) {
  CheckSingle(subject, report, kBios,
              "the system's document says nothing about the firmware's version and date");
}

void CheckProduct(const Subject& subject, Report& report) {
  const auto systems = subject.SeenOfType(kSystem);
  if (systems.size() == 1 && systems[0]->Get(SMBIOS_FIELD(1, ProductName)) == 0) {
    report.At(*systems[0],
              "the system has no product name: it gets no record, and building reports success",
              "give the system a product name");
  }
}

// The driver asks structure i for its string i + 1, and the first that begins with '9' ends it.
void CheckSystemName(const Subject& subject, Report& report) {
  const auto oemStrings = subject.SeenOfType(kOemStrings);
  for (std::size_t i = 0; i < oemStrings.size(); ++i) {
    const auto text = oemStrings[i]->String(i + 1);
    if (text && text->substr(0, 1) == "9") {
      report.At(*oemStrings[i],
                fmt::format("string {} begins with '9': {}. The attribute "
                            "\"SMBIOSSystemNameString\" answers Invalid Parameter, and not the "
                            "product name",
                            i + 1, Quote(*text)),
                "put another string in its place");
      return;
    }
  }
}

constexpr Rule kRules[] = {
    {"system-count", Severity::kError, kBoth, "There is not exactly one structure of type 1.",
     "The driver makes the system's record only of a single structure of type 1; with two or none "
     "there is no record, and the attributes for service tag and system name answer Not Found. The "
     "standard asks for exactly one.",
     "Let the table have one structure of type 1.",
     "[system]\nmanufacturer = \"TVQ Reference Systems\"\nproduct = \"Second Node\"\n"
     "serial = \"TVQ2S02\"\n",
     CheckSystemCount},
    {"bios-count", Severity::kWarning, kBoth, "There is not exactly one structure of type 0.",
     "The system's document has its BIOSData only with a single structure of type 0. The attribute "
     "with the firmware's version takes the first. The standard asks for exactly one.",
     "Let the table have one structure of type 0.",
     "[bios]\nvendor = \"TVQ Reference Systems\"\nversion = \"2.4.1\"\n"
     "release-date = \"03/18/2024\"\n",
     CheckBiosCount},
    {"system-product", Severity::kError, kDriver, "The system has no product name.",
     "The driver makes no record of a system whose product name is no string, and builds on as if "
     "nothing was missing.",
     "Give the system a product name.",
     "version = 3.3\n[bios]\n[system]\nserial = \"TVQ2S01\"\n[fqdd-map]\nformat = 1\n[end]\n",
     CheckProduct},
    {"oem-system-name", Severity::kWarning, kDriver,
     "An OEM string begins with '9' where the system's name is looked for.",
     "For the attribute \"SMBIOSSystemNameString\" the driver asks the first structure of type 11 "
     "for its string 1, the second one for its string 2, and so on. The first of these that begins "
     "with '9' ends the search, and the answer is Invalid Parameter instead of the product name.",
     "Put another string first, or a character in front of the '9'.",
     "[oem-strings]\nstring = \"9DF3 TVQ\"\n", CheckSystemName},
};

}  // namespace

Rules SystemRules() {
  return kRules;
}

}  // namespace tvq::lint
