/*
 * `tvq slot`: which slot the table has at a PCI address, and what the driver answers a platform.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <charconv>
#include <ostream>

#include "host/cli/input/input.h"
#include "host/cli/input/table_input.h"
#include "host/cli/machine/machine_json.h"
#include "host/cli/output/json.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"

#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

using facts::Kind;

constexpr CommandText kText = {
    "slot", "Says which slot is at a PCI address, and what the driver answers",
    "The table's side is the slot or onboard device whose bus, device and function are those of "
    "the\n"
    "address. The driver's side is the answer of the attribute \"SMBIOSPCISlotInfo\" of\n"
    "\"zorv.smbios.pci\", with --id of \"SMBIOSSLOTID\", as a platform gets it, and where the two\n"
    "differ, the reason. The numbers of [DOMAIN:]BUS:DEVICE.FUNCTION are hexadecimal, as lspci\n"
    "prints them. The driver asks without a domain, and packs device and function into one byte "
    "as\n"
    "DEVICE * 4 + FUNCTION, where tables have DEVICE * 8 + FUNCTION. It counts structures in 8\n"
    "bits, so that in a table of more than 255 a search without a match never ends; the command\n"
    "says so and ends.",
    "  sudo tvq slot 3b:00.0\n"
    "  tvq slot 0000:3b:00.0 --from-dump dump.bin\n"
    "  tvq slot 00:1f.2 --id --json --from-dump dump.bin\n",
    "0 the driver answers with what the table has there; 1 it answers something else or\n"
    "nothing, or firmware would hang; 2 there is no table that can be used, or the command line "
    "is\n"
    "wrong."};

struct SlotOptions {
  TableOptions table;
  std::string address;
  bool isById = false;
  bool json = false;
};

struct Address {
  uint16_t domain = 0;
  run::SlotQuery query;

  std::string Text() const {
    return fmt::format("{:04x}:{:02x}:{:02x}.{}", domain, query.bus, query.device, query.function);
  }
  // The byte that a table has for device and function, and the one that the driver looks for.
  unsigned Packed() const { return query.device * 8u + query.function; }
  unsigned PackedByDriver() const { return query.device * 4u | (query.function & 3u); }
};

// Both sides.
struct Answers {
  facts::Machine machine;
  Address address;
  std::optional<PartPlace> table;  // what the table has at the address
  run::SlotAnswer driver;
  std::optional<PartPlace> served;  // what the driver answers with
  std::string reason;               // why they differ; empty where they do not
};

// One hexadecimal number of the address, up to `limit`, and what has to follow it.
template <typename Number>
bool TakeNumber(std::string_view& text, unsigned limit, std::string_view behind, Number& number) {
  unsigned value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  const auto length = static_cast<size_t>(result.ptr - text.data());
  if (result.ec != std::errc() || value > limit || text.substr(length, behind.size()) != behind) {
    return false;
  }
  text.remove_prefix(length + behind.size());
  number = static_cast<Number>(value);
  return true;
}

Address ParseAddress(const SlotOptions& options) {
  Address address;
  address.query.isById = options.isById;
  std::string_view rest = options.address;
  const bool hasDomain = std::count(rest.begin(), rest.end(), ':') == 2;
  if ((hasDomain && !TakeNumber(rest, 0xFFFF, ":", address.domain)) ||
      !TakeNumber(rest, 0xFF, ":", address.query.bus) ||
      !TakeNumber(rest, 0x1F, ".", address.query.device) ||
      !TakeNumber(rest, 7, "", address.query.function) || !rest.empty()) {
    throw InputError(fmt::format("'{}' is no PCI address", options.address),
                     "an address is [DOMAIN:]BUS:DEVICE.FUNCTION in hexadecimal, such as 3b:00.0");
  }
  return address;
}

// The first slot, or else onboard device, at the address.
std::optional<PartPlace> FindAt(const facts::Machine& machine, std::string_view address) {
  for (const Kind kind : {Kind::kSlot, Kind::kOnboardDevice}) {
    for (std::size_t i = 0; i < machine.Of(kind).size(); ++i) {
      if (machine.Of(kind)[i].TextOf("address") == address) {
        return PartPlace{kind, i};
      }
    }
  }
  return std::nullopt;
}

// The bus and the byte that the driver compares, as the table has them.
bool HasKey(const facts::Part& part, const Address& address) {
  const std::string key = fmt::format(":{:02x}:{:02x}.{}", address.query.bus,
                                      address.PackedByDriver() >> 3, address.PackedByDriver() & 7);
  const std::string_view text = part.TextOf("address");
  return text.size() > key.size() && text.substr(text.size() - key.size()) == key;
}

// The first one that the driver's search comes to, slots and onboard devices in the table's order.
std::optional<PartPlace> FindServed(const Answers& answers) {
  const bool isSlotById = answers.address.query.isById && !answers.driver.isOnboard;
  if (!answers.driver.isFound || isSlotById) {
    return std::nullopt;
  }
  const Kind kind = answers.driver.isOnboard ? Kind::kOnboardDevice : Kind::kSlot;
  const auto& parts = answers.machine.Of(kind);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (HasKey(parts[i], answers.address)) {
      return PartPlace{kind, i};
    }
  }
  return std::nullopt;
}

bool IsSame(const std::optional<PartPlace>& left, const std::optional<PartPlace>& right) {
  return left && right && left->kind == right->kind && left->index == right->index;
}

std::string ReasonOf(const Answers& answers) {
  const run::SlotAnswer& driver = answers.driver;
  const Address& address = answers.address;
  if (driver.neverEnds) {
    return "nothing matches, and the search never ends in a table of more than 255 structures";
  }
  if (driver.endsAtSlot) {
    return "a slot whose ID is 0xFFFF ended the search";
  }
  if (address.query.isById && (driver.isFound || answers.table)) {
    return "asked by ID, it looks for a slot whose ID is 0xFFFF, or for an onboard device";
  }
  const std::string packing =
      fmt::format("it looks for device and function as 0x{:02X} (device * 4 + function)",
                  address.PackedByDriver());
  const std::string standard =
      fmt::format("where the table has 0x{:02X} (device * 8 + function)", address.Packed());
  if (answers.table && address.Packed() != address.PackedByDriver()) {
    return packing + ", " + standard;
  }
  if (answers.table && !driver.isFound) {
    return "the driver does not come to it";
  }
  if (driver.isFound && address.Packed() != address.PackedByDriver()) {
    return packing + ", which is another address";
  }
  return driver.isFound ? "it asks without a domain" : "";
}

std::string Quoted(const facts::Machine& machine, PartPlace place, const Terminal& terminal) {
  const facts::Part& part = machine.Of(place.kind)[place.index];
  std::string text = fmt::format("{} \"{}\"", place.kind == Kind::kSlot ? "slot" : "onboard device",
                                 Printable(part.TextOf("label"), terminal));
  for (const char* const fact : {"type", "width", "usage"}) {
    const std::string_view word = part.TextOf(fact);
    text += word.empty() ? "" : fmt::format(", {}", Printable(word, terminal));
  }
  return text + fmt::format(", handle 0x{:04X}", part.handle);
}

std::string TableSays(const Answers& answers, const Terminal& terminal) {
  return answers.table ? Quoted(answers.machine, *answers.table, terminal)
                       : "nothing at this address";
}

std::string DriverSays(const Answers& answers, const Terminal& terminal) {
  const run::SlotAnswer& driver = answers.driver;
  if (driver.neverEnds) {
    return "firmware would hang";
  }
  if (!driver.isFound) {
    return driver.status;
  }
  std::string text =
      driver.isOnboard
          ? fmt::format("an onboard device, reference designation string {}", driver.slotId)
          : fmt::format("slot ID 0x{:04X}, type 0x{:02X}, length 0x{:02X}, data bus width 0x{:02X}",
                        driver.slotId, driver.slotType, driver.slotLength, driver.dataBusWidth);
  if (answers.served && !IsSame(answers.served, answers.table)) {
    text += ": " + Quoted(answers.machine, *answers.served, terminal);
  }
  return text;
}

std::string ToText(const Answers& answers, const Terminal& terminal) {
  constexpr std::size_t kIndent = 10;
  std::string text = answers.address.Text() + '\n' +
                     Listed({TableSays(answers, terminal)}, terminal, "  table   ", kIndent) +
                     Listed({DriverSays(answers, terminal)}, terminal, "  driver  ", kIndent);
  if (!answers.reason.empty()) {
    text += Listed({answers.reason}, terminal, "  reason  ", kIndent);
  }
  return text;
}

nlohmann::ordered_json ToJson(const Answers& answers) {
  using Json = nlohmann::ordered_json;
  const run::SlotAnswer& driver = answers.driver;
  const auto partOf = [&answers](const std::optional<PartPlace>& place) {
    Json json;
    if (place) {
      json = PartJson({answers.machine, {}}, *place);
      json["kind"] = NameOf(place->kind).one;
    }
    return json;
  };
  const auto ofSlot = [&driver](unsigned value) {
    return driver.isFound && !driver.isOnboard ? Json(value) : Json();
  };
  Json json = SchemaJson("tvq-slot");
  json["address"] = answers.address.Text();
  json["table"] = partOf(answers.table);
  json["driver"] = {
      {"attribute", answers.address.query.isById ? "SMBIOSSLOTID" : "SMBIOSPCISlotInfo"},
      {"status", driver.status},
      {"neverEnds", driver.neverEnds},
      {"slotId", driver.isFound ? Json(driver.slotId) : Json()},
      {"isOnboard", driver.isFound ? Json(driver.isOnboard) : Json()},
      {"slotType", ofSlot(driver.slotType)},
      {"slotLength", ofSlot(driver.slotLength)},
      {"slotDataBusWidth", ofSlot(driver.dataBusWidth)},
      {"part", partOf(answers.served)}};
  json["agree"] = IsSame(answers.served, answers.table);
  json["reason"] = answers.reason.empty() ? Json() : Json(answers.reason);
  return json;
}

ExitStatus Slot(const SlotOptions& options, Console& console) {
  Answers answers;
  answers.address = ParseAddress(options);
  run::DriverRun driver;
  run::Table table = ReadTable(driver, options.table, console);
  answers.machine = ReadMachine(table);
  if (options.table.conform) {
    ConformTable(driver, table, console);
  }
  RunDriver(driver, table, options.table, console);
  answers.table = FindAt(answers.machine, answers.address.Text());
  answers.driver = driver.AskSlot(answers.address.query);
  answers.served = FindServed(answers);
  const bool agree = IsSame(answers.served, answers.table);
  answers.reason = agree ? "" : ReasonOf(answers);
  if (options.json) {
    PrintJson(ToJson(answers), console);
  } else {
    console.Page(ToText(answers, console.terminal));
  }
  return agree ? kExitNothingFound : kExitFound;
}

}  // namespace

void AddSlot(Commands& commands) {
  const auto options = std::make_shared<SlotOptions>();
  Parameters parameters =
      commands.Add(kText, [options](Console& console) { return Slot(*options, console); });
  parameters.Value("[DOMAIN:]BUS:DEVICE.FUNCTION", options->address, "The PCI address")
      .Named("")
      .Required();
  parameters.Flag("--id", options->isById, "Ask \"SMBIOSSLOTID\" instead of \"SMBIOSPCISlotInfo\"");
  AddTableOptions(parameters, options->table);
  AddConform(parameters, options->table);
  commands.AddWide(parameters);
  parameters.Flag("--json", options->json, "Print one JSON document");
}

}  // namespace tvq::cli
