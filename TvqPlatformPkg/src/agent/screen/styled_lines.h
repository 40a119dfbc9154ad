/** @file
  Lines of text, each with what it is for whoever shows them.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_SCREEN_STYLED_LINES_H_
#define TVQ_PLATFORM_AGENT_SCREEN_STYLED_LINES_H_

#include "../../growing_array.h"
#include "../../text.h"

namespace tvqplatform {

enum class Style : UINT8 {
  kPlain,
  kBar,        ///< The first and the last line of the screen.
  kHeading,    ///< Above columns, or in front of a section.
  kGood,       ///< Nobody has to do anything.
  kAttention,  ///< Somebody has to look at it.
  kTrouble,    ///< Something went wrong.
  kChosen,     ///< The device that keys act on.
};

struct StyledLine {
  const CHAR8* Text;
  Style How;
};

/// Lines of any length, in the order in which they were added.
class StyledLines {
 public:
  StyledLines() = default;
  StyledLines(const StyledLines&) = delete;
  StyledLines& operator=(const StyledLines&) = delete;

  /// False: there is no memory, and the line is missing.
  [[nodiscard]] bool Add(Style style, const CHAR8* text, UINTN length) {
    const UINTN start = mText.Size();
    if (!mText.Reserve(length + 1) || !mLines.Append({static_cast<UINT32>(start), style})) {
      return false;
    }
    const CHAR8 end = '\0';
    (void)mText.Append(text, length);  // There is room.
    (void)mText.Append(end);
    return true;
  }
  [[nodiscard]] bool Add(Style style, const CHAR8* text) { return Add(style, text, Length(text)); }

  UINTN Size() const { return mLines.Size(); }
  StyledLine operator[](UINTN i) const { return {mText.Data() + mLines[i].Start, mLines[i].How}; }

  void Clear() {
    mText.Shrink(0);
    mLines.Shrink(0);
  }

 private:
  struct Line {
    UINT32 Start;
    Style How;
  };

  OwnedArray<CHAR8> mText;
  OwnedArray<Line> mLines;
};

}  // namespace tvqplatform

#endif
