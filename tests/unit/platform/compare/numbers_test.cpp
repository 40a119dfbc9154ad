/*
 * Which numbers tell a part from others, and where they stand.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/platform/compare/compare_fixture.h"

#include "TvqPlatformPkg/src/compare/numbers.h"
#include "TvqPlatformPkg/src/states/machine_identity.h"

namespace tvq::test {
namespace {

using tvqplatform::CompareTexts;
using tvqplatform::NumberKind;

std::string Shown(tvq::smbios::Text text) {
  return text ? std::string(text.begin(), text.end()) : "(none)";
}

// Of the only structure of a table.
template <typename Part>
std::string NumberOf(NumberKind kind, const Part& part) {
  const Table table = Table::Of(part);
  const tvq::smbios::Structure structure(View(table.Bytes()), 0);
  return Shown(tvqplatform::NumbersInTable(structure)[kind]);
}

tvq::smbios::Text AsNumber(const std::string& text) {
  return {reinterpret_cast<const UINT8*>(text.data()), text.size()};
}

TEST(CompareNumbers, StandInTheStructureOfTheDevice) {
  EXPECT_EQ(NumberOf(NumberKind::kSerial, Processor{.serial = "S1"}), "S1");
  EXPECT_EQ(NumberOf(NumberKind::kPart, Processor{.partNumber = "P1"}), "P1");
  EXPECT_EQ(NumberOf(NumberKind::kSerial, MemoryDevice{.serial = " S2 "}), "S2");
  EXPECT_EQ(NumberOf(NumberKind::kPart, MemoryDevice{.partNumber = "P2"}), "P2");
  EXPECT_EQ(NumberOf(NumberKind::kSerial, System{.serial = "S3"}), "S3");
  EXPECT_EQ(NumberOf(NumberKind::kUuid, System{}).size(), 16u);
  EXPECT_EQ(NumberOf(NumberKind::kSerial, MemoryDevice{.serial = std::nullopt}), "(none)");
  EXPECT_EQ(NumberOf(NumberKind::kSerial, MemoryDevice{.serial = "  "}), "(none)");
  EXPECT_EQ(NumberOf(NumberKind::kSerial, BaseBoard{}), "(none)");
}

TEST(CompareNumbers, OfADeviceWithoutATableStandInItsInventoryBlob) {
  FakeDevice device;
  device.serial = "1234567890ABCDEFGH";
  EXPECT_EQ(Shown(tvqplatform::NumbersInBlobs(View(BlobsOf(device)))[NumberKind::kSerial]),
            "1234567890ABCDE");
  EXPECT_EQ(Shown(tvqplatform::NumbersInBlobs({})[NumberKind::kSerial]), "(none)");
  EXPECT_EQ(Shown(tvqplatform::NumbersInBlobs(View(EndBlob()))[NumberKind::kSerial]), "(none)");
}

TEST(CompareNumbers, OfAnInventoryBlobEndWithTheirTerminator) {
  const Bytes blob = InventoryBlob({.serial = "A1", .marketingName = "Module"});
  EXPECT_EQ(Shown(tvqplatform::NumbersInBlobs(View(blob))[NumberKind::kSerial]), "A1");
}

// A configuration blob whose document stands where an inventory blob refers to its texts.
TEST(CompareNumbers, AreNotReadFromAnotherBlob) {
  Bytes blob = ConfigurationBlob({.document = std::string(100, 'x')});
  const Bytes inventory = InventoryBlob({.serial = "A1"});
  std::copy(inventory.begin() + 16, inventory.begin() + 80, blob.begin() + 16);
  EXPECT_EQ(Shown(tvqplatform::NumbersInBlobs(View(blob))[NumberKind::kSerial]), "(none)");
}

TEST(CompareNumbers, AreOrderedAsTextsAreAndMissingOnesComeFirst) {
  const tvq::smbios::Text none;
  const std::string kTexts[] = {"", "A", "AB", "B"};
  for (size_t i = 0; i < std::size(kTexts); ++i) {
    const tvq::smbios::Text text = AsNumber(kTexts[i]);
    EXPECT_LT(CompareTexts(none, text), 0) << kTexts[i];
    EXPECT_GT(CompareTexts(text, none), 0) << kTexts[i];
    for (size_t k = 0; k < std::size(kTexts); ++k) {
      const INTN order = CompareTexts(text, AsNumber(kTexts[k]));
      EXPECT_EQ(order < 0, i < k) << kTexts[i] << ' ' << kTexts[k];
      EXPECT_EQ(order > 0, i > k) << kTexts[i] << ' ' << kTexts[k];
    }
  }
  EXPECT_EQ(CompareTexts(none, none), 0);
}

TEST(CompareNumbers, OfProcessorsFollowOneAnotherAmongTheOemStrings) {
  const Table table = Table::Of(OemStrings{.texts = {"OEM", "17[0123456789ABCDEF]", "17[short"}},
                                OemStrings{.texts = {"x17[FEDCBA9876543210"}}, End{});
  tvqplatform::Ppins ppins(View(table.Bytes()));
  EXPECT_EQ(Shown(ppins.Next()), "0123456789ABCDEF");
  EXPECT_EQ(Shown(ppins.Next()), "FEDCBA9876543210");
  EXPECT_EQ(Shown(ppins.Next()), "(none)");
  EXPECT_EQ(Shown(ppins.Next()), "(none)");
}

TEST(CompareNumbers, OfAProcessorStandBetweenTheirTagAndABracket) {
  const auto ppinIn = [](const std::string& text) {
    const Table table = Table::Of(OemStrings{.texts = {text}}, End{});
    return Shown(tvqplatform::Ppins(View(table.Bytes())).Next());
  };
  EXPECT_EQ(ppinIn("17[A1B2]"), "A1B2");
  EXPECT_EQ(ppinIn("17[ A1B2 ]"), "A1B2");
  EXPECT_EQ(ppinIn("17[7]"), "7");
  EXPECT_EQ(ppinIn("17[]0123456789ABCDEF"), "(none)");
  EXPECT_EQ(ppinIn("17[0123456789ABCDEF more"), "0123456789ABCDEF");
  EXPECT_EQ(ppinIn("17[0123456789ABCDE"), "(none)") << "a character is missing";
  EXPECT_EQ(ppinIn("17:0123456789ABCDEF"), "(none)") << "the tag is another";
  EXPECT_EQ(ppinIn("17["), "(none)");
}

TEST(CompareNumbers, ThatStandForNoneAreNotUsable) {
  for (const char* serial : {"11223344", "0x", "10", "serial1"}) {
    EXPECT_TRUE(IsUsable(NumberKind::kSerial, AsNumber(serial))) << serial;
  }
  for (const char* serial : {"", "00000000", "Default string", "To Be Filled By O.E.M.", "None"}) {
    EXPECT_FALSE(IsUsable(NumberKind::kSerial, AsNumber(serial))) << serial;
  }
  EXPECT_FALSE(IsUsable(NumberKind::kSerial, tvq::smbios::Text()));
}

TEST(CompareNumbers, UuidsThatEveryMachineOfAModelHasAreNotUsable) {
  const auto isUsable = [](const Bytes& uuid) {
    return IsUsable(NumberKind::kUuid, {uuid.data(), uuid.size()});
  };
  EXPECT_TRUE(isUsable(System{}.uuid));
  EXPECT_FALSE(isUsable(Bytes(16, 0x00)));
  EXPECT_FALSE(isUsable(Bytes(16, 0xFF)));
  EXPECT_FALSE(isUsable({0, 2, 0, 3, 0, 4, 0, 5, 0, 6, 0, 7, 0, 8, 0, 9}));
}

TEST(CompareNumbers, AUuidIsPrintedInTheUsualOrder) {
  char text[tvqplatform::kUuidText];
  tvqplatform::PrintUuid(System{}.uuid.data(), true, text);
  EXPECT_STREQ(text, "00112233-4455-6677-8899-aabbccddeeff");
  tvqplatform::PrintUuid(System{}.uuid.data(), false, text);
  EXPECT_STREQ(text, "33221100-5544-7766-8899-aabbccddeeff");
}

}  // namespace
}  // namespace tvq::test
