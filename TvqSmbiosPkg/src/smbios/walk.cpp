/** @file
  Walks over the structures of the table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "walk.h"

namespace tvq {

bool StructureWalk::Next() {
  const smbios::BareStructure next(mRest);
  const bool isFirst = mAddress == nullptr;
  if (!next || (!isFirst && next.Handle() == kSmbiosNoHandle)) {
    return false;
  }
  mAddress = mRest.begin();
  mRest = mRest.From(next.Size());
  return true;
}

TypeWalk::TypeWalk(UINT8 type) : mIndex(TableIndex::Current()), mType(type) {
  mEntry = mIndex == nullptr ? TableIndex::kNone : mIndex->FirstOfType(type);
}

bool TypeWalk::Next() {
  if (mIndex == nullptr) {
    return NextByPosition();
  }
  if (mEntry == TableIndex::kNone) {
    return false;
  }
  mAddress = mIndex->Address(mEntry);
  mSize = mIndex->Size(mEntry);
  mEntry = mIndex->NextOfType(mEntry);
  return true;
}

bool TypeWalk::NextByPosition() {
  while (mByPosition.Next()) {
    if (mByPosition.Address()[smbios::kTypeOffset] == mType) {
      mAddress = mByPosition.Address();
      mSize = mByPosition.Size();
      return true;
    }
  }
  return false;
}

}  // namespace tvq
