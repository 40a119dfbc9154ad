/** @file
  The processor's own clock, which counts finer than any timer of the firmware.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_CLOCK_H_
#define TVQ_PLATFORM_AGENT_CLOCK_H_

#include <TvqCpp.h>

namespace tvqplatform {

/// The time-stamp counter of X64, the generic timer's virtual counter of AARCH64.
UINT64 ReadTicks();

/// Ticks in a second; 0 when that cannot be found out.
UINT64 TicksPerSecond();

/// Microseconds that these ticks took; 0 when the rate is not known.
UINT64 TicksToMicroseconds(UINT64 ticks, UINT64 ticksPerSecond);

inline constexpr UINTN kMillisecondsSize = 28;
/// "12.345", of microseconds.
void FormatMilliseconds(UINT64 microseconds, CHAR8 (&text)[kMillisecondsSize]);

}  // namespace tvqplatform

#endif
