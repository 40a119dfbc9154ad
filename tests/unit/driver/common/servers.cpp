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

// The caches of a processor: three levels with handles from this one on.
std::vector<Cache> CachesFrom(uint16_t first) {
  std::vector<Cache> caches;
  for (uint16_t level = 0; level < 3; ++level) {
    caches.push_back({.handle = static_cast<uint16_t>(first + level),
                      .configuration = static_cast<uint16_t>(0x0180 | level)});
  }
  return caches;
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
  MemoryDevice stack = StackAt(locator);
  stack.handle = handle;
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
  return Table::Of(
      Bios{.handle = 0x000}, System{.handle = 0x100}, BaseBoard{.handle = 0x200},
      BaseBoard{.handle = 0x201, .location = std::nullopt}, Chassis{.handle = 0x300},
      Chassis{.handle = 0x301, .manufacturer = std::nullopt}, ProcessorAt(0x400, "CPU1", 0x700),
      ProcessorAt(0x401, "CPU2", 0x703),
      Processor{.handle = 0x402, .designation = "CPU3", .status = 0x00}, CachesFrom(0x700),
      CachesFrom(0x703), Slot{.handle = 0x900},
      Slot{.handle = 0x901, .designation = "PCIe Slot 2", .id = 2},
      OemStringsWith({"17[0123456789ABCDEF]", "17[FEDCBA9876543210]"}),
      MemoryArray{.handle = 0x1000}, MemoryArray{.handle = 0x1001, .use = 6},
      MemoryDevice{.handle = 0x1100},
      MemoryDevice{.handle = 0x1101, .size = 0, .locator = "DIMM_A2"},
      MemoryDevice{.handle = 0x1102, .locator = "DIMM_A3", .serial = std::nullopt},
      MemoryDevice{.handle = 0x1103, .locator = "DIMM_A4"}.Build().CutTo(0x22),
      FqddMap{.handle = 0xE100, .groups = {{"CPU.Socket.1", 0x400}, {"CPU.Socket.2", 0x401}}},
      FqddMap{.handle = 0xE101, .groups = {{"DIMM.Socket.A1", 0x1100}, {"DIMM.Socket.A4", 0x1103}}},
      DimmExtension{.handle = 0xE200, .deviceHandle = 0x1100},
      DimmExtension{.handle = 0xE201, .deviceHandle = 0x1103, .firmwareVersion = "9.9"},
      End{.handle = 0x7F00});
}

Table HbmServer() {
  return Table::Of(Bios{.handle = 0x000}, System{.handle = 0x100}, Processor{.handle = 0x400},
                   Processor{.handle = 0x401, .designation = "CPU2"}, MemoryArray{.handle = 0x1000},
                   MemoryArray{.handle = 0x1001, .location = 0x0A, .maximumCapacity = 0x4000000},
                   MemoryDevice{.handle = 0x1100}, Stack(0x1101, "CPU0_HBMIO0"),
                   Stack(0x1102, "CPU0_HBMIO1"), Stack(0x1103, "CPU1_HBMIO0"),
                   FqddMap{.handle = 0xE100, .groups = {{"CPU.Socket.1", 0x400}}},
                   End{.handle = 0x7F00});
}

Table TwinModuleServer() {
  return Table::Of(MinimalServer(), MemoryDevice{.handle = 0x1101, .locator = "DIMM_A1"},
                   MemoryDevice{.handle = 0x1102, .locator = "DIMM_B1"});
}

// --- Processors ---

Processor OneProcessor() {
  Processor processor;
  processor.handle = 0x400;
  processor.family = 0xB3;
  processor.manufacturer = "Core Works";
  processor.processorId = 0x178BFBFF000806F8;
  processor.version = "  Model 8 @ 2.40GHz  ";
  processor.voltage = 0x8C;
  processor.externalClock = 133;
  processor.maxSpeed = 4000;
  processor.currentSpeed = 2400;
  processor.status = 0x41;
  processor.l1 = 0x700;
  processor.l2 = 0x701;
  processor.l3 = 0x702;
  processor.coreCount = 28;
  processor.coreEnabled = 26;
  processor.threadCount = 56;
  processor.characteristics = 0x1AFC;
  return processor;
}

