/*
 * One structure of a table, with its strings.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_STRUCTURE_VIEW_H_
#define TVQ_HOST_TABLE_STRUCTURE_VIEW_H_

#include <optional>
#include <string_view>
#include <vector>

#include "host/table/table.h"

namespace tvq::table {

constexpr std::size_t kHeaderSize = 4;

struct StructureView {
  std::size_t offset;     // in the table
  std::size_t totalSize;  // with the strings and the NUL that ends them
  std::size_t bodySize;   // the formatted part, header included
  const std::uint8_t* body;
  std::vector<std::string_view> strings;

  std::uint8_t Type() const { return body[0]; }
  std::uint16_t Word(std::size_t at) const {
    return static_cast<std::uint16_t>(body[at] | body[at + 1] << 8);
  }
  std::uint16_t Handle() const { return Word(2); }
};

// The structure at `offset`, or nothing where the bytes are none: a length below that of a header,
// or one that the table cuts, or strings that never end.
std::optional<StructureView> StructureAt(const Bytes& table, std::size_t offset);

// All structures from the start of the table to the first bytes that are none. They are views: the
// table has to outlive them.
std::vector<StructureView> SplitTable(const Bytes& table);
std::vector<StructureView> SplitTable(Bytes&& table) = delete;

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_STRUCTURE_VIEW_H_
