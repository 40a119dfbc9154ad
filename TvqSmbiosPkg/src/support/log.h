/** @file
  Log lines. They are dropped while the platform has no debug log.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_LOG_H_
#define TVQ_LOG_H_

#include <Library/TvqCpp.h>
#include <Library/ZorvLib.h>

#include "text.h"

namespace tvq {

/// ASCII text for a %s directive. It is widened only when the line is logged, and cut to the
/// buffer.
class Widened {
 public:
  explicit Widened(const CHAR8* ascii) : mAscii(ascii) {}

  CHAR16* Text() {
    UINTN length = 0;
    while (length + 1 < ARRAY_SIZE(mText) && mAscii[length] != '\0') {
      mText[length] = WidenByte(mAscii[length]);
      length++;
    }
    mText[length] = 0;
    return mText;
  }

 private:
  const CHAR8* mAscii;
  CHAR16 mText[128];
};

/// Logs under the name of one routine. 64-bit directives take UINT64 values.
class Logger {
 public:
  constexpr explicit Logger(const char* function) : mFunction(function) {}

  template <typename... Values>
  void operator()(const char16_t* format, Values... values) const {
    Print(DEBUG_LOG_LEVEL_INFO, format, values...);
  }

  template <typename... Values>
  void Error(const char16_t* format, Values... values) const {
    Print(DEBUG_LOG_LEVEL_ERROR, format, values...);
  }

 private:
  template <typename... Values>
  void Print(UINT32 level, const char16_t* format, Values&... values) const {
    if (gDebugLog != nullptr) {
      gDebugLog->Print(level, mFunction, Ucs2(format), Argument(values)...);
    }
  }

  template <typename Value>
  static Value Argument(Value& value) {
    return value;
  }
  static CHAR16* Argument(Widened& value) { return value.Text(); }

  const char* mFunction;
};

}  // namespace tvq

#endif
