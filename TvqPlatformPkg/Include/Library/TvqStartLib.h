/** @file
  Starts TVQSMBIOS once, when the firmware is ready to boot.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_START_LIB_H_
#define TVQ_START_LIB_H_

#ifdef __cplusplus
extern "C" {
#endif

/**
  Asks for the start at the next signal of gEfiEventReadyToBootGuid, from an event of its own that the
  handler signals: so the other handlers have run, which may add SMBIOS structures. Whatever comes of
  it, there is no second start, however many boot options are tried.

  @retval EFI_SUCCESS           The start is asked for.
  @retval EFI_ALREADY_STARTED   It was asked for before.
  @retval Others                An event could not be created.
**/
EFI_STATUS
EFIAPI
TvqStartAtReadyToBoot (
  VOID
  );

/**
  Takes back what TvqStartAtReadyToBoot asked for. To be called before the image is unloaded.
**/
VOID
EFIAPI
TvqCancelStart (
  VOID
  );

/**
  Prepares the SMBIOS table, starts the driver on it and puts the firmware's table back. The
  structures of type 225 that the start needed are added to the firmware's table.

  @retval EFI_SUCCESS           The driver was started.
  @retval EFI_ALREADY_STARTED   There are records, so somebody started it.
  @retval EFI_NOT_READY         The driver is not loaded.
  @retval Others                The table could not be prepared, or what the start returned.
**/
EFI_STATUS
EFIAPI
TvqStartNow (
  VOID
  );

/**
  Tells on which table the driver was started.

  @return The 32-bit entry point of the copy that the start was made on, or NULL without a start. It
          stays valid for the boot.
**/
CONST VOID *
EFIAPI
TvqStartedOn (
  VOID
  );

#ifdef __cplusplus
}
#endif

#endif
