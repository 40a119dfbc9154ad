/*
 * What the arrays of a snapshot need of EDK II's libraries, for tests that fill them. An image has its own, which nobody else sees.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstring>

#include <TvqCpp.h>

extern "C" VOID* EFIAPI CopyMem(VOID* target, const VOID* source, UINTN size) {
  return std::memmove(target, source, size);
}

extern "C" VOID* EFIAPI AllocatePool(UINTN size) {
  VOID* block = nullptr;
  return EFI_ERROR(gBS->AllocatePool(EfiBootServicesData, size, &block)) ? nullptr : block;
}
