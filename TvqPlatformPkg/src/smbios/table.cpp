/** @file
  A bounded view of an SMBIOS structure table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "table.h"

namespace tvqplatform {

TableStructure::TableStructure(Bytes table, UINTN offset) : mTable(table), mOffset(offset) {
  FindEnd();
}

UINT16 TableStructure::Handle() const {
  return static_cast<UINT16>(mTable[mOffset + 2] | (mTable[mOffset + 3] << 8));
}

UINTN TableStructure::FormattedSize() const {
  return MIN(static_cast<UINTN>(mTable[mOffset + 1]), mTable.Size() - mOffset);
}

UINT8 TableStructure::Byte(UINTN offset) const {
  return Has(offset, 1) ? mTable[mOffset + offset] : 0;
}

UINT16 TableStructure::Word(UINTN offset) const {
  return static_cast<UINT16>(Has(offset, 2) ? Byte(offset) | (Byte(offset + 1) << 8) : 0);
}

TableText TableStructure::TextAt(UINTN offset) const {
  for (UINTN end = offset; end < mTable.Size(); end++) {
    if (mTable[end] == 0) {
      return {mTable.Data() + offset, end - offset};
    }
  }
  return {};
}

TableText TableStructure::String(UINT8 number) const {
  if (number == 0) {
    return {};
  }
  UINTN offset = mOffset + FormattedSize();
  TableText text = TextAt(offset);
  for (UINT8 i = 1; i < number && text.Data != nullptr; i++) {
    offset += text.Length + 1;
    if (offset >= mTable.Size() || mTable[offset] == 0) {
      return {};
    }
    text = TextAt(offset);
  }
  return text;
}

/// A structure without strings has two NULs where a text of no characters would begin.
UINTN TableStructure::StringCount() const {
  UINTN count = 0;
  UINTN characters = 0;
  UINTN offset = mOffset + FormattedSize();
  for (TableText text = TextAt(offset); text.Data != nullptr; text = TextAt(offset)) {
    count++;
    characters += text.Length;
    offset += text.Length + 1;
    if (offset >= mTable.Size() || mTable[offset] == 0) {
      break;
    }
  }
  return characters == 0 ? 0 : count;
}

/// The string area ends at the first NUL that follows a NUL.
void TableStructure::FindEnd() {
  UINTN offset = mOffset + FormattedSize();
  TableText text = TextAt(offset);
  while (text.Data != nullptr) {
    offset += text.Length + 1;
    if (offset < mTable.Size() && mTable[offset] == 0) {
      mSize = offset + 1 - mOffset;
      mComplete = true;
      return;
    }
    text = TextAt(offset);
  }
  mSize = mTable.Size() - mOffset;
}

bool TableWalk::Next(TableStructure& structure) {
  if (mTable.Size() - mOffset < kStructureHeaderSize) {
    return false;
  }
  structure = TableStructure(mTable, mOffset);
  mOffset = structure.End();
  return true;
}

TableSummary Summarize(Bytes table) {
  TableSummary summary;
  TableWalk walk(table);
  for (TableStructure structure; walk.Next(structure);) {
    summary.StructureCount++;
    summary.MaximumStructureSize = MAX(summary.MaximumStructureSize, structure.Size());
    summary.LastIsComplete = structure.IsComplete();
    if (structure.Type() == kTypeEndOfTable && summary.EndOfTableEnd == 0) {
      summary.EndOfTableEnd = structure.End();
    }
  }
  summary.End = walk.Offset();
  return summary;
}

}  // namespace tvqplatform
