/*
 * Which device of one machine is which of another.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <chrono>

#include "tests/unit/platform/compare/compare_fixture.h"

namespace tvq::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

TestDevice Named(const std::u16string& fqdd, const std::string& serial) {
  return {.fqdd = fqdd, .document = ModuleOf(serial), .serial = serial};
}

class CompareMatching : public CompareTest {
 protected:
  CompareMatching() { LoadPlatform(); }
  void SavedUnderOtherNames() { mBefore.Get().NamingRules = tvqplatform::kNamingRulesUnknown; }
  // The device of the saved state that each device was, by its place there.
  std::vector<UINT32> Befores() {
    Compare();
    std::vector<UINT32> befores;
    for (UINTN i = 0; i < Result().Size(); ++i) {
      befores.push_back(Result()[i].Before);
    }
    return befores;
  }
};

TEST_F(CompareMatching, IsByNameUnderTheSameRules) {
  mBefore.With(Named(u"B", "11111112")).With(Named(u"A", "22222223"));
  mAfter.With(Named(u"A", "22222223")).With(Named(u"B", "11111112"));
  EXPECT_THAT(Befores(), ElementsAre(1u, 0u));
}

TEST_F(CompareMatching, OfEqualNamesIsTheNthWithTheNth) {
  mBefore.With(Named(u"X", "11111112")).With(Named(u"X", "22222223")).With(Named(u"Y", "33333334"));
  mAfter.With(Named(u"X", "11111112")).With(Named(u"Y", "33333334")).With(Named(u"X", "22222223"));
  EXPECT_THAT(Befores(), ElementsAre(0u, 2u, 1u));
}

TEST_F(CompareMatching, KeepsDevicesWithoutANameApartByTheirKind) {
  TestDevice system = Named(u"", "");
  system.componentClass = TVQ_CLASS_SYSTEM;
  mBefore.With(system).With(Named(u"", "11111112"));
  mAfter.With(Named(u"", "11111112")).With(system);
  EXPECT_THAT(Befores(), ElementsAre(1u, 0u));
}

TEST_F(CompareMatching, UnderOtherRulesIsBySerialNumberFirstAndThatIsNoMove) {
  SavedUnderOtherNames();
  mBefore.With(Named(u"DIMM.1", "11111112")).With(Named(u"DIMM.2", "22222223"));
  mAfter.With(Named(u"DIMM.Socket.A1", "22222223")).With(Named(u"DIMM.Socket.A2", "11111112"));
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A1 [same]", "DIMM.Socket.A2 [same]"));
  EXPECT_EQ(Shown(),
            "Saved under other names: devices are matched by their numbers and places.\n"
            "Summary: 2 same\n");
}

TEST_F(CompareMatching, UnderOtherRulesIsByOrderWhereThereIsNoTable) {
  SavedUnderOtherNames();
  mBefore.With(Named(u"DIMM.1", "None")).With(Named(u"DIMM.2", "22222223"));
  mAfter.With(Named(u"DIMM.Socket.A2", "22222223")).With(Named(u"DIMM.Socket.A1", "None"));
  EXPECT_THAT(Befores(), ElementsAre(1u, 0u));
}

// The table gives the saved devices the names that they have today.
TEST_F(CompareMatching, UnderOtherRulesIsByTheSavedTable) {
  SavedUnderOtherNames();
  const Table table =
      Table::Of(Bios{}, System{}, Processor{.handle = 0x400},
                MemoryDevice{.handle = 0x1100, .locator = "DIMM_A1", .serial = "None"},
                MemoryDevice{.handle = 0x1101, .locator = "DIMM_A2", .serial = "None"}, End{});
  TestDevice second = Named(u"old.2", "");
  second.handle = 0x1101;
  TestDevice first = Named(u"old.1", "");
  first.handle = 0x1100;
  mBefore.Of(table).With(second).With(first);
  first.fqdd = u"DIMM.Socket.A1";
  second.fqdd = u"DIMM.Socket.A2";
  mAfter.Of(table).With(first).With(second);
  EXPECT_THAT(Befores(), ElementsAre(1u, 0u));
  EXPECT_TRUE(Result().HasOtherNames());
}

TEST_F(CompareMatching, UnderOtherRulesIsNotMentionedWhereTheNamesAreTheSame) {
  SavedUnderOtherNames();
  mBefore.With(Named(u"A", "11111112"));
  mAfter.With(Named(u"A", "11111112"));
  EXPECT_THAT(Befores(), ElementsAre(0u));
  EXPECT_THAT(Shown(), Not(HasSubstr("other names")));
}

// A number in another place is a move only where the device would not be the same without it.
TEST_F(CompareMatching, IsNoMoveForADeviceThatIsTheSameInItsPlace) {
  mBefore.With(Named(u"A", "11111112")).With(Named(u"B", "22222223"));
  mAfter.With(Named(u"A", "11111112"));
  EXPECT_THAT(Rows(), ElementsAre("A [same]", "B [gone]"));
}

// As many devices as a crafted state may have, all with one name, or all with another order: the
// time is that of sorting them, not of comparing each with each.
TEST_F(CompareMatching, TakesNoLongerForEqualNamesThanForOthers) {
  constexpr int kDevices = 20'000;
  for (int i = 0; i < kDevices; ++i) {
    TestDevice device = {.fqdd = u"X", .why = tvqplatform::WhyNoRecord::kBehind};
    mBefore.With(device);
    mAfter.With(device);
  }
  const auto start = std::chrono::steady_clock::now();
  Compare();
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(Result().Size(), static_cast<UINTN>(kDevices));
  EXPECT_LT(seconds.count(), 10.0) << "each with each would be 400 million comparisons";
}

}  // namespace
}  // namespace tvq::test
