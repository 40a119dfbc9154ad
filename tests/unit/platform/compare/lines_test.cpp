/*
 * What is shown of a comparison: which lines there are, what stands in them, and how long ones go on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>

#include "tests/unit/platform/compare/compare_fixture.h"

namespace tvq::test {
namespace {

using testing::HasSubstr;
using tvqplatform::Wanted;
using tvqplatform::WhyNoRecord;

// A module of which one field or more have other values.
class CompareLines : public CompareTest {
 protected:
  CompareLines() { LoadPlatform(); }

  void CompareDocuments(const std::string& before, const std::string& after) {
    mBefore.Of(Modules("11223344")).With(A1(before));
    mAfter.Of(Modules("11223344")).With(A1(after));
    Compare();
  }
  void CompareFields(const std::string& before, const std::string& after) {
    CompareDocuments("<r>" + before + "</r>", "<r>" + after + "</r>");
  }
  // The lines of the fields.
  std::string ShownFields(bool isAscii = false) {
    const std::string shown = Shown(Wanted::kFindings, isAscii);
    const std::string front = "  DIMM.Socket.A1 (DIMM_A1): changed (the same part)\n";
    const size_t end = shown.find("      To do:");
    EXPECT_EQ(shown.substr(0, front.size()), front);
    return end == std::string::npos ? shown : shown.substr(front.size(), end - front.size());
  }
  std::string ShownValue(const std::string& value, bool isAscii = false) {
    CompareFields("<S>1</S>", "<S>" + value + "</S>");
    return ShownFields(isAscii);
  }
};

const std::string kBehindFirstLine(10, ' ');

// --- Fields ---

TEST_F(CompareLines, OfFieldsStandInTheOrderOfTheDocuments) {
  CompareFields("<S></S><T>1</T>", "<S>8</S><U>2</U>");
  EXPECT_EQ(ShownFields(),
            "      S: (empty) -> 8\n"
            "      T: 1 -> (none)\n"
            "      U: (none) -> 2\n");
}

TEST_F(CompareLines, HaveValuesOf128Characters) {
  EXPECT_EQ(ShownValue(std::string(128, 'x')), "      S: 1 ->\n" + kBehindFirstLine +
                                                   std::string(70, 'x') + "\n" + kBehindFirstLine +
                                                   std::string(58, 'x') + "\n");
}

TEST_F(CompareLines, HaveTheBeginningOfLongerValues) {
  EXPECT_EQ(ShownValue(std::string(128, 'x') + "y"),
            "      S: 1 ->\n" + kBehindFirstLine + std::string(70, 'x') + "\n" + kBehindFirstLine +
                std::string(58, 'x') + " ...\n");
}

// --- Lines ---

TEST_F(CompareLines, EndBehindTheLastWordThatHasRoom) {
  EXPECT_EQ(ShownValue(std::string(66, 'x')), "      S: 1 -> " + std::string(66, 'x') + "\n");
}

TEST_F(CompareLines, GoOnInTheNextOneWithAWordThatHasNoRoom) {
  EXPECT_EQ(ShownValue(std::string(67, 'x')),
            "      S: 1 ->\n" + kBehindFirstLine + std::string(67, 'x') + "\n");
}

TEST_F(CompareLines, HaveEveryBlankOfAValueButThoseAtItsEnd) {
  CompareFields("<S>a  b </S>", "<S>c</S>");
  EXPECT_EQ(ShownFields(), "      S: a  b -> c\n");
}

TEST_F(CompareLines, BreakBehindTheBlanksOfAValue) {
  EXPECT_EQ(ShownValue(std::string(60, 'x') + "  " + std::string(30, 'y')),
            "      S: 1 -> " + std::string(60, 'x') + " \n" + kBehindFirstLine +
                std::string(30, 'y') + "\n");
}

// --- Characters ---

TEST_F(CompareLines, SpellOutControlCharacters) {
  mBefore.Of(Modules("A1B2")).With(A1("x"));
  mAfter.Of(Modules("A\x1F!~\x7F\x80\x9F\xA0\xFF")).With(A1("x"));
  Compare();
  EXPECT_THAT(Shown(), HasSubstr("SerialNumber: A1B2 -> A\\x1F!~\\x7F\\x80\\x9F\xA0\xFF\n"));
  EXPECT_THAT(Shown(Wanted::kFindings, /*isAscii=*/true),
              HasSubstr("SerialNumber: A1B2 -> A\\x1F!~\\x7F\\x80\\x9F\\xA0\\xFF\n"));
}

