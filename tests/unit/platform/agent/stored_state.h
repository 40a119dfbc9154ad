/*
 * States of version 2, written down independently of the product.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_PLATFORM_AGENT_STORED_STATE_H_
#define TVQ_TESTS_UNIT_PLATFORM_AGENT_STORED_STATE_H_

#include "tests/unit/platform/agent/state_bytes.h"

#include <Library/SmbiosTableLib.h>

namespace tvq::test {

// "(none)" where there is no text.
inline std::string SpelledOut(smbios::Text text) {
  return text ? std::string(text.begin(), text.end()) : "(none)";
}

struct Section {
  uint32_t type = 0;
  Bytes content{};
  std::optional<uint32_t> statedSize{};
};

inline void AppendText(Bytes& bytes, const std::string& text) {
  bytes.insert(bytes.end(), text.begin(), text.end());
  bytes.push_back(0);
}

inline Section OriginSection(uint64_t time, uint32_t options, uint32_t rules,
                             const std::string& program) {
  Bytes content;
  AppendNumber(content, time, 8);
  AppendNumber(content, options, 4);
  AppendNumber(content, rules, 4);
  AppendText(content, program);
  return {1, content};
}

inline Section MachineSection(const std::optional<Bytes>& uuid = {}, const std::string& system = "",
                              const std::string& board = "", const std::string& chassis = "") {
  Bytes content = {static_cast<uint8_t>(uuid ? 1 : 0)};
  const Bytes stored = uuid.value_or(Bytes(16));
  content.insert(content.end(), stored.begin(), stored.end());
  AppendText(content, system);
  AppendText(content, board);
  AppendText(content, chassis);
  return {2, content};
}

inline Section TableSection(uint8_t major, uint8_t minor, uint16_t count, const Bytes& structures) {
  Bytes content = {major, minor};
  AppendNumber(content, count, 2);
  content.insert(content.end(), structures.begin(), structures.end());
  return {3, content};
}

inline Section DeviceSection(const std::u16string& fqdd, const Bytes& blobs = {},
                             uint32_t componentClass = 6, uint16_t handle = 0xFFFF,
                             uint8_t why = 0) {
  Bytes content;
  AppendNumber(content, componentClass, 4);
  AppendNumber(content, handle, 2);
  AppendNumber(content, why, 1);
  AppendNumber(content, fqdd.size(), 1);
  for (const char16_t character : fqdd) {
    AppendNumber(content, character, 2);
  }
  content.insert(content.end(), blobs.begin(), blobs.end());
  return {4, content};
}

inline Section EndSection(uint64_t generation) {
  Bytes content;
  AppendNumber(content, generation, 8);
  return {5, content};
}

// A state of version 2. Its end section comes by itself.
struct State2 {
  std::vector<Section> sections{};
  uint64_t generation = 1;
  std::optional<uint32_t> statedCount{};
  std::optional<uint64_t> statedEnd{};

  Bytes Encode() const {
    State state{.generation = generation, .version = 2};
    std::vector<Section> all = sections;
    all.push_back(EndSection(statedEnd.value_or(generation)));
    for (const Section& section : all) {
      AppendNumber(state.behind, section.type, 4);
      AppendNumber(state.behind, section.statedSize.value_or(section.content.size()), 4);
      state.behind.insert(state.behind.end(), section.content.begin(), section.content.end());
    }
    state.statedCount = statedCount.value_or(all.size());
    return state.Encode();
  }
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_PLATFORM_AGENT_STORED_STATE_H_
