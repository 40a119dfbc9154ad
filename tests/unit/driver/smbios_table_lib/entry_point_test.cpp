/*
 * Tests of the library of SMBIOS tables: entry points.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <numeric>

#include "tests/unit/driver/smbios_table_lib/table_bytes.h"

#include "host/firmware/edk2.h"

namespace tvq::smbios {
namespace {

// Written down byte by byte: version 3.4, a table of 0x1234 bytes at 0x89ABCDE0, 0x0102 structures,
// the largest of 0x0304 bytes.
const ByteVector kGood32 = {'_',  'S',  'M',  '_',  0x75, 0x1F, 3,    4,    0x04, 0x03, 0,
                            0,    0,    0,    0,    0,    '_',  'D',  'M',  'I',  '_',  0x0A,
                            0x34, 0x12, 0xE0, 0xCD, 0xAB, 0x89, 0x02, 0x01, 0x34};
// Version 3.4, a table of at most 0x12345678 bytes at 0x89ABCDEF01234560.
const ByteVector kGood64 = {'_',  'S',  'M',  '3',  '_',  0x82, 0x18, 3,    4,    0,    1,    0,
                            0x78, 0x56, 0x34, 0x12, 0x60, 0x45, 0x23, 0x01, 0xEF, 0xCD, 0xAB, 0x89};

uint8_t Sum(const ByteVector& bytes, size_t start = 0) {
  return static_cast<uint8_t>(
      std::accumulate(bytes.begin() + static_cast<std::ptrdiff_t>(start), bytes.end(), 0u));
}

EntryPoint Changed(ByteVector bytes, size_t at, uint8_t value) {
  bytes[at] = value;
  return ReadEntryPoint(View(bytes));
}

// The same with checksums that are right.
EntryPoint ChangedAndSummed(ByteVector bytes, size_t at, uint8_t value) {
  const bool is32 = bytes.size() == kEntryPoint32.Size;
  bytes[at] = value;
  if (is32) {
    bytes[0x15] = 0;
    bytes[0x15] = static_cast<uint8_t>(-Sum(bytes, 0x10));
  }
  const size_t checksum = is32 ? 4 : 5;
  bytes[checksum] = 0;
  bytes[checksum] = static_cast<uint8_t>(-Sum(bytes));
  return ReadEntryPoint(View(bytes));
}

TEST(SmbiosEntryPoint, Of32BitsIsReadAsValues) {
  const EntryPoint entry = ReadEntryPoint(View(kGood32));
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry.Kind, EntryPointKind::k32Bit);
  EXPECT_TRUE(entry.IsAcceptable()) << int{entry.Defects};
  EXPECT_EQ(entry.Length, 0x1F);
  EXPECT_EQ(entry.Major, 3);
  EXPECT_EQ(entry.Minor, 4);
  EXPECT_EQ(entry.MaximumStructureSize, 0x0304);
  EXPECT_EQ(entry.TableLength, 0x1234u);
  EXPECT_EQ(entry.TableAddress, 0x89ABCDE0u);
  EXPECT_EQ(entry.StructureCount, 0x0102);
  EXPECT_EQ(entry.Revision, 0x34);
}

TEST(SmbiosEntryPoint, Of64BitsIsReadAsValues) {
  const EntryPoint entry = ReadEntryPoint(View(kGood64));
  ASSERT_TRUE(entry);
  EXPECT_EQ(entry.Kind, EntryPointKind::k64Bit);
  EXPECT_TRUE(entry.IsAcceptable()) << int{entry.Defects};
  EXPECT_EQ(entry.Length, 0x18);
  EXPECT_EQ(entry.Major, 3);
  EXPECT_EQ(entry.Minor, 4);
  EXPECT_EQ(entry.TableLength, 0x12345678u);
  EXPECT_EQ(entry.TableAddress, 0x89ABCDEF01234560u);
  EXPECT_EQ(entry.Revision, 1);
  EXPECT_EQ(entry.StructureCount, 0);
  EXPECT_EQ(entry.MaximumStructureSize, 0);
}

TEST(SmbiosEntryPoint, IsNoneWithoutItsAnchor) {
  for (size_t at = 0; at < 4; ++at) {
    EXPECT_FALSE(Changed(kGood32, at, 'x'));
  }
  for (size_t at = 0; at < 5; ++at) {
    EXPECT_FALSE(Changed(kGood64, at, 'x'));
  }
  EXPECT_FALSE(ReadEntryPoint(Bytes()));
  EXPECT_FALSE(EntryPoint().IsAcceptable());
}

TEST(SmbiosEntryPoint, IsNoneWhereItsBytesAreNotAllThere) {
  for (const ByteVector& whole : {kGood32, kGood64}) {
    for (size_t size = 0; size < whole.size(); ++size) {
      const ByteVector cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
      EXPECT_FALSE(ReadEntryPoint(View(cut)));
    }
    const ByteVector more = whole + ByteVector(5, 0xFF);
    EXPECT_TRUE(ReadEntryPoint(View(more)).IsAcceptable());
  }
}

TEST(SmbiosEntryPoint, IsAnnouncedByItsAnchorHoweverFewBytesFollow) {
  EXPECT_EQ(FindAnchor(View(kGood32).First(4)), EntryPointKind::k32Bit);
  EXPECT_EQ(FindAnchor(View(kGood64).First(5)), EntryPointKind::k64Bit);
  EXPECT_EQ(FindAnchor(View(kGood32).First(3)), EntryPointKind::kNone);
  EXPECT_EQ(FindAnchor(View(kGood64).First(4)), EntryPointKind::kNone);
  EXPECT_EQ(FindAnchor(Bytes()), EntryPointKind::kNone);
}

TEST(SmbiosEntryPoint, WithAWrongChecksumSaysSo) {
  const EntryPoint entry = Changed(kGood32, 0x06, 2);
  EXPECT_TRUE(entry.Has(EntryPointDefect::kChecksum));
  EXPECT_FALSE(entry.Has(EntryPointDefect::kIntermediateChecksum));
  EXPECT_FALSE(entry.IsAcceptable());
  EXPECT_TRUE(Changed(kGood64, 0x07, 2).Has(EntryPointDefect::kChecksum));
}

TEST(SmbiosEntryPoint, WithAWrongIntermediateChecksumSaysSo) {
  ByteVector bytes = kGood32;
  // The whole stays right.
  bytes[0x15] = static_cast<uint8_t>(bytes[0x15] + 1);
  bytes[0x04] = static_cast<uint8_t>(bytes[0x04] - 1);
  const EntryPoint entry = ReadEntryPoint(View(bytes));
  EXPECT_TRUE(entry.Has(EntryPointDefect::kIntermediateChecksum));
  EXPECT_FALSE(entry.Has(EntryPointDefect::kChecksum));
  EXPECT_FALSE(entry.IsAcceptable());
}

TEST(SmbiosEntryPoint, WithoutItsIntermediateAnchorSaysSo) {
  for (size_t at = 0x10; at < 0x15; ++at) {
    const EntryPoint entry = ChangedAndSummed(kGood32, at, 'x');
    EXPECT_TRUE(entry.Has(EntryPointDefect::kIntermediateAnchor));
    EXPECT_EQ(entry.Defects, static_cast<U8>(EntryPointDefect::kIntermediateAnchor));
  }
}

TEST(SmbiosEntryPoint, ThatStatesAnotherLengthSaysSo) {
  // 1Eh is a known mistake of version 2.1.
  EXPECT_EQ(ChangedAndSummed(kGood32, 0x05, 0x1E).Defects,
            static_cast<U8>(EntryPointDefect::kLength));
  EXPECT_EQ(ChangedAndSummed(kGood64, 0x06, 0x17).Defects,
            static_cast<U8>(EntryPointDefect::kLength));
  // More than there are.
  EXPECT_EQ(ChangedAndSummed(kGood32, 0x05, 0x20).Defects,
            static_cast<U8>(EntryPointDefect::kLength));
}

TEST(SmbiosEntryPoint, IsSummedUpToTheLengthThatItStates) {
  ByteVector longer = kGood64 + ByteVector{0x10, 0x20};
  longer[0x06] = static_cast<uint8_t>(longer.size());
  longer[0x05] = 0;
  longer[0x05] = static_cast<uint8_t>(-Sum(longer));
  EXPECT_EQ(ReadEntryPoint(View(longer)).Defects, static_cast<U8>(EntryPointDefect::kLength));
  longer.back() ^= 1;
  EXPECT_TRUE(ReadEntryPoint(View(longer)).Has(EntryPointDefect::kChecksum));
}

TEST(SmbiosEntryPoint, IsWrittenAsItIsRead) {
  for (const ByteVector& expected : {kGood32, kGood64}) {
    const EntryPoint entry = ReadEntryPoint(View(expected));
    ByteVector written(expected.size() + 1, 0xEE);
    EXPECT_EQ(WriteEntryPoint(entry, {written.data(), written.size()}), expected.size());
    EXPECT_EQ(written.back(), 0xEE);
    written.pop_back();
    EXPECT_EQ(written, expected);
  }
}

TEST(SmbiosEntryPoint, IsWrittenWithoutTheMistakesOfTheOneThatWasRead) {
  EntryPoint entry = Changed(kGood32, 0x05, 0x1E);
  entry.Minor = 0x1A;
  ByteVector written(kEntryPoint32.Size, 0xEE);
  ASSERT_EQ(WriteEntryPoint(entry, {written.data(), written.size()}), written.size());
  const EntryPoint again = ReadEntryPoint(View(written));
  EXPECT_TRUE(again.IsAcceptable());
  EXPECT_EQ(again.Minor, 0x1A);
  EXPECT_EQ(again.Revision, 0x3A);
}

TEST(SmbiosEntryPoint, IsNotWrittenWhereThereIsNoRoom) {
  ByteVector bytes(kEntryPoint64.Size, 0xEE);
  const ByteVector before = bytes;
  EXPECT_EQ(WriteEntryPoint(ReadEntryPoint(View(kGood32)), {bytes.data(), bytes.size()}), 0u);
  EXPECT_EQ(WriteEntryPoint(ReadEntryPoint(View(kGood64)), {bytes.data(), bytes.size() - 1}), 0u);
  EXPECT_EQ(WriteEntryPoint(EntryPoint(), {bytes.data(), bytes.size()}), 0u);
  EXPECT_EQ(bytes, before);
}

TEST(SmbiosEntryPoint, HasTheLayoutThatEdk2HasToo) {
  using Entry32 = SMBIOS_TABLE_ENTRY_POINT;
  EXPECT_EQ(kEntryPoint32.Size, sizeof(Entry32));
  EXPECT_EQ(kEntryPoint32.Checksum, OFFSET_OF(Entry32, EntryPointStructureChecksum));
  EXPECT_EQ(kEntryPoint32.Length, OFFSET_OF(Entry32, EntryPointLength));
  EXPECT_EQ(kEntryPoint32.Major, OFFSET_OF(Entry32, MajorVersion));
  EXPECT_EQ(kEntryPoint32.Minor, OFFSET_OF(Entry32, MinorVersion));
  EXPECT_EQ(kEntryPoint32.MaximumStructureSize, OFFSET_OF(Entry32, MaxStructureSize));
  EXPECT_EQ(kEntryPoint32.IntermediateAnchor, OFFSET_OF(Entry32, IntermediateAnchorString));
  EXPECT_EQ(kEntryPoint32.IntermediateChecksum, OFFSET_OF(Entry32, IntermediateChecksum));
  EXPECT_EQ(kEntryPoint32.TableLength, OFFSET_OF(Entry32, TableLength));
  EXPECT_EQ(kEntryPoint32.TableAddress, OFFSET_OF(Entry32, TableAddress));
  EXPECT_EQ(kEntryPoint32.StructureCount, OFFSET_OF(Entry32, NumberOfSmbiosStructures));
  EXPECT_EQ(kEntryPoint32.Revision, OFFSET_OF(Entry32, SmbiosBcdRevision));
  EXPECT_EQ(kEntryPoint32.Reserved, OFFSET_OF(Entry32, FormattedArea));
  EXPECT_EQ(kEntryPoint32.ReservedSize, sizeof(Entry32::FormattedArea));

  using Entry64 = SMBIOS_TABLE_3_0_ENTRY_POINT;
  EXPECT_EQ(kEntryPoint64.Size, sizeof(Entry64));
  EXPECT_EQ(kEntryPoint64.Checksum, OFFSET_OF(Entry64, EntryPointStructureChecksum));
  EXPECT_EQ(kEntryPoint64.Length, OFFSET_OF(Entry64, EntryPointLength));
  EXPECT_EQ(kEntryPoint64.Major, OFFSET_OF(Entry64, MajorVersion));
  EXPECT_EQ(kEntryPoint64.Minor, OFFSET_OF(Entry64, MinorVersion));
  EXPECT_EQ(kEntryPoint64.TableLength, OFFSET_OF(Entry64, TableMaximumSize));
  EXPECT_EQ(kEntryPoint64.TableAddress, OFFSET_OF(Entry64, TableAddress));
  EXPECT_EQ(kEntryPoint64.Revision, OFFSET_OF(Entry64, EntryPointRevision));
  EXPECT_EQ(kEntryPoint64.Reserved, OFFSET_OF(Entry64, Reserved));
  EXPECT_EQ(kEntryPoint64.ReservedSize, sizeof(Entry64::Reserved));
}

}  // namespace
}  // namespace tvq::smbios
