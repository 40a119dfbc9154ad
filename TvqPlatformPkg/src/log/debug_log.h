/** @file
  The debug log: keeps every line that is printed.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_DEBUG_LOG_H_
#define TVQ_PLATFORM_DEBUG_LOG_H_

#include <TvqCpp.h>
#include <Library/TvqDebugLogLib.h>
#include <Protocol/TvqPlatform.h>

#include "../growing_array.h"

namespace tvqplatform {

/// Lines of any length and number, after formatting.
class DebugLog {
 public:
  /// Formats with PrintLib's directives and keeps the line. Without memory for it the line is
  /// lost, and counted.
  void Print(UINT32 level, const CHAR8* function, const CHAR16* format, VA_LIST marker);

  UINTN LineCount() const { return mLines.Size(); }
  const TVQ_LOG_LINE& LineAt(UINTN index) const { return mLines[index]; }
  UINTN LostLines() const { return mLost; }

  void Free();

 private:
  [[nodiscard]] bool Keep(UINT32 level, const CHAR8* function, const CHAR16* format,
                          VA_LIST marker);

  GrowingArray<TVQ_LOG_LINE> mLines;
  UINTN mLost = 0;
};

extern DebugLog gDebugLogStore;

}  // namespace tvqplatform

#endif
