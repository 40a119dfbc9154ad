/*
 * Tables for the tests of the library of SMBIOS tables, written down byte by byte.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_SMBIOS_TABLE_LIB_TABLE_BYTES_H_
#define TVQ_TESTS_UNIT_DRIVER_SMBIOS_TABLE_LIB_TABLE_BYTES_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <Library/SmbiosTableLib.h>

namespace tvq::smbios {

using ByteVector = std::vector<uint8_t>;

inline Bytes View(const ByteVector& bytes) {
  return {bytes.data(), bytes.size()};
}
Bytes View(ByteVector&& bytes) = delete;

// Header, `body` behind it, and each of `strings` with its NUL; the NULs that end a structure too.
inline ByteVector StructureOf(uint8_t type, uint16_t handle, const ByteVector& body,
                              const std::vector<std::string>& strings) {
  ByteVector bytes = {type, static_cast<uint8_t>(kHeaderSize + body.size()),
                      static_cast<uint8_t>(handle), static_cast<uint8_t>(handle >> 8)};
  bytes.insert(bytes.end(), body.begin(), body.end());
  for (const std::string& string : strings) {
    bytes.insert(bytes.end(), string.begin(), string.end());
    bytes.push_back(0);
  }
  bytes.insert(bytes.end(), strings.empty() ? 2 : 1, 0);
  return bytes;
}

inline ByteVector operator+(ByteVector left, const ByteVector& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

inline std::optional<std::string> Copy(Text text) {
  return text ? std::optional(std::string(text.begin(), text.end())) : std::nullopt;
}

inline std::vector<std::string> StringsOf(const Structure& structure) {
  std::vector<std::string> strings;
  for (const Text text : structure.Strings()) {
    strings.emplace_back(text.begin(), text.end());
  }
  return strings;
}

inline std::vector<SizeType> OffsetsOf(Walk walk) {
  std::vector<SizeType> offsets;
  for (const Structure& structure : walk) {
    offsets.push_back(structure.Offset());
  }
  return offsets;
}

}  // namespace tvq::smbios

#endif  // TVQ_TESTS_UNIT_DRIVER_SMBIOS_TABLE_LIB_TABLE_BYTES_H_
