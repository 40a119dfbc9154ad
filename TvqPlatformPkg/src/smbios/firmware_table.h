/** @file
  The firmware's own SMBIOS table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_FIRMWARE_TABLE_H_
#define TVQ_PLATFORM_SMBIOS_FIRMWARE_TABLE_H_

#include "capture.h"

namespace tvqplatform {

/// Reads the table behind the 32-bit entry point, else the one behind the 64-bit entry point, where
/// it stands. False: the firmware has neither.
[[nodiscard]] bool ReadFirmwareTable(Capture& capture);

}  // namespace tvqplatform

#endif
