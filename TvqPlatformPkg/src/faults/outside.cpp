/** @file
  A deliberate mistake: it shows that guarded firmware notices one.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "faults.h"

extern "C" {
#include <Library/UefiLib.h>
}

namespace tvqplatform {

namespace {

/// Firmware aligns blocks to 8 bytes, so that a block of this size ends where its guard begins.
constexpr UINTN kSize = 16;

void Read(const CHAR8* where, UINTN address) {
  AsciiPrint("TvqFaults: reading the byte %a\n", where);
  AsciiPrint("TvqFaults: it is 0x%02x\n", *reinterpret_cast<const volatile UINT8*>(address));
}

}  // namespace

EFI_STATUS ReadOutside() {
  VOID* block = nullptr;
  const EFI_STATUS status = gBS->AllocatePool(EfiBootServicesData, kSize, &block);
  if (EFI_ERROR(status)) {
    return status;
  }
  const UINTN address = reinterpret_cast<UINTN>(block);
  Read("behind a block of pool", address + kSize);
  // The firmware's own header lies between the block and a guard at its head.
  Read("before the pages of a block of pool", (address & ~static_cast<UINTN>(EFI_PAGE_MASK)) - 1);
  return gBS->FreePool(block);
}

}  // namespace tvqplatform
