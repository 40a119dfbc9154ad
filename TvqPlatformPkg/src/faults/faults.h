/** @file
  TvqFaults: takes away what a platform provides, and changes the firmware's SMBIOS table, so that the
  driver can be watched under both.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_FAULTS_H_
#define TVQ_PLATFORM_FAULTS_H_

#include <TvqCpp.h>

namespace tvqplatform {

/// Takes a part of the platform away and remembers it in a volatile variable.
[[nodiscard]] EFI_STATUS TakeAway(const CHAR8* part);

/// Puts back a part that was taken away earlier in this boot.
[[nodiscard]] EFI_STATUS PutBack(const CHAR8* part);

/// Prints the names of the parts.
void ShowParts();

/// Adds an OEM structure of type 225 that names no device. With it the driver starts on firmware that
/// has none, and makes names of its own.
[[nodiscard]] EFI_STATUS AddNames();

/// Adds structures until the firmware has to move the table, and then changes the service tag, so
/// that whoever reads the former table is found out. Says from where to where it moved.
[[nodiscard]] EFI_STATUS MoveTable();

/// Asks the driver about a record whose signature is wrong, and says how it answered. Where assertions are
/// enabled, one fails.
[[nodiscard]] EFI_STATUS FailAssertion();

/// Reads a byte outside a block of pool at either end. Firmware with a heap guard stops at one of them.
[[nodiscard]] EFI_STATUS ReadOutside();

}  // namespace tvqplatform

#endif
