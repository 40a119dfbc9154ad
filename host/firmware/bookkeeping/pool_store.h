/*
 * The blocks behind Pool.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_BOOKKEEPING_POOL_STORE_H_
#define TVQ_HOST_FIRMWARE_BOOKKEEPING_POOL_STORE_H_

#include <array>
#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "host/firmware/firmware.h"
#include "host/firmware/memory.h"

namespace tvq::host {

class Pool::Store : public Memory {
 public:
  explicit Store(FirmwareState& state) : mState(state), mView(*this) {}
  ~Store() override;

  EFI_STATUS Allocate(const Owner& owner, EFI_MEMORY_TYPE type, UINTN size, void** buffer) override;
  EFI_STATUS Free(void* buffer) override;
  EFI_STATUS AllocatePages(const Owner& owner, EFI_ALLOCATE_TYPE how, EFI_MEMORY_TYPE type,
                           UINTN pages, EFI_PHYSICAL_ADDRESS* memory) override;
  EFI_STATUS FreePages(EFI_PHYSICAL_ADDRESS memory, UINTN pages) override;
  void GiveTo(const Owner& owner, const void* buffer) override;
  void CheckForOverruns() override;

  // The pool as users of the machine see it.
  Pool& View() { return mView; }

  std::vector<Block> Live(std::optional<Owner> owner) const;
  size_t LiveCount(std::optional<Owner> owner) const;
  std::optional<Block> Find(const void* address) const;
  uint64_t Allocations(std::optional<Owner> owner) const;
  uint64_t Frees() const { return mFrees; }
  uint64_t FailedAllocations() const { return mFailed; }
  void KeepCallSites(bool keep) { mKeepCallSites = keep; }
  void GiveNullForZeroBytes(bool give) { mNullForZeroBytes = give; }

  void Fail(uint64_t n, std::optional<Owner> owner, bool following);
  void StopFailing() { mFaults.clear(); }

 private:
  struct Fault {
    std::optional<Owner> owner;
    uint64_t allocation;
    bool following;
  };
  struct FreedBlock {
    UINT8* address;
    size_t size;
  };
  using LiveBlocks = std::map<uintptr_t, Block>;

  bool CountAndMayFail(const Owner& owner);
  void Remember(const Owner& owner, EFI_MEMORY_TYPE type, void* address, size_t size, bool isPages);
  void Forget(LiveBlocks::iterator found);
  void RefuseFree(const char* service, const void* address);
  void ReleaseFreed(const FreedBlock& freed);
  void Release(const Block& block);

  FirmwareState& mState;
  Pool mView;
  LiveBlocks mLive;
  std::array<size_t, Owner::kMaxOwners> mLiveCounts = {};
  // Every address that was ever freed; one that is live again is none of them.
  std::vector<uintptr_t> mFreedAddresses;
  bool mKeepCallSites = true;
  bool mNullForZeroBytes = false;
  // Blocks that were freed wait here, poisoned, so that writes to them show.
  std::deque<FreedBlock> mQuarantine;
  size_t mQuarantineSize = 0;
  std::array<uint64_t, Owner::kMaxOwners> mAllocations = {};
  std::vector<Fault> mFaults;
  uint64_t mSerial = 0;
  uint64_t mFrees = 0;
  uint64_t mFailed = 0;
};

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_BOOKKEEPING_POOL_STORE_H_
