/*
 * What the screen shows of its content, and what keys make of that.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cstdio>

#include "tests/unit/platform/agent/fake_terminal.h"
#include "tests/unit/platform/platform_fixture.h"

#include "TvqPlatformPkg/src/agent/screen/screen.h"

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
                 bool isFinding = false, const std::string& name = "") {
    tvqplatform::ShownDevice device = {};
    name.copy(device.Name, sizeof(device.Name) - 1);
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
  // Of each row, a letter: '=' a bar, '#' a heading, '.' plain, '+' good, '!' attention, 'X' trouble, '>' chosen.
  std::string Styles() const {
    std::string styles;
    for (UINTN row = 0; row < mPicture.Rows(); ++row) {
      styles.push_back(".=#+!X>"[static_cast<size_t>(mPicture.StyleOf(row))]);
    }
    return styles;
  }
  const tvqplatform::Pages& Pages() const { return mPages; }

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
                                   std::string(9, '\n') + "P:Power off Q:Leave\n\n");
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
      testing::EndsWith("\nD:Details A:Accept all O:Accept one\nS:Save P:Power off Q:Leave\n"));
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
  AddSummary("a\x1B[2J\t\x1F\x7F\x80\xFF~");
  EXPECT_THAT(Picture(), HasSubstr("\na?[2J?????~\n"));
}

TEST_F(AgentScreenView, CutsATitleThatWouldReachThePage) {
  std::snprintf(Content().Title, sizeof(Content().Title), "%s", std::string(79, 'T').c_str());
  EXPECT_THAT(Picture(), testing::StartsWith(" " + std::string(64, 'T') + "~ page 1 of 1\n"));
}

TEST_F(AgentScreenView, ShowsTextsOfOneCharacter) {
  AddDevice("A", "F", "same", false, "N");
  EXPECT_THAT(Picture(), HasSubstr("\n   Label  FQDD  Verdict  Serial  Name\n"
                                   ">  A      F     same     -       N\n"));
}

TEST_F(AgentScreenView, CutsAnFqddThatTakesMoreThanItsColumn) {
  AddDevice("A1", std::string(21, 'F') + "GH");
  EXPECT_THAT(Picture(), HasSubstr("\n>  A1     " + std::string(21, 'F') + "~  -       memory"));
}

TEST_F(AgentScreenView, HasStylesForWhatItsRowsAre) {
  EXPECT_TRUE(Content().Summary.Add(Style::kGood, "good"));
  EXPECT_TRUE(Content().Summary.Add(Style::kTrouble, "trouble"));
  AddDevice("A1", "");
  AddDevice("A2", "", "gone", true);
  AddDevice("A3", "");
  EXPECT_EQ(Picture({80, 13}), " Title" + std::string(61, ' ') +
                                   "page 1 of 1\n"
                                   "good\n"
                                   "trouble\n"
                                   "\n"
                                   "   Label  FQDD  Verdict  Serial  Name\n"
                                   ">  A1     -     -        -       memory module\n"
                                   " ! A2     -     gone     -       memory module\n"
                                   "   A3     -     -        -       memory module\n"
                                   "\n\n\n\n"
                                   " D:Details P:Power off Q:Leave\n");
  EXPECT_EQ(Styles(), "=+X.#>!....!=");
  View().Chosen = 1;
  Picture({79, 13});
  EXPECT_EQ(Styles(), "=+X.#.>...!==");
}

TEST_F(AgentScreenView, ShowsItsMessageInTheStyleOfThat) {
  std::snprintf(View().Message, sizeof(View().Message), "Saved.");
  View().MessageStyle = Style::kGood;
  EXPECT_THAT(Picture({80, 12}), HasSubstr("\n Saved.\n"));
  EXPECT_EQ(Styles(), "=.........+=");
  Press('x');
  EXPECT_EQ(Picture({80, 12}), " Title" + std::string(61, ' ') + "page 1 of 1\n" +
                                   std::string(10, '\n') + " P:Power off Q:Leave\n");
}

TEST_F(AgentScreenView, AsksForADeviceByItsNameOrElseByItsLabel) {
  Content().CanAccept = true;
  const struct {
    const char* label;
    const char* fqdd;
    const char* shown;
  } kCases[] = {{"A1", "DIMM.Socket.A1", "DIMM.Socket.A1"}, {"A1", "F", "F"}, {"A1", "", "A1"}};
  for (const auto& one : kCases) {
    Content().Devices.Shrink(0);
    AddDevice(one.label, one.fqdd);
    EXPECT_EQ(Press('o'), Command::kNone);
    EXPECT_THAT(Picture(), HasSubstr(std::string("\n Accept ") + one.shown +
                                     " as it is now?  Y: yes; any other key: no\n"));
    Press('n');
  }
}

// --- Widths and heights ---

TEST_F(AgentScreenView, ShowsALineThatFillsItsRow) {
  AddSummary(std::string(37, 'a') + " b");
  EXPECT_THAT(Picture({40, 12}), HasSubstr("\n" + std::string(37, 'a') + " b\n"));
}

TEST_F(AgentScreenView, SetsLinesInByHalfAScreenAtMost) {
  AddSummary(std::string(30, ' ') + "one two three four five six seven");
  EXPECT_THAT(Picture({40, 12}),
              HasSubstr("\n" + std::string(30, ' ') + "one two\n" + std::string(19, ' ') +
                        "three four five six\n" + std::string(19, ' ') + "seven\n"));
}

TEST_F(AgentScreenView, KeepsTheHeadingWhereARowIsLeftForTheFirstDevice) {
  AddDevice("A1", "DIMM.Socket.A1");
  for (int i = 0; i < 5; ++i) {
    AddSummary("line");
  }
  EXPECT_THAT(Page(0, {40, 12}),
              HasSubstr("\nline\n\n   Label  FQDD            Serial  Name\n>  A1"));
  EXPECT_EQ(PageCount(), 1u);
  AddSummary("line");
  EXPECT_THAT(Page(0, {40, 12}), Not(HasSubstr("Label")));
  EXPECT_EQ(PageCount(), 2u);
}

TEST_F(AgentScreenView, BeginsAPageWithTheHeadingWhereTheLinesFillThoseBefore) {
  for (int i = 0; i < 8; ++i) {
    AddSummary("line");
  }
  AddDevice("A1", "DIMM.Socket.A1");
  EXPECT_THAT(Page(1, {40, 12}), HasSubstr("page 2 of 2\n   Label  FQDD "));
}

TEST_F(AgentScreenView, NamesEveryKeyOnTheSmallestScreen) {
  for (int i = 0; i < 30; ++i) {
    AddSummary("line");
    EXPECT_TRUE(Content().Details.Add(Style::kPlain, "line"));
  }
  AddDevice("A1", "DIMM.Socket.A1");
  Content().CanAccept = true;
  Content().CanSave = true;
  EXPECT_THAT(Picture(tvqplatform::kSmallestScreen),
              testing::EndsWith("\nN:Next B:Back D:Details A:Accept all\n"
                                "O:Accept one S:Save P:Power off Q:Leave\n"));
  View().HasDetails = true;
  EXPECT_THAT(Picture(tvqplatform::kSmallestScreen),
              testing::EndsWith("\nN:Next B:Back A:Accept all O:Accept one\n"
                                "S:Save P:Power off Q:Back to the list\n"));
}

TEST_F(AgentScreenView, HasOneRowOfKeysFromEightyColumnsOn) {
  Picture({80, 25});
  EXPECT_EQ(Pages().RowsPerPage(), 22u);
  Picture({79, 25});
  EXPECT_EQ(Pages().RowsPerPage(), 21u);
}

TEST_F(AgentScreenView, HasNoRowsBehindAPageAndBehindTheLast) {
  for (int i = 0; i < 10; ++i) {
    AddSummary("line");
  }
  Picture({40, 12});
  ASSERT_EQ(Pages().RowsPerPage(), 8u);
  EXPECT_NE(Pages().Row(0, 7), nullptr);
  EXPECT_EQ(Pages().Row(0, 8), nullptr);
  EXPECT_NE(Pages().Row(1, 7), nullptr) << "a page is filled";
  EXPECT_EQ(Pages().Row(2, 0), nullptr);
  EXPECT_EQ(Pages().PageOf(3), 0u) << "of a device that is not there";
}

// --- Keys ---

TEST_F(AgentScreenView, TakesCapitalsToo) {
  AddDevice("A1", "DIMM.Socket.A1");
  Content().CanAccept = true;
  Content().CanSave = true;
  EXPECT_EQ(Press('A'), Command::kNone);
  EXPECT_EQ(View().Asked, Question::kAcceptAll);
  EXPECT_EQ(Press('Y'), Command::kAcceptAll);
  EXPECT_EQ(Press('S'), Command::kSave);
  EXPECT_EQ(Press('Q'), Command::kLeave);
}

TEST_F(AgentScreenView, AcceptsNothingWithoutADeviceOrWithoutASavedState) {
  Content().CanAccept = true;
  EXPECT_EQ(Press('o'), Command::kNone);
  EXPECT_EQ(View().Asked, Question::kNone);
  AddDevice("A1", "DIMM.Socket.A1");
  Content().CanAccept = false;
  EXPECT_EQ(Press('o'), Command::kNone);
  EXPECT_EQ(View().Asked, Question::kNone);
}

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

TEST_F(AgentScreenView, FindsADeviceThatIsGoneOnNoPage) {
  // Nine rows a page: the heading and eight devices, then a ninth on the second page.
  for (int i = 0; i < 9; ++i) {
    AddDevice("A" + std::to_string(i), "");
  }
  tvqplatform::Pages pages;
  ASSERT_TRUE(pages.Arrange(Content(), false, {80, 12}));
  EXPECT_EQ(pages.PageOf(8), 1u);
  Content().Devices.Shrink(8);
  ASSERT_TRUE(pages.Arrange(Content(), false, {80, 12}));
  EXPECT_EQ(pages.Count(), 1u);
  EXPECT_EQ(pages.PageOf(8), 0u);
}

// --- On a terminal ---

class AgentScreenOnATerminal : public AgentScreenView {
 protected:
  // Somebody at the screen, who types this. Saving leaves the report out.
  void Run(FakeTerminal& terminal, const std::string& keys) {
    EFI_SYSTEM_TABLE* const system = Firmware().SystemTableOf(host::images::agent);
    system->ConOut = terminal.Output();
    system->ConIn = terminal.Input();
    terminal.Type(keys);
    {
      tvqplatform::Console console;
      ASSERT_TRUE(console.Open());
      const tvqplatform::ScreenCommands commands = {
          [](VOID* context, Command, tvqplatform::View&) {
            static_cast<tvqplatform::ScreenContent*>(context)->Report.Clear();
          },
          &Content()};
      (void)tvqplatform::Screen(console, Content(), commands).Run(0);
    }
    system->ConIn = nullptr;
    system->ConOut = nullptr;
  }
};

TEST_F(AgentScreenOnATerminal, ShowsTheLastPageWhereThereAreFewerThanBefore) {
  Content().CanSave = true;
  for (int i = 0; i < 60; ++i) {
    ASSERT_TRUE(Content().Report.Add(Style::kPlain, "line"));
  }
  AddSummary("line");
  FakeTerminal terminal(Firmware());
  Run(terminal, "nnsq");
  EXPECT_THAT(terminal.Pictures().at(2), HasSubstr("page 3 of 4\n"));
  EXPECT_THAT(terminal.Pictures().at(3), HasSubstr("page 1 of 1\n"));
}

TEST_F(AgentScreenOnATerminal, TakesNoKeysWhereNothingCanBeDrawn) {
  AddSummary("line");
  bool hasFailed = true;
  size_t unseen = 0;
  for (uint64_t n = 1; hasFailed; ++n) {
    const uint64_t before = Firmware().Memory().FailedAllocations();
    FakeTerminal terminal(Firmware());
    Firmware().Memory().FailAllocation(n, host::images::agent);
    Run(terminal, "q");
    Firmware().Memory().StopFailing();
    hasFailed = Firmware().Memory().FailedAllocations() != before;
    EXPECT_EQ(terminal.Pictures().empty(), terminal.RowsDrawn() == 0) << n;
    unseen += terminal.Pictures().empty() ? 1 : 0;
  }
  EXPECT_GT(unseen, 0u);
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

TEST_F(AgentScreenView, TellsWhenItHasNoMemoryForAllRows) {
  // Whatever row it is that the memory ends at.
  for (int lines = 0; lines < 10; ++lines) {
    Content().Devices.Shrink(0);
    for (int devices = 0; devices < 5; ++devices) {
      const uint64_t before = Firmware().Memory().FailedAllocations();
      bool hasFailed = true;
      for (uint64_t n = 1; hasFailed; ++n) {
        tvqplatform::Pages pages;
        Firmware().Memory().FailAllocation(n, host::images::agent);
        const bool isArranged = pages.Arrange(Content(), false, {40, 13});
        Firmware().Memory().StopFailing();
        hasFailed = Firmware().Memory().FailedAllocations() == before + n;
        EXPECT_EQ(isArranged, !hasFailed) << lines << " lines, " << devices << " devices: " << n;
      }
      AddDevice("A1", "");
    }
    AddSummary("line");
    EXPECT_TRUE(Content().Report.Add(Style::kPlain, "reported"));
  }
}

TEST_F(AgentScreenView, TakesNothingBehindTheLastRowOfAPicture) {
  tvqplatform::Picture picture;
  ASSERT_TRUE(picture.Begin({40, 12}));
  const std::string before = picture.Row(11);
  picture.Put(12, 0, "behind");
  EXPECT_EQ(picture.Row(11), before);
}

TEST_F(AgentScreenView, DrawsNothingWithoutMemoryForAPicture) {
  tvqplatform::Picture picture;
  for (const uint64_t n : {1, 2}) {
    Firmware().Memory().FailAllocation(n, host::images::agent);
    EXPECT_FALSE(picture.Begin({80, 25}));
    Firmware().Memory().StopFailing();
    EXPECT_EQ(picture.Rows(), 0u);
    tvqplatform::Pages pages;
    EXPECT_TRUE(pages.Arrange(Content(), false, {80, 25}));
    tvqplatform::Picture other;
    Firmware().Memory().FailAllocation(n, host::images::agent);
    EXPECT_FALSE(Draw(Content(), pages, View(), {80, 25}, other));
    Firmware().Memory().StopFailing();
  }
}

}  // namespace
}  // namespace tvq::test
