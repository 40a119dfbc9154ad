/*
 * Tables of memory modules, and a test that builds their records.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/common/dimm_fixture.h"

#include "TvqSmbiosPkg/src/common/builders.h"

namespace tvq::test {

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

Table MemoryOf(const std::vector<Structure>& structures) {
  Table table;
  for (const Structure& structure : structures) {
    table.Add(structure);
  }
  return table;
}

Table WholeMemory() {
  Table table;
  table.Add(OneModule());
  table.Add(FqddMap{.groups = {{"DIMM.Socket.A1", 0x1100}}});
  table.Add(DimmExtension{.handle = 0xE200,
                          .deviceHandle = 0x1100,
                          .firmwareVersion = "1.2.3",
                          .componentId = 107187,
                          .productId = 0x12AB});
  return table;
}

EFI_STATUS Dimms::Make() {
  return Run(MakeDIMMs);
}

EFI_STATUS Dimms::Make(const Table& table) {
  Prepare(table);
  return Make();
}

}  // namespace tvq::test
