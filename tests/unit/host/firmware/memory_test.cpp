/*
 * Tables can be mapped below 4 GiB with an inaccessible page at either end.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <cstring>
#include <utility>

#include "host/firmware/firmware.h"

namespace tvq::host {
namespace {

constexpr uintptr_t kFourGiB = uintptr_t{1} << 32;

UINT8 Read(const UINT8* address) {
  return *const_cast<const volatile UINT8*>(address);
}

void Write(UINT8* address) {
  *const_cast<volatile UINT8*>(address) = 1;
}

TEST(FirmwareMemory, MapsZeroedBytesBelowFourGiB) {
  const LowMapping mapping = MapBelow4G(10000);
  ASSERT_LT(reinterpret_cast<uintptr_t>(mapping.Data()) + mapping.Size(), kFourGiB);
  EXPECT_EQ(mapping.Size(), 10000u);
  EXPECT_EQ(reinterpret_cast<UINT8*>(static_cast<uintptr_t>(mapping.Address32())), mapping.Data());
  for (size_t index = 0; index < mapping.Size(); ++index) {
    ASSERT_EQ(Read(mapping.Data() + index), 0);
  }
}

TEST(FirmwareMemory, LeavesAllBytesUsableBesideAGuard) {
  for (const Guard guard : {Guard::kBehind, Guard::kBefore}) {
    const LowMapping mapping = MapBelow4G(4097, guard);
    std::memset(mapping.Data(), 0x5A, mapping.Size());
    EXPECT_EQ(Read(mapping.Data() + mapping.Size() - 1), 0x5A);
  }
}

TEST(FirmwareMemory, MovesWithItsOwner) {
  LowMapping mapping = MapBelow4G(16);
  UINT8* const data = mapping.Data();
  LowMapping other = std::move(mapping);
  EXPECT_EQ(other.Data(), data);
  EXPECT_EQ(mapping.Data(), nullptr);  // NOLINT: what a moved-from mapping looks like
  Write(other.Data());
}

TEST(FirmwareMemoryDeathTest, FaultsDirectlyBehindTheLastByte) {
  const LowMapping mapping = MapBelow4G(100, Guard::kBehind);
  EXPECT_EQ(Read(mapping.Data() + 99), 0);
  EXPECT_DEATH(Read(mapping.Data() + 100), "");
}

TEST(FirmwareMemoryDeathTest, FaultsDirectlyBeforeTheFirstByte) {
  const LowMapping mapping = MapBelow4G(100, Guard::kBefore);
  EXPECT_EQ(Read(mapping.Data()), 0);
  EXPECT_DEATH(Read(mapping.Data() - 1), "");
}

TEST(FirmwareMemoryDeathTest, FaultsWhenAReadOnlyTableIsWritten) {
  LowMapping mapping = MapBelow4G(100, Guard::kBehind);
  mapping.MakeReadOnly();
  EXPECT_EQ(Read(mapping.Data()), 0);
  EXPECT_DEATH(Write(mapping.Data()), "");
}

}  // namespace
}  // namespace tvq::host
