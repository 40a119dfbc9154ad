/** @file
  Starts TVQSMBIOS through its start request.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_START_H_
#define TVQ_PLATFORM_AGENT_START_H_

#include <Library/TvqCpp.h>
#include <Protocol/TvqStartRequest.h>

namespace tvqplatform {

/// The start request of the first handle that carries one, or null.
TVQ_START_REQUEST* FindStartRequest();

/// EFI_NOT_READY when there is no start request, else what the start returned.
EFI_STATUS StartDriver();

/// True when the system has device records already. Starting again would add none.
bool HasRecords();

/// The status as PrintLib's %r shows it.
void StatusInWords(EFI_STATUS status, CHAR8* buffer, UINTN size);

}  // namespace tvqplatform

#endif