TEST_F(CompareLines, HaveAllFourCharactersOfOneThatIsSpelledOut) {
  EXPECT_EQ(ShownValue(std::string(62, 'x') + "\xE9", /*isAscii=*/true),
            "      S: 1 -> " + std::string(62, 'x') + "\\xE9\n");
}

TEST_F(CompareLines, BreakALongWordInFrontOfACharacterThatHasNoRoom) {
  EXPECT_EQ(ShownValue(std::string(66, 'x') + "\xE9\xE9", /*isAscii=*/true),
            "      S: 1 ->\n" + kBehindFirstLine + std::string(66, 'x') + "\\xE9\n" +
                kBehindFirstLine + "\\xE9\n");
}

TEST_F(CompareLines, BreakNoCharacterThatIsSpelledOut) {
  EXPECT_EQ(ShownValue(std::string(67, 'x') + "\xE9", /*isAscii=*/true),
            "      S: 1 ->\n" + kBehindFirstLine + std::string(67, 'x') + "\n" + kBehindFirstLine +
                "\\xE9\n");
}

// --- Devices ---

TEST_F(CompareLines, OfADeviceThatIsTheSameSayNotWhatToDo) {
  mBefore.Of(Modules("11223344")).With(A1("x"));
  mAfter.Of(Modules("11223344")).With(A1("x"));
  Compare();
  EXPECT_EQ(Shown(Wanted::kEverything),
            "  DIMM.Socket.A1 (DIMM_A1): same\n"
            "Summary: 1 same\n");
}

TEST_F(CompareLines, HaveTheBeginningOfALongLabel) {
  const Table table = Table::Of(
      MemoryDevice{.handle = kSlotA1, .locator = std::string(60, 'x'), .serial = "11223344"},
      End{});
  mBefore.Of(table).With(A1("x"));
  mAfter.Of(table).With(A1("x"));
  Compare();
  EXPECT_EQ(Shown(Wanted::kEverything), "  DIMM.Socket.A1 (" + std::string(48, 'x') +
                                            "): same\n"
                                            "Summary: 1 same\n");
}

TEST_F(CompareLines, OfADeviceWithoutARecordSayWhy) {
  mBefore.Of(Modules("11223344")).With(A1("x"));
  mAfter.Of(Modules("11223344")).With(WithoutRecord(A1(""), WhyNoRecord::kClash));
  Compare();
  EXPECT_EQ(Shown(),
            "  DIMM.Socket.A1 (DIMM_A1): no record\n"
            "      a device before it has the same name, as far as the driver reads it\n"
            "      To do: mend what keeps it from having a record, then save anew\n"
            "Summary: 1 no record\n");
}

TEST_F(CompareLines, OfADeviceWithoutARecordSayThatItHadNone) {
  const TestDevice hole = WithoutRecord(A1(""), WhyNoRecord::kBehind);
  mBefore.Of(Modules("11223344")).With(hole);
  mAfter.Of(Modules("11223344")).With(hole);
  Compare();
  EXPECT_THAT(Shown(), HasSubstr("      the driver ended at a device before it; so it was in the "
                                 "saved state\n"));
}

TEST_F(CompareLines, OfANewDeviceWithoutARecordSayBoth) {
  mBefore.Of(Modules("11223344"));
  mAfter.Of(Modules("11223344")).With(WithoutRecord(A1(""), WhyNoRecord::kBehind));
  Compare();
  EXPECT_EQ(Shown(),
            "  DIMM.Socket.A1 (DIMM_A1): no record\n"
            "      the driver ended at a device before it\n"
            "      new\n"
            "      To do: mend what keeps it from having a record, then save anew\n"
            "Summary: 1 no record\n");
}

TEST_F(CompareLines, OfADeviceThatMovedInPlaceOfAnotherSayWhoSaysSo) {
  mBefore.Of(Modules("11111112", "22222223")).With(A1("<a/>")).With(A2("<b/>"));
  mAfter.Of(Modules("22222223")).With(A1("<b/>"));
  mAnswers[0].isReplaced = true;
  Compare();
  EXPECT_THAT(Shown(), HasSubstr("  DIMM.Socket.A1 (DIMM_A1): moved from DIMM.Socket.A2 (DIMM_A2)\n"
                                 "      another part than was here, says the driver, the serial "
                                 "number\n"
                                 "      To do: accept it, or put it back where it was\n"));
}