Processor Designated(const Text& designation) {
  Processor processor;
  processor.designation = designation;
  return processor;
}

FqddMap MapOf(std::vector<FqddMap::Group> groups) {
  FqddMap map;
  map.groups = std::move(groups);
  return map;
}

Table WholeServer() {
  return Table::Of(OneProcessor(), CachesFrom(0x700), OemStringsWith({"17[0123456789ABCDEF]"}),
                   MemoryArray{.handle = 0x1000}, MemoryDevice{.handle = 0x1100},
                   MapOf({{"CPU.Socket.1", 0x400}}));
}

MemoryDevice StackAt(const Text& locator) {
  MemoryDevice stack;
  stack.arrayHandle = 0x1001;
  stack.formFactor = 0x10;
  stack.memoryType = 0x20;
  stack.locator = locator;
  return stack;
}

Table HbmTable(const std::vector<MemoryDevice>& devices) {
  return Table::Of(
      Processor{}, MemoryArray{.handle = 0x1000, .location = 3, .maximumCapacity = 0x111},
      MemoryArray{
          .handle = 0x1001, .location = 0x0A, .errorCorrection = 5, .maximumCapacity = 0x4000000},
      MemoryArray{.handle = 0x1001, .location = 0x0B, .maximumCapacity = 0x222}, devices);
}

// --- Memory modules ---

MemoryDevice OneModule() {
  MemoryDevice module;
  module.handle = 0x1100;
  module.totalWidth = 72;
  module.dataWidth = 64;
  module.size = 0x7FFF;
  module.formFactor = 9;
  module.set = 7;
  module.locator = "DIMM_A1";
  module.bankLocator = "Bank 3";
  module.memoryType = 0x22;
  module.typeDetail = 0x2080;
  module.speed = 4800;
  module.manufacturer = "Memory Works";
  module.serial = "0123ABCD";
  module.assetTag = "01221234";
  module.partNumber = "MW16G4800";
  module.attributes = 2;
  module.extendedSize = 0x00012345;
  module.configuredSpeed = 4400;
  module.technology = 4;
  module.operatingModes = 0x0018;
  module.firmwareVersion = "not read";
  module.moduleManufacturerId = 0x2C80;
  module.moduleProductId = 0x1122;
  module.controllerManufacturerId = 0x3344;
  module.controllerProductId = 0x5566;
  module.nonVolatileSize = 0x1000000000;
  module.volatileSize = 0x2000000000;
  module.cacheSize = 0x3000000000;
  module.logicalSize = 0x4000000000;
  return module;
}

MemoryDevice LocatedAt(const Text& locator) {
  MemoryDevice module;
  module.locator = locator;
  return module;
}

Table WholeMemory() {
  return Table::Of(OneModule(), FqddMap{.groups = {{"DIMM.Socket.A1", 0x1100}}},
                   DimmExtension{.handle = 0xE200,
                                 .deviceHandle = 0x1100,
                                 .firmwareVersion = "1.2.3",
                                 .componentId = 107187,
                                 .productId = 0x12AB});
}

// --- The system ---

Table WholeSystem() {
  return Table::Of(System{}, Bios{}, Chassis{},
                   Chassis{.manufacturer = "Blade Works",
                           .serial = "CHS0002",
                           .assetTag = "Asset 8",
                           .bootUpState = 9,
                           .powerSupplyState = 5,
                           .thermalState = 6,
                           .securityStatus = 7,
                           .height = 8},
                   MemoryArray{},
                   MemoryArray{.location = 0x0A,
                               .use = 6,
                               .errorCorrection = 5,
                               .maximumCapacity = 0x80000000,
                               .errorHandle = 0x1801,
                               .deviceCount = 0x0102,
                               .extendedMaximumCapacity = 0x0000100000000000},
                   BaseBoard{}, BaseBoard{.location = "Riser 1", .chassisHandle = 0x3AB}, Slot{},
                   Slot{.designation = "OCP 1",
                        .slotType = 0x26,
                        .width = 0x0B,
                        .usage = 4,
                        .slotLength = 5,
                        .id = 0x1AB,
                        .characteristics2 = 0x0F,
                        .bus = 0x3B,
                        .devFn = 0x00});
}

}  // namespace tvq::test
