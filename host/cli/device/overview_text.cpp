/*
 * A machine as the driver sees it, as text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/cli/device/overview.h"
#include "host/cli/device/system_text.h"
#include "host/cli/output/text.h"
#include "host/cli/output/text_table.h"

namespace tvq::cli {
namespace {

constexpr unsigned kSystem = 4;
constexpr size_t kHandlesShown = 4;
constexpr size_t kChangesShown = 20;

std::string Heading(const Terminal& terminal, const std::string& text) {
  return "\n" + Painted(terminal, Ink::kBold, text) + "\n";
}

std::string DevicesText(const Overview& overview, const Terminal& terminal) {
  TextTable table({"NAME", "FQDD", "MODEL", "IDENTITY", "PART OR CORES", "SIZE", "SPEED", "SLOT"},
                  2);
  for (const Device& device : overview.devices) {
    table.Add({device.name, device.fqdd, device.model, device.identity,
               device.part == "-" ? device.cores : device.part, device.size, device.speed,
               device.slot});
  }
  std::string text = Heading(terminal, fmt::format("Devices: {}", overview.devices.size()));
  text += table.IsEmpty() ? "" : table.Render(terminal);
  for (const Device& device : overview.devices) {
    if (!device.trouble.empty()) {
      text += fmt::format("  {}: the document cannot be read: {}\n", device.fqdd, device.trouble);
    }
  }
  if (!overview.empty.empty()) {
    text += fmt::format("  Besides: {}.\n", overview.empty);
  }
  return text;
}

std::string HandlesInWords(const std::vector<unsigned>& handles) {
  std::string text = handles.size() == 1 ? "handle" : "handles";
  for (size_t i = 0; i < handles.size(); ++i) {
    if (i == kHandlesShown && handles.size() > kHandlesShown + 1) {
      return text + fmt::format(" ... 0x{:04X}", handles.back());
    }
    text += fmt::format("{}0x{:04X}", i == 0 ? " " : ", ", handles[i]);
  }
  return text;
}

std::string WhatInWords(const Missing& missing) {
  return missing.handles.empty()
             ? missing.what
             : fmt::format("{} {}{}, {}", missing.handles.size(), missing.what,
                           missing.handles.size() == 1 ? "" : "s", HandlesInWords(missing.handles));
}

std::string MissingText(const Overview& overview, const Terminal& terminal) {
  if (overview.missing.empty()) {
    return "";
  }
  std::string text = "\n" + Painted(terminal, Ink::kYellow, "Without a record") + "\n";
  std::string lastReason;
  for (const Missing& entry : overview.missing) {
    if (entry.why != lastReason) {
      text += Wrapped(entry.why + ':', terminal, 2);
      lastReason = entry.why;
    }
    text += Wrapped(WhatInWords(entry), terminal, 4);
  }
  const run::Conformed& conformable = overview.conformable;
  if (conformable.changes.empty()) {
    return text + Wrapped("--conform would not help: " + conformable.summary, terminal, 2);
  }
  text += fmt::format("  --conform would change a copy of the table in {} places:\n",
                      conformable.changes.size());
  for (size_t i = 0; i < conformable.changes.size(); ++i) {
    if (i == kChangesShown && conformable.changes.size() > kChangesShown + 1) {
      return text + fmt::format("    and {} more, which --json lists\n",
                                conformable.changes.size() - kChangesShown);
    }
    text += "    " + conformable.changes[i] + '\n';
  }
  return text;
}

std::string ValueOf(const run::Attribute& attribute) {
  if (attribute.biosInfo) {
    const auto text = [](const std::optional<std::string>& value) {
      return value ? Printable(*value) : "-";
    };
    return fmt::format("service tag {}, BIOS version {}, product name {}",
                       text(attribute.biosInfo->serviceTag), text(attribute.biosInfo->biosVersion),
                       text(attribute.biosInfo->productName));
  }
  return attribute.text ? Printable(*attribute.text) : fmt::format("({})", attribute.status);
}

std::string AttributesText(const Overview& overview, const Terminal& terminal) {
  TextTable table({"NAMESPACE", "NAME", "VALUE"});
  for (const run::Attribute& attribute : overview.results.attributes) {
    table.Add({Printable(attribute.nameSpace), Printable(attribute.name), ValueOf(attribute)});
  }
  return Heading(terminal, "Attributes") + table.Render(terminal);
}

}  // namespace

std::string OverviewText(const Overview& overview, const Terminal& terminal) {
  const run::Table& table = overview.table;
  std::string text = fmt::format("SMBIOS {}.{}, {} structures, {} bytes; the driver's start: {}\n",
                                 table.major, table.minor, table.structureCount,
                                 table.structures.size(), overview.results.start);
  text += DevicesText(overview, terminal) + MissingText(overview, terminal);
  for (const Device& device : overview.devices) {
    if (device.type == kSystem && device.document) {
      text += Heading(terminal, "System") + SystemText(*device.document, terminal);
    }
  }
  return text + AttributesText(overview, terminal);
}

std::string DeviceText(const Device& device, const Terminal& terminal) {
  const std::pair<const char*, const std::string&> rows[] = {
      {"Name", device.name},         {"FQDD", device.fqdd},   {"Model", device.model},
      {"Identity", device.identity}, {"Part", device.part},   {"Cores", device.cores},
      {"Size", device.size},         {"Speed", device.speed}, {"Slot", device.slot}};
  std::string text;
  for (const auto& [title, value] : rows) {
    if (value != "-") {
      text += fmt::format("{:<10}{}\n", title, value);
    }
  }
  if (!device.document) {
    return text + "\nThe document cannot be read: " + device.trouble + "\n";
  }
  return text + "\n" + Indented(*device.document, terminal);
}

}  // namespace tvq::cli
