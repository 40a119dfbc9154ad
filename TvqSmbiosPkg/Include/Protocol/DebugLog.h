/** @file
  Debug-log protocol: takes the driver's log lines.

  Produced by the platform. The driver logs from when it found the protocol; no line is kept back. It
  does not notice when the protocol is taken off, so the interface stays valid for the boot.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef DEBUG_LOG_H_
#define DEBUG_LOG_H_

#define DEBUG_LOG_PROTOCOL_GUID \
  { 0xf50f3c1a, 0xe995, 0x4d59, { 0x86, 0x34, 0xd5, 0x7c, 0x5a, 0xc6, 0xd6, 0xaf } }

#define DEBUG_LOG_LEVEL_INFO   0x00800000
#define DEBUG_LOG_LEVEL_ERROR  0x80000000

/**
  Takes one log line.

  @param[in]  Level          DEBUG_LOG_LEVEL_INFO or DEBUG_LOG_LEVEL_ERROR.
  @param[in]  FunctionName   ASCII name of the routine that logs.
  @param[in]  Format         Format with the directives of the EDK II PrintLib.
  @param[in]  ...            The values of the directives.
**/
typedef
VOID
(EFIAPI *DEBUG_LOG_PRINT)(
  IN UINT32        Level,
  IN CONST CHAR8   *FunctionName,
  IN CONST CHAR16  *Format,
  ...
  );

typedef struct {
  VOID               *Reserved[5];   ///< Not used by the driver.
  DEBUG_LOG_PRINT    Print;
} DEBUG_LOG_PROTOCOL;

STATIC_ASSERT (OFFSET_OF (DEBUG_LOG_PROTOCOL, Print) == 5 * 8, "Print is the sixth entry");

#ifdef __cplusplus
extern "C" {
#endif

extern EFI_GUID  gDebugLogProtocolGuid;

#ifdef __cplusplus
}
#endif

#endif
