/*
 * What code that tools/mutation changed reads and writes: the number of the change that is on, 0 for none, and the places
 * that were reached.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_MUTATION_SWITCH_H_
#define TVQ_TESTS_MUTATION_SWITCH_H_

#include <cstddef>

// The prefix of host code's names keeps these out of the images, which have their own copy of everything else.
extern "C" {
constexpr size_t kTvqHostPoints = 1 << 20;
extern unsigned gTvqHostMutant;
// Whole pages, so that processes can share it.
alignas(4096) extern unsigned char gTvqHostReached[kTvqHostPoints];
}

#endif  // TVQ_TESTS_MUTATION_SWITCH_H_
