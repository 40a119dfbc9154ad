/** @file
  The TVQ management protocol over stored data that was announced to it. It is told no length when it
  is asked, so it looks into nothing else.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_MANAGEMENT_LIB_H_
#define TVQ_MANAGEMENT_LIB_H_

#include <Protocol/TvqManagement.h>

#ifdef __cplusplus
extern "C" {
#endif

///
/// The interface for gTvqManagementProtocolGuid.
///
extern TVQ_MANAGEMENT_PROTOCOL  gTvqManagement;

/**
  Announces stored data of one device.

  @param[in]  Buffer   The data: blobs one behind the other, as Get handed them out. It stays the
                       caller's and has to stay in place until it is forgotten.
  @param[in]  Length   Its size in bytes. Announcing a buffer again replaces the size.

  @retval EFI_SUCCESS             The data is known.
  @retval EFI_INVALID_PARAMETER   Buffer is NULL, or Length is 0.
  @retval EFI_OUT_OF_RESOURCES    There is no memory to remember it.
**/
EFI_STATUS
EFIAPI
TvqAnnounceStoredData (
  IN CONST VOID  *Buffer,
  IN UINTN       Length
  );

/**
  Forgets stored data that was announced. To be called before its buffer is freed.

  @param[in]  Buffer   The data.

  @retval EFI_SUCCESS             The data is forgotten.
  @retval EFI_INVALID_PARAMETER   Buffer is NULL.
  @retval EFI_NOT_FOUND           The data was not announced.
**/
EFI_STATUS
EFIAPI
TvqForgetStoredData (
  IN CONST VOID  *Buffer
  );

#ifdef __cplusplus
}
#endif

#endif
