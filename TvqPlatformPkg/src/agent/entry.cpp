/** @file
  Entry point of TvqAgent.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <TvqCpp.h>

extern "C" {
#include <Library/UefiRuntimeServicesTableLib.h>
}

#include "agent.h"

namespace tvqplatform {

/**
  Runs the agent once.

  @retval EFI_SUCCESS   The inventory was shown and saved.
  @retval EFI_ABORTED   Something failed; the report says what and why. Or a boot manager started it:
                        a success would end the boot in the firmware's menu (UEFI 3.1.1), and an error
                        lets it go on to the next boot option.
**/
extern "C" EFI_STATUS EFIAPI TvqAgentEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE*) {
  EFI_STATUS status;
  bool wantsPowerOff;
  bool isFromShell;
  {
    Agent agent(ImageHandle);
    status = agent.Run();
    wantsPowerOff = agent.WantsPowerOff();
    isFromShell = agent.IsFromShell();
  }
  if (wantsPowerOff) {
    gRT->ResetSystem(EfiResetShutdown, EFI_SUCCESS, 0, nullptr);
  }
  return isFromShell ? status : EFI_ABORTED;
}

}  // namespace tvqplatform
