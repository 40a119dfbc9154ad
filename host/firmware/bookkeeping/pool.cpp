/*
 * The machine's pool: blocks, their owners, and allocations that are made to fail.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/firmware/bookkeeping/pool_store.h"
#include "host/firmware/firmware_state.h"
#include "host/firmware/host_interface.h"

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TVQ_ADDRESS_SANITIZER 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define TVQ_ADDRESS_SANITIZER 1
#endif

namespace tvq::host {
namespace {

#ifdef TVQ_ADDRESS_SANITIZER
// The sanitizer has red zones and a quarantine of its own.
constexpr size_t kTailSize = 0;
constexpr size_t kMaxQuarantine = 0;
#else
constexpr size_t kTailSize = 8;
constexpr size_t kMaxQuarantine = size_t{16} << 20;
#endif
constexpr UINT8 kTail = 0xFD;

// Holds the lock that the DXE core's pool holds: it makes calls from too high a task priority show.
class MemoryLock {
 public:
  MemoryLock() { gTvqHostCore.AcquireMemoryLock(); }
  ~MemoryLock() { gTvqHostCore.ReleaseMemoryLock(); }
  MemoryLock(const MemoryLock&) = delete;
  MemoryLock& operator=(const MemoryLock&) = delete;
};

std::string Hex(uintptr_t value) {
  char text[2 + 16 + 1];
  std::snprintf(text, sizeof(text), "0x%zx", static_cast<size_t>(value));
  return text;
}

// Every byte equals the one before it, and the first one the value: one pass of memcmp.
bool IsFilledWith(const UINT8* bytes, size_t size, UINT8 value) {
  return size == 0 || (bytes[0] == value && std::memcmp(bytes, bytes + 1, size - 1) == 0);
}

}  // namespace

Pool::Store::~Store() {
  for (const auto& [address, block] : mLive) {
    Release(block);
  }
  for (const FreedBlock& freed : mQuarantine) {
    std::free(freed.address);
  }
}

bool Pool::Store::CountAndMayFail(const Owner& owner) {
  ++mAllocations[owner.Number()];
  for (const Fault& fault : mFaults) {
    const uint64_t count = Allocations(fault.owner);
    const bool counts = !fault.owner.has_value() || *fault.owner == owner;
    if (counts && (fault.allocation == count || (fault.following && fault.allocation < count))) {
      ++mFailed;
      return true;
    }
  }
  return false;
}

void Pool::Store::Remember(const Owner& owner, EFI_MEMORY_TYPE type, void* address, size_t size,
                           bool isPages) {
  const uintptr_t key = reinterpret_cast<uintptr_t>(address);
  const CallSite site = mKeepCallSites ? CallSite::Here(2) : CallSite();
  mLive.insert_or_assign(key, Block{address, size, type, isPages, owner, ++mSerial, site});
  ++mLiveCounts[owner.Number()];
}

void Pool::Store::Forget(LiveBlocks::iterator found) {
  mFreedAddresses.push_back(found->first);
  --mLiveCounts[found->second.owner.Number()];
  mLive.erase(found);
  ++mFrees;
}

EFI_STATUS Pool::Store::Allocate(const Owner& owner, EFI_MEMORY_TYPE type, UINTN size,
                                 void** buffer) {
  if (!IsAllocatable(type) || buffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *buffer = nullptr;
  const MemoryLock lock;
  if (CountAndMayFail(owner) || size > kMaxPoolSize) {
    return EFI_OUT_OF_RESOURCES;
  }
  if (size == 0 && mNullForZeroBytes) {
    return EFI_SUCCESS;
  }
  UINT8* block = static_cast<UINT8*>(std::malloc(size + kTailSize));
  if (block == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  std::memset(block, kPoison, size);
  std::memset(block + size, kTail, kTailSize);
  Remember(owner, type, block, size, false);
  *buffer = block;
  return EFI_SUCCESS;
}

void Pool::Store::RefuseFree(const char* service, const void* address) {
  const uintptr_t key = reinterpret_cast<uintptr_t>(address);
  std::string what = std::string(service) + " (" + Hex(key) + "): ";
  if (std::find(mFreedAddresses.begin(), mFreedAddresses.end(), key) != mFreedAddresses.end() &&
      mLive.count(key) == 0) {
    what += "the block was freed before";
  } else if (const std::optional<Block> block = Find(address); block.has_value()) {
    what += "the address lies inside the block " +
            Hex(reinterpret_cast<uintptr_t>(block->address)) + " of " +
            std::to_string(block->size) + " bytes, or the block came from another service";
  } else {
    what += "no such block";
  }
  mState.reports.AddMisuse(std::move(what));
}

EFI_STATUS Pool::Store::Free(void* buffer) {
  if (buffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const MemoryLock lock;
  const auto found = mLive.find(reinterpret_cast<uintptr_t>(buffer));
  if (found == mLive.end() || found->second.isPages) {
    RefuseFree("FreePool", buffer);
    return EFI_INVALID_PARAMETER;
  }
  UINT8* const block = static_cast<UINT8*>(buffer);
  const size_t size = found->second.size;
  if (!IsFilledWith(block + size, kTailSize, kTail)) {
    mState.reports.AddMisuse("FreePool (" + Hex(found->first) +
                             "): a write went past the end of the block");
  }
  Forget(found);
  std::memset(block, kPoison, size);
  mQuarantine.push_back({block, size});
  mQuarantineSize += size;
  while (mQuarantineSize > kMaxQuarantine || (kMaxQuarantine == 0 && !mQuarantine.empty())) {
    ReleaseFreed(mQuarantine.front());
    mQuarantine.pop_front();
  }
  return EFI_SUCCESS;
}

void Pool::Store::ReleaseFreed(const FreedBlock& freed) {
  if (!IsFilledWith(freed.address, freed.size, kPoison)) {
    mState.reports.AddMisuse("a block was written to after it had been freed");
  }
  mQuarantineSize -= freed.size;
  std::free(freed.address);
}

void Pool::Store::CheckForOverruns() {
  for (const auto& [address, block] : mLive) {
    const UINT8* const bytes = static_cast<const UINT8*>(block.address);
    if (!block.isPages && !IsFilledWith(bytes + block.size, kTailSize, kTail)) {
      mState.reports.AddMisuse("a write went past the end of the block that was allocated at " +
                               block.callSite.ToString());
    }
  }
  for (const FreedBlock& freed : mQuarantine) {
    if (!IsFilledWith(freed.address, freed.size, kPoison)) {
      mState.reports.AddMisuse("a block was written to after it had been freed");
    }
  }
}

void Pool::Store::Release(const Block& block) {
  void* const address = const_cast<void*>(block.address);
  if (block.isPages) {
    UnmapPages(reinterpret_cast<EFI_PHYSICAL_ADDRESS>(address), EFI_SIZE_TO_PAGES(block.size));
  } else {
    std::free(address);
  }
}

EFI_STATUS Pool::Store::AllocatePages(const Owner& owner, EFI_ALLOCATE_TYPE how,
                                      EFI_MEMORY_TYPE type, UINTN pages,
                                      EFI_PHYSICAL_ADDRESS* memory) {
  if (const EFI_STATUS status = CheckPages(how, type, pages, memory); EFI_ERROR(status)) {
    return status;
  }
  const MemoryLock lock;
  if (CountAndMayFail(owner)) {
    return EFI_OUT_OF_RESOURCES;
  }
  const EFI_STATUS status = MapPages(how, pages, memory);
  if (!EFI_ERROR(status)) {
    Remember(owner, type, reinterpret_cast<void*>(*memory), EFI_PAGES_TO_SIZE(pages), true);
  }
  return status;
}

EFI_STATUS Pool::Store::FreePages(EFI_PHYSICAL_ADDRESS memory, UINTN pages) {
  const MemoryLock lock;
  const auto found = mLive.find(static_cast<uintptr_t>(memory));
  if (found == mLive.end() || !found->second.isPages ||
      found->second.size != EFI_PAGES_TO_SIZE(pages)) {
    RefuseFree("FreePages", reinterpret_cast<const void*>(memory));
    return EFI_NOT_FOUND;
  }
  Release(found->second);
  Forget(found);
  return EFI_SUCCESS;
}

void Pool::Store::GiveTo(const Owner& owner, const void* buffer) {
  const auto found = mLive.find(reinterpret_cast<uintptr_t>(buffer));
  if (found != mLive.end()) {
    --mLiveCounts[found->second.owner.Number()];
    found->second.owner = owner;
    ++mLiveCounts[owner.Number()];
  }
}

size_t Pool::Store::LiveCount(std::optional<Owner> owner) const {
  return owner.has_value() ? mLiveCounts[owner->Number()] : mLive.size();
}

std::vector<Block> Pool::Store::Live(std::optional<Owner> owner) const {
  std::vector<Block> blocks;
  for (const auto& [address, block] : mLive) {
    if (!owner.has_value() || block.owner == *owner) {
      blocks.push_back(block);
    }
  }
  std::sort(blocks.begin(), blocks.end(),
            [](const Block& left, const Block& right) { return left.serial < right.serial; });
  return blocks;
}

std::optional<Block> Pool::Store::Find(const void* address) const {
  const uintptr_t wanted = reinterpret_cast<uintptr_t>(address);
  auto next = mLive.upper_bound(wanted);
  if (next == mLive.begin()) {
    return std::nullopt;
  }
  const auto& [start, block] = *std::prev(next);
  // A block of no bytes still contains its own address.
  if (wanted - start < std::max<size_t>(block.size, 1)) {
    return block;
  }
  return std::nullopt;
}

uint64_t Pool::Store::Allocations(std::optional<Owner> owner) const {
  if (owner.has_value()) {
    return mAllocations[owner->Number()];
  }
  uint64_t sum = 0;
  for (const uint64_t count : mAllocations) {
    sum += count;
  }
  return sum;
}

void Pool::Store::Fail(uint64_t n, std::optional<Owner> owner, bool following) {
  if (n == 0) {
    Die("FailAllocation counts allocations from 1");
  }
  mFaults.push_back({owner, Allocations(owner) + n, following});
}

std::unique_ptr<Memory> MakeMemory(FirmwareState& state) {
  return std::make_unique<Pool::Store>(state);
}

Pool& Firmware::Memory() {
  return static_cast<Pool::Store&>(mState->GetMemory()).View();
}

std::vector<Block> Pool::LiveBlocks() const {
  return mStore.Live(std::nullopt);
}

std::vector<Block> Pool::LiveBlocks(const Owner& owner) const {
  return mStore.Live(owner);
}

std::optional<Block> Pool::Find(const void* address) const {
  return mStore.Find(address);
}

void Pool::KeepCallSites(bool keep) {
  mStore.KeepCallSites(keep);
}

void Pool::GiveNullForZeroBytes(bool give) {
  mStore.GiveNullForZeroBytes(give);
}

uint64_t Pool::Allocations() const {
  return mStore.Allocations(std::nullopt);
}

uint64_t Pool::Allocations(const Owner& owner) const {
  return mStore.Allocations(owner);
}

uint64_t Pool::Frees() const {
  return mStore.Frees();
}

size_t Pool::LiveCount() const {
  return mStore.LiveCount(std::nullopt);
}

size_t Pool::LiveCount(const Owner& owner) const {
  return mStore.LiveCount(owner);
}

void Pool::FailAllocation(uint64_t n, std::optional<Owner> owner) {
  mStore.Fail(n, owner, false);
}

void Pool::FailFromAllocation(uint64_t n, std::optional<Owner> owner) {
  mStore.Fail(n, owner, true);
}

void Pool::StopFailing() {
  mStore.StopFailing();
}

uint64_t Pool::FailedAllocations() const {
  return mStore.FailedAllocations();
}

}  // namespace tvq::host
