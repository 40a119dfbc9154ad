/*
 * The structures of a table as the driver walks over them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/structure.h"

#include <algorithm>

namespace tvq::lint {

// A string ends at its NUL, the strings at a NUL behind one, and the table ends everything. A
// structure without strings still has a first one, which is empty.
Structure::Structure(const Bytes& table, std::size_t offset)
    : mOffset(offset),
      mEnd(table.size()),
      mFormattedSize(std::min<std::size_t>(table[offset + 1], table.size() - offset)),
      mBegin(&table[offset]),
      mTableEnd(table.data() + table.size()) {
  const std::uint8_t* text = mBegin + mFormattedSize;
  while (text < mTableEnd) {
    const std::uint8_t* nul = std::find(text, mTableEnd, 0);
    if (nul == mTableEnd) {
      return;
    }
    mStrings.emplace_back(reinterpret_cast<const char*>(text), nul - text);
    text = nul + 1;
    if (text < mTableEnd && *text == 0) {
      mEnd = static_cast<std::size_t>(text + 1 - table.data());
      mIsTerminated = true;
      if (mStrings.size() == 1 && mStrings[0].empty()) {
        mStrings.clear();
      }
      return;
    }
  }
}

std::optional<std::string_view> Structure::String(std::size_t number) const {
  if (number != 0 && number <= mStrings.size()) {
    return mStrings[number - 1];
  }
  if (number == 1 && mIsTerminated) {
    // Empty, at the place where it stands.
    return std::string_view(reinterpret_cast<const char*>(mBegin + mFormattedSize), size_t{});
  }
  return std::nullopt;
}

std::vector<Structure> WalkTable(const Bytes& table) {
  std::vector<Structure> structures;
  for (std::size_t at = 0; table.size() - at >= table::kHeaderSize; at = structures.back().End()) {
    structures.emplace_back(table, at);
  }
  return structures;
}

}  // namespace tvq::lint
