/*
 * A second driver for the tests of the firmware library.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_NEIGHBOUR_H_
#define TVQ_TESTS_NEIGHBOUR_H_

extern "C" {
#include <Uefi.h>
}

extern "C" EFI_STATUS EFIAPI NeighbourEntry(EFI_HANDLE imageHandle, EFI_SYSTEM_TABLE* systemTable);

EFI_BOOT_SERVICES* NeighbourBootServices();
VOID* NeighbourAllocate(UINTN size);
// Frees what another image allocated.
VOID NeighbourFree(VOID* buffer);

#endif  // TVQ_TESTS_NEIGHBOUR_H_
