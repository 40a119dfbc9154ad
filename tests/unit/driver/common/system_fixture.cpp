/*
 * Tables of a system, and a test that builds its record.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/common/system_fixture.h"

#include "TvqSmbiosPkg/src/common/builders.h"

namespace tvq::test {

Table SystemWith(const std::vector<Structure>& structures) {
  Table table;
  table.Add(System{});
  for (const Structure& structure : structures) {
    table.Add(structure);
  }
  return table;
}

Table WholeSystem() {
  return SystemWith({Bios{}.Build(), Chassis{}.Build(),
                     Chassis{.manufacturer = "Blade Works",
                             .serial = "CHS0002",
                             .assetTag = "Asset 8",
                             .bootUpState = 9,
                             .powerSupplyState = 5,
                             .thermalState = 6,
                             .securityStatus = 7,
                             .height = 8}
                         .Build(),
                     MemoryArray{}.Build(),
                     MemoryArray{.location = 0x0A,
                                 .use = 6,
                                 .errorCorrection = 5,
                                 .maximumCapacity = 0x80000000,
                                 .errorHandle = 0x1801,
                                 .deviceCount = 0x0102,
                                 .extendedMaximumCapacity = 0x0000100000000000}
                         .Build(),
                     BaseBoard{}.Build(),
                     BaseBoard{.location = "Riser 1", .chassisHandle = 0x3AB}.Build(),
                     Slot{}.Build(),
                     Slot{.designation = "OCP 1",
                          .slotType = 0x26,
                          .width = 0x0B,
                          .usage = 4,
                          .slotLength = 5,
                          .id = 0x1AB,
                          .characteristics2 = 0x0F,
                          .bus = 0x3B,
                          .devFn = 0x00}
                         .Build()});
}

EFI_STATUS SystemRecord::Make() {
  return Run(MakeSYSTEM);
}

EFI_STATUS SystemRecord::Make(const Table& table) {
  Prepare(table);
  return Make();
}

}  // namespace tvq::test
