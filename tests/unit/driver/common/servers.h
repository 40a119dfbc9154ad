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

// OEM strings whose first one fills the 20 characters that nobody looks at.
OemStrings OemStringsWith(std::vector<std::string> texts);

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_COMMON_SERVERS_H_
