/*
 * A machine, and what the driver makes of it, as text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>

#include "host/cli/device/overview.h"
#include "host/cli/machine/machine_text.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

constexpr size_t kHandlesShown = 4;
constexpr size_t kChangesShown = 20;

std::string DriverText(const Overview& overview, const Terminal& terminal) {
  const run::Table& table = overview.table;
  std::vector<std::string> items = {
      fmt::format("SMBIOS {}.{}", table.major, table.minor),
      Counted(table.structureCount, "structure"),
      Counted(table.structures.size(), "byte"),
  };
  if (overview.trouble.empty()) {
    items.push_back(fmt::format("the driver's start: {}", overview.results.start));
  }
  items.push_back(Counted(overview.devices.size(), "record"));
  if (!overview.others.empty()) {
    items.push_back("without one of their own: " + overview.others);
  }
  std::string text = Heading(terminal, "Driver") + Listed(items, terminal, "  ", 4);
  for (const Device& device : overview.devices) {
    if (!device.trouble.empty()) {
      text +=
          Wrapped(fmt::format("{}: the document cannot be read: {}", device.fqdd, device.trouble),
                  terminal, 2);
    }
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
  std::string text = Heading(terminal, "Without a record", Ink::kYellow);
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
    return text +
           Wrapped("To conform the table would not help: " + conformable.summary, terminal, 2);
  }
  text += fmt::format("  Without --as-is, a copy of the table would be changed in {} places:\n",
                      conformable.changes.size());
  for (size_t i = 0; i < conformable.changes.size(); ++i) {
    if (i == kChangesShown && conformable.changes.size() > kChangesShown + 1) {
      return text + fmt::format("    and {} more, which --json lists\n",
                                conformable.changes.size() - kChangesShown);
    }
    text += Wrapped(conformable.changes[i], terminal, 4);
  }
  return text;
}

std::vector<std::string> ValuesOf(const run::Attribute& attribute, const Terminal& terminal) {
  if (attribute.biosInfo) {
    const auto text = [&terminal](const char* what, const std::optional<std::string>& value) {
      return fmt::format("{} {}", what, value ? Printable(*value, terminal) : "-");
    };
    return {text("service tag", attribute.biosInfo->serviceTag),
            text("BIOS version", attribute.biosInfo->biosVersion),
            text("product name", attribute.biosInfo->productName)};
  }
  return {attribute.text ? Printable(*attribute.text, terminal)
                         : fmt::format("({})", attribute.status)};
}

std::string AttributesText(const Overview& overview, const Terminal& terminal) {
  const auto nameOf = [](const run::Attribute& attribute) {
    return Printable(attribute.nameSpace) + ' ' + Printable(attribute.name);
  };
  std::size_t width = 0;
  for (const run::Attribute& attribute : overview.results.attributes) {
    width = std::max(width, WidthOf(nameOf(attribute)));
  }
  std::string text;
  for (const run::Attribute& attribute : overview.results.attributes) {
    text += Listed(ValuesOf(attribute, terminal), terminal,
                   fmt::format("  {:<{}}  ", nameOf(attribute), width), width + 4);
  }
  return text.empty() ? "" : Heading(terminal, "Attributes") + text;
}

}  // namespace

std::string OverviewText(const Overview& overview, const Terminal& terminal) {
  return MachineText(overview.View(), terminal) + DriverText(overview, terminal) +
         MissingText(overview, terminal) + DifferencesText(overview.devices, terminal) +
         AttributesText(overview, terminal);
}

std::string DeviceText(const Overview& overview, PartPlace place, const Terminal& terminal) {
  const MachineView view = overview.View();
  const Device* const device = view.DeviceOf(place);
  std::string text = PartText(view, place, terminal);
  if (device == nullptr) {
    return text + "\nThe driver makes no record of it.\n";
  }
  text += DifferencesText({*device}, terminal);
  if (!device->document) {
    return text + '\n' + Wrapped("The document cannot be read: " + device->trouble, terminal, 0);
  }
  return text + "\n" + Indented(*device->document, terminal);
}

}  // namespace tvq::cli
