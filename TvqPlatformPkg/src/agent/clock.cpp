/** @file
  The processor's own clock.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "clock.h"

namespace tvqplatform {

#if defined(MDE_CPU_AARCH64)

UINT64 ReadTicks() {
  UINT64 ticks;
  // The barrier keeps the counter from being read before what stands in front of it is done.
  __asm__ __volatile__("isb\n\tmrs %0, cntvct_el0" : "=r"(ticks) : : "memory");
  return ticks;
}

UINT64 TicksPerSecond() {
  UINT64 frequency;
  __asm__ __volatile__("mrs %0, cntfrq_el0" : "=r"(frequency));
  return frequency;
}

#else

namespace {

/// Most processors do not state the counter's rate, so it is measured against the firmware's timer.
constexpr UINTN kMeasuredMicroseconds = 10000;

}  // namespace

UINT64 ReadTicks() {
#if defined(MDE_CPU_RISCV64)
  UINT64 ticks;
  __asm__ __volatile__("rdtime %0" : "=r"(ticks) : : "memory");
  return ticks;
#else
  return AsmReadTsc();
#endif
}

UINT64 TicksPerSecond() {
  const UINT64 before = ReadTicks();
  (void)gBS->Stall(kMeasuredMicroseconds);
  return (ReadTicks() - before) * (1000000 / kMeasuredMicroseconds);
}

#endif

UINT64 TicksToMicroseconds(UINT64 ticks, UINT64 ticksPerSecond) {
  return ticksPerSecond == 0 ? 0 : ticks * 1000000 / ticksPerSecond;
}

void FormatMilliseconds(UINT64 microseconds, CHAR8 (&text)[kMillisecondsSize]) {
  AsciiSPrint(text, sizeof(text), "%ld.%03d", microseconds / 1000,
              static_cast<UINT32>(microseconds % 1000));
}

}  // namespace tvqplatform
