/*
 * A ZVI table over the C library. An entry that the driver has no business with fails the test when
 * it is called.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_SHARED_LIBRARY_DOUBLE_H_
#define TVQ_TESTS_UNIT_SHARED_LIBRARY_DOUBLE_H_

#include <string>

#include <TvqCpp.h>
#include <Protocol/ZvLibrary.h>

namespace tvq::test {

ZV_LIBRARY_PROTOCOL MakeLibraryDouble();

// Fills slots of a table that nobody is to call.
void FillUnused(VOID** slots, size_t count);

// Formats a log line with the core's own copy of EDK II's PrintLib. Line feeds stay alone.
std::string FormatLine(const CHAR16* format, VA_LIST marker);

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_SHARED_LIBRARY_DOUBLE_H_
