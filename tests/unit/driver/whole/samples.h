/*
 * The project's sample tables.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_WHOLE_SAMPLES_H_
#define TVQ_TESTS_UNIT_DRIVER_WHOLE_SAMPLES_H_

#include <string>

#include "tests/unit/shared/table.h"

namespace tvq::test {

// The sample in samples/<name>.smbios.
Table Sample(const std::string& name);

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_WHOLE_SAMPLES_H_
