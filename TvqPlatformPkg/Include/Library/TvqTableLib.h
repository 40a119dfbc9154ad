/** @file
  Prepares the SMBIOS table for a start of TVQSMBIOS.

  A public table names no device by an FQDD, and many a table gives two devices names that the driver
  cannot tell apart. So the driver is started on a conformed copy behind a 32-bit entry point of its
  own: structures of type 225 are added, and where need be labels are replaced. The firmware's table
  keeps its labels.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_TABLE_LIB_H_
#define TVQ_TABLE_LIB_H_

///
/// A table in place of the firmware's.
///
typedef struct {
  VOID     *EntryPoint;   ///< 32-bit, with the table behind it; NULL when none is in place.
  VOID     *Former;       ///< What the configuration table named before, or NULL.
} TVQ_PUBLISHED_TABLE;

#ifdef __cplusplus
extern "C" {
#endif

/**
  Puts a conformed copy of the firmware's SMBIOS table into its place in the configuration table. A
  table that cannot be conformed is copied as it stands.

  To be called after the last structure was added, at TPL_NOTIFY or below.

  @param[out]  Published   Receives what TvqPutBackTable takes.

  @retval EFI_SUCCESS            The copy is in place. It stays valid for the boot, because the driver
                                 keeps pointers into it.
  @retval EFI_NOT_FOUND          The firmware has no SMBIOS table.
  @retval EFI_BAD_BUFFER_SIZE    It is larger than a 32-bit entry point can state.
  @retval EFI_OUT_OF_RESOURCES   There is no memory below 4 GiB.
  @retval Others                 The configuration table could not be changed.
**/
EFI_STATUS
EFIAPI
TvqPublishTable (
  OUT TVQ_PUBLISHED_TABLE  *Published
  );

/**
  Puts back what stood in the configuration table, unless somebody else has changed it since.

  @param[in]  Published   What TvqPublishTable set.
**/
VOID
EFIAPI
TvqPutBackTable (
  IN CONST TVQ_PUBLISHED_TABLE  *Published
  );

/**
  Adds the copy's structures of type 225 to the firmware's own table through the SMBIOS protocol, so
  that the operating system finds the FQDDs too. A structure whose handle is taken is left out; where
  the firmware has no SMBIOS protocol, all of them are.

  @param[in]  Published   What TvqPublishTable set.
**/
VOID
EFIAPI
TvqAddFqddsToFirmwareTable (
  IN CONST TVQ_PUBLISHED_TABLE  *Published
  );

#ifdef __cplusplus
}
#endif

#endif
