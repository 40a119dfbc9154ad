/** @file
  Walks over the structures of the table, inside the driver's SMBIOS access only.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_SMBIOS_WALK_H_
#define TVQ_SMBIOS_WALK_H_

#include <TvqCpp.h>

#include "access.h"
#include "table_index.h"

namespace tvq {

/// All structures by position. Deliberate: their handles do not matter, but that a structure with
/// handle FFFFh other than the first ends the table before it; and the end-of-table structure ends
/// nothing.
///
///     StructureWalk walk;
///     while (walk.Next()) { ... walk.Address() ... walk.Size() ... }
class StructureWalk {
 public:
  StructureWalk() : mRest(SmbiosTable()) {}

  /// Steps to the next structure; the first call to the first one.
  [[nodiscard]] bool Next();

  UINT8* Address() const { return mAddress; }
  UINT16 Size() const { return static_cast<UINT16>(mRest.begin() - mAddress); }

 private:
  Span<UINT8> mRest;  ///< What is behind the structure.
  UINT8* mAddress = nullptr;
};

/// The structures of a type in table order, by the index where there is one.
class TypeWalk {
 public:
  explicit TypeWalk(UINT8 type);

  [[nodiscard]] bool Next();

  UINT8* Address() const { return mAddress; }
  UINT16 Size() const { return mSize; }

 private:
  [[nodiscard]] bool NextByPosition();

  const TableIndex* mIndex;
  UINT16 mEntry;
  StructureWalk mByPosition;
  UINT8 mType;
  UINT8* mAddress = nullptr;
  UINT16 mSize = 0;
};

}  // namespace tvq

#endif
