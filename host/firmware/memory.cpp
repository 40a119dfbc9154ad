/*
 * Requests for memory: which are possible, and pages for them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/memory.h"

#include <sys/mman.h>

#include <cstring>

#include "host/firmware/firmware_state.h"
#include "host/firmware/host_interface.h"

namespace tvq::host {
namespace {

constexpr UINT32 kFirstOemType = 0x70000000;  // MEMORY_TYPE_OEM_RESERVED_MIN of the DXE core

// Pages at a place that the request allows, or nullptr.
void* Map(EFI_ALLOCATE_TYPE how, EFI_PHYSICAL_ADDRESS wanted, size_t size) {
  int flags = MAP_PRIVATE | MAP_ANONYMOUS;
  void* hint = nullptr;
  if (how == AllocateAddress) {
    hint = reinterpret_cast<void*>(wanted);
    flags |= MAP_FIXED_NOREPLACE;
  } else if (how == AllocateMaxAddress && wanted < (UINT64{1} << 47)) {
    flags |= MAP_32BIT;
  }
  void* mapped = mmap(hint, size, PROT_READ | PROT_WRITE, flags, -1, 0);
  if (mapped == MAP_FAILED) {
    return nullptr;
  }
  const uintptr_t address = reinterpret_cast<uintptr_t>(mapped);
  const bool misplaced = (how == AllocateAddress && address != wanted) ||
                         (how == AllocateMaxAddress && address + size - 1 > wanted);
  if (misplaced) {
    munmap(mapped, size);
    return nullptr;
  }
  return mapped;
}

}  // namespace

bool IsAllocatable(EFI_MEMORY_TYPE type) {
  const UINT32 value = static_cast<UINT32>(type);
  return (value < EfiMaxMemoryType || value >= kFirstOemType) && type != EfiConventionalMemory &&
         type != EfiPersistentMemory && type != EfiUnacceptedMemoryType;
}

EFI_STATUS CheckPages(EFI_ALLOCATE_TYPE how, EFI_MEMORY_TYPE type, UINTN pages,
                      const EFI_PHYSICAL_ADDRESS* memory) {
  if (static_cast<UINT32>(how) >= MaxAllocateType || !IsAllocatable(type) || memory == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const bool isNowhere = how == AllocateAddress && (pages == 0 || (*memory & EFI_PAGE_MASK) != 0);
  return isNowhere ? EFI_NOT_FOUND : EFI_SUCCESS;
}

EFI_STATUS MapPages(EFI_ALLOCATE_TYPE how, UINTN pages, EFI_PHYSICAL_ADDRESS* memory) {
  if (pages == 0 || pages > EFI_SIZE_TO_PAGES(kMaxPoolSize)) {
    return EFI_OUT_OF_RESOURCES;
  }
  const size_t size = EFI_PAGES_TO_SIZE(pages);
  void* const mapped = Map(how, *memory, size);
  if (mapped == nullptr) {
    return how == AllocateAddress ? EFI_NOT_FOUND : EFI_OUT_OF_RESOURCES;
  }
  std::memset(mapped, kPoison, size);
  *memory = reinterpret_cast<EFI_PHYSICAL_ADDRESS>(mapped);
  return EFI_SUCCESS;
}

void UnmapPages(EFI_PHYSICAL_ADDRESS memory, UINTN pages) {
  munmap(reinterpret_cast<void*>(memory), EFI_PAGES_TO_SIZE(pages));
}

}  // namespace tvq::host

using tvq::host::FirmwareState;
using tvq::host::Owner;

EFI_STATUS TvqHostAllocatePool(EFI_MEMORY_TYPE Type, UINTN Size, VOID** Buffer) {
  return FirmwareState::Current().GetMemory().Allocate(Owner::Core(), Type, Size, Buffer);
}

EFI_STATUS TvqHostFreePool(VOID* Buffer) {
  return FirmwareState::Current().GetMemory().Free(Buffer);
}

EFI_STATUS TvqHostAllocatePages(EFI_ALLOCATE_TYPE Type, EFI_MEMORY_TYPE MemoryType, UINTN Pages,
                                EFI_PHYSICAL_ADDRESS* Memory) {
  return FirmwareState::Current().GetMemory().AllocatePages(Owner::Core(), Type, MemoryType, Pages,
                                                            Memory);
}

EFI_STATUS TvqHostFreePages(EFI_PHYSICAL_ADDRESS Memory, UINTN Pages) {
  return FirmwareState::Current().GetMemory().FreePages(Memory, Pages);
}
