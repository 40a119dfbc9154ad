/** @file
  Library class of the driver's platform services: the library handle gZV, wrappers over the ZVI
  service table, pool helpers, and the debug log.

  Each wrapper calls the entry of the ZVI table with its arguments unchanged and adds no check of
  its own. Without gZV or its table it raises an assertion (where assertions are enabled) and
  returns 0, NULL for a pointer.

  Copyright (c) 2026, The TVQSMBIOS authors
  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef ZORV_LIB_H_
#define ZORV_LIB_H_

#include <Guid/ZvServices.h>
#include <Protocol/DebugLog.h>
#include <Protocol/ZvLibrary.h>

///
/// State of the library.
///
typedef struct {
  EFI_BOOT_SERVICES       *BS;
  EFI_RUNTIME_SERVICES    *RT;
  EFI_SYSTEM_TABLE        *ST;
  ZV_SERVICES_TABLE       *Services;
  VOID                    *Aux;   ///< Located, never called.
  ZV_LIBRARY_PROTOCOL     *ZVI;
} ZV_LIBRARY;

STATIC_ASSERT (sizeof (ZV_LIBRARY) == 6 * 8, "six pointers");

#ifdef __cplusplus
extern "C" {
#endif

///
/// Set by ZorvLibInitialize; lives for the boot. NULL when it could not be allocated. After an
/// initialisation that failed later, but before its last step, it keeps its value although the block
/// is freed.
///
extern ZV_LIBRARY  *gZV;

///
/// NULL until the platform has a debug log. It keeps its value when the protocol is taken off.
///
extern DEBUG_LOG_PROTOCOL  *gDebugLog;

/**
  Sets up gZV: the tables of the system, the platform services table from the configuration table
  (the last entry of its GUID wins), the auxiliary protocol and the ZVI table.

  @param[in]  ImageHandle   Not used.
  @param[in]  SystemTable   The EFI system table.

  @retval EFI_SUCCESS           gZV is ready.
  @retval EFI_OUT_OF_RESOURCES  gZV could not be allocated.
  @retval EFI_NOT_FOUND         There is no platform services table.
  @retval Others                What LocateProtocol returned for the protocol that is missing.
**/
EFI_STATUS
ZorvLibInitialize (
  IN EFI_HANDLE        ImageHandle,
  IN EFI_SYSTEM_TABLE  *SystemTable
  );

/**
  Allocates zeroed boot-services pool.

  @param[in]  Size   Bytes.

  @return The block, which the caller owns, or NULL when Size is 0 or the pool is exhausted.
**/
VOID *
ZvAllocateZero (
  IN UINTN  Size
  );

/**
  Frees a block of boot-services pool.

  @param[in]  Buffer   The block.
**/
VOID
ZvFreePool (
  IN VOID  *Buffer
  );

/**
  Narrows a text: the low byte of each unit, without any mapping of code pages.

  @param[in]  String   The text.

  @return A new text, which the caller frees, or NULL when the pool is exhausted.
**/
CHAR8 *
UnicodeToNewAscii (
  IN CONST CHAR16  *String
  );

/// Copies Length bytes.
VOID
ZvCopyMem (
  OUT VOID        *Destination,
  IN  CONST VOID  *Source,
  IN  UINTN       Length
  );

/// Prints into Buffer of BufferSize bytes, the terminator included. Returns the characters printed.
UINTN
ZvAsciiVSPrint (
  OUT CHAR8        *Buffer,
  IN  UINTN        BufferSize,
  IN  CONST CHAR8  *Format,
  IN  VA_LIST      Marker
  );

/// As ZvAsciiVSPrint, with the values in the call.
UINTN
EFIAPI
ZvAsciiSPrint (
  OUT CHAR8        *Buffer,
  IN  UINTN        BufferSize,
  IN  CONST CHAR8  *Format,
  ...
  );

/// Length in characters, without the terminator.
UINTN
ZvAsciiStrLen (
  IN CONST CHAR8  *String
  );

/// 0 when the texts are equal.
INTN
ZvAsciiStrCmp (
  IN CONST CHAR8  *First,
  IN CONST CHAR8  *Second
  );

/// 0 when the first Length characters are equal.
INTN
ZvAsciiStrnCmp (
  IN CONST CHAR8  *First,
  IN CONST CHAR8  *Second,
  IN UINTN        Length
  );

/// Copies a text into DestMax characters, the terminator included.
RETURN_STATUS
ZvAsciiStrCpyS (
  OUT CHAR8        *Destination,
  IN  UINTN        DestMax,
  IN  CONST CHAR8  *Source
  );

/// Copies at most Length characters and a terminator into DestMax characters.
RETURN_STATUS
ZvAsciiStrnCpyS (
  OUT CHAR8        *Destination,
  IN  UINTN        DestMax,
  IN  CONST CHAR8  *Source,
  IN  UINTN        Length
  );

/// The first occurrence of SearchString, or NULL.
CHAR8 *
ZvAsciiStrStr (
  IN CONST CHAR8  *String,
  IN CONST CHAR8  *SearchString
  );

/// Removes Character from a text, in place, by the platform's rule.
VOID
ZvAsciiStrTrim (
  IN OUT CHAR8  *String,
  IN     CHAR8  Character
  );

/// Value of the digits at the start of a text, Base 10 or 16.
UINTN
ZvAsciiStrToUint (
  IN CONST CHAR8  *String,
  IN UINT32       Base
  );

/// ZvAsciiStrToUint with base 10.
UINTN
ZvAsciiDecimalToUint (
  IN CONST CHAR8  *String
  );

/// Length in characters, without the terminator.
UINTN
ZvStrLen (
  IN CONST CHAR16  *String
  );

/// 0 when the texts are equal.
INTN
ZvStrCmp (
  IN CONST CHAR16  *First,
  IN CONST CHAR16  *Second
  );

/// Removes Character from a text, in place, by the platform's rule.
VOID
ZvStrTrim (
  IN OUT CHAR16  *String,
  IN     CHAR16  Character
  );

#ifdef __cplusplus
}
#endif

#endif
