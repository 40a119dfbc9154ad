/** @file
  A board's own platform for TVQSMBIOS: installs what the driver locates, and has it started when the
  firmware is ready to boot. Whatever the board has itself takes the place of a library's part.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <Uefi.h>
#include <Library/TvqDebugLogLib.h>
#include <Library/TvqManagementLib.h>
#include <Library/TvqServicesLib.h>
#include <Library/TvqStartLib.h>
#include <Library/TvqXmlParserLib.h>
#include <Library/TvqZviLib.h>
#include <Protocol/TvqPlatformPresence.h>

///
/// Interface of the protocols whose presence alone matters.
///
STATIC UINT64  mPresence;

/**
  Installs the tables and protocols, and asks for the start.

  @param[in]  ImageHandle   The image; the protocols go on its handle.
  @param[in]  SystemTable   The system table.

  @retval EFI_SUCCESS   Everything is there.
  @retval Others        Something could not be installed.
**/
EFI_STATUS
EFIAPI
BoardPlatformEntry (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  )
{
  EFI_BOOT_SERVICES  *Services;
  EFI_STATUS         Status;

  Services = SystemTable->BootServices;

  //
  // The protocols release the driver, whose entry point looks for the table.
  //
  Status = Services->InstallConfigurationTable (&gZvServicesTableGuid, &gTvqServicesTable);
  if (EFI_ERROR (Status)) {
    return Status;
  }

  Status = Services->InstallMultipleProtocolInterfaces (
                       &ImageHandle,
                       &gDebugLogProtocolGuid,
                       &gTvqDebugLog,
                       &gTvqManagementProtocolGuid,
                       &gTvqManagement,
                       &gXmlParserProtocolGuid,
                       &gTvqXmlParser,
                       &gTvqPrerequisiteProtocolGuid,
                       &mPresence,
                       &gZvAuxProtocolGuid,
                       &mPresence,
                       &gZvLibraryProtocolGuid,
                       &gTvqZviTable,
                       NULL
                       );
  if (EFI_ERROR (Status)) {
    Services->InstallConfigurationTable (&gZvServicesTableGuid, NULL);
    return Status;
  }

  return TvqStartAtReadyToBoot ();
}
