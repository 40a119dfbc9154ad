/*
 * The pool counts, attributes and poisons its blocks, fails on request, and reports what firmware
 * would corrupt itself by.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/firmware/firmware.h"
#include "images/neighbour.h"
#include "images/probe.h"
#include "tests/unit/host/firmware/images/Neighbour.h"
#include "tests/unit/host/firmware/images/Probe.h"

namespace tvq::host {
namespace {

using testing::HasSubstr;

class FirmwarePool : public testing::Test {
 protected:
  FirmwarePool() {
    mFirmware.ConstructImage(mFirmware.LoadImage(images::probe));
    mFirmware.ConstructImage(mFirmware.LoadImage(images::neighbour));
  }

  void* Allocate(UINTN size) {
    void* block = nullptr;
    EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, size, &block), EFI_SUCCESS);
    return block;
  }

  Firmware mFirmware;
  EFI_BOOT_SERVICES* mServices = mFirmware.BootServices();
  Pool& mPool = mFirmware.Memory();
};

TEST_F(FirmwarePool, CountsAllocationsAndFrees) {
  const uint64_t allocations = mPool.Allocations();
  const uint64_t frees = mPool.Frees();
  const size_t live = mPool.LiveCount();
  void* const first = Allocate(10);
  void* const second = Allocate(20);
  EXPECT_EQ(mPool.Allocations(), allocations + 2);
  EXPECT_EQ(mPool.LiveCount(), live + 2);
  EXPECT_EQ(mServices->FreePool(first), EFI_SUCCESS);
  EXPECT_EQ(mPool.LiveCount(), live + 1);
  EXPECT_EQ(mServices->FreePool(second), EFI_SUCCESS);
  EXPECT_EQ(mPool.Frees(), frees + 2);
  EXPECT_EQ(mPool.LiveCount(), live);
}

TEST_F(FirmwarePool, KnowsWhoOwnsABlock) {
  void* const probes = ProbeAllocate(24);
  void* const neighbours = NeighbourAllocate(48);
  void* const own = Allocate(72);
  EXPECT_EQ(mPool.Find(probes)->owner, images::probe);
  EXPECT_EQ(mPool.Find(neighbours)->owner, images::neighbour);
  EXPECT_EQ(mPool.Find(own)->owner, Owner::Host());
  EXPECT_EQ(mPool.LiveCount(images::probe), 1u);
  EXPECT_EQ(mPool.LiveBlocks(images::neighbour).at(0).size, 48u);
  EXPECT_EQ(mPool.Allocations(images::probe), 1u);
}

TEST_F(FirmwarePool, CountsTheCoresOwnBlocksAsTheCores) {
  const size_t live = mPool.LiveCount(Owner::Core());
  EFI_GUID guid = {0x55, 0, 0, {}};
  EFI_HANDLE handle = nullptr;
  ASSERT_EQ(ProbeBootServices()->InstallMultipleProtocolInterfaces(&handle, &guid, &guid, nullptr),
            EFI_SUCCESS);
  EXPECT_GT(mPool.LiveCount(Owner::Core()), live);
  EXPECT_EQ(mPool.LiveCount(images::probe), 0u);
}

TEST_F(FirmwarePool, GivesAHandleBufferToWhoeverAskedForIt) {
  EFI_HANDLE* const handles = ProbeLocateHandles();
  ASSERT_NE(handles, nullptr);
  EXPECT_EQ(mPool.Find(handles)->owner, images::probe);
  ProbeFree(handles);
  EXPECT_EQ(mPool.LiveCount(images::probe), 0u);
}

TEST_F(FirmwarePool, NamesTheFunctionsThatAllocated) {
  const Block block = mPool.Find(ProbeAllocate(8)).value();
  EXPECT_TRUE(block.callSite.Has("AllocatePool")) << block.callSite.ToString();
  EXPECT_TRUE(block.callSite.Has("MakeProbeBlock")) << block.callSite.ToString();
  EXPECT_TRUE(block.callSite.Has("ProbeAllocate")) << block.callSite.ToString();
  EXPECT_TRUE(block.callSite.Has("TestBody")) << block.callSite.ToString();
  EXPECT_FALSE(block.callSite.Has("NeighbourAllocate"));
  EXPECT_THAT(block.callSite.ToString(), HasSubstr("MakeProbeBlock < ProbeAllocate"));
}

TEST_F(FirmwarePool, FindsABlockByAnAddressInsideIt) {
  const char* const block = static_cast<const char*>(Allocate(16));
  EXPECT_EQ(mPool.Find(block + 15)->address, block);
  EXPECT_FALSE(mPool.Find(block + 16).has_value());
}

TEST_F(FirmwarePool, PoisonsNewBlocks) {
  const UINT8* const block = static_cast<const UINT8*>(Allocate(64));
  for (size_t index = 0; index < 64; ++index) {
    EXPECT_EQ(block[index], 0xAF);
  }
}

TEST_F(FirmwarePool, HandsOutADistinctBlockForZeroBytes) {
  void* const first = Allocate(0);
  void* const second = Allocate(0);
  EXPECT_NE(first, nullptr);
  EXPECT_NE(first, second);
  EXPECT_EQ(mPool.Find(first)->size, 0u);
  EXPECT_EQ(mServices->FreePool(first), EFI_SUCCESS);
  EXPECT_EQ(mServices->FreePool(second), EFI_SUCCESS);
}

TEST_F(FirmwarePool, SucceedsWithoutABlockForZeroBytesWhenAskedTo) {
  mPool.GiveNullForZeroBytes(true);
  void* block = &block;
  EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, 0, &block), EFI_SUCCESS);
  EXPECT_EQ(block, nullptr);
  EXPECT_NE(Allocate(1), nullptr);
  mPool.FailAllocation(1);
  EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, 0, &block), EFI_OUT_OF_RESOURCES);
}

TEST_F(FirmwarePool, RefusesWrongArguments) {
  void* block = nullptr;
  EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, 8, nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->AllocatePool(EfiMaxMemoryType, 8, &block), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->AllocatePool(EfiConventionalMemory, 8, &block), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, ~UINTN{0}, &block), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(mServices->FreePool(nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(FirmwarePool, FailsTheNthAllocationAlone) {
  mPool.FailAllocation(2);
  void* const first = Allocate(8);
  void* block = first;
  EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, 8, &block), EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(block, nullptr);
  Allocate(8);
  EXPECT_EQ(mPool.FailedAllocations(), 1u);
}

TEST_F(FirmwarePool, FailsAllAllocationsFromTheNthOn) {
  mPool.FailFromAllocation(2);
  Allocate(8);
  void* block = nullptr;
  for (int attempt = 0; attempt < 3; ++attempt) {
    EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, 8, &block), EFI_OUT_OF_RESOURCES);
  }
  mPool.StopFailing();
  Allocate(8);
}

TEST_F(FirmwarePool, FailsOneOwnersAllocationsOnly) {
  mPool.FailFromAllocation(1, images::probe);
  EXPECT_EQ(ProbeAllocate(8), nullptr);
  EXPECT_NE(NeighbourAllocate(8), nullptr);
  EXPECT_NE(Allocate(8), nullptr);
  EXPECT_EQ(ProbeAllocate(8), nullptr);
}

TEST_F(FirmwarePool, LetsAServiceOfTheCoreRunOutOfMemory) {
  mPool.FailAllocation(1, Owner::Core());
  EFI_GUID guid = {0x66, 0, 0, {}};
  EFI_HANDLE handle = nullptr;
  EXPECT_EQ(mServices->InstallMultipleProtocolInterfaces(&handle, &guid, &guid, nullptr),
            EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(mServices->InstallMultipleProtocolInterfaces(&handle, &guid, &guid, nullptr),
            EFI_SUCCESS);
}

TEST_F(FirmwarePool, ReportsABlockThatIsFreedTwice) {
  void* const block = Allocate(8);
  EXPECT_EQ(mServices->FreePool(block), EFI_SUCCESS);
  EXPECT_EQ(mServices->FreePool(block), EFI_INVALID_PARAMETER);
  const std::vector<Misuse> misuses = mFirmware.TakeMisuses();
  ASSERT_EQ(misuses.size(), 1u);
  EXPECT_THAT(misuses[0].what, HasSubstr("was freed before"));
  EXPECT_TRUE(misuses[0].callSite.Has("TestBody"));
}

TEST_F(FirmwarePool, ReportsAForeignPointerThatIsFreed) {
  int local = 0;
  EXPECT_EQ(mServices->FreePool(&local), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->FreePool(static_cast<char*>(Allocate(8)) + 4), EFI_INVALID_PARAMETER);
  const std::vector<Misuse> misuses = mFirmware.TakeMisuses();
  ASSERT_EQ(misuses.size(), 2u);
  EXPECT_THAT(misuses[0].what, HasSubstr("no such block"));
  EXPECT_THAT(misuses[1].what, HasSubstr("inside the block"));
}

TEST_F(FirmwarePool, ReportsAnAllocationAtTooHighATaskPriority) {
  const EFI_TPL old = mServices->RaiseTPL(TPL_HIGH_LEVEL);
  void* block = nullptr;
  mServices->AllocatePool(EfiBootServicesData, 8, &block);
  mServices->RestoreTPL(old);
  EXPECT_FALSE(mFirmware.TakeAssertions().empty());
}

TEST_F(FirmwarePool, AllocatesPagesBelowAnAddress) {
  EFI_PHYSICAL_ADDRESS memory = 0xFFFFFFFF;
  ASSERT_EQ(mServices->AllocatePages(AllocateMaxAddress, EfiReservedMemoryType, 3, &memory),
            EFI_SUCCESS);
  EXPECT_LT(memory, UINT64{1} << 32);
  EXPECT_EQ(memory % EFI_PAGE_SIZE, 0u);
  EXPECT_EQ(mPool.Find(reinterpret_cast<void*>(memory))->size, 3u * EFI_PAGE_SIZE);
  EXPECT_EQ(mServices->FreePages(memory, 3), EFI_SUCCESS);
}

TEST_F(FirmwarePool, AllocatesPagesAnywhereAndAtAnAddress) {
  EFI_PHYSICAL_ADDRESS memory = 0;
  ASSERT_EQ(mServices->AllocatePages(AllocateAnyPages, EfiBootServicesData, 1, &memory),
            EFI_SUCCESS);
  EFI_PHYSICAL_ADDRESS same = memory;
  EXPECT_EQ(mServices->AllocatePages(AllocateAddress, EfiBootServicesData, 1, &same),
            EFI_NOT_FOUND);
  EXPECT_EQ(mServices->FreePages(memory, 1), EFI_SUCCESS);
  EXPECT_EQ(mServices->AllocatePages(AllocateAddress, EfiBootServicesData, 1, &same), EFI_SUCCESS);
  EXPECT_EQ(same, memory);
}

TEST_F(FirmwarePool, ReportsPagesThatWereNeverAllocated) {
  EXPECT_EQ(mServices->FreePages(0x1000, 1), EFI_NOT_FOUND);
  EXPECT_EQ(mFirmware.TakeMisuses().size(), 1u);
}

TEST(FirmwarePoolDeathTest, ReportsAWriteBehindABlock) {
  // With AddressSanitizer the write itself ends the process; without it, freeing the block tells.
  EXPECT_DEATH(
      {
        SetFailureHandler(nullptr);
        Firmware firmware;
        void* block = nullptr;
        firmware.BootServices()->AllocatePool(EfiBootServicesData, 8, &block);
        static_cast<volatile char*>(block)[8] = 1;
        firmware.BootServices()->FreePool(block);
      },
      "heap-buffer-overflow|a write went past the end of the block");
}

TEST(FirmwarePoolDeathTest, ReportsAWriteToAFreedBlock) {
  EXPECT_DEATH(
      {
        SetFailureHandler(nullptr);
        Firmware firmware;
        void* block = nullptr;
        firmware.BootServices()->AllocatePool(EfiBootServicesData, 8, &block);
        firmware.BootServices()->FreePool(block);
        static_cast<volatile char*>(block)[0] = 1;
      },
      "heap-use-after-free|a block was written to after it had been freed");
}

}  // namespace
}  // namespace tvq::host
