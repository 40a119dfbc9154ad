/*
 * Tests of the library of devices: UUIDs that nobody made for the machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include <Library/TvqDeviceLib.h>

namespace tvq::test {
namespace {

using Uuid = std::array<uint8_t, devices::kUuidSize>;

bool SaysNone(const Uuid& uuid) {
  uint8_t bytes[devices::kUuidSize];
  std::copy(uuid.begin(), uuid.end(), bytes);
  return devices::SaysNone(bytes);
}
bool IsMadeUp(const Uuid& uuid) {
  uint8_t bytes[devices::kUuidSize];
  std::copy(uuid.begin(), uuid.end(), bytes);
  return devices::IsMadeUp(bytes);
}

Uuid OfOneByte(uint8_t byte) {
  Uuid uuid;
  uuid.fill(byte);
  return uuid;
}

// As the table has a UUID that is written so.
Uuid Stored(const Uuid& written) {
  Uuid uuid = written;
  std::reverse(uuid.begin(), uuid.begin() + 4);
  std::reverse(uuid.begin() + 4, uuid.begin() + 6);
  std::reverse(uuid.begin() + 6, uuid.begin() + 8);
  return uuid;
}

// Each with one byte that is one more.
template <typename Check>
void ExpectNoneOfTheNeighbours(const Uuid& uuid, Check check) {
  for (size_t i = 0; i < uuid.size(); ++i) {
    Uuid other = uuid;
    other[i] = static_cast<uint8_t>(other[i] + 1);
    EXPECT_FALSE(check(other)) << "byte " << i;
  }
}

TEST(UuidOfNone, IsZerosOrOnes) {
  EXPECT_TRUE(SaysNone(OfOneByte(0)));
  EXPECT_TRUE(SaysNone(OfOneByte(0xFF)));
  EXPECT_FALSE(SaysNone(OfOneByte(1)));
  EXPECT_FALSE(SaysNone(OfOneByte(0xFE)));
  ExpectNoneOfTheNeighbours(OfOneByte(0), SaysNone);
  ExpectNoneOfTheNeighbours(OfOneByte(0xFF), SaysNone);
}

TEST(MadeUpUuid, IsNoneThatSaysNone) {
  EXPECT_FALSE(IsMadeUp(OfOneByte(0)));
  EXPECT_FALSE(IsMadeUp(OfOneByte(0xFF)));
}

TEST(MadeUpUuid, IsOfOneByte) {
  EXPECT_TRUE(IsMadeUp(OfOneByte(0x11)));
  ExpectNoneOfTheNeighbours(OfOneByte(0x11), IsMadeUp);
}

class MadeUpUuidOf : public testing::TestWithParam<Uuid> {};

TEST_P(MadeUpUuidOf, APatternIsOneAsStoredAndAsWritten) {
  for (const Uuid& uuid : {GetParam(), Stored(GetParam())}) {
    EXPECT_TRUE(IsMadeUp(uuid));
    ExpectNoneOfTheNeighbours(uuid, IsMadeUp);
  }
}

INSTANTIATE_TEST_SUITE_P(Patterns, MadeUpUuidOf,
                         testing::Values(
                             // Bytes that count up.
                             Uuid{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
                             Uuid{0x20, 0x21, 0x22, 0x23, 0x24, 0x25, 0x26, 0x27, 0x28, 0x29, 0x2A,
                                  0x2B, 0x2C, 0x2D, 0x2E, 0x2F},
                             // Words that count up.
                             Uuid{0, 3, 0, 4, 0, 5, 0, 6, 0, 7, 0, 8, 0, 9, 0, 10},
                             Uuid{0, 0xFF, 1, 0, 1, 1, 1, 2, 1, 3, 1, 4, 1, 5, 1, 6},
                             // Digits, as somebody types them.
                             Uuid{0x12, 0x34, 0x56, 0x78, 0x12, 0x34, 0x56, 0x78, 0x90, 0xAB, 0xCD,
                                  0xDE, 0xEF, 0xAA, 0xBB, 0xCC}));

TEST(MadeUpUuid, IsNoneThatDiffersBytewise) {
  EXPECT_FALSE(IsMadeUp(
      {0x4C, 0x4C, 0x45, 0x44, 0x00, 0x37, 0x10, 0x41, 0x80, 0x32, 0xB4, 0xC0, 0x4F, 1, 2, 3}));
}

}  // namespace
}  // namespace tvq::test
