/** @file
  Starts TVQSMBIOS through its start request.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "start.h"

#include <Protocol/TvqInventory.h>

namespace tvqplatform {

TVQ_START_REQUEST* FindStartRequest() {
  VOID* request = nullptr;
  const EFI_STATUS status = gBS->LocateProtocol(&gTvqStartRequestProtocolGuid, nullptr, &request);
  return EFI_ERROR(status) ? nullptr : static_cast<TVQ_START_REQUEST*>(request);
}

EFI_STATUS StartDriver() {
  const TVQ_START_REQUEST* request = FindStartRequest();
  return request == nullptr ? EFI_NOT_READY : request->Start(nullptr);
}

bool HasRecords() {
  VOID* instance = nullptr;
  return !EFI_ERROR(gBS->LocateProtocol(&gTvqInventoryProtocolGuid, nullptr, &instance));
}

void StatusInWords(EFI_STATUS status, CHAR8* buffer, UINTN size) {
  AsciiSPrint(buffer, size, "%r", status);
}

}  // namespace tvqplatform