TEST_F(CompareLines, OfADeviceThatMovedHaveItsFields) {
  mBefore.Of(Modules("11223344")).With(A1("<r><S>1</S></r>"));
  mAfter.Of(Modules(std::nullopt, "11223344")).With(A2("<r><S>2</S></r>"));
  Compare();
  EXPECT_EQ(Shown(),
            "  DIMM.Socket.A2 (DIMM_A2): moved from DIMM.Socket.A1 (DIMM_A1)\n"
            "      S: 1 -> 2\n"
            "      To do: accept it, or put it back where it was\n"
            "Summary: 1 moved\n");
}

TEST_F(CompareLines, SayNoReasonWhereThereIsNone) {
  CompareFields("<S>1</S>", "<S>2</S>");
  char text[80] = "what stood there before";
  tvqplatform::FormatObstacle(Result(), Found(), text, sizeof(text));
  EXPECT_STREQ(text, "");
}

// --- Firmware updates ---

class CompareLinesOfFirmware : public CompareLines {
 protected:
  // A module of which a field changed, and one that nothing tells from others.
  void Update(const std::string& before, const std::string& after) {
    mBefore.Of(Of(before)).With(A1("<r><S>1</S></r>")).With(A2("x"));
    mAfter.Of(Of(after)).With(A1("<r><S>2</S></r>")).With(A2("x"));
    Compare();
  }

 private:
  static Table Of(const std::string& version) {
    return Table::Of(Bios{.version = version},
                     MemoryDevice{.handle = kSlotA1, .locator = "DIMM_A1", .serial = "11223344"},
                     MemoryDevice{.handle = kSlotA2, .locator = "DIMM_A2", .serial = "None"},
                     End{});
  }
};

TEST_F(CompareLinesOfFirmware, SayWhatToDoAfterTheUpdate) {
  Update("1.0", "2.0");
  EXPECT_EQ(Shown(Wanted::kEverything),
            "Firmware update: 1.0 -> 2.0; 1 fields of 1 devices changed\n"
            "  To do: save anew, so that what changes next stands out\n"
            "  DIMM.Socket.A1 (DIMM_A1): changed (the same part)\n"
            "      S: 1 -> 2\n"
            "      To do: save anew, so that what changes next stands out\n"
            "  DIMM.Socket.A2 (DIMM_A2): cannot tell\n"
            "      To do: nothing, or look at the part itself\n"
            "Summary: 1 cannot tell, 1 changed\n");
}

TEST_F(CompareLinesOfFirmware, HaveTheBeginningOfLongVersions) {
  Update(std::string(300, 'X'), std::string(300, 'Y'));
  const std::string shown = Shown();
  EXPECT_EQ(std::count(shown.begin(), shown.end(), 'X'), 300);
  EXPECT_EQ(std::count(shown.begin(), shown.end(), 'Y'), 78) << "399 characters in all";
}

// --- Whether anybody has to look ---

TEST_F(CompareLines, AreOneWhereNobodyHasToLook) {
  mBefore.Of(Modules("11223344", "None")).With(A1("x")).With(A2("x"));
  mAfter.Of(Modules("11223344", "None")).With(A1("x")).With(A2("x"));
  Compare();
  EXPECT_TRUE(tvqplatform::IsQuiet(Result()));
  EXPECT_EQ(Shown(), "Summary: 1 same, 1 cannot tell\n");
}

TEST_F(CompareLines, AreMoreWhereTheFirstDeviceIsAFinding) {
  mBefore.Of(Modules("11223344", "55667788")).With(A1("<r><S>1</S></r>")).With(A2("x"));
  mAfter.Of(Modules("11223344", "55667788")).With(A1("<r><S>2</S></r>")).With(A2("x"));
  Compare();
  EXPECT_FALSE(tvqplatform::IsQuiet(Result()));
}

TEST_F(CompareLinesOfFirmware, AreMoreAfterAnUpdate) {
  Update("1.0", "2.0");
  EXPECT_FALSE(tvqplatform::IsQuiet(Result()));
}

TEST_F(CompareLines, AreMoreWhereTheNamesAreOthers) {
  TestDevice before = A1("x");
  before.fqdd = u"DIMM.1";
  mBefore.With(before);
  mBefore.Get().NamingRules = tvqplatform::kNamingRulesUnknown;
  mAfter.With(A1("x"));
  Compare();
  EXPECT_FALSE(tvqplatform::IsQuiet(Result()));
}

TEST_F(CompareLines, AreMoreWhereTheOptionsAreOthers) {
  mBefore.Of(Modules("11223344")).With(A1("x"));
  mAfter.Of(Modules("11223344")).With(A1("x"));
  mAfter.Get().Options = tvqplatform::kSnapshotRedacted;
  Compare();
  EXPECT_FALSE(tvqplatform::IsQuiet(Result()));
}

}  // namespace
}  // namespace tvq::test
