/** @file
  Starts TVQSMBIOS through its start request, and unloads it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "start.h"

namespace tvqplatform {

EFI_STATUS StartDriver() {
  const TVQ_START_REQUEST* request = FindLoadedDriver().Request;
  return request == nullptr ? EFI_NOT_READY : request->Start(nullptr);
}

EFI_STATUS UnloadDriver() {
  const LoadedDriver driver = FindLoadedDriver();
  return EFI_ERROR(driver.Status) ? driver.Status : gBS->UnloadImage(driver.Image);
}

void StatusInWords(EFI_STATUS status, CHAR8* buffer, UINTN size) {
  AsciiSPrint(buffer, size, "%r", status);
}

}  // namespace tvqplatform
