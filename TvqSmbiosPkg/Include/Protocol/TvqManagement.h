/** @file
  TVQ management protocol: finds a blob in the data that the agent stored.

  Produced by the platform. The structure is packed: the operations follow the 32-bit field at
  once.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_MANAGEMENT_H_
#define TVQ_MANAGEMENT_H_

#define TVQ_MANAGEMENT_PROTOCOL_GUID \
  { 0x991b552a, 0x2814, 0x440e, { 0x89, 0xb9, 0xf7, 0x54, 0xaf, 0x4e, 0xa5, 0xbc } }

typedef struct _TVQ_MANAGEMENT_PROTOCOL TVQ_MANAGEMENT_PROTOCOL;

/**
  Finds the blob of a type in stored data.

  @param[in]   This         The protocol.
  @param[in]   StoredData   The stored data of one device, as the agent saved it.
  @param[in]   BlobType     TVQ_BLOB_TYPE_*.
  @param[in]   Index        0.
  @param[out]  Blob         Receives the address of the blob inside the stored data; a
                            configuration blob's document is complete, its NUL included.

  @retval EFI_SUCCESS   The blob is there.
  @retval Others        There is no such blob, or the stored data is damaged.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_LOCATE_BLOB)(
  IN  TVQ_MANAGEMENT_PROTOCOL  *This,
  IN  VOID                     *StoredData,
  IN  UINT32                   BlobType,
  IN  UINTN                    Index,
  OUT VOID                     **Blob
  );

#pragma pack(1)

struct _TVQ_MANAGEMENT_PROTOCOL {
  UINT32             Revision;
  VOID               *Reserved[7];   ///< Not used by the driver.
  TVQ_LOCATE_BLOB    LocateBlob;
};

#pragma pack()

STATIC_ASSERT (OFFSET_OF (TVQ_MANAGEMENT_PROTOCOL, LocateBlob) == 60, "LocateBlob stands at byte 60");

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gTvqManagementProtocolGuid;

#ifdef __cplusplus
}
#endif

#endif
