/** @file
  The firmware's watchdog, which restarts a machine whose boot takes too long.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_WATCHDOG_H_
#define TVQ_PLATFORM_AGENT_WATCHDOG_H_

#include <TvqCpp.h>

namespace tvqplatform {

/// Off while it lives: somebody may read for longer than the five minutes (UEFI 7.5) that a boot
/// manager gives a boot option. Nothing tells whether it was on. A boot manager sets it, and sets it
/// anew for the next option, so it is set again for one; a shell has switched it off for good, and
/// would be restarted in the middle of somebody's work.
class Watchdog {
 public:
  explicit Watchdog(bool isFromShell) : mIsFromShell(isFromShell) { Set(0); }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;
  ~Watchdog() {
    if (!mIsFromShell) {
      Set(kSecondsOfBootOption);
    }
  }

 private:
  static constexpr UINTN kSecondsOfBootOption = 5 * 60;

  /// Firmware without one says so, which is as well.
  static void Set(UINTN seconds) { (void)gBS->SetWatchdogTimer(seconds, 0, 0, nullptr); }

  bool mIsFromShell;
};

}  // namespace tvqplatform

#endif
