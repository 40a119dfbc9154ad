/*
 * `tvq slot`: asks the driver for the slot at a PCI address, as a platform would.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <ostream>

#include "host/cli/input/input.h"
#include "host/cli/input/table_input.h"

#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

constexpr CommandText kText = {
    "slot", "Asks the driver which slot is at a PCI address",
    "Asks the attribute \"SMBIOSPCISlotInfo\" of \"zorv.smbios.pci\", with --id \"SMBIOSSLOTID\", "
    "as a\n"
    "platform would, and prints the answer. BUS, DEVICE and FUNCTION are hexadecimal, as lspci\n"
    "prints them. The driver packs device and function into one byte as DEVICE * 4 + FUNCTION and\n"
    "compares that byte with the table's. It counts structures in 8 bits, so that in a table of\n"
    "more than 255 a search without a match never ends; the command says so and ends.",
    "  sudo tvq slot 3b:00.0\n"
    "  tvq slot 3b:0.0 --from-dump dump.bin --conform\n"
    "  tvq slot 00:1f.2 --id --json --from-dump dump.bin --conform\n",
    "0 the driver found the slot or onboard device; 1 it found nothing, or firmware\n"
    "would hang; 2 there is no table that can be used, or the command line is wrong."};

struct SlotOptions {
  TableOptions table;
  std::string address;
  bool isById = false;
  bool json = false;
};

// One hexadecimal number of the address, up to `limit`, and what has to follow it.
bool TakeNumber(std::string_view& text, unsigned limit, std::string_view behind, uint8_t& number) {
  unsigned value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value, 16);
  const auto length = static_cast<size_t>(result.ptr - text.data());
  if (result.ec != std::errc() || value > limit || text.substr(length, behind.size()) != behind) {
    return false;
  }
  text.remove_prefix(length + behind.size());
  number = static_cast<uint8_t>(value);
  return true;
}

run::SlotQuery ParseAddress(const SlotOptions& options) {
  run::SlotQuery query;
  query.isById = options.isById;
  std::string_view rest = options.address;
  if (!TakeNumber(rest, 0xFF, ":", query.bus) || !TakeNumber(rest, 0x1F, ".", query.device) ||
      !TakeNumber(rest, 7, "", query.function) || !rest.empty()) {
    throw InputError(fmt::format("'{}' is no PCI address", options.address),
                     "an address is BUS:DEVICE.FUNCTION in hexadecimal, such as 3b:00.0");
  }
  return query;
}

std::string InWords(const run::SlotAnswer& answer, const SlotOptions& options) {
  if (answer.neverEnds) {
    return fmt::format(
        "{}: firmware would hang: nothing matches, and the search never ends in a table of more "
        "than 255 structures\n",
        options.address);
  }
  if (!answer.isFound) {
    return fmt::format("{}: {}{}\n", options.address, answer.status,
                       answer.endsAtSlot ? ": a slot whose ID is 0xFFFF ended the search" : "");
  }
  if (answer.isOnboard) {
    return fmt::format("{}: onboard device, reference designation string {}\n", options.address,
                       answer.slotId);
  }
  return fmt::format(
      "{}: slot ID 0x{:04X}, type 0x{:02X}, length 0x{:02X}, data bus width 0x{:02X}\n",
      options.address, answer.slotId, answer.slotType, answer.slotLength, answer.dataBusWidth);
}

nlohmann::ordered_json ToJson(const run::SlotAnswer& answer, const SlotOptions& options) {
  using Json = nlohmann::ordered_json;
  const auto ofSlot = [&answer](unsigned value) {
    return answer.isFound && !answer.isOnboard ? Json(value) : Json();
  };
  return {{"address", options.address},
          {"attribute", options.isById ? "SMBIOSSLOTID" : "SMBIOSPCISlotInfo"},
          {"status", answer.status},
          {"neverEnds", answer.neverEnds},
          {"slotId", answer.isFound ? Json(answer.slotId) : Json()},
          {"isOnboard", answer.isFound ? Json(answer.isOnboard) : Json()},
          {"slotType", ofSlot(answer.slotType)},
          {"slotLength", ofSlot(answer.slotLength)},
          {"slotDataBusWidth", ofSlot(answer.dataBusWidth)}};
}

ExitStatus Slot(const SlotOptions& options, Console& console) {
  const run::SlotQuery query = ParseAddress(options);
  run::DriverRun driver;
  run::Table table = ReadTable(driver, options.table, console);
  if (options.table.conform) {
    ConformTable(driver, table, console);
  }
  RunDriver(driver, table, options.table, console);
  const run::SlotAnswer answer = driver.AskSlot(query);
  console.out << (options.json ? ToJson(answer, options).dump(1) + '\n' : InWords(answer, options));
  return answer.isFound ? kExitNothingFound : kExitFound;
}

}  // namespace

void AddSlot(Commands& commands) {
  const auto options = std::make_shared<SlotOptions>();
  CLI::App& app =
      commands.Add(kText, [options](Console& console) { return Slot(*options, console); });
  app.add_option("BUS:DEVICE.FUNCTION", options->address, "The PCI address")
      ->type_name("")
      ->required();
  app.add_flag("--id", options->isById, "Ask \"SMBIOSSLOTID\" instead of \"SMBIOSPCISlotInfo\"");
  AddTableOptions(app, options->table);
  AddConform(app, options->table);
  app.add_flag("--json", options->json, "Print one JSON document");
}

}  // namespace tvq::cli
