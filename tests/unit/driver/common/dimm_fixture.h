/*
 * Tables of memory modules, and a test that builds their records.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_COMMON_DIMM_FIXTURE_H_
#define TVQ_TESTS_UNIT_DRIVER_COMMON_DIMM_FIXTURE_H_

#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

namespace tvq::test {

// A module whose every field has a value of its own: DIMM_A1, handle 1100h.
MemoryDevice OneModule();
MemoryDevice LocatedAt(const Text& locator);

// These structures alone, in this order.
Table MemoryOf(const std::vector<Structure>& structures);
// OneModule() with an FQDD and an extension.
Table WholeMemory();

class Dimms : public BuilderTest {
 protected:
  EFI_STATUS Make();
  EFI_STATUS Make(const Table& table);
  TVQ_DIMM Dimm(size_t n = 0) { return Record(n)->device.dimm; }
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_COMMON_DIMM_FIXTURE_H_
