/*
 * Memory that keeps no account of its blocks: one mapping at a fixed address, so that addresses in
 * log lines are the same in every run.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/memory.h"

#include <sys/mman.h>

#include <array>
#include <cstring>
#include <map>
#include <string>

#include "host/firmware/firmware_state.h"
#include "host/firmware/host_interface.h"

namespace tvq::host {
namespace {

// In front of every block.
struct BlockHeader {
  UINT32 sizeClass;
  UINT32 mark;
  BlockHeader* nextFree;
};
static_assert(sizeof(BlockHeader) == 16);

constexpr UINT32 kLive = 0x4C495645;
constexpr UINT32 kFree = 0x46524545;

// Blocks of a class have one size: up to kLargestSmall its multiples of 16 bytes, then eight sizes
// from one power of 2 to the next. What a block leaves unused is memory that a process pays for.
constexpr size_t kStep = 16;
constexpr size_t kLargestSmall = 2048;
constexpr size_t kSmallClasses = kLargestSmall / kStep;
constexpr size_t kSizesPerPower = 8;
constexpr size_t kClasses = kSmallClasses + 32 * kSizesPerPower;

size_t ClassOf(size_t size) {
  if (size <= kLargestSmall) {
    return size == 0 ? 0 : (size - 1) / kStep;
  }
  size_t sizeClass = kSmallClasses;
  size_t power = kLargestSmall;
  for (; power * 2 < size; power *= 2) {
    sizeClass += kSizesPerPower;
  }
  return sizeClass + (size - power - 1) / (power / kSizesPerPower);
}

size_t SizeOfClass(size_t sizeClass) {
  if (sizeClass < kSmallClasses) {
    return (sizeClass + 1) * kStep;
  }
  const size_t large = sizeClass - kSmallClasses;
  const size_t power = kLargestSmall << (large / kSizesPerPower);
  return power + (large % kSizesPerPower + 1) * (power / kSizesPerPower);
}

class PlainMemory : public Memory {
 public:
  explicit PlainMemory(FirmwareState& state) : mState(state) {
    // Where neither programs, libraries nor a sanitizer put anything. Pages take no memory before they
    // are used.
    void* const wanted = reinterpret_cast<void*>(uintptr_t{0x2000} << 32);
    void* const mapped = mmap(wanted, kArenaSize, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (mapped == MAP_FAILED) {
      Die("there is no memory for the machine's pool");
    }
    mArena = static_cast<UINT8*>(mapped);
  }

  ~PlainMemory() override {
    munmap(mArena, kArenaSize);
    for (const auto& [memory, pages] : mPages) {
      UnmapPages(memory, pages);
    }
  }

  EFI_STATUS Allocate(const Owner&, EFI_MEMORY_TYPE type, UINTN size, void** buffer) override {
    if (!IsAllocatable(type) || buffer == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    *buffer = nullptr;
    BlockHeader* const block = size > kArenaSize ? nullptr : Take(ClassOf(size));
    if (block == nullptr) {
      return EFI_OUT_OF_RESOURCES;
    }
    block->mark = kLive;
    *buffer = block + 1;
    std::memset(*buffer, kPoison, size);
    return EFI_SUCCESS;
  }

  EFI_STATUS Free(void* buffer) override {
    if (buffer == nullptr) {
      return EFI_INVALID_PARAMETER;
    }
    BlockHeader* const block = static_cast<BlockHeader*>(buffer) - 1;
    if (!IsBlock(buffer)) {
      mState.reports.AddMisuse("FreePool was called for what is no block, or was freed before");
      return EFI_INVALID_PARAMETER;
    }
    block->mark = kFree;
    block->nextFree = mFree[block->sizeClass];
    mFree[block->sizeClass] = block;
    return EFI_SUCCESS;
  }

  EFI_STATUS AllocatePages(const Owner&, EFI_ALLOCATE_TYPE how, EFI_MEMORY_TYPE type, UINTN pages,
                           EFI_PHYSICAL_ADDRESS* memory) override {
    if (const EFI_STATUS status = CheckPages(how, type, pages, memory); EFI_ERROR(status)) {
      return status;
    }
    const EFI_STATUS status = MapPages(how, pages, memory);
    if (!EFI_ERROR(status)) {
      mPages[*memory] = pages;
    }
    return status;
  }

  EFI_STATUS FreePages(EFI_PHYSICAL_ADDRESS memory, UINTN pages) override {
    const auto found = mPages.find(memory);
    if (found == mPages.end() || found->second != pages) {
      mState.reports.AddMisuse("FreePages was called for what was not allocated so");
      return EFI_NOT_FOUND;
    }
    UnmapPages(memory, pages);
    mPages.erase(found);
    return EFI_SUCCESS;
  }

  void GiveTo(const Owner&, const void*) override {}
  void CheckForOverruns() override {}

  bool IsBlock(const void* buffer) const {
    if (buffer == nullptr) {
      return false;
    }
    const BlockHeader* const block = static_cast<const BlockHeader*>(buffer) - 1;
    return IsInArena(block) && block->mark == kLive;
  }

 private:
  static constexpr size_t kArenaSize = size_t{1} << 28;

  bool IsInArena(const BlockHeader* block) const {
    const auto address = reinterpret_cast<uintptr_t>(block);
    const auto start = reinterpret_cast<uintptr_t>(mArena);
    return address >= start && address < start + mUsed && address % alignof(BlockHeader) == 0;
  }

  // A block that was freed, or one at the end of what is in use; nullptr where there is no room.
  BlockHeader* Take(size_t sizeClass) {
    BlockHeader* block = mFree[sizeClass];
    if (block != nullptr) {
      mFree[sizeClass] = block->nextFree;
      return block;
    }
    const size_t size = sizeof(BlockHeader) + SizeOfClass(sizeClass);
    if (size > kArenaSize - mUsed) {
      return nullptr;
    }
    block = reinterpret_cast<BlockHeader*>(mArena + mUsed);
    block->sizeClass = static_cast<UINT32>(sizeClass);
    mUsed += size;
    return block;
  }

  FirmwareState& mState;
  UINT8* mArena;
  size_t mUsed = 0;
  std::array<BlockHeader*, kClasses> mFree = {};
  std::map<EFI_PHYSICAL_ADDRESS, UINTN> mPages;
};

}  // namespace

std::unique_ptr<Memory> MakeMemory(FirmwareState& state) {
  return std::make_unique<PlainMemory>(state);
}

}  // namespace tvq::host

BOOLEAN TvqHostIsBlock(const VOID* Buffer) {
  const auto& memory = tvq::host::FirmwareState::Current().GetMemory();
  return static_cast<const tvq::host::PlainMemory&>(memory).IsBlock(Buffer) ? TRUE : FALSE;
}
