/*
 * A second driver for the tests of the firmware library.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "Neighbour.h"

extern "C" {
#include <Library/MemoryAllocationLib.h>
#include <Library/UefiBootServicesTableLib.h>
}

EFI_STATUS EFIAPI NeighbourEntry(EFI_HANDLE, EFI_SYSTEM_TABLE*) {
  return EFI_SUCCESS;
}

EFI_BOOT_SERVICES* NeighbourBootServices() {
  return gBS;
}

VOID* NeighbourAllocate(UINTN size) {
  return AllocatePool(size);
}

VOID NeighbourFree(VOID* buffer) {
  FreePool(buffer);
}
