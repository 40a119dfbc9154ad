/*
 * Tables with everything that the builders look at.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_COMMON_SERVERS_H_
#define TVQ_TESTS_UNIT_DRIVER_COMMON_SERVERS_H_

#include <string>
#include <vector>

#include "tests/unit/shared/table.h"

namespace tvq::test {

// Two processors with three cache levels and an OEM string of their own, an empty third socket,
// three modules and an empty slot in one array, one module without an FQDD and two with an
// extension, two of everything that the system record lists.
Table TwoSocketServer();

// Two processors; two HBM stacks of the first one, one of the second, in an array of their own, and
// one module.
Table HbmServer();

// Two modules whose locators have the same three characters.
Table TwinModuleServer();

// --- Processors ---

// A processor whose every field has a value of its own: CPU1, handle 400h, caches 700h to 702h, 28
// cores.
Processor OneProcessor();
Processor Designated(const Text& designation);
FqddMap MapOf(std::vector<FqddMap::Group> groups);
// OneProcessor() and whatever else its record is made of.
Table WholeServer();

// An HBM stack in the array 1001h.
MemoryDevice StackAt(const Text& locator);
// A processor, the arrays 1000h and, twice, 1001h, and these devices.
Table HbmTable(const std::vector<MemoryDevice>& devices);

// OEM strings whose first one fills the 20 characters that nobody looks at.
OemStrings OemStringsWith(std::vector<std::string> texts);

// --- Memory modules ---

// A module whose every field has a value of its own: DIMM_A1, handle 1100h.
MemoryDevice OneModule();
MemoryDevice LocatedAt(const Text& locator);
// OneModule() with an FQDD and an extension.
Table WholeMemory();

// --- The system ---

// A system with one BIOS and two of everything else that its record lists.
Table WholeSystem();

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_COMMON_SERVERS_H_
