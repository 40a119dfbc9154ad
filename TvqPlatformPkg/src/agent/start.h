/** @file
  Starts TVQSMBIOS through its start request, and unloads it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_START_H_
#define TVQ_PLATFORM_AGENT_START_H_

#include <TvqCpp.h>

#include "../loaded_image.h"

namespace tvqplatform {

/// EFI_NOT_READY when the driver is not loaded, else what the start returned.
[[nodiscard]] EFI_STATUS StartDriver();

/// EFI_NOT_FOUND when the driver is not loaded, else what the firmware answered: EFI_UNSUPPORTED
/// before a start that ran to its end, because the driver sets its unload handler last.
[[nodiscard]] EFI_STATUS UnloadDriver();

/// The status as PrintLib's %r shows it.
void StatusInWords(EFI_STATUS status, CHAR8* buffer, UINTN size);

}  // namespace tvqplatform

#endif
