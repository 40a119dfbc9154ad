/*
 * What a function reads that nobody wrote is not 0.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_SHARED_DIRTY_STACK_H_
#define TVQ_TESTS_UNIT_SHARED_DIRTY_STACK_H_

#include <cstddef>

namespace tvq::test {

// Fills the stack where the frames of the next calls will lie.
[[gnu::noinline]] inline void DirtyTheStack() {
  volatile unsigned char bytes[0x8000];
  for (size_t i = 0; i < sizeof(bytes); ++i) {
    bytes[i] = 0x5A;
  }
}

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_SHARED_DIRTY_STACK_H_
