/** @file
  A bounded view of an SMBIOS structure table (SMBIOS 6.1).

  Nothing is read outside the table, whatever its bytes say. The rules are those by which
  TVQSMBIOS reads: the end of the table ends a structure, fewer than four bytes are no structure, a
  string without a terminator inside the table is no string, and a field past the formatted length
  reads as 0.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_TABLE_H_
#define TVQ_PLATFORM_SMBIOS_TABLE_H_

#include <TvqCpp.h>

namespace tvqplatform {

using Bytes = tvq::Span<const UINT8>;

inline constexpr UINT8 kTypeProcessor = 4;
inline constexpr UINT8 kTypeMemoryDevice = 17;
inline constexpr UINT8 kTypeEndOfTable = 127;

/// Type, length of the formatted part, handle.
inline constexpr UINTN kStructureHeaderSize = 4;

/// A string of a structure, where it stands in the table.
struct TableText {
  const UINT8* Data = nullptr;  ///< Null: there is no such string.
  UINTN Length = 0;             ///< Without the terminator, which follows.
};

class TableStructure {
 public:
  TableStructure() = default;
  /// `offset` leaves room for a header inside the table.
  TableStructure(Bytes table, UINTN offset);

  UINTN Offset() const { return mOffset; }
  UINT8 Type() const { return mTable[mOffset]; }
  UINT16 Handle() const;
  /// Formatted part, cut by the end of the table.
  UINTN FormattedSize() const;
  /// Strings and terminator included.
  UINTN Size() const { return mSize; }
  UINTN End() const { return mOffset + mSize; }
  /// False: the table ends before the structure does.
  bool IsComplete() const { return mComplete; }
  Bytes Whole() const { return {mTable.Data() + mOffset, mSize}; }

  bool Has(UINTN offset, UINTN size) const { return offset + size <= FormattedSize(); }
  UINT8 Byte(UINTN offset) const;
  UINT16 Word(UINTN offset) const;

  /// String `number`, from 1. The first string of a structure without strings is an empty text.
  TableText String(UINT8 number) const;
  /// The string whose number stands at `offset`.
  TableText StringAt(UINTN offset) const { return String(Byte(offset)); }
  UINTN StringCount() const;

 private:
  void FindEnd();
  /// The string that begins at `offset` of the table.
  TableText TextAt(UINTN offset) const;

  Bytes mTable;
  UINTN mOffset = 0;
  UINTN mSize = 0;
  bool mComplete = false;
};

/// Visits each structure once, in table order, end-of-table structures and what follows them
/// included: TVQSMBIOS does not stop there either.
///
///     TableWalk walk(table);
///     for (TableStructure structure; walk.Next(structure);) { ... }
class TableWalk {
 public:
  explicit TableWalk(Bytes table) : mTable(table) {}

  [[nodiscard]] bool Next(TableStructure& structure);
  /// Where the last visited structure ends.
  UINTN Offset() const { return mOffset; }

 private:
  Bytes mTable;
  UINTN mOffset = 0;
};

struct TableSummary {
  UINTN StructureCount = 0;
  UINTN MaximumStructureSize = 0;
  UINTN End = 0;            ///< Where the last structure ends; fewer than four bytes may follow.
  UINTN EndOfTableEnd = 0;  ///< Where the first end-of-table structure ends; 0 without one.
  bool LastIsComplete = true;
};

TableSummary Summarize(Bytes table);

}  // namespace tvqplatform

#endif
