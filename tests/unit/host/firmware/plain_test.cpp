/*
 * The firmware of the shipped command line, which keeps no account of calls and blocks.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "host/firmware/firmware.h"
#include "images/probe.h"

namespace tvq::host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class PlainFirmware : public testing::Test {
 protected:
  void* Allocate(UINTN size) {
    void* block = nullptr;
    EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, size, &block), EFI_SUCCESS);
    return block;
  }
  std::vector<std::string> TakeMisuses() {
    std::vector<std::string> texts;
    for (const Misuse& misuse : mFirmware.TakeMisuses()) {
      texts.push_back(misuse.what);
    }
    return texts;
  }

  Firmware mFirmware;
  EFI_BOOT_SERVICES* mServices = mFirmware.BootServices();
};

TEST_F(PlainFirmware, BlocksHaveRoomAndLieApart) {
  std::vector<UINT8*> blocks;
  const UINTN sizes[] = {0, 1, 15, 16, 17, 2047, 2048, 2049, 4096, 4097, 100000};
  for (const UINTN size : sizes) {
    blocks.push_back(static_cast<UINT8*>(Allocate(size)));
    EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks.back()) % 16, 0u);
    EXPECT_TRUE(
        std::all_of(blocks.back(), blocks.back() + size, [](UINT8 byte) { return byte == 0xAF; }));
  }
  for (size_t i = 0; i < blocks.size(); ++i) {
    std::memset(blocks[i], static_cast<int>(i), sizes[i]);
  }
  for (size_t i = 0; i < blocks.size(); ++i) {
    EXPECT_TRUE(
        std::all_of(blocks[i], blocks[i] + sizes[i], [&](UINT8 byte) { return byte == i; }));
    EXPECT_EQ(mServices->FreePool(blocks[i]), EFI_SUCCESS);
  }
}

TEST_F(PlainFirmware, AFreedBlockIsUsedAgain) {
  for (const UINTN size : {40, 5000}) {
    void* const first = Allocate(size);
    EXPECT_EQ(mServices->FreePool(first), EFI_SUCCESS);
    EXPECT_EQ(Allocate(size), first);
  }
}

TEST_F(PlainFirmware, RefusesWhatIsNoBlock) {
  void* const block = Allocate(64);
  UINT64 elsewhere[8] = {};
  EXPECT_EQ(mServices->FreePool(nullptr), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->FreePool(&elsewhere[4]), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->FreePool(static_cast<UINT8*>(block) + 32), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->FreePool(block), EFI_SUCCESS);
  EXPECT_EQ(mServices->FreePool(block), EFI_INVALID_PARAMETER);
  EXPECT_EQ(TakeMisuses().size(), 3u);
}

TEST_F(PlainFirmware, MoreThanThereIsCannotBeHad) {
  void* block = &block;
  EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, UINTN{1} << 40, &block),
            EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, UINTN{1} << 28, &block),
            EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(mServices->AllocatePool(EfiConventionalMemory, 8, &block), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->AllocatePool(EfiBootServicesData, 8, nullptr), EFI_INVALID_PARAMETER);
}

TEST_F(PlainFirmware, PagesLieWhereTheyAreWanted) {
  EFI_PHYSICAL_ADDRESS memory = 0xFFFFFFFF;
  ASSERT_EQ(mServices->AllocatePages(AllocateMaxAddress, EfiBootServicesData, 2, &memory),
            EFI_SUCCESS);
  EXPECT_LT(memory, 0x100000000u);
  EXPECT_EQ(mServices->FreePages(memory, 1), EFI_NOT_FOUND);
  EXPECT_EQ(mServices->FreePages(memory, 2), EFI_SUCCESS);
  EXPECT_EQ(mServices->FreePages(memory, 2), EFI_NOT_FOUND);
  EXPECT_EQ(TakeMisuses().size(), 2u);
  EXPECT_EQ(mServices->AllocatePages(AllocateAnyPages, EfiBootServicesData, 0, &memory),
            EFI_OUT_OF_RESOURCES);
  EXPECT_EQ(mServices->AllocatePages(MaxAllocateType, EfiBootServicesData, 1, &memory),
            EFI_INVALID_PARAMETER);
}

// The largest part of what a driver asks of the core is of the form: this handle's protocol.
TEST_F(PlainFirmware, AHandleIsABlockThatTheCoreMadeOne) {
  EFI_GUID guid = {1, 2, 3, {4}};
  EFI_HANDLE handle = nullptr;
  void* found = nullptr;
  EXPECT_EQ(mServices->InstallProtocolInterface(&handle, &guid, EFI_NATIVE_INTERFACE, this),
            EFI_SUCCESS);
  EXPECT_EQ(mServices->HandleProtocol(handle, &guid, &found), EFI_SUCCESS);
  EXPECT_EQ(found, this);

  UINT64 elsewhere[8] = {};
  EXPECT_EQ(mServices->HandleProtocol(nullptr, &guid, &found), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->HandleProtocol(&elsewhere[4], &guid, &found), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->HandleProtocol(Allocate(256), &guid, &found), EFI_INVALID_PARAMETER);
  EXPECT_EQ(mServices->UninstallProtocolInterface(handle, &guid, this), EFI_SUCCESS);
  EXPECT_EQ(mServices->HandleProtocol(handle, &guid, &found), EFI_INVALID_PARAMETER);
}

TEST_F(PlainFirmware, ImagesShareOneTable) {
  mFirmware.ConstructImage(mFirmware.LoadImage(images::probe));
  EXPECT_EQ(mFirmware.SystemTableOf(images::probe), mFirmware.SystemTable());
}

TEST_F(PlainFirmware, TheTableFollowsTheConfigurationTable) {
  EFI_GUID guid = {1, 2, 3, {4}};
  const UINTN before = mFirmware.SystemTable()->NumberOfTableEntries;
  EXPECT_EQ(mServices->InstallConfigurationTable(&guid, &guid), EFI_SUCCESS);
  EXPECT_EQ(mFirmware.SystemTable()->NumberOfTableEntries, before + 1);
  EXPECT_EQ(mFirmware.SystemTable()->ConfigurationTable[before].VendorTable, &guid);
}

TEST_F(PlainFirmware, AServiceThatIsNotThereIsRefusedByName) {
  EXPECT_EQ(mServices->Exit(nullptr, EFI_SUCCESS, 0, nullptr), EFI_UNSUPPORTED);
  EXPECT_THAT(TakeMisuses(), ElementsAre(HasSubstr("Exit was called")));
}

TEST_F(PlainFirmware, NoCallSitesAreKept) {
  EXPECT_TRUE(CallSite::Here().Functions().empty());
  EXPECT_FALSE(CallSite::Here().Has("TestBody"));
}

// Addresses in log lines do not differ from run to run.
TEST(PlainFirmwareAddresses, AreFixed) {
  void* blocks[2] = {};
  for (void*& block : blocks) {
    Firmware firmware;
    ASSERT_EQ(firmware.BootServices()->AllocatePool(EfiBootServicesData, 32, &block), EFI_SUCCESS);
  }
  EXPECT_EQ(blocks[0], blocks[1]);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(blocks[0]) >> 28, uintptr_t{0x2000} << 4);
}

}  // namespace
}  // namespace tvq::host
