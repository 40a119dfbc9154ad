/*
 * Tables with everything that the builders look at.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/common/servers.h"

#include <string>
#include <utility>

namespace tvq::test {
namespace {

void AddCaches(Table& table, uint16_t first) {
  for (uint16_t level = 0; level < 3; ++level) {
    const uint16_t configuration = static_cast<uint16_t>(0x0180 | level);
    table.Add(
        Cache{.handle = static_cast<uint16_t>(first + level), .configuration = configuration});
  }
}

Processor ProcessorAt(uint16_t handle, const char* designation, uint16_t firstCache) {
  Processor processor;
  processor.handle = handle;
  processor.designation = designation;
  processor.l1 = firstCache;
  processor.l2 = static_cast<uint16_t>(firstCache + 1);
  processor.l3 = static_cast<uint16_t>(firstCache + 2);
  return processor;
}

MemoryDevice Stack(uint16_t handle, const char* locator) {
  MemoryDevice stack;
  stack.handle = handle;
  stack.arrayHandle = 0x1001;
  stack.formFactor = 0x10;
  stack.memoryType = 0x20;
  stack.locator = locator;
  return stack;
}

}  // namespace

OemStrings OemStringsWith(std::vector<std::string> texts) {
  OemStrings strings;
  strings.texts = {"0123456789012345678"};
  strings.texts.insert(strings.texts.end(), texts.begin(), texts.end());
  return strings;
}

Table TwoSocketServer() {
  Table table;
  table.Add(Bios{.handle = 0x000});
  table.Add(System{.handle = 0x100});
  table.Add(BaseBoard{.handle = 0x200});
  table.Add(BaseBoard{.handle = 0x201, .location = std::nullopt});
  table.Add(Chassis{.handle = 0x300});
  table.Add(Chassis{.handle = 0x301, .manufacturer = std::nullopt});
  table.Add(ProcessorAt(0x400, "CPU1", 0x700));
  table.Add(ProcessorAt(0x401, "CPU2", 0x703));
  table.Add(Processor{.handle = 0x402, .designation = "CPU3", .status = 0x00});
  AddCaches(table, 0x700);
  AddCaches(table, 0x703);
  table.Add(Slot{.handle = 0x900});
  table.Add(Slot{.handle = 0x901, .designation = "PCIe Slot 2", .id = 2});
  table.Add(OemStringsWith({"17[0123456789ABCDEF]", "17[FEDCBA9876543210]"}));
  table.Add(MemoryArray{.handle = 0x1000});
  table.Add(MemoryArray{.handle = 0x1001, .use = 6});
  table.Add(MemoryDevice{.handle = 0x1100});
  table.Add(MemoryDevice{.handle = 0x1101, .size = 0, .locator = "DIMM_A2"});
  table.Add(MemoryDevice{.handle = 0x1102, .locator = "DIMM_A3", .serial = std::nullopt});
  table.Add(MemoryDevice{.handle = 0x1103, .locator = "DIMM_A4"}.Build().CutTo(0x22));
  table.Add(
      FqddMap{.handle = 0xE100, .groups = {{"CPU.Socket.1", 0x400}, {"CPU.Socket.2", 0x401}}});
  table.Add(FqddMap{.handle = 0xE101,
                    .groups = {{"DIMM.Socket.A1", 0x1100}, {"DIMM.Socket.A4", 0x1103}}});
  table.Add(DimmExtension{.handle = 0xE200, .deviceHandle = 0x1100});
  table.Add(DimmExtension{.handle = 0xE201, .deviceHandle = 0x1103, .firmwareVersion = "9.9"});
  table.Add(End{.handle = 0x7F00});
  return table;
}

Table HbmServer() {
  Table table;
  table.Add(Bios{.handle = 0x000});
  table.Add(System{.handle = 0x100});
  table.Add(Processor{.handle = 0x400});
  table.Add(Processor{.handle = 0x401, .designation = "CPU2"});
  table.Add(MemoryArray{.handle = 0x1000});
  table.Add(MemoryArray{.handle = 0x1001, .location = 0x0A, .maximumCapacity = 0x4000000});
  table.Add(MemoryDevice{.handle = 0x1100});
  table.Add(Stack(0x1101, "CPU0_HBMIO0"));
  table.Add(Stack(0x1102, "CPU0_HBMIO1"));
  table.Add(Stack(0x1103, "CPU1_HBMIO0"));
  table.Add(FqddMap{.handle = 0xE100, .groups = {{"CPU.Socket.1", 0x400}}});
  table.Add(End{.handle = 0x7F00});
  return table;
}

Table TwinModuleServer() {
  Table table = MinimalServer();
  table.Add(MemoryDevice{.handle = 0x1101, .locator = "DIMM_A1"});
  table.Add(MemoryDevice{.handle = 0x1102, .locator = "DIMM_B1"});
  return table;
}

}  // namespace tvq::test
