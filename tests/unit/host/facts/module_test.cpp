/*
 * Memory modules and their slots, at every length that the standard gave their structure.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/host/facts/facts_fixture.h"

namespace tvq::facts {
namespace {

Part Module(const test::MemoryDevice& device) {
  return Only(Kind::kModule, device);
}
Part CutModule(const test::MemoryDevice& device, uint8_t length) {
  return Only(Kind::kModule, device.Build().CutTo(length));
}

TEST(Module, HasItsTextsAndNumbers) {
  const Part module = Module({});
  EXPECT_EQ(module.TextOf("label"), "DIMM_A1");
  EXPECT_EQ(module.TextOf("bank"), "Bank 1");
  EXPECT_EQ(module.TextOf("manufacturer"), "Memory Works");
  EXPECT_EQ(module.TextOf("partNumber"), "MW16G3200");
  EXPECT_EQ(module.TextOf("serial"), "0123ABCD");
  EXPECT_EQ(module.TextOf("assetTag"), "01221234");
  EXPECT_EQ(module.TextOf("type"), "DDR4");
  EXPECT_EQ(module.TextOf("formFactor"), "DIMM");
  EXPECT_EQ(module.NumberOf("ratedSpeedInMTs"), 3200u);
  EXPECT_EQ(module.NumberOf("configuredSpeedInMTs"), 2933u);
  EXPECT_EQ(module.NumberOf("rank"), 2u);
  EXPECT_EQ(module.NumberOf("totalWidthInBits"), 72u);
  EXPECT_EQ(module.NumberOf("dataWidthInBits"), 64u);
  EXPECT_EQ(module.NumberOf("configuredVoltageInMillivolts"), 1200u);
}

TEST(Module, HasASizeInEachOfItsUnits) {
  EXPECT_EQ(Module({.size = 0x4000}).Find("sizeInBytes"), Number(uint64_t{16} << 30));
  EXPECT_EQ(Module({.size = 0x8200}).Find("sizeInBytes"), Number(512 << 10));
  EXPECT_EQ(Module({.size = 0x7FFF, .extendedSize = 0x80010000}).Find("sizeInBytes"),
            Number(uint64_t{64} << 30))
      << "the highest bit is reserved";
  EXPECT_EQ(Module({.size = 0xFFFF}).Find("sizeInBytes"), kUnknown);
}

TEST(Module, OfTheLargestSizeWordNeedsTheExtendedOne) {
  EXPECT_EQ(CutModule({.size = 0x7FFF, .extendedSize = 65536}, 0x1C).Find("sizeInBytes"),
            Number(uint64_t{0x7FFF} << 20));
}

TEST(Module, IsMissingInASlotOfSizeZeroAlone) {
  EXPECT_FALSE(IsPopulated(Module({.size = 0})));
  EXPECT_TRUE(IsPopulated(Module({.size = 0xFFFF})));
  EXPECT_TRUE(IsPopulated(Module({})));
}

TEST(Module, HasExtendedSpeedsBehindFullWords) {
  const Part module = Module({.speed = 0xFFFF,
                              .configuredSpeed = 0xFFFF,
                              .extendedSpeed = 70000,
                              .extendedConfiguredSpeed = 0x80000000 + 66000});
  EXPECT_EQ(module.NumberOf("ratedSpeedInMTs"), 70000u);
  EXPECT_EQ(module.NumberOf("configuredSpeedInMTs"), 66000u);
  EXPECT_EQ(CutModule({.speed = 0xFFFF}, 0x54).Find("ratedSpeedInMTs"), kUnknown);
}

// What the driver reads behind such a structure is the first bytes of its strings.
TEST(Module, DoesNotKnowWhatItsStructureIsTooShortFor) {
  const Part old = CutModule({}, 0x1B);
  EXPECT_EQ(old.NumberOf("ratedSpeedInMTs"), 3200u);
  EXPECT_EQ(old.Find("configuredSpeedInMTs"), kUnknown);
  EXPECT_EQ(old.Find("rank"), kUnknown);
  const Part oldest = CutModule({}, 0x15);
  EXPECT_EQ(oldest.TextOf("label"), "DIMM_A1");
  EXPECT_EQ(oldest.Find("ratedSpeedInMTs"), kUnknown);
  EXPECT_EQ(oldest.Find("serial"), kUnknown);
  EXPECT_EQ(CutModule({}, 0x21).Find("configuredSpeedInMTs"), kUnknown) << "half of the word";
}

TEST(Module, HasNoWordForZeroAndTheNumberItselfForOneThatTheStandardLacks) {
  const Part module = Module({.formFactor = 0, .memoryType = 0xEE});
  EXPECT_EQ(module.Find("formFactor"), kUnknown);
  EXPECT_EQ(module.Find("type"), Text("0xEE"));
}

TEST(Module, HasNoNumberWhereAWordSaysUnknown) {
  const Part module =
      Module({.totalWidth = 0xFFFF, .dataWidth = 0, .speed = 0, .attributes = 0xF0});
  for (const char* const fact :
       {"totalWidthInBits", "dataWidthInBits", "ratedSpeedInMTs", "rank"}) {
    EXPECT_EQ(module.Find(fact), kUnknown) << fact;
  }
}

}  // namespace
}  // namespace tvq::facts
