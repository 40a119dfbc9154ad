/*
 * Saved states, written down independently of the agent.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_AGENT_STATE_BYTES_H_
#define TVQ_TESTS_UNIT_PLATFORM_AGENT_STATE_BYTES_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/unit/shared/table.h"

namespace tvq::test {

inline void AppendNumber(Bytes& bytes, uint64_t number, size_t size) {
  for (size_t i = 0; i < size; ++i) {
    bytes.push_back(static_cast<uint8_t>(number >> (8 * i)));
  }
}

// The CRC-32 of IEEE 802.3, a bit at a time.
inline uint32_t Crc32(const Bytes& bytes) {
  uint32_t crc = 0xFFFFFFFF;
  for (const uint8_t byte : bytes) {
    crc ^= byte;
    for (int bit = 0; bit < 8; ++bit) {
      crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
    }
  }
  return ~crc;
}

struct StateDevice {
  std::u16string fqdd{};
  Bytes data{};
  uint32_t componentClass = 6;
  // What the device's header states, where that is not what follows.
  std::optional<uint32_t> statedLength{};
  std::optional<uint32_t> statedSize{};
};

struct State {
  std::vector<StateDevice> devices{};
  uint64_t generation = 1;
  std::string magic = "TVQSTATE";
  uint32_t version = 1;
  Bytes behind{};  // behind the last device
  // What the header states, where that is not what follows.
  std::optional<uint32_t> statedCount{};
  std::optional<uint32_t> statedBody{};
  std::optional<uint32_t> statedCrc{};

  Bytes Encode() const {
    Bytes body;
    for (const StateDevice& device : devices) {
      AppendNumber(body, device.componentClass, 4);
      AppendNumber(body, device.statedLength.value_or(device.fqdd.size()), 4);
      AppendNumber(body, device.statedSize.value_or(device.data.size()), 4);
      for (const char16_t character : device.fqdd) {
        AppendNumber(body, character, 2);
      }
      body.insert(body.end(), device.data.begin(), device.data.end());
    }
    body.insert(body.end(), behind.begin(), behind.end());
    Bytes file = Header(body, 0);
    Bytes sums;
    AppendNumber(sums, Crc32(file), 4);
    AppendNumber(sums, body.empty() ? 0 : Crc32(body), 4);
    file = Header(body, statedCrc.value_or(Crc32(sums)));
    file.insert(file.end(), body.begin(), body.end());
    return file;
  }

 private:
  Bytes Header(const Bytes& body, uint32_t crc) const {
    Bytes header(magic.begin(), magic.end());
    AppendNumber(header, version, 4);
    AppendNumber(header, statedCount.value_or(devices.size()), 4);
    AppendNumber(header, generation, 8);
    AppendNumber(header, statedBody.value_or(body.size()), 4);
    AppendNumber(header, crc, 4);
    return header;
  }
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_AGENT_STATE_BYTES_H_
