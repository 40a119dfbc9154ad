/*
 * DebugLib of every image on the host: assertions and debug lines go to the machine, and the code
 * goes on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <Uefi.h>
#include <Library/BaseLib.h>
#include <Library/BaseMemoryLib.h>
#include <Library/DebugLib.h>
#include <Library/PrintLib.h>

#include "host/firmware/host_interface.h"

#define MAX_DEBUG_LINE 512

VOID EFIAPI DebugVPrint(IN UINTN ErrorLevel, IN CONST CHAR8* Format, IN VA_LIST Marker) {
  CHAR8 Line[MAX_DEBUG_LINE];

  (VOID) ErrorLevel;
  AsciiVSPrint(Line, sizeof(Line), Format, Marker);
  TvqHostDebugOutput(Line);
}

VOID EFIAPI DebugPrint(IN UINTN ErrorLevel, IN CONST CHAR8* Format, ...) {
  VA_LIST Marker;

  VA_START(Marker, Format);
  DebugVPrint(ErrorLevel, Format, Marker);
  VA_END(Marker);
}

VOID EFIAPI DebugBPrint(IN UINTN ErrorLevel, IN CONST CHAR8* Format, IN BASE_LIST Marker) {
  CHAR8 Line[MAX_DEBUG_LINE];

  (VOID) ErrorLevel;
  AsciiBSPrint(Line, sizeof(Line), Format, Marker);
  TvqHostDebugOutput(Line);
}

VOID EFIAPI DebugAssert(IN CONST CHAR8* FileName, IN UINTN LineNumber,
                        IN CONST CHAR8* Description) {
  TvqHostAssert(TVQ_IMAGE_NAME, FileName, LineNumber, Description);
}

VOID* EFIAPI DebugClearMemory(OUT VOID* Buffer, IN UINTN Length) {
  return SetMem(Buffer, Length, 0xAF);
}

BOOLEAN EFIAPI DebugAssertEnabled(VOID) {
  return _gTvqAssertionsEnabled;
}

BOOLEAN EFIAPI DebugPrintEnabled(VOID) {
  return TvqHostDebugOutputKept(MAX_UINTN);
}

BOOLEAN EFIAPI DebugCodeEnabled(VOID) {
  return TRUE;
}

BOOLEAN EFIAPI DebugClearMemoryEnabled(VOID) {
  return FALSE;
}

BOOLEAN EFIAPI DebugPrintLevelEnabled(IN CONST UINTN ErrorLevel) {
  return TvqHostDebugOutputKept(ErrorLevel);
}
