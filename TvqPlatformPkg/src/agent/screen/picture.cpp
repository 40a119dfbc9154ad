/** @file
  What a text screen shows at one time.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "picture.h"

namespace tvqplatform {

bool Picture::Begin(const ScreenSize& size) {
  mText.Shrink(0);
  mStyles.Shrink(0);
  mWidth = size.Columns - 1;
  if (!mText.AppendZeroed(size.Columns * size.Rows) || !mStyles.AppendZeroed(size.Rows)) {
    return false;
  }
  for (UINTN row = 0; row < size.Rows; row++) {
    SetMem(mText.Data() + row * size.Columns, mWidth, ' ');
  }
  return true;
}

void Picture::Put(UINTN row, UINTN column, const CHAR8* text, UINTN length) {
  if (row >= Rows()) {
    return;
  }
  CHAR8* const line = mText.Data() + row * (mWidth + 1);
  for (UINTN i = 0; i < length && column + i < mWidth; i++) {
    const bool isPrintable = text[i] >= ' ' && text[i] <= '~';
    line[column + i] = isPrintable ? text[i] : '?';
  }
}

}  // namespace tvqplatform
