/*
 * A table that gives one record of each kind.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_FUZZ_SMALL_SERVER_H_
#define TVQ_TESTS_FUZZ_SMALL_SERVER_H_

#include "host/table/dump.h"
#include "tests/fuzz/guarded_table.h"

namespace tvq::fuzz {

Table SmallServer();

// The same, as a file of `dmidecode --dump-bin`.
Bytes SmallServerDump();

}  // namespace tvq::fuzz

#endif  // TVQ_TESTS_FUZZ_SMALL_SERVER_H_
