/*
 * Rows of values, in as many columns as a line has room for.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/text_table.h"

#include <algorithm>

#include "host/cli/output/paragraph.h"

namespace tvq::cli {
namespace {

constexpr std::size_t kGap = 2;
constexpr char kNothing[] = "-";

}  // namespace

TextTable::TextTable(std::vector<Column> columns, std::size_t kept)
    : mColumns(std::move(columns)), mKept(kept) {
  for (const Column& column : mColumns) {
    mWidths.push_back(WidthOf(column.heading));
  }
}

void TextTable::Add(std::vector<std::string> row) {
  for (std::size_t i = 0; i < mWidths.size(); ++i) {
    mWidths[i] = std::max(mWidths[i], WidthOf(row[i]));
  }
  mRows.push_back(std::move(row));
}

bool TextTable::IsUsed(std::size_t column) const {
  return std::any_of(mRows.begin(), mRows.end(),
                     [column](const auto& row) { return row[column] != kNothing; });
}

bool TextTable::IsSame(std::size_t column) const {
  return mRows.size() > 1 && std::all_of(mRows.begin(), mRows.end(), [&](const auto& row) {
           return row[column] == mRows.front()[column];
         });
}

std::size_t TextTable::WidthOfLine(const std::vector<std::size_t>& columns) const {
  std::size_t width = 0;
  for (const std::size_t column : columns) {
    width += mWidths[column] + (width == 0 ? 0 : kGap);
  }
  return width;
}

TextTable::Layout TextTable::Arrange(std::size_t lineWidth) const {
  Layout layout;
  for (std::size_t i = 0; i < mColumns.size(); ++i) {
    if (i == 0 || IsUsed(i)) {
      layout.columns.push_back(i);
    }
  }
  const auto fits = [&] { return lineWidth == 0 || WidthOfLine(layout.columns) <= lineWidth; };
  for (std::size_t i = layout.columns.size(); i-- != 0 && !fits();) {
    const std::size_t column = layout.columns[i];
    if (column >= mKept && IsSame(column)) {
      layout.shared.insert(layout.shared.begin(), column);
      layout.columns.erase(layout.columns.begin() + static_cast<std::ptrdiff_t>(i));
    }
  }
  if (!fits()) {
    std::vector<std::size_t> candidates;
    candidates.swap(layout.columns);
    for (const std::size_t column : candidates) {
      layout.columns.push_back(column);
      if (column >= mKept && !fits()) {
        layout.columns.pop_back();
        layout.below.push_back(column);
      }
    }
  }
  return layout;
}

std::string TextTable::Line(const std::vector<std::string>& cells,
                            const std::vector<std::size_t>& columns) const {
  std::string line;
  for (const std::size_t column : columns) {
    line += cells[column] + std::string(mWidths[column] - WidthOf(cells[column]) + kGap, ' ');
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

std::vector<std::string> TextTable::Phrases(const std::vector<std::string>& row,
                                            const std::vector<std::size_t>& columns) const {
  std::vector<std::string> phrases;
  for (const std::size_t column : columns) {
    if (row[column] != kNothing) {
      phrases.push_back(mColumns[column].before + row[column]);
    }
  }
  return phrases;
}

std::string TextTable::Render(const Terminal& terminal, std::size_t indent) const {
  const Layout layout = Arrange(terminal.width > indent ? terminal.width - indent : 0);
  const std::string margin(indent, ' ');
  std::string text;
  if (!layout.shared.empty()) {
    text += Listed(Phrases(mRows.front(), layout.shared), terminal, margin + "all: ", indent + 2);
  }
  if (layout.columns.size() == 1 && layout.below.empty()) {
    std::vector<std::string> items;
    for (const auto& row : mRows) {
      items.push_back(row[layout.columns.front()]);
    }
    return text + Listed(items, terminal, margin, indent);
  }
  std::vector<std::string> headings;
  for (const Column& column : mColumns) {
    headings.push_back(column.heading);
  }
  text += margin + Painted(terminal, Ink::kBold, Line(headings, layout.columns)) + '\n';
  for (const auto& row : mRows) {
    const std::string line = Line(row, layout.columns);
    const bool isLong = terminal.width != 0 && WidthOf(line) + indent > terminal.width;
    text += isLong ? Wrapped(line, terminal, indent) : margin + line + '\n';
    if (const auto phrases = Phrases(row, layout.below); !phrases.empty()) {
      text += Listed(phrases, terminal, std::string(indent + 4, ' '), indent + 4);
    }
  }
  return text;
}

}  // namespace tvq::cli
