/** @file
  Start request of the TVQSMBIOS driver.

  The driver builds nothing when it is loaded. It installs a TVQ_START_REQUEST on its own image
  handle; a component of the platform calls Start once, after the last SMBIOS structure was added.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_START_REQUEST_H_
#define TVQ_START_REQUEST_H_

#define TVQ_START_REQUEST_PROTOCOL_GUID \
  { 0xa6f3b9f3, 0x749c, 0x480a, { 0x9d, 0x7b, 0x86, 0xf3, 0xb1, 0xa5, 0x3c, 0x91 } }

///
/// The value of TVQ_START_REQUEST.StartCode. The driver never reads it.
///
#define TVQ_START_CODE  0x2000

/**
  Reads the SMBIOS table, builds and publishes all device records, and makes the image unloadable.

  Has no guard against a second call: that one registers the attributes again, and each builder
  ends at its first record, because the firmware refuses its device path a second time.

  Call it at TPL_APPLICATION or TPL_CALLBACK.

  @param[in]  Context   Accepted and ignored; may be NULL.

  @retval EFI_SUCCESS           The start ran to its end. A builder that failed does not show here;
                                what it reported stands in the debug log.
  @retval EFI_NOT_FOUND         The configuration table has no 32-bit SMBIOS entry point, or the
                                table has no usable OEM structure of type 225, or there is no memory
                                to collect these.
  @retval EFI_OUT_OF_RESOURCES  The FQDD map could not be allocated.
  @retval Others                An attribute namespace could not be registered, the prerequisite
                                protocol is missing, or the loaded-image protocol of the driver
                                could not be opened.
**/
typedef
EFI_STATUS
(EFIAPI *TVQ_START)(
  IN VOID  *Context
  );

///
/// Installed on the image handle of the driver; allocated zeroed and never freed.
///
typedef struct {
  UINT32       StartCode;   ///< TVQ_START_CODE.
  UINT32       Padding;     ///< Zero.
  TVQ_START    Start;       ///< Starts the driver.
} TVQ_START_REQUEST;

STATIC_ASSERT (sizeof (TVQ_START_REQUEST) == 16, "TVQ_START_REQUEST is 16 bytes");
STATIC_ASSERT (OFFSET_OF (TVQ_START_REQUEST, Start) == 8, "Start stands at byte 8");

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gTvqStartRequestProtocolGuid;

#ifdef __cplusplus
}
#endif

#endif
