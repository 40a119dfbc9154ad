/*
 * One structure of a table, with its strings.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/structure_view.h"

namespace tvq::table {
namespace {

// Where the two NULs begin that end the strings from `start` on; the size of the table when they
// are missing.
std::size_t EndOfStrings(const Bytes& table, std::size_t start) {
  for (std::size_t at = start; at + 1 < table.size(); ++at) {
    if (table[at] == 0 && table[at + 1] == 0) {
      return at;
    }
  }
  return table.size();
}

// The strings in [start, end), where `end` is the NUL of the last one.
std::vector<std::string_view> SplitStrings(const Bytes& table, std::size_t start, std::size_t end) {
  std::vector<std::string_view> strings;
  for (std::size_t at = start; end > start && at <= end;) {
    const std::string_view string = reinterpret_cast<const char*>(&table[at]);
    strings.push_back(string);
    at += string.size() + 1;
  }
  return strings;
}

}  // namespace

std::optional<StructureView> StructureAt(const Bytes& table, std::size_t offset) {
  if (table.size() < kHeaderSize || offset > table.size() - kHeaderSize) {
    return std::nullopt;
  }
  const std::size_t bodySize = table[offset + 1];
  if (bodySize < kHeaderSize || bodySize > table.size() - offset) {
    return std::nullopt;
  }
  const std::size_t strings = offset + bodySize;
  const std::size_t end = EndOfStrings(table, strings);
  if (end == table.size()) {
    return std::nullopt;
  }
  return StructureView{offset, end + 2 - offset, bodySize, &table[offset],
                       SplitStrings(table, strings, end)};
}

std::vector<StructureView> SplitTable(const Bytes& table) {
  std::vector<StructureView> structures;
  std::size_t offset = 0;
  while (auto structure = StructureAt(table, offset)) {
    offset += structure->totalSize;
    structures.push_back(std::move(*structure));
  }
  return structures;
}

}  // namespace tvq::table
