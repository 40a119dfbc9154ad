/** @file
  Puts a structure table together.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_TABLE_BUILDER_H_
#define TVQ_PLATFORM_SMBIOS_TABLE_BUILDER_H_

#include "../growing_array.h"
#include "table.h"

namespace tvqplatform {

/// Appends to bytes that somebody else owns. False: there is no memory.
class TableBuilder {
 public:
  explicit TableBuilder(GrowingArray<UINT8>& bytes) : mBytes(bytes) {}

  [[nodiscard]] bool Append(Bytes bytes) { return mBytes.Append(bytes.Data(), bytes.Size()); }

  /// Ends a structure that the end of its table cut off; it is the last one here.
  [[nodiscard]] bool CloseLast(const smbios::Structure& structure);

  /// Gives the last structure, which begins at `start` and is whole, one string more, whose number
  /// goes to the byte `offset` of its formatted part. `isFull` tells that no number was left.
  [[nodiscard]] bool AddString(UINTN start, UINTN offset, const CHAR8* text, bool& isFull);

  /// Appends a text and its terminator.
  [[nodiscard]] bool AppendText(const CHAR8* text);

  [[nodiscard]] bool Insert(UINTN offset, Bytes bytes);

 private:
  GrowingArray<UINT8>& mBytes;
};

}  // namespace tvqplatform

#endif
