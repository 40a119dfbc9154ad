/** @file
  Log lines.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "log.h"

#include <Library/ZorvLib.h>

#include "text.h"

namespace tvq {

namespace {

void Print(UINT32 level, const char* function, const char* format, UINT64 first = 0,
           UINT64 second = 0, UINT64 third = 0) {
  if (gDebugLog != nullptr) {
    CHAR16 wide[kLogFormatSize];
    WidenInto(wide, ARRAY_SIZE(wide), format);
    gDebugLog->Print(level, function, wide, first, second, third);
  }
}

}  // namespace

Widened::Widened(const CHAR8* ascii) {
  WidenInto(mText, gDebugLog == nullptr ? 1 : ARRAY_SIZE(mText), ascii);
}

void Logger::Log(const char* format) const {
  Print(DEBUG_LOG_LEVEL_INFO, mFunction, format);
}

void Logger::Log(const char* format, UINT64 value) const {
  Print(DEBUG_LOG_LEVEL_INFO, mFunction, format, value);
}

void Logger::Log(const char* format, UINT64 first, UINT64 second, UINT64 third) const {
  Print(DEBUG_LOG_LEVEL_INFO, mFunction, format, first, second, third);
}

void Logger::LogIfError(EFI_STATUS status, const char* format) const {
  if (EFI_ERROR(status)) {
    Log(format);
  }
}

void Logger::LogError(const char* format, UINT64 value) const {
  Print(DEBUG_LOG_LEVEL_ERROR, mFunction, format, value);
}

}  // namespace tvq
