/*
 * Tables of processors, and a test that builds their records.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/common/cpu_fixture.h"

#include <utility>

#include "TvqSmbiosPkg/src/common/builders.h"

namespace tvq::test {

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

FqddMap MapOf(std::vector<FqddMap::Group> groups) {
  FqddMap map;
  map.groups = std::move(groups);
  return map;
}

Table WholeServer() {
  Table table;
  table.Add(OneProcessor());
  table.Add(Cache{.handle = 0x700, .configuration = 0x0180});
  table.Add(Cache{.handle = 0x701, .configuration = 0x0181});
  table.Add(Cache{.handle = 0x702, .configuration = 0x0182});
  table.Add(OemStringsWith({"17[0123456789ABCDEF]"}));
  table.Add(MemoryArray{.handle = 0x1000});
  table.Add(MemoryDevice{.handle = 0x1100});
  table.Add(MapOf({{"CPU.Socket.1", 0x400}}));
  return table;
}

Table ServerWith(const std::vector<Structure>& structures) {
  Table table;
  for (const Structure& structure : structures) {
    table.Add(structure);
  }
  return table;
}

Processor Designated(const Text& designation) {
  Processor processor;
  processor.designation = designation;
  return processor;
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
  Table table;
  table.Add(Processor{});
  table.Add(MemoryArray{.handle = 0x1000, .location = 3, .maximumCapacity = 0x111});
  table.Add(MemoryArray{
      .handle = 0x1001, .location = 0x0A, .errorCorrection = 5, .maximumCapacity = 0x4000000});
  table.Add(MemoryArray{.handle = 0x1001, .location = 0x0B, .maximumCapacity = 0x222});
  for (const MemoryDevice& device : devices) {
    table.Add(device);
  }
  return table;
}

EFI_STATUS Cpus::Make() {
  return Run(MakeCPUs);
}

EFI_STATUS Cpus::Make(const Table& table) {
  Prepare(table);
  return Make();
}

}  // namespace tvq::test
