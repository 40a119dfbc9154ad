/** @file
  The three blobs of a record; IndustryStandard/TvqBlob.h has their formats.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_BLOBS_H_
#define TVQ_BLOBS_H_

#include <TvqCpp.h>
#include <IndustryStandard/TvqBlob.h>
#include <Protocol/TvqRecord.h>

namespace tvq {

/**
  Builds the inventory blob.

  @param[out]  Blob     Receives a new block, which the caller owns; null for a record of an unknown
                        device type.
  @param[in]   Record   The record.

  @retval EFI_SUCCESS             Blob is set.
  @retval EFI_INVALID_PARAMETER   An argument is null.
  @retval EFI_OUT_OF_RESOURCES    The blob could not be allocated.
**/
[[nodiscard]] EFI_STATUS getInvBlob(TVQ_BLOB_HEADER** Blob, smTVQ* Record);

/**
  Builds the configuration blob. The document is built once and kept in the record. Building it
  trims blanks off a module's part number; once it is kept, the hot-plug bytes of the slots are
  what it says of them, 0 or 1.

  @param[out]  Blob     Receives a new block, which the caller owns.
  @param[in]   Record   The record.

  @retval EFI_SUCCESS             Blob is set.
  @retval EFI_INVALID_PARAMETER   An argument is null.
  @retval EFI_OUT_OF_RESOURCES    The document or the blob could not be allocated.
**/
[[nodiscard]] EFI_STATUS getConfigBlob(TVQ_BLOB_HEADER** Blob, smTVQ* Record);

/**
  Builds the end blob.

  @param[out]  Blob   Receives a new block, which the caller owns.

  @retval EFI_SUCCESS             Blob is set.
  @retval EFI_OUT_OF_RESOURCES    The blob could not be allocated.
**/
[[nodiscard]] EFI_STATUS getEndBlob(TVQ_BLOB_HEADER** Blob);

/// Logs the blob set that Get returns. An empty slot logs nothing; without a debug log no blob is
/// read.
void printData(const TVQ_DATA* Array, const smTVQ* Record);

/// A new zeroed blob of `allocated` bytes whose header says `size`; null without memory.
[[nodiscard]] TVQ_BLOB_HEADER* NewBlob(UINT32 type, UINT32 cookie, UINTN size, UINTN allocated);

}  // namespace tvq

#endif
