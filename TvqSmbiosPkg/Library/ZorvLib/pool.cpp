/** @file
  Pool helpers and the debug-log pointer.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include <TvqCpp.h>
#include <Library/ZorvLib.h>

DEBUG_LOG_PROTOCOL* gDebugLog;

VOID* ZvAllocateZero(UINTN Size) {
  if (Size == 0 || gZV == nullptr) {
    return nullptr;
  }
  VOID* block = nullptr;
  (void)gZV->BS->AllocatePool(EfiBootServicesData, Size, &block);
  if (block != nullptr) {
    ZeroMem(block, Size);
  }
  return block;
}

CHAR8* UnicodeToNewAscii(const CHAR16* String) {
  const UINTN size = ZvStrLen(String) + 1;
  CHAR8* narrow = static_cast<CHAR8*>(ZvAllocateZero(size));
  if (narrow == nullptr) {
    return nullptr;
  }
  for (UINTN i = 0; String[i] != 0 && i + 1 < size; i++) {
    narrow[i] = static_cast<CHAR8>(static_cast<UINT8>(String[i]));
  }
  return narrow;
}
