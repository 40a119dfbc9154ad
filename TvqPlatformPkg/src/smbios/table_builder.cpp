/** @file
  Puts a structure table together.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "table_builder.h"

#include "../text.h"

namespace tvqplatform {

using smbios::Structure;

namespace {

/// NULs that end the string area of a structure that was cut off.
UINTN MissingTerminators(const Structure& structure) {
  const Bytes whole = structure.Whole();
  const bool hasTerminator =
      whole.Size() > structure.Formatted().Size() && whole[whole.Size() - 1] == 0;
  return hasTerminator ? 1 : 2;
}

}  // namespace

bool TableBuilder::AppendText(const CHAR8* text) {
  return mBytes.Append(reinterpret_cast<const UINT8*>(text), Size(text));
}

bool TableBuilder::CloseLast(const Structure& structure) {
  // Fields that were cut off read as 0 before, and do so behind the end of the formatted part.
  UINT8* length = mBytes.end() - structure.Size() + 1;
  *length = static_cast<UINT8>(structure.Formatted().Size());
  return mBytes.AppendZeroed(MissingTerminators(structure));
}

bool TableBuilder::AddString(UINTN start, UINTN offset, const CHAR8* text, bool& isFull) {
  const Bytes built(mBytes.Data(), mBytes.Size());
  const UINTN strings = Structure(built, start).StringCount();
  isFull = strings >= MAX_UINT8;
  if (isFull) {
    return true;
  }
  // The new string takes the place of the area's last NUL; without strings, of both.
  mBytes.Shrink(mBytes.Size() - (strings == 0 ? 2 : 1));
  if (!AppendText(text) || !mBytes.AppendZeroed(1)) {
    return false;
  }
  mBytes[start + offset] = static_cast<UINT8>(strings + 1);
  return true;
}

bool TableBuilder::Insert(UINTN offset, Bytes bytes) {
  const UINTN tail = mBytes.Size() - offset;
  if (!mBytes.AppendZeroed(bytes.Size())) {
    return false;
  }
  CopyMem(mBytes.Data() + offset + bytes.Size(), mBytes.Data() + offset, tail);
  CopyMem(mBytes.Data() + offset, bytes.Data(), bytes.Size());
  return true;
}

}  // namespace tvqplatform
