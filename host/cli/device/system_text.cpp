/*
 * The system's document as text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/system_text.h"

#include <fmt/format.h>

#include "host/cli/device/inventory.h"
#include "host/cli/output/text.h"
#include "host/cli/output/text_table.h"

namespace tvq::cli {
namespace {

// The words for a value of the SMBIOS standard; the value itself where there are none.
template <size_t N>
std::string Words(const char* const (&words)[N], uint64_t value) {
  return value < N && words[value] != nullptr ? words[value] : fmt::format("{}", value);
}

// Slot usage and width (SMBIOS 7.10.2 and 7.10.3), memory array error correction (7.17.3).
constexpr const char* kUsage[] = {nullptr,     "other",  "unknown",
                                  "available", "in use", "not available"};
constexpr const char* kWidth[] = {nullptr,  "other",  "unknown", "8 bit", "16 bit",
                                  "32 bit", "64 bit", "128 bit", "x1",    "x2",
                                  "x4",     "x8",     "x12",     "x16",   "x32"};
constexpr const char* kErrorCorrection[] = {nullptr,  "other",          "unknown",       "none",
                                            "parity", "single-bit ECC", "multi-bit ECC", "CRC"};

// Memory array capacities are in KB; this one says to look at the extended field (SMBIOS 7.17).
constexpr uint64_t kCapacityIsExtended = 0x80000000;
constexpr uint64_t kNoAddress = 0xFFFF;

std::string Text(const Element& section, std::string_view path) {
  const std::string text = Printable(section.TextOf(path));
  return text.find_first_not_of(' ') == std::string::npos ? "-" : text;
}

// Calls `visit` for every section of that name below the path.
template <typename Visit>
void ForEach(const Element* parent, std::string_view name, const Visit& visit) {
  if (parent == nullptr) {
    return;
  }
  for (const Element& child : parent->children) {
    if (child.name == name) {
      visit(child);
    }
  }
}

std::string Titled(const char* title, const std::string& value) {
  return value == "-" ? "" : fmt::format("  {:<14}{}\n", title, value);
}

std::string AddressOf(const Element& slot) {
  const uint64_t address = NumberOf(slot.TextOf("BDF"), 16);
  return address == kNoAddress
             ? "-"
             : fmt::format("{:02x}:{:02x}.{}", address >> 8, address >> 3 & 0x1F, address & 7);
}

std::string SlotsText(const Element* identifier, const Terminal& terminal) {
  TextTable slots({"SLOT", "TYPE", "WIDTH", "USAGE", "ID", "ADDRESS", "HOT-PLUG"});
  ForEach(identifier, "PCISlotInfo", [&slots](const Element& slot) {
    slots.Add({Text(slot, "Desig"), "0x" + Text(slot, "Type"),
               Words(kWidth, NumberOf(slot.TextOf("Width"), 16)),
               Words(kUsage, NumberOf(slot.TextOf("Usage"), 16)), "0x" + Text(slot, "ID"),
               AddressOf(slot), slot.TextOf("HotPlug") == "1" ? "yes" : "-"});
  });
  return slots.IsEmpty() ? "" : "\n" + slots.Render(terminal);
}

std::string CapacityOf(const Element& array) {
  const uint64_t kilobytes = NumberOf(array.TextOf("MaximumCapacity"));
  return SizeInWords(kilobytes == kCapacityIsExtended
                         ? NumberOf(array.TextOf("ExtendedMaximumCapacity"))
                         : kilobytes << 10);
}

std::string ArraysText(const Element* configuration, const Terminal& terminal) {
  TextTable arrays({"MEMORY ARRAY", "CAPACITY", "DEVICES", "ERROR CORRECTION"});
  ForEach(configuration, "PMAData", [&arrays](const Element& array) {
    arrays.Add({Text(array, "Name"), CapacityOf(array), Text(array, "NumberOfMemoryDevices"),
                Words(kErrorCorrection, NumberOf(array.TextOf("MemoryErrorCorrection")))});
  });
  return arrays.IsEmpty() ? "" : "\n" + arrays.Render(terminal);
}

std::string ChassisText(const Element* identifier, const Terminal& terminal) {
  TextTable chassis({"CHASSIS", "SERVICE TAG", "ASSET TAG", "HEIGHT"});
  ForEach(identifier, "ChassisInformation", [&chassis](const Element& one) {
    chassis.Add({Text(one, "Manufacturer"), Text(one, "ServiceTag"), Text(one, "AssetTag"),
                 one.TextOf("Height") == "0" ? "-" : Text(one, "Height") + "U"});
  });
  return chassis.IsEmpty() ? "" : "\n" + chassis.Render(terminal);
}

}  // namespace

std::string SystemText(const Element& document, const Terminal& terminal) {
  const Element* const inventory = document.Find("Inventory");
  const Element* const identifier = inventory == nullptr ? nullptr : inventory->Find("Identifier");
  const Element* const configuration = document.Find("Configuration");
  const auto system = [&document](const char* name) {
    return Text(document, std::string("Inventory/Identifier/SystemInformation/") + name);
  };
  std::string text = Titled("Product", system("ProductName")) +
                     Titled("Manufacturer", system("Manufacturer")) +
                     Titled("Service tag", system("ServiceTag"));
  text += Titled("UUID", Text(document, "Configuration/PMAData/UUID"));
  text += Titled("BIOS", Text(document, "Configuration/BIOSData/BIOSVersion"));
  text += Titled("BIOS date", Text(document, "Configuration/BIOSData/BIOSReleaseDate"));
  ForEach(identifier, "BaseBoardInformation", [&text](const Element& board) {
    text += Titled("Board", Text(board, "LocationInChassis"));
  });
  return text + ChassisText(identifier, terminal) + ArraysText(configuration, terminal) +
         SlotsText(identifier, terminal);
}

}  // namespace tvq::cli
