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
  void SavedUnderOtherNames(UINT32 rules = tvqplatform::kNamingRulesUnknown) {
    mBefore.Get().NamingRules = rules;
  }
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

TEST_F(CompareMatching, OfEqualNamesIsTheFirstWithTheFirstAlsoWhereThereAreFewer) {
  for (const char* serial : {"11111112", "22222223", "33333334"}) {
    mBefore.With(Named(u"X", serial));
  }
  mAfter.With(Named(u"X", "11111112")).With(Named(u"X", "22222223"));
  EXPECT_THAT(Befores(), ElementsAre(0u, 1u, 2u));
  EXPECT_EQ(Result().Count(tvqplatform::Verdict::kGone), 1u);
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

TEST_F(CompareMatching, UnderOtherRulesIsBySerialNumberForEveryDevice) {
  SavedUnderOtherNames();
  mBefore.With(Named(u"1", "11111112")).With(Named(u"2", "22222223")).With(Named(u"3", "33333334"));
  mAfter.With(Named(u"A", "11111112")).With(Named(u"B", "33333334")).With(Named(u"C", "22222223"));
  EXPECT_THAT(Befores(), ElementsAre(0u, 2u, 1u));
}

// Nobody knows whether their rules are the same.
TEST_F(CompareMatching, OfTwoStatesOfTheFirstVersionIsAsUnderOtherRules) {
  SavedUnderOtherNames();
  mAfter.Get().NamingRules = tvqplatform::kNamingRulesUnknown;
  mBefore.With(Named(u"DIMM.1", "11111112"));
  mAfter.With(Named(u"DIMM.Socket.A1", "11111112"));
  EXPECT_THAT(Rows(), ElementsAre("DIMM.Socket.A1 [same]"));
}

TEST_F(CompareMatching, OfTwoStatesOfEarlierRulesIsByName) {
  SavedUnderOtherNames(1);
  mAfter.Get().NamingRules = 1;
  mBefore.With(Named(u"DIMM.1", "11111112"));
  mAfter.With(Named(u"DIMM.2", "11111112"));
  EXPECT_THAT(Rows(), ElementsAre("DIMM.2 [moved]"));
  EXPECT_FALSE(Result().HasOtherNames());
}

TEST_F(CompareMatching, UnderOtherRulesIsByOrderWhereThereIsNoTable) {
  SavedUnderOtherNames();
  mBefore.With(Named(u"DIMM.1", "None")).With(Named(u"DIMM.2", "22222223"));
  mAfter.With(Named(u"DIMM.Socket.A2", "22222223")).With(Named(u"DIMM.Socket.A1", "None"));
  EXPECT_THAT(Befores(), ElementsAre(1u, 0u));
}

// A processor, two modules that no number tells from others, and an empty slot, at the start of a table.
class CompareMatchingByTable : public CompareMatching {
 protected:
  static Table Server() {
    return Table::Of(Processor{.handle = 0x400},
                     MemoryDevice{.handle = 0x1100, .locator = "DIMM_A1", .serial = "None"},
                     MemoryDevice{.handle = 0x1101, .locator = "DIMM_A2", .serial = "None"},
                     MemoryDevice{.handle = 0x1102, .size = 0, .locator = "DIMM_A3"}, Bios{},
                     System{.handle = kTheSystem}, End{});
  }
  static TestDevice At(UINT16 handle, const std::u16string& fqdd) {
    TestDevice device = Named(fqdd, "");
    device.handle = handle;
    device.componentClass = handle == 0x400 ? TVQ_CLASS_CPU : TVQ_CLASS_DIMM;
    return device;
  }
};

// The table gives the saved devices the names that they have today.
TEST_F(CompareMatchingByTable, IsByTodaysNamesWhateverTheRulesWere) {
  for (const UINT32 rules : {tvqplatform::kNamingRulesUnknown, 1u, 3u}) {
    TestMachine before;
    TestMachine after;
    before.Get().NamingRules = rules;
    before.Of(Server())
        .With(At(0x1101, u"old.2"))
        .With(At(0x1100, u"old.1"))
        .With(At(0x400, u"old.0"))
        .With(TheSystem("1"));
    after.Of(Server())
        .With(At(0x1100, u"DIMM.Socket.A1"))
        .With(At(0x400, u"CPU.Socket.1"))
        .With(At(0x1101, u"DIMM.Socket.A2"))
        .With(TheSystem("1"));
    tvqplatform::Comparison comparison;
    ASSERT_TRUE(comparison.Run(before.Get(), after.Get(), {}));
    ASSERT_EQ(comparison.Size(), 4u) << rules;
    EXPECT_EQ(comparison[0].Before, 1u) << rules;
    EXPECT_EQ(comparison[1].Before, 2u) << rules;
    EXPECT_EQ(comparison[2].Before, 0u) << rules;
    EXPECT_TRUE(comparison.HasOtherNames()) << rules;
  }
}

TEST_F(CompareMatchingByTable, IsByTodaysNamesOfBothSides) {
  SavedUnderOtherNames();
  mBefore.Of(Server()).With(At(0x1101, u"old.2")).With(At(0x1100, u"old.1"));
  mAfter.Of(Server()).With(At(0x1100, u"older.1")).With(At(0x1101, u"older.2"));
  mAfter.Get().NamingRules = 1;
  EXPECT_THAT(Befores(), ElementsAre(1u, 0u));
}

// A device without a structure keeps the name that it has.
TEST_F(CompareMatchingByTable, IsByTheSavedNameOfWhatIsNotInTheTable) {
  SavedUnderOtherNames();
  TestDevice nowhere = At(0x400, u"CPU.Socket.2");
  nowhere.handle = 0xFFFF;
  TestDevice alsoNowhere = nowhere;
  alsoNowhere.fqdd = u"CPU.Socket.1";
  mBefore.Of(Server()).With(nowhere).With(alsoNowhere);
  mAfter.Of(Server()).With(alsoNowhere).With(nowhere);
  EXPECT_THAT(Befores(), ElementsAre(1u, 0u));
}

TEST_F(CompareMatchingByTable, IsInOrderWhereTheTableCannotBeNamed) {
  SavedUnderOtherNames();
  const Table large = Table::Of(Server(), Copies(254, Structure{.type = 200, .body = Bytes(250)}));
  ASSERT_EQ(Conform(large.Bytes()).result, tvqplatform::ConformResult::kTooLarge);
  mBefore.Of(large).With(At(0x1101, u"old.2")).With(At(0x1100, u"old.1"));
  mAfter.Of(Server()).With(At(0x1100, u"DIMM.Socket.A1")).With(At(0x1101, u"DIMM.Socket.A2"));
  EXPECT_THAT(Befores(), ElementsAre(0u, 1u));
}

TEST_F(CompareMatching, UnderOtherRulesIsNotMentionedWhereTheNamesAreTheSame) {
  SavedUnderOtherNames();
  mBefore.With(Named(u"A", "11111112"));
  mAfter.With(Named(u"A", "11111112"));
  EXPECT_THAT(Befores(), ElementsAre(0u));
  EXPECT_THAT(Shown(), Not(HasSubstr("other names")));
}

TEST_F(CompareMatching, UnderOtherRulesIsMentionedWhereAnyNameIsAnother) {
  const std::vector<std::pair<const char16_t*, const char16_t*>> kNames[] = {
      {{u"A", u"B"}, {u"C", u"C"}},
      {{u"C", u"C"}, {u"A", u"B"}},
      {{u"C", u"C"}, {u"D", u"D"}, {u"AA", u"AB"}},
  };
  for (const auto& names : kNames) {
    TestMachine before;
    TestMachine after;
    before.Get().NamingRules = tvqplatform::kNamingRulesUnknown;
    for (const auto& [then, now] : names) {
      before.With(Named(then, "None"));
      after.With(Named(now, "None"));
    }
    tvqplatform::Comparison comparison;
    ASSERT_TRUE(comparison.Run(before.Get(), after.Get(), {}));
    EXPECT_TRUE(comparison.HasOtherNames()) << names.size();
  }
}

TEST_F(CompareMatching, UnderOtherRulesIsNotMentionedForADeviceWithoutAName) {
  SavedUnderOtherNames();
  mBefore.With(Named(u"A", "11111112")).With(Named(u"", "22222223"));
  mAfter.With(Named(u"", "11111112")).With(Named(u"B", "22222223"));
  EXPECT_THAT(Befores(), ElementsAre(0u, 1u));
  EXPECT_FALSE(Result().HasOtherNames());
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
