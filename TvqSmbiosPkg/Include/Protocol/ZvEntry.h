/** @file
  Device-list entry: names a device for display and by its fully qualified device descriptor.

  Installed on the handle of each device record.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef ZV_ENTRY_H_
#define ZV_ENTRY_H_

#include <Protocol/TvqRecord.h>

#define ZV_ENTRY_PROTOCOL_GUID \
  { 0x8209569c, 0x0714, 0x435c, { 0xac, 0x28, 0x6d, 0x68, 0xe3, 0xc8, 0x1b, 0xdd } }

#define ZVEP_ENTRY_SIGNATURE  SIGNATURE_32 ('i', 'Z', 'V', 'P')

typedef struct _ZVEP_PROTOCOL ZVEP_PROTOCOL;

/**
  Returns the display name and the fully qualified device descriptor (FQDD) of a device.

  @param[in]   This         The entry's interface.
  @param[in]   DevicePath   The device path found on the entry's handle.
  @param[in]   Language     Must not be NULL; not otherwise looked at.
  @param[out]  Name         Receives a new text; the caller frees it with FreePool. Six characters
                            at most for a processor and the system, nine for a module.
  @param[out]  Fqdd         Optional. Receives a new text; the caller frees it with FreePool. 15
                            characters at most for a processor and a module, 30 for the system.

  @retval EFI_SUCCESS             The texts are there.
  @retval EFI_INVALID_PARAMETER   This, DevicePath, Language or Name is NULL.
  @retval EFI_UNSUPPORTED         DevicePath is not the one of this entry's device.
  @retval EFI_OUT_OF_RESOURCES    A text could not be allocated; none is returned.
**/
typedef
EFI_STATUS
(EFIAPI *ZVEP_GET_DEVICE_NAME)(
  IN  ZVEP_PROTOCOL             *This,
  IN  EFI_DEVICE_PATH_PROTOCOL  *DevicePath,
  IN  CHAR8                     *Language,
  OUT CHAR16                    **Name,
  OUT CHAR16                    **Fqdd OPTIONAL
  );

/**
  Refuses.

  @param[in]  This   Not looked at.

  @retval EFI_UNSUPPORTED   Always.
**/
typedef
EFI_STATUS
(EFIAPI *ZVEP_GET_DEVICE_DATA)(
  IN ZVEP_PROTOCOL  *This
  );

struct _ZVEP_PROTOCOL {
  ZVEP_GET_DEVICE_NAME    GetDeviceName;
  ZVEP_GET_DEVICE_DATA    GetDeviceData;
  CHAR8                   *SupportedLanguages;   ///< "en-US".
};

#pragma pack(1)

///
/// The object behind the interface. Device is a copy of the record's, taken when the entry was
/// built; its texts are the record's own.
///
typedef struct {
  UINT64           Signature;      ///< ZVEP_ENTRY_SIGNATURE.
  TVQ_DEVICE       Device;
  ZVEP_PROTOCOL    Interface;
  CHAR8            Languages[6];
} ZVEP_ENTRY;

#pragma pack()

STATIC_ASSERT (sizeof (ZVEP_PROTOCOL) == 24, "three slots");
STATIC_ASSERT (sizeof (ZVEP_ENTRY) == 182, "the entry is 182 bytes");
STATIC_ASSERT (OFFSET_OF (ZVEP_ENTRY, Interface) == 152, "Interface");

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gZvEntryProtocolGuid;

#ifdef __cplusplus
}
#endif

#endif
