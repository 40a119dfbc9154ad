/*
 * Rows of values, in as many columns as a line has room for.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_OUTPUT_TEXT_TABLE_H_
#define TVQ_HOST_CLI_OUTPUT_TEXT_TABLE_H_

#include <cstddef>
#include <string>
#include <vector>

#include "host/cli/output/console.h"

namespace tvq::cli {

struct Column {
  std::string heading;
  std::string before;  // what stands in front of the value where it is no column: "serial "
};

// Cells are UTF-8; "-" stands for nothing. Columns are in the order of their weight.
//
// No value is cut. Where a line has no room for all columns, the last ones whose value is the same in
// every row are said once above the rows; then what still has no room stands below its row:
//
//     all: 16 GB, rank 2
//     LABEL      SERIAL
//     P1-DIMM1A  AEEE0705
//       bank P0_Node0_Channel0_Dimm0
class TextTable {
 public:
  // The first `kept` columns tell the rows apart, and stay.
  explicit TextTable(std::vector<Column> columns, std::size_t kept = 1);

  void Add(std::vector<std::string> row);
  bool IsEmpty() const { return mRows.empty(); }

  // The lines, each behind `indent` blanks. Columns without any value are left out; where only the
  // first one is left, its values stand in one list.
  std::string Render(const Terminal& terminal, std::size_t indent = 2) const;

 private:
  struct Layout {
    std::vector<std::size_t> shared;
    std::vector<std::size_t> columns;
    std::vector<std::size_t> below;
  };
  bool IsUsed(std::size_t column) const;
  bool IsSame(std::size_t column) const;
  std::size_t WidthOfLine(const std::vector<std::size_t>& columns) const;
  Layout Arrange(std::size_t lineWidth) const;
  std::string Line(const std::vector<std::string>& cells,
                   const std::vector<std::size_t>& columns) const;
  std::vector<std::string> Phrases(const std::vector<std::string>& row,
                                   const std::vector<std::size_t>& columns) const;

  std::vector<Column> mColumns;
  std::size_t mKept;
  std::vector<std::vector<std::string>> mRows;
  std::vector<std::size_t> mWidths;  // of each column, with its heading
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_OUTPUT_TEXT_TABLE_H_
