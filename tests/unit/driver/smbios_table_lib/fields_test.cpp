/*
 * Tests of fields by their names: what a member of EDK II's structures becomes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <type_traits>

#include "tests/unit/driver/smbios_table_lib/table_bytes.h"

#include "host/firmware/edk2.h"

#include <IndustryStandard/SmbiosFields.h>

namespace tvq::smbios {
namespace {

TEST(SmbiosField, HasPlaceTypeAndWidthOfItsMember) {
  constexpr auto kSize = SMBIOS_FIELD(17, Size);
  static_assert(std::is_same_v<decltype(kSize), const Field<UINT16>>);
  static_assert(kSize.Type == 17 && kSize.Offset == 0x0C && kSize.Width() == 2 &&
                kSize.End() == 0x0E);
  static_assert(SMBIOS_FIELD(4, ProcessorVersion).Offset == 0x10);
  static_assert(SMBIOS_FIELD(17, ExtendedSize).Width() == 4);
  static_assert(SMBIOS_FIELD(16, ExtendedMaximumCapacity).Width() == 8);
}

TEST(SmbiosField, CanBeAnElementOrAMemberInside) {
  constexpr auto kElement = SMBIOS_FIELD(0, BIOSCharacteristicsExtensionBytes[1]);
  static_assert(std::is_same_v<decltype(kElement), const Field<UINT8>>);
  static_assert(kElement.Offset == 0x13);
  static_assert(SMBIOS_FIELD(1, Hdr.Handle).Offset == 2);
}

TEST(SmbiosField, OfBitsIsReadAsANumberOfItsWidth) {
  constexpr auto kId = SMBIOS_FIELD(4, ProcessorId).As<UINT64>();
  const ByteVector table = StructureOf(4, 1, {0, 3, 0xB3, 0, 1, 2, 3, 4, 5, 6, 7, 8}, {});
  EXPECT_EQ(Structure(View(table), 0).Get(kId), 0x0807060504030201u);
}

TEST(SmbiosField, OfOwnTypesIsOneToo) {
  static_assert(SMBIOS_FIELD(225, Format).Type == 225 && SMBIOS_FIELD(225, Format).Offset == 4);
  static_assert(SMBIOS_FIELD(226, ProductID).End() == 13);
}

TEST(SmbiosField, OfAGroupIsFoundInEachGroup) {
  constexpr auto kHandle = SMBIOS_GROUP_FIELD(225, SMBIOS_TVQ_FQDD_GROUP, Handle);
  const ByteVector table = StructureOf(225, 1, {1, 7, 0x34, 0x12, 0, 8, 0x78, 0x56, 0}, {});
  const Structure map(View(table), 0);
  EXPECT_EQ(map.GetHandle(kHandle.In(5)), 0x1234);
  EXPECT_EQ(map.GetHandle(kHandle.In(9)), 0x5678);
  EXPECT_EQ(map.GetHandle(kHandle.In(13)), kNoHandle);
}

TEST(SmbiosField, ThatOldHeadersLackStandsBehindTheirLastMember) {
  constexpr SizeType kLast = SMBIOS_FIELD(17, ExtendedConfiguredMemorySpeed).End();
  static_assert(kPmic0ManufacturerId.Offset == kLast);
  static_assert(kPmic0RevisionNumber.Offset == kPmic0ManufacturerId.End());
  static_assert(kRcdManufacturerId.Offset == kPmic0RevisionNumber.End());
  static_assert(kRcdRevisionNumber.Offset == kRcdManufacturerId.End());
}

}  // namespace
}  // namespace tvq::smbios
