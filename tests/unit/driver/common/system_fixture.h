/*
 * Tables of a system, and a test that builds its record.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_COMMON_SYSTEM_FIXTURE_H_
#define TVQ_TESTS_UNIT_DRIVER_COMMON_SYSTEM_FIXTURE_H_

#include <string>
#include <vector>

#include "tests/unit/driver/common/builder_fixture.h"

namespace tvq::test {

// A system and these structures, in this order.
Table SystemWith(const std::vector<Structure>& structures);
// A system with one BIOS and two of everything else that its record lists.
Table WholeSystem();

class SystemRecord : public BuilderTest {
 protected:
  EFI_STATUS Make();
  EFI_STATUS Make(const Table& table);
  TVQ_SYSTEM Fields() { return Record()->device.system; }
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_COMMON_SYSTEM_FIXTURE_H_
