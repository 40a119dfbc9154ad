/** @file
  What a text screen shows at one time.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_SCREEN_PICTURE_H_
#define TVQ_PLATFORM_AGENT_SCREEN_PICTURE_H_

#include "styled_lines.h"

namespace tvqplatform {

struct ScreenSize {
  UINTN Columns;
  UINTN Rows;
};

/// Rows of printable ASCII, each with a style; whatever else a text has shows as '?'. The last column
/// stays free: many a console scrolls when the last one of the last row is written.
class Picture {
 public:
  Picture() = default;
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  /// Makes it blank. False: there is no memory.
  [[nodiscard]] bool Begin(const ScreenSize& size);

  UINTN Rows() const { return mStyles.Size(); }
  /// Characters of a row.
  UINTN Width() const { return mWidth; }

  /// What does not fit is cut.
  void Put(UINTN row, UINTN column, const CHAR8* text, UINTN length);
  void Put(UINTN row, UINTN column, const CHAR8* text) { Put(row, column, text, Length(text)); }
  void SetStyle(UINTN row, Style style) { mStyles[row] = style; }

  /// Width() characters and a terminator.
  const CHAR8* Row(UINTN row) const { return mText.Data() + row * (mWidth + 1); }
  Style StyleOf(UINTN row) const { return mStyles[row]; }

 private:
  OwnedArray<CHAR8> mText;
  OwnedArray<Style> mStyles;
  UINTN mWidth = 0;
};

}  // namespace tvqplatform

#endif
