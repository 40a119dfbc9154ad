/*
 * Aligned columns of text.
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

// Cells are UTF-8. A column that holds nothing but "-" is left out.
class TextTable {
 public:
  // The first `whole` columns are what tells the rows apart, and are cut last.
  explicit TextTable(std::vector<std::string> headings, std::size_t whole = 0)
      : mHeadings(std::move(headings)), mWhole(whole) {}

  void Add(std::vector<std::string> row) { mRows.push_back(std::move(row)); }
  bool IsEmpty() const { return mRows.empty(); }

  // The lines, each behind `indent` blanks. Where the terminal is too narrow, the widest columns are
  // cut and their cells end in "…".
  std::string Render(const Terminal& terminal, std::size_t indent = 2) const;

 private:
  struct Column {
    std::size_t index;
    std::size_t width;
  };
  std::vector<Column> Columns() const;
  // Narrows the widest of the columns from `first` on, until the line fits or all are narrow.
  void Fit(std::vector<Column>& columns, std::size_t lineWidth, std::size_t first) const;
  std::string Line(const std::vector<std::string>& cells, const std::vector<Column>& columns) const;

  std::vector<std::string> mHeadings;
  std::size_t mWhole;
  std::vector<std::vector<std::string>> mRows;
};

// A paragraph, broken between words where the terminal is too narrow for it. The first line stands
// behind `indent` blanks, the others behind two more.
std::string Wrapped(const std::string& utf8, const Terminal& terminal, std::size_t indent);

// How many characters the terminal shows for the text.
std::size_t WidthOf(const std::string& utf8);

// At most `width` characters of the text; the last one is "…" where something was cut.
std::string Cut(const std::string& utf8, std::size_t width);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_OUTPUT_TEXT_TABLE_H_
