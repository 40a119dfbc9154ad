/*
 * An SMBIOS table: its structures as bytes, and the entry point that leads to them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_TABLE_H_
#define TVQ_HOST_TABLE_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <tuple>
#include <vector>

namespace tvq::table {

using Bytes = std::vector<std::uint8_t>;

struct Version {
  std::uint8_t majorNumber;
  std::uint8_t minorNumber;
};

constexpr bool operator<=(Version left, Version right) {
  return std::tie(left.majorNumber, left.minorNumber) <=
         std::tie(right.majorNumber, right.minorNumber);
}

// What a table counts as that does not say.
constexpr Version kDefaultVersion = {3, 3};

// What leads to the structures, in a file that holds a table.
enum class EntryPoint {
  k32Bit,
  k64Bit,
  kWindows,  // the eight bytes that GetSystemFirmwareTable puts before the structures
  kNone,
};

// Bytes laid over others.
struct Patch {
  std::size_t offset;
  Bytes bytes;
};

struct Table {
  Version version = kDefaultVersion;
  EntryPoint entryPoint = EntryPoint::k32Bit;
  std::vector<Patch> entryPointPatches;  // where the entry point is not what the structures ask for
  Bytes structures;
};

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_TABLE_H_
