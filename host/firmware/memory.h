/*
 * What the machine stands on: its memory. A program links one of two: with bookkeeping, for tests,
 * or plain, for the command line.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_MEMORY_H_
#define TVQ_HOST_FIRMWARE_MEMORY_H_

#include <memory>

#include "host/firmware/firmware.h"

namespace tvq::host {

class Memory {
 public:
  Memory() = default;
  // Gives everything back, blocks that are still live included.
  virtual ~Memory() = default;
  Memory(const Memory&) = delete;
  Memory& operator=(const Memory&) = delete;

  virtual EFI_STATUS Allocate(const Owner& owner, EFI_MEMORY_TYPE type, UINTN size,
                              void** buffer) = 0;
  virtual EFI_STATUS Free(void* buffer) = 0;
  virtual EFI_STATUS AllocatePages(const Owner& owner, EFI_ALLOCATE_TYPE how, EFI_MEMORY_TYPE type,
                                   UINTN pages, EFI_PHYSICAL_ADDRESS* memory) = 0;
  virtual EFI_STATUS FreePages(EFI_PHYSICAL_ADDRESS memory, UINTN pages) = 0;
  // A service of the core handed a block over.
  virtual void GiveTo(const Owner& owner, const void* buffer) = 0;
  // Looks for writes past the end of live blocks and into freed ones, where no sanitizer does.
  virtual void CheckForOverruns() = 0;
};

// The memory of the library that the program links.
std::unique_ptr<Memory> MakeMemory(FirmwareState& state);

// What fresh and freed memory is filled with.
constexpr UINT8 kPoison = 0xAF;
constexpr UINTN kMaxPoolSize = UINTN{1} << 30;

bool IsAllocatable(EFI_MEMORY_TYPE type);
// What is wrong with a request for pages.
EFI_STATUS CheckPages(EFI_ALLOCATE_TYPE how, EFI_MEMORY_TYPE type, UINTN pages,
                      const EFI_PHYSICAL_ADDRESS* memory);
// Poisoned pages at a place that the request allows.
EFI_STATUS MapPages(EFI_ALLOCATE_TYPE how, UINTN pages, EFI_PHYSICAL_ADDRESS* memory);
void UnmapPages(EFI_PHYSICAL_ADDRESS memory, UINTN pages);

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_MEMORY_H_
