/** @file
  The TVQ management protocol.

  LocateBlob is given no length, so it looks only into data whose length was announced.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <TvqCpp.h>
#include <Library/TvqManagementLib.h>

#include "stored_data.h"

namespace tvqplatform {

namespace {

/**
  Finds the blob of a type in stored data.

  @retval EFI_SUCCESS             Blob is its address.
  @retval EFI_INVALID_PARAMETER   A pointer is NULL.
  @retval EFI_NOT_FOUND           The data was not announced, or has no such blob.
  @retval EFI_VOLUME_CORRUPTED    The data is damaged.
**/
EFI_STATUS EFIAPI LocateBlob(TVQ_MANAGEMENT_PROTOCOL* This, VOID* StoredData, UINT32 BlobType,
                             UINTN Index, VOID** Blob) {
  if (This == nullptr || StoredData == nullptr || Blob == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const UINT8* blob = nullptr;
  const EFI_STATUS status = FindBlob(gStoredData.Find(StoredData), BlobType, Index, &blob);
  if (!EFI_ERROR(status)) {
    *Blob = const_cast<UINT8*>(blob);
  }
  return status;
}

}  // namespace

}  // namespace tvqplatform

TVQ_MANAGEMENT_PROTOCOL gTvqManagement = {1, {}, tvqplatform::LocateBlob};

EFI_STATUS EFIAPI TvqAnnounceStoredData(const VOID* Buffer, UINTN Length) {
  if (Buffer == nullptr || Length == 0) {
    return EFI_INVALID_PARAMETER;
  }
  return tvqplatform::gStoredData.Announce(Buffer, Length) ? EFI_SUCCESS : EFI_OUT_OF_RESOURCES;
}

EFI_STATUS EFIAPI TvqForgetStoredData(const VOID* Buffer) {
  if (Buffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return tvqplatform::gStoredData.Forget(Buffer) ? EFI_SUCCESS : EFI_NOT_FOUND;
}
