/*
 * An application for the tests of the firmware library: it prints a line and ends.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
extern "C" {
#include <Uefi.h>

#include <Library/UefiLib.h>
}

extern "C" EFI_STATUS EFIAPI ApplicationMain(EFI_HANDLE imageHandle, EFI_SYSTEM_TABLE* systemTable);

EFI_STATUS EFIAPI ApplicationMain(EFI_HANDLE, EFI_SYSTEM_TABLE*) {
  AsciiPrint("hello from the application\n");
  return EFI_SUCCESS;
}
