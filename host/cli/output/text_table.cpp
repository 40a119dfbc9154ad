/*
 * Aligned columns of text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/text_table.h"

#include <algorithm>
#include <numeric>

namespace tvq::cli {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 6;
constexpr char kEllipsis[] = "…";

bool StartsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

}  // namespace

std::size_t WidthOf(const std::string& utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), StartsCharacter));
}

std::string Cut(const std::string& utf8, std::size_t width) {
  if (WidthOf(utf8) <= width) {
    return utf8;
  }
  std::string cut;
  std::size_t count = 0;
  for (const char byte : utf8) {
    count += StartsCharacter(byte) ? 1 : 0;
    if (count >= width) {
      break;
    }
    cut.push_back(byte);
  }
  return width == 0 ? cut : cut + kEllipsis;
}

std::string Wrapped(const std::string& utf8, const Terminal& terminal, std::size_t indent) {
  std::string text(indent, ' ');
  std::size_t column = indent;
  for (std::size_t at = 0; at < utf8.size();) {
    const std::size_t end = std::min(utf8.find(' ', at), utf8.size());
    const std::string word = utf8.substr(at, end - at);
    const std::size_t width = WidthOf(word);
    if (at != 0 && terminal.width != 0 && column + 1 + width > terminal.width) {
      text += '\n' + std::string(indent + 2, ' ');
      column = indent + 2;
    } else if (at != 0) {
      text += ' ';
      ++column;
    }
    text += word;
    column += width;
    at = end + 1;
  }
  return text + '\n';
}

std::vector<TextTable::Column> TextTable::Columns() const {
  std::vector<Column> columns;
  for (std::size_t i = 0; i < mHeadings.size(); ++i) {
    Column column = {i, WidthOf(mHeadings[i])};
    bool isUsed = false;
    for (const auto& row : mRows) {
      isUsed = isUsed || row[i] != "-";
      column.width = std::max(column.width, WidthOf(row[i]));
    }
    if (isUsed) {
      columns.push_back(column);
    }
  }
  return columns;
}

std::string TextTable::Line(const std::vector<std::string>& cells,
                            const std::vector<Column>& columns) const {
  std::string line;
  for (const Column& column : columns) {
    const std::string cell = Cut(cells[column.index], column.width);
    line += cell + std::string(column.width - WidthOf(cell) + kGap, ' ');
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

void TextTable::Fit(std::vector<Column>& columns, std::size_t lineWidth, std::size_t first) const {
  const auto begin = std::find_if(columns.begin(), columns.end(),
                                  [first](const Column& column) { return column.index >= first; });
  const auto used = [&columns] {
    return std::accumulate(
        columns.begin(), columns.end(), std::size_t{0},
        [](std::size_t sum, const Column& column) { return sum + column.width + kGap; });
  };
  while (begin != columns.end() && used() > lineWidth + kGap) {
    const auto widest = std::max_element(
        begin, columns.end(),
        [](const Column& left, const Column& right) { return left.width < right.width; });
    if (widest->width <= kNarrowest) {
      return;
    }
    --widest->width;
  }
}

std::string TextTable::Render(const Terminal& terminal, std::size_t indent) const {
  std::vector<Column> columns = Columns();
  if (terminal.width > indent) {
    Fit(columns, terminal.width - indent, mWhole);
    Fit(columns, terminal.width - indent, 0);
  }
  const std::string margin(indent, ' ');
  std::string text = margin + Painted(terminal, Ink::kBold, Line(mHeadings, columns)) + '\n';
  for (const auto& row : mRows) {
    text += margin + Line(row, columns) + '\n';
  }
  return text;
}

}  // namespace tvq::cli
