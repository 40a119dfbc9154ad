/*
 * The parts of a machine as text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/machine/machine_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "host/cli/machine/fact_text.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"
#include "host/cli/output/text_table.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using facts::Part;

constexpr std::size_t kTitleWidth = 11;

// A fact where it stands: "serial 1234", "16 GB".
struct FactShown {
  const char* fact;
  const char* heading;  // of a column
  const char* before;   // where it is no column
};

// ---- Parts of which a machine has one, or few ----

constexpr FactShown kFirmware[] = {{"version", "", "version "},
                                   {"date", "", ""},
                                   {"release", "", "release "},
                                   {"controllerRelease", "", "controller release "},
                                   {"romSizeInBytes", "", ""}};
constexpr FactShown kSystem[] = {{"version", "", "version "},
                                 {"serial", "", "serial "},
                                 {"sku", "", "SKU "},
                                 {"family", "", "family "},
                                 {"uuid", "", "UUID "}};
constexpr FactShown kBoard[] = {{"version", "", "version "},
                                {"serial", "", "serial "},
                                {"assetTag", "", "asset tag "},
                                {"location", "", "location "},
                                {"type", "", ""}};
constexpr FactShown kChassis[] = {{"version", "", "version "},
                                  {"serial", "", "serial "},
                                  {"assetTag", "", "asset tag "},
                                  {"sku", "", "SKU "},
                                  {"heightInUnits", "", ""}};
constexpr FactShown kMemoryArray[] = {{"location", "", ""},
                                      {"errorCorrection", "", "error correction: "},
                                      {"capacityInBytes", "", "up to "},
                                      {"deviceCount", "", "devices: "}};

struct PartShown {
  Kind kind;
  const char* title;
  const char* first;   // the facts that stand at the start,
  const char* second;  // as one phrase
  const FactShown* facts;
  std::size_t count;
};

template <std::size_t N>
constexpr PartShown Shown(Kind kind, const char* title, const char* first, const char* second,
                          const FactShown (&facts)[N]) {
  return {kind, title, first, second, facts, N};
}
constexpr PartShown kSingleParts[] = {
    Shown(Kind::kSystem, "System", "manufacturer", "product", kSystem),
    Shown(Kind::kBoard, "Board", "manufacturer", "product", kBoard),
    Shown(Kind::kChassis, "Chassis", "manufacturer", "type", kChassis),
    Shown(Kind::kFirmware, "Firmware", "vendor", "", kFirmware),
};
constexpr PartShown kArray = Shown(Kind::kMemoryArray, "Array", "use", "", kMemoryArray);

std::string SinglePart(const Part& part, const PartShown& shown, const Terminal& terminal,
                       std::size_t indent = 0) {
  std::string start;
  for (const char* const fact : {shown.first, shown.second}) {
    const std::string text = ValueText(part, fact, terminal);
    if (text != kNothing) {
      start += (start.empty() ? "" : " ") + text;
    }
  }
  std::vector<std::string> items;
  if (!start.empty()) {
    items.push_back(start);
  }
  for (std::size_t i = 0; i < shown.count; ++i) {
    const std::string text = ValueText(part, shown.facts[i].fact, terminal);
    if (text != kNothing) {
      items.push_back(shown.facts[i].before + text);
    }
  }
  if (items.empty()) {
    items.emplace_back(kNothing);
  }
  const std::string title = fmt::format("{:{}}{:<{}}", "", indent, shown.title, kTitleWidth);
  return Listed(items, terminal, title, indent + kTitleWidth);
}

// ---- Parts of which a machine has many ----

constexpr FactShown kProcessor[] = {{"version", "PROCESSOR", ""},
                                    {"coreCount", "CORES", ""},
                                    {"threadCount", "THREADS", ""},
                                    {"currentSpeedInMHz", "SPEED", ""},
                                    {"ppin", "PPIN", "PPIN "},
                                    {"manufacturer", "MANUFACTURER", ""},
                                    {"serial", "SERIAL", "serial "},
                                    {"partNumber", "PART", "part "},
                                    {"assetTag", "ASSET TAG", "asset tag "},
                                    {"enabledCoreCount", "ENABLED", "cores enabled: "},
                                    {"maximumSpeedInMHz", "MAXIMUM", "at most "}};
constexpr FactShown kModule[] = {{"sizeInBytes", "SIZE", ""},
                                 {"type", "TYPE", ""},
                                 {"serial", "SERIAL", "serial "},
                                 {"partNumber", "PART", "part "},
                                 {"manufacturer", "MANUFACTURER", ""},
                                 {"configuredSpeedInMTs", "SPEED", "runs at "},
                                 {"ratedSpeedInMTs", "RATED", "rated "},
                                 {"rank", "RANK", "rank "},
                                 {"totalWidthInBits", "WIDTH", "width "},
                                 {"dataWidthInBits", "DATA", "of data "},
                                 {"formFactor", "FORM", ""},
                                 {"bank", "BANK", "bank "},
                                 {"assetTag", "ASSET TAG", "asset tag "},
                                 {"firmwareVersion", "FIRMWARE", "firmware "},
                                 {"configuredVoltageInMillivolts", "VOLTAGE", ""},
                                 {"technology", "TECHNOLOGY", ""}};
constexpr FactShown kEmptySlot[] = {{"bank", "BANK", "bank "},
                                    {"manufacturer", "MANUFACTURER", "manufacturer "},
                                    {"serial", "SERIAL", "serial "},
                                    {"partNumber", "PART", "part "},
                                    {"assetTag", "ASSET TAG", "asset tag "}};
constexpr FactShown kEmptySocket[] = {{"version", "PROCESSOR", "processor "},
                                      {"manufacturer", "MANUFACTURER", "manufacturer "},
                                      {"serial", "SERIAL", "serial "},
                                      {"partNumber", "PART", "part "},
                                      {"assetTag", "ASSET TAG", "asset tag "}};
constexpr FactShown kSlot[] = {{"type", "TYPE", ""},
                               {"width", "WIDTH", "width "},
                               {"usage", "USAGE", ""},
                               {"address", "ADDRESS", "at "},
                               {"id", "ID", "ID "},
                               {"length", "LENGTH", "length "},
                               {"isHotPlug", "HOT-PLUG", "hot-plug: "}};
constexpr FactShown kOnboardDevice[] = {
    {"type", "TYPE", ""}, {"address", "ADDRESS", "at "}, {"isEnabled", "ENABLED", "enabled: "}};
constexpr FactShown kPowerSupply[] = {{"name", "NAME", ""},
                                      {"manufacturer", "MANUFACTURER", ""},
                                      {"serial", "SERIAL", "serial "},
                                      {"partNumber", "PART", "part "},
                                      {"revision", "REVISION", "revision "},
                                      {"maximumPowerInWatts", "POWER", ""},
                                      {"assetTag", "ASSET TAG", "asset tag "},
                                      {"isPresent", "PRESENT", "present: "}};

template <std::size_t N>
std::string PartsTable(const MachineView& view, const std::vector<PartPlace>& places,
                       const char* label, const FactShown (&facts)[N], const Terminal& terminal) {
  std::vector<Column> columns = {{label, ""}, {"FQDD", ""}};
  for (const FactShown& shown : facts) {
    columns.push_back({shown.heading, shown.before});
  }
  TextTable table(columns, 2);
  for (const PartPlace place : places) {
    const Part& part = view.At(place);
    const std::string fqdd = view.FqddOf(place);
    const char* const name = facts::IsKnown(part.Find("label")) ? "label" : "location";
    std::vector<std::string> row = {ValueText(part, name, terminal),
                                    fqdd.empty() ? kNothing : fqdd};
    for (const FactShown& shown : facts) {
      row.push_back(ValueText(part, shown.fact, terminal));
    }
    table.Add(std::move(row));
  }
  return table.Render(terminal);
}

std::vector<PartPlace> Places(const MachineView& view, Kind kind, bool isPopulated) {
  std::vector<PartPlace> places;
  for (std::size_t i = 0; i < view.machine.Of(kind).size(); ++i) {
    if (facts::IsPopulated(view.machine.Of(kind)[i]) == isPopulated) {
      places.push_back({kind, i});
    }
  }
  return places;
}

std::string ProcessorsText(const MachineView& view, const Terminal& terminal) {
  const std::vector<PartPlace> full = Places(view, Kind::kProcessor, true);
  const std::vector<PartPlace> empty = Places(view, Kind::kProcessor, false);
  std::string text;
  if (!full.empty()) {
    text += Heading(terminal, fmt::format("Processors: {}", full.size())) +
            PartsTable(view, full, "SOCKET", kProcessor, terminal);
  }
  if (!empty.empty()) {
    text += Heading(terminal, fmt::format("Empty sockets: {}", empty.size())) +
            PartsTable(view, empty, "SOCKET", kEmptySocket, terminal);
  }
  return text;
}

std::string MemoryText(const MachineView& view, const Terminal& terminal) {
  const std::vector<PartPlace> full = Places(view, Kind::kModule, true);
  const std::vector<PartPlace> empty = Places(view, Kind::kModule, false);
  uint64_t bytes = 0;
  for (const PartPlace place : full) {
    bytes += view.At(place).NumberOf("sizeInBytes");
  }
  std::string text;
  if (!full.empty() || !view.machine.Of(Kind::kMemoryArray).empty()) {
    text += Heading(terminal, fmt::format("Memory: {} in {}", SizeInWords(bytes),
                                          Counted(full.size(), "module")));
  }
  for (const Part& array : view.machine.Of(Kind::kMemoryArray)) {
    text += SinglePart(array, kArray, terminal, 2);
  }
  if (!full.empty()) {
    text += PartsTable(view, full, "LABEL", kModule, terminal);
  }
  if (!empty.empty()) {
    text += Heading(terminal, fmt::format("Empty memory slots: {}", empty.size())) +
            PartsTable(view, empty, "LABEL", kEmptySlot, terminal);
  }
  return text;
}

template <std::size_t N>
std::string ListText(const MachineView& view, Kind kind, const char* title, const char* label,
                     const FactShown (&facts)[N], const Terminal& terminal) {
  std::vector<PartPlace> places;
  for (std::size_t i = 0; i < view.machine.Of(kind).size(); ++i) {
    places.push_back({kind, i});
  }
  return places.empty() ? ""
                        : Heading(terminal, fmt::format("{}: {}", title, places.size())) +
                              PartsTable(view, places, label, facts, terminal);
}

// ---- What documents say otherwise ----

std::string TableSays(const Difference& difference, const Terminal& terminal) {
  if (const auto* const text = std::get_if<std::string>(&difference.table)) {
    return fmt::format("the table \"{}\"", Printable(*text, terminal));
  }
  if (const auto* const number = std::get_if<std::uint64_t>(&difference.table)) {
    return difference.fact == "sizeInBytes" ? "the table " + SizeInWords(*number)
                                            : fmt::format("the table {}", *number);
  }
  return "the table nothing";
}

std::string InWords(const Difference& difference, const Terminal& terminal) {
  return fmt::format("{} \"{}\", {}", difference.element, Printable(difference.document, terminal),
                     TableSays(difference, terminal));
}

}  // namespace

std::string Heading(const Terminal& terminal, const std::string& text, Ink ink) {
  return "\n" + Painted(terminal, ink, text) + "\n";
}

std::string MachineText(const MachineView& view, const Terminal& terminal) {
  std::string text;
  for (const PartShown& shown : kSingleParts) {
    for (const Part& part : view.machine.Of(shown.kind)) {
      text += SinglePart(part, shown, terminal);
    }
  }
  return text + ProcessorsText(view, terminal) + MemoryText(view, terminal) +
         ListText(view, Kind::kSlot, "Slots", "SLOT", kSlot, terminal) +
         ListText(view, Kind::kOnboardDevice, "Onboard devices", "DEVICE", kOnboardDevice,
                  terminal) +
         ListText(view, Kind::kPowerSupply, "Power supplies", "LOCATION", kPowerSupply, terminal);
}

std::string DifferencesText(const std::vector<Device>& devices, const Terminal& terminal) {
  // Each difference once, with the names of all devices that have it.
  std::vector<std::pair<std::string, std::vector<std::string>>> groups;
  for (const Device& device : devices) {
    for (const Difference& difference : device.differences) {
      const std::string words = InWords(difference, terminal);
      auto group = std::find_if(groups.begin(), groups.end(),
                                [&words](const auto& one) { return one.first == words; });
      if (group == groups.end()) {
        group = groups.insert(groups.end(), {words, {}});
      }
      group->second.push_back(device.fqdd);
    }
  }
  if (groups.empty()) {
    return "";
  }
  std::string text = Heading(terminal, "Other values in the driver's documents", Ink::kYellow);
  for (const auto& [words, names] : groups) {
    text += Wrapped(words + ":", terminal, 2) + Listed(names, terminal, "    ", 6);
  }
  return text;
}

std::string PartText(const MachineView& view, PartPlace place, const Terminal& terminal) {
  const Part& part = view.At(place);
  std::vector<std::pair<std::string, std::string>> rows;
  const std::string fqdd = view.FqddOf(place);
  rows.emplace_back("kind", TitleOf(NameOf(place.kind).one));
  if (!fqdd.empty()) {
    rows.emplace_back("FQDD", fqdd);
  }
  for (const facts::Fact& fact : part.facts) {
    if (facts::IsKnown(fact.value)) {
      const std::string title = TitleOf(WithoutUnit(fact.name));
      const std::string value = ValueText(part, fact.name, terminal);
      rows.emplace_back(
          title, std::holds_alternative<bool>(fact.value) && value == kNothing ? "no" : value);
    }
  }
  rows.emplace_back("handle", fmt::format("0x{:04X}", part.handle));
  std::size_t width = 0;
  for (const auto& [title, value] : rows) {
    width = std::max(width, title.size() + 2);
  }
  std::string text;
  for (const auto& [title, value] : rows) {
    text += Listed({value}, terminal, fmt::format("{:<{}}", title, width), width);
  }
  return text;
}

}  // namespace tvq::cli
