/*
 * What a fuzz target is: libFuzzer calls it, and so does the program that replays inputs.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_FUZZ_TARGET_H_
#define TVQ_TESTS_FUZZ_TARGET_H_

#include <cstddef>
#include <cstdint>
#include <memory>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace tvq::fuzz {

// What make() returns, a std::unique_ptr, serves a thousand inputs and is then made anew: it remembers
// which addresses were freed, so it is not kept for ever. The last one is left to the end of the
// process, where what it stands on may go before it.
template <typename Make>
auto& Renewed(Make make) {
  constexpr size_t kInputs = 1000;
  static decltype(make().release()) object = nullptr;
  static size_t inputs = 0;
  if (inputs++ % kInputs == 0) {
    delete object;
    object = nullptr;
    object = make().release();
  }
  return *object;
}

}  // namespace tvq::fuzz

#endif  // TVQ_TESTS_FUZZ_TARGET_H_
