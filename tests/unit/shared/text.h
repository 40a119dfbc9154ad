/*
 * Texts of the firmware as texts of the tests.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_SHARED_TEXT_H_
#define TVQ_TESTS_UNIT_SHARED_TEXT_H_

#include <string>

#include "host/firmware/edk2.h"

namespace tvq::test {

// UTF-8 of UCS-2; "(null)" for a null pointer.
std::string Utf8(const CHAR16* text);

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_SHARED_TEXT_H_
