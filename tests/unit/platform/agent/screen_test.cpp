/*
 * What the screen shows of its content, and what keys make of that.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstdio>

#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/screen/view.h"

extern "C" {
#include <Protocol/SimpleTextIn.h>
}

namespace tvq::test {
namespace {

using testing::HasSubstr;
using testing::Not;
using tvqplatform::Command;
using tvqplatform::Question;
using tvqplatform::ScreenSize;
using tvqplatform::Style;

class AgentScreenView : public AgentTest {
 protected:
  AgentScreenView() {
    gBS = Firmware().BootServices();
    std::snprintf(mContent.Title, sizeof(mContent.Title), "Title");
  }

  void AddDevice(const std::string& label, const std::string& fqdd, const char* verdict = nullptr,
                 bool isFinding = false) {
    tvqplatform::ShownDevice device = {};
    label.copy(device.Label, sizeof(device.Label) - 1);
    fqdd.copy(device.Fqdd, sizeof(device.Fqdd) - 1);
    device.Class = "memory module";
    device.Verdict = verdict;
    device.IsFinding = isFinding;
    device.Record = tvqplatform::kNone;
    EXPECT_TRUE(mContent.Devices.Append(device));
  }
  void AddSummary(const std::string& line) {
    EXPECT_TRUE(mContent.Summary.Add(Style::kPlain, line.c_str()));
  }
  tvqplatform::ScreenContent& Content() { return mContent; }
  tvqplatform::View& View() { return mView; }

  Command Press(CHAR16 character, UINT16 scanCode = SCAN_NULL) {
    EXPECT_TRUE(mPages.Arrange(mContent, mView.HasDetails, mSize));
    return tvqplatform::Press({scanCode, character}, mContent, mPages, mView);
  }
  // Rows without blanks at their ends.
  std::string Picture(const ScreenSize& size = {80, 25}) {
    mSize = size;
    EXPECT_TRUE(mPages.Arrange(mContent, mView.HasDetails, size));
    EXPECT_TRUE(Draw(mContent, mPages, mView, size, mPicture));
    std::string text;
    for (UINTN row = 0; row < mPicture.Rows(); ++row) {
      std::string line = mPicture.Row(row);
      EXPECT_EQ(line.size(), size.Columns - 1);
      text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
  }
  std::string Page(UINTN page, const ScreenSize& size) {
    mView.Page = page;
    return Picture(size);
  }
  UINTN PageCount() const { return mPages.Count(); }
  Style StyleOfRow(UINTN row) const { return mPicture.StyleOf(row); }

 private:
  tvqplatform::ScreenContent mContent;
  tvqplatform::View mView;
  tvqplatform::Pages mPages;
  tvqplatform::Picture mPicture;
  ScreenSize mSize = {80, 25};
};

// --- Pages ---

TEST_F(AgentScreenView, HasOnePageWhereThereIsNothing) {
  EXPECT_EQ(Picture({40, 12}), " Title" + std::string(21, ' ') + "page 1 of 1\n" +
                                   std::string(9, '\n') + " P:Power off Q:Leave\n\n");
}

TEST_F(AgentScreenView, GoesOnInTheNextRowAtABlank) {
  AddSummary("  State: one two three four five six seven eight nine ten eleven twelve");
  EXPECT_THAT(Picture({40, 12}), HasSubstr("\n  State: one two three four five six\n"
                                           "      seven eight nine ten eleven\n      twelve\n"));
}

TEST_F(AgentScreenView, CutsAWordThatNoRowHolds) {
  AddSummary(std::string(39, 'a') + std::string(35, 'b') + "c");
  EXPECT_THAT(Picture({40, 12}), HasSubstr("\n" + std::string(39, 'a') + "\n    " +
                                           std::string(35, 'b') + "\n    c\n"));
}

TEST_F(AgentScreenView, ShowsAnEmptyLineAsARow) {
  AddSummary("one");
  AddSummary("");
  AddSummary("two");
  EXPECT_THAT(Picture(), HasSubstr("\none\n\ntwo\n"));
}

TEST_F(AgentScreenView, KeepsTheHeadingWithTheFirstDevice) {
  for (int i = 0; i < 7; ++i) {
    AddSummary("line");
  }
  AddDevice("A1", "DIMM.Socket.A1");
  // Eight rows: the seven lines leave none for blank, heading and device.
  EXPECT_THAT(Page(0, {40, 12}), Not(HasSubstr("Label")));
  EXPECT_THAT(Page(1, {40, 12}), HasSubstr("\n   Label  FQDD            Serial  Name\n>  A1"));
  EXPECT_EQ(PageCount(), 2u);
}

TEST_F(AgentScreenView, BeginsTheReportOnAPageOfItsOwn) {
  AddSummary("found");
  EXPECT_TRUE(Content().Report.Add(Style::kPlain, "reported"));
  EXPECT_THAT(Page(0, {80, 25}), Not(HasSubstr("reported")));
  EXPECT_THAT(Page(1, {80, 25}), HasSubstr("page 2 of 2\nreported\n"));
}

TEST_F(AgentScreenView, TakesTwoRowsForKeysThatDoNotFitIntoOne) {
  AddDevice("A1", "DIMM.Socket.A1", "replaced", true);
  Content().CanAccept = true;
  Content().CanSave = true;
  EXPECT_THAT(
      Picture({80, 25}),
      testing::EndsWith("\n D:Details A:Accept all O:Accept one S:Save P:Power off Q:Leave\n"));
  EXPECT_THAT(
      Picture({40, 12}),
      testing::EndsWith("\n D:Details A:Accept all O:Accept one\n S:Save P:Power off Q:Leave\n"));
}

TEST_F(AgentScreenView, MarksWhatWasCut) {
  AddDevice(std::string(23, 'L'), std::string(22, 'F'), "not verified");
  EXPECT_THAT(Picture(), HasSubstr("\n>  " + std::string(21, 'L') + "~  " + std::string(22, 'F') +
                                   "  not verified  -       memor~\n"));
}

TEST_F(AgentScreenView, ShowsDashesForWhatIsMissing) {
  AddDevice("", "");
  EXPECT_THAT(Picture(),
              HasSubstr("\n   Label  FQDD  Serial  Name\n>  -      -     -       memory module\n"));
}

TEST_F(AgentScreenView, ShowsWhatIsNotPrintableAsAQuestionMark) {
  AddSummary("a\x1B[2J\t\x7F\x80\xFF~");
  EXPECT_THAT(Picture(), HasSubstr("\na?[2J????~\n"));
}

TEST_F(AgentScreenView, CutsATitleThatWouldReachThePage) {
  std::snprintf(Content().Title, sizeof(Content().Title), "%s", std::string(79, 'T').c_str());
  EXPECT_THAT(Picture(), testing::StartsWith(" " + std::string(64, 'T') + "~ page 1 of 1\n"));
}

// --- Keys ---

TEST_F(AgentScreenView, TurnsPagesRoundAndRound) {
  for (int i = 0; i < 60; ++i) {
    AddSummary("line");
  }
  Picture();
  ASSERT_EQ(PageCount(), 3u);
  const struct {
    CHAR16 character;
    UINT16 scanCode;
    UINTN page;
  } kKeys[] = {{'n', SCAN_NULL, 1}, {' ', SCAN_NULL, 2},  {0, SCAN_PAGE_DOWN, 0},
               {'N', SCAN_NULL, 1}, {0, SCAN_RIGHT, 2},   {'b', SCAN_NULL, 1},
               {'B', SCAN_NULL, 0}, {0, SCAN_PAGE_UP, 2}, {0, SCAN_LEFT, 1}};
  for (const auto& key : kKeys) {
    EXPECT_EQ(Press(key.character, key.scanCode), Command::kNone);
    EXPECT_EQ(View().Page, key.page);
  }
}

TEST_F(AgentScreenView, TurnsToThePageOfTheDeviceThatIsChosen) {
  for (int i = 0; i < 30; ++i) {
    AddDevice("A" + std::to_string(i), "");
  }
  Picture();
  View().Chosen = 20;
  EXPECT_EQ(Press(0, SCAN_DOWN), Command::kNone);
  EXPECT_EQ(View().Chosen, 21u);
  EXPECT_EQ(View().Page, 1u);
  EXPECT_EQ(Press(0, SCAN_UP), Command::kNone);
  EXPECT_EQ(View().Page, 0u);
}

TEST_F(AgentScreenView, StaysAtTheFirstAndTheLastDevice) {
  AddDevice("A1", "");
  AddDevice("A2", "");
  Press(0, SCAN_UP);
  EXPECT_EQ(View().Chosen, 0u);
  Press(0, SCAN_DOWN);
  Press(0, SCAN_DOWN);
  EXPECT_EQ(View().Chosen, 1u);
}

TEST_F(AgentScreenView, AsksBeforeItDoesWhatCannotBeTakenBack) {
  AddDevice("A1", "DIMM.Socket.A1");
  Content().CanAccept = true;
  const struct {
    CHAR16 key;
    Question question;
    Command command;
  } kCases[] = {{'a', Question::kAcceptAll, Command::kAcceptAll},
                {'O', Question::kAcceptOne, Command::kAcceptOne},
                {'p', Question::kPowerOff, Command::kPowerOff}};
  for (const auto& one : kCases) {
    EXPECT_EQ(Press(one.key), Command::kNone);
    EXPECT_EQ(View().Asked, one.question);
    EXPECT_EQ(Press('n'), Command::kNone);
    EXPECT_EQ(View().Asked, Question::kNone);
    Press(one.key);
    EXPECT_EQ(Press('Y'), one.command);
    EXPECT_EQ(View().Asked, Question::kNone);
  }
}

TEST_F(AgentScreenView, DoesNothingForKeysThatItDoesNotName) {
  for (const CHAR16 key : {u'a', u'o', u's', u'd', u'\r', u'x', u'y'}) {
    EXPECT_EQ(Press(key), Command::kNone);
    EXPECT_EQ(View().Asked, Question::kNone);
    EXPECT_FALSE(View().HasDetails);
  }
  EXPECT_EQ(Press(0, SCAN_F1), Command::kNone);
}

TEST_F(AgentScreenView, LeavesTheListAndThenTheScreen) {
  AddDevice("A1", "DIMM.Socket.A1");
  EXPECT_EQ(Press('D'), Command::kShowDetails);
  EXPECT_TRUE(View().HasDetails);
  EXPECT_EQ(Press(0, SCAN_ESC), Command::kNone);
  EXPECT_FALSE(View().HasDetails);
  EXPECT_EQ(Press(0, SCAN_ESC), Command::kLeave);
  EXPECT_EQ(Press('Q'), Command::kLeave);
}

TEST_F(AgentScreenView, ForgetsTheMessageAndTheCountdownWithTheNextKey) {
  View().SecondsLeft = 7;
  EXPECT_THAT(Picture(), HasSubstr("\n Goes on by itself in 7 s; any key stops that.\n"));
  std::snprintf(View().Message, sizeof(View().Message), "Saved.");
  EXPECT_THAT(Picture(), HasSubstr("\n Saved.\n"));
  Press('x');
  EXPECT_EQ(View().SecondsLeft, 0u);
  EXPECT_THAT(Picture(), Not(HasSubstr("Saved.")));
}

// --- Memory ---

TEST_F(AgentScreenView, ShowsWhatItHasMemoryFor) {
  for (int i = 0; i < 100; ++i) {
    AddSummary("line");
  }
  for (uint64_t n = 1; n < 8; ++n) {
    tvqplatform::Pages pages;
    tvqplatform::Picture picture;
    Firmware().Memory().FailAllocation(n, host::images::agent);
    (void)pages.Arrange(Content(), false, {80, 25});
    (void)Draw(Content(), pages, View(), {80, 25}, picture);
    Firmware().Memory().StopFailing();
    EXPECT_GE(pages.Count(), 1u);
    EXPECT_TRUE(Draw(Content(), pages, View(), {80, 25}, picture));
  }
}

}  // namespace
}  // namespace tvq::test
