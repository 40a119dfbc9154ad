/*
 * Says on which inputs firmware would hang, where the walks are not bounded as they are here.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_FUZZ_WOULD_HANG_H_
#define TVQ_TESTS_FUZZ_WOULD_HANG_H_

namespace tvq::fuzz {

// The driver was started on a table that states so many structures, and a slot query that matches nothing would never
// return from it. A line on stderr says so. A fuzzer meets such tables by the thousand: where TVQ_FUZZ_HANGS names a
// file, that file grows by a byte instead.
void SayWouldHang(unsigned structures);

}  // namespace tvq::fuzz

#endif  // TVQ_TESTS_FUZZ_WOULD_HANG_H_
