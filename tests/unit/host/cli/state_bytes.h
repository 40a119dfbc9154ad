/*
 * The bytes of saved states, for tests of what the command line makes of those that others saved.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_CLI_STATE_BYTES_H_
#define TVQ_TESTS_UNIT_HOST_CLI_STATE_BYTES_H_

#include <cstddef>
#include <cstdint>

#include "tests/unit/shared/entry_point.h"
#include "tests/unit/shared/table.h"

namespace tvq::cli {

// CRC-32 as UEFI counts it.
inline uint32_t Crc32(const uint8_t* bytes, std::size_t size) {
  uint32_t crc = 0xFFFFFFFF;
  for (std::size_t i = 0; i < size; ++i) {
    crc ^= bytes[i];
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
    }
  }
  return ~crc;
}

// The state of a machine whose table was not kept.
inline test::Bytes WithoutTable(test::Bytes state) {
  constexpr std::size_t kCount = 12;
  constexpr std::size_t kBodySize = 24;
  constexpr std::size_t kChecksum = 28;
  constexpr std::size_t kHeaderSize = 32;
  constexpr std::size_t kSectionSize = 8;
  constexpr uint8_t kTable = 3;
  std::size_t at = kHeaderSize;
  const auto sizeOfSection = [&] {
    return kSectionSize + (state[at + 4] | state[at + 5] << 8 | state[at + 6] << 16);
  };
  while (state.at(at) != kTable) {
    at += sizeOfSection();
  }
  const auto table = state.begin() + static_cast<std::ptrdiff_t>(at);
  state.erase(table, table + static_cast<std::ptrdiff_t>(sizeOfSection()));
  --state[kCount];
  test::PutNumber(state, kBodySize, 4, state.size() - kHeaderSize);
  test::PutNumber(state, kChecksum, 4, 0);
  test::Bytes sums(8);
  test::PutNumber(sums, 0, 4, Crc32(state.data(), kHeaderSize));
  test::PutNumber(sums, 4, 4, Crc32(state.data() + kHeaderSize, state.size() - kHeaderSize));
  test::PutNumber(state, kChecksum, 4, Crc32(sums.data(), sums.size()));
  return state;
}

}  // namespace tvq::cli

#endif  // TVQ_TESTS_UNIT_HOST_CLI_STATE_BYTES_H_
