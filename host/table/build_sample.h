/*
 * The build's own `tvq mktable`. It stands on the table library alone, so that the samples do not
 * wait for the driver to be built.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_BUILD_SAMPLE_H_
#define TVQ_HOST_TABLE_BUILD_SAMPLE_H_

#include <iosfwd>

namespace tvq::table {

// `PROGRAM SOURCE DUMP`: 0 when the dump was written, 2 when it was not.
int BuildSample(int argc, const char* const* argv, std::ostream& diagnostics);

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_BUILD_SAMPLE_H_
