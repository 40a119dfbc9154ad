/** @file
  Protocols of the platform whose presence alone matters to the driver.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_PRESENCE_H_
#define TVQ_PLATFORM_PRESENCE_H_

///
/// Must be there when the driver is loaded; located and kept, never called.
///
#define ZV_AUX_PROTOCOL_GUID \
  { 0x81cbd522, 0x96f7, 0x4033, { 0x96, 0x38, 0xba, 0xa3, 0xa9, 0xf3, 0x6a, 0x75 } }

///
/// Must be there when the driver is started; without it no record is built.
///
#define TVQ_PREREQUISITE_PROTOCOL_GUID \
  { 0x2f597134, 0xa7ca, 0x4e46, { 0x80, 0x55, 0x58, 0xac, 0x82, 0xd6, 0xd1, 0xee } }

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gZvAuxProtocolGuid;
extern EFI_GUID  gTvqPrerequisiteProtocolGuid;

#ifdef __cplusplus
}
#endif

#endif
