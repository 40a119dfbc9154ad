/*
 * The structures of a table as the driver walks over them, whatever the bytes say.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_STRUCTURE_H_
#define TVQ_HOST_LINT_STRUCTURE_H_

#include <optional>
#include <string_view>
#include <vector>

#include "host/table/structure_view.h"
#include "host/table/table.h"

namespace tvq::lint {

using table::Bytes;

constexpr std::uint16_t kNoHandle = 0xFFFF;

// A view: the table has to outlive it. Fields past the formatted part read as 0, and a handle there
// as FFFFh, as they do in the driver.
class Structure {
 public:
  Structure(const Bytes& table, std::size_t offset);

  std::size_t Offset() const { return mOffset; }  // in the table
  std::size_t End() const { return mEnd; }        // where the walk goes on
  std::size_t Size() const { return mEnd - mOffset; }
  std::uint8_t Type() const { return mBegin[0]; }
  std::uint8_t Length() const { return mBegin[1]; }  // as stated
  std::uint16_t Handle() const { return TableWord(2); }
  // The length, cut by the end of the table.
  std::size_t FormattedSize() const { return mFormattedSize; }

  bool IsCut() const { return mFormattedSize < Length(); }
  // Whether the two NULs are there that end the strings.
  bool IsTerminated() const { return mIsTerminated; }
  // Whether header, formatted part and strings are what they have to be.
  bool IsSound() const { return Length() >= table::kHeaderSize && !IsCut() && IsTerminated(); }

  bool Has(std::size_t at, std::size_t size = 1) const { return at + size <= mFormattedSize; }
  std::uint8_t Byte(std::size_t at) const { return Has(at) ? TableByte(at) : 0; }
  std::uint16_t Word(std::size_t at) const { return Has(at, 2) ? TableWord(at) : 0; }
  std::uint16_t HandleAt(std::size_t at) const { return Has(at, 2) ? TableWord(at) : kNoHandle; }

  const std::uint8_t* Formatted() const { return mBegin; }

  // Bytes of the table, also behind the formatted part; 0 behind the table.
  std::uint8_t TableByte(std::size_t at) const {
    return at < static_cast<std::size_t>(mTableEnd - mBegin) ? mBegin[at] : 0;
  }
  std::uint16_t TableWord(std::size_t at) const {
    return static_cast<std::uint16_t>(TableByte(at) | TableByte(at + 1) << 8);
  }

  const std::vector<std::string_view>& Strings() const { return mStrings; }
  // The string with this number. Number 1 of a structure without strings is an empty one.
  std::optional<std::string_view> String(std::size_t number) const;
  // The string whose number stands at `at`.
  std::optional<std::string_view> Text(std::size_t at) const { return String(Byte(at)); }
  // The same, empty where there is none.
  std::string_view TextOrEmpty(std::size_t at) const { return Text(at).value_or(""); }
  // Whether the number at `at` is that of no string, and not 0 either.
  bool IsTextMissing(std::size_t at) const { return Byte(at) != 0 && !Text(at); }
  // Where the text begins, from the start of the structure.
  std::size_t PositionOf(std::string_view text) const {
    return static_cast<std::size_t>(reinterpret_cast<const std::uint8_t*>(text.data()) - mBegin);
  }

 private:
  std::size_t mOffset;
  std::size_t mEnd;
  std::size_t mFormattedSize;
  bool mIsTerminated = false;
  const std::uint8_t* mBegin;
  const std::uint8_t* mTableEnd;
  std::vector<std::string_view> mStrings;
};

// Every structure by position, up to fewer bytes than a header has.
std::vector<Structure> WalkTable(const Bytes& table);
std::vector<Structure> WalkTable(Bytes&& table) = delete;

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_STRUCTURE_H_
