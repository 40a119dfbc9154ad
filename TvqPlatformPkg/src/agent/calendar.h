/** @file
  Dates as seconds, and back.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_CALENDAR_H_
#define TVQ_PLATFORM_AGENT_CALENDAR_H_

#include <TvqCpp.h>

namespace tvqplatform {

/// Seconds since 1970, UTC; 0 for what is no date, or an earlier one. A time without a time zone
/// counts as UTC, because nothing tells what else it is.
UINT64 SecondsOf(const EFI_TIME& time);

/// The same of the firmware's clock; 0 where that does not tell the time.
UINT64 SecondsNow();

/// "2026-11-22 08:05 UTC", or "at an unknown time" for 0.
inline constexpr UINTN kTimeTextSize = 32;
void FormatTime(UINT64 seconds, CHAR8 (&text)[kTimeTextSize]);

}  // namespace tvqplatform

#endif
