/*
 * What a fuzz target is: libFuzzer calls it, and so does the program that replays inputs.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_FUZZ_TARGET_H_
#define TVQ_TESTS_FUZZ_TARGET_H_

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

#endif  // TVQ_TESTS_FUZZ_TARGET_H_
