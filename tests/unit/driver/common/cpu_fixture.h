/*
 * Tables of processors, and a test that builds their records.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_COMMON_CPU_FIXTURE_H_
#define TVQ_TESTS_UNIT_DRIVER_COMMON_CPU_FIXTURE_H_

#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"
#include "tests/unit/driver/common/servers.h"

namespace tvq::test {

// A processor whose every field has a value of its own: CPU1, handle 400h, caches 700h to 702h, 28
// cores.
Processor OneProcessor();
Processor Designated(const Text& designation);

FqddMap MapOf(std::vector<FqddMap::Group> groups);

// A processor and whatever else its record is made of.
Table WholeServer();
// These structures alone, in this order.
Table ServerWith(const std::vector<Structure>& structures);

// An HBM stack in the array 1001h.
MemoryDevice StackAt(const Text& locator);
// A processor, the arrays 1000h and, twice, 1001h, and these devices.
Table HbmTable(const std::vector<MemoryDevice>& devices);

class Cpus : public BuilderTest {
 protected:
  EFI_STATUS Make();
  EFI_STATUS Make(const Table& table);
  TVQ_CPU Cpu(size_t n = 0) { return Record(n)->device.cpu; }
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_COMMON_CPU_FIXTURE_H_
