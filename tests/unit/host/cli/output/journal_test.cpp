/*
 * Entries of the journal, as they arrive.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/journal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>

#include "host/cli/input/input.h"
#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/cli/failing_call.h"
#include "tests/unit/host/cli/output/fake_journal.h"

namespace tvq::cli {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr char kId[] = "0123456789abcdef0123456789abcdef";

class JournalTest : public CliTest {
 protected:
  JournalTest() : mSystem(Path("socket")) {}

  FakeJournal mSystem;
};

TEST_F(JournalTest, AnEntryHasItsMessagePriorityAndIdAndSaysWhoWroteIt) {
  ASSERT_TRUE(mSystem.IsBound());
  Journal(mSystem.Path()).Send(JournalEntry("all is well", Priority::kNotice, kId));
  const std::optional<JournalFields> entry = mSystem.Next();
  ASSERT_TRUE(entry);
  EXPECT_EQ(*entry, (JournalFields{{"MESSAGE", {"all is well"}},
                                   {"MESSAGE_ID", {kId}},
                                   {"PRIORITY", {"5"}},
                                   {"SYSLOG_IDENTIFIER", {"tvq"}}}));
}

TEST_F(JournalTest, AFieldHasItsValueToTheByteAndMayBeThereSeveralTimes) {
  JournalEntry entry("message", Priority::kWarning, kId);
  entry.Add("TVQ_TEXT", "a=b");
  entry.Add("TVQ_LINES", "first\nsecond\n");
  entry.Add("TVQ_EMPTY", "");
  entry.Add("TVQ_TEXT", "another");
  Journal(mSystem.Path()).Send(entry);
  const std::optional<JournalFields> fields = mSystem.Next();
  ASSERT_TRUE(fields);
  EXPECT_THAT(fields->at("TVQ_TEXT"), ElementsAre("a=b", "another"));
  EXPECT_THAT(fields->at("TVQ_LINES"), ElementsAre("first\nsecond\n"));
  EXPECT_THAT(fields->at("TVQ_EMPTY"), ElementsAre(""));
  EXPECT_FALSE(mSystem.WasInFile());
}

TEST_F(JournalTest, ALengthOfMoreThanAByteIsWrittenLowestByteFirst) {
  const std::string lines = "first\n" + std::string(0x10203, 'x');
  JournalEntry entry("message", Priority::kWarning, kId);
  entry.Add("TVQ_LINES", lines);
  Journal(mSystem.Path()).Send(entry);
  const std::optional<JournalFields> fields = mSystem.Next();
  ASSERT_TRUE(fields);
  EXPECT_THAT(fields->at("TVQ_LINES"), ElementsAre(lines));
}

TEST_F(JournalTest, WhatIsTooLongForADatagramIsPassedOnInASealedFile) {
  const std::string longText(4 << 20, 'x');
  JournalEntry entry("message", Priority::kWarning, kId);
  entry.Add("TVQ_TEXT", longText);
  Journal(mSystem.Path()).Send(entry);
  const std::optional<JournalFields> fields = mSystem.Next();
  ASSERT_TRUE(fields);
  EXPECT_TRUE(mSystem.WasInFile());
  EXPECT_TRUE(mSystem.WasSealed());
  EXPECT_THAT(fields->at("TVQ_TEXT"), ElementsAre(longText));
}

TEST_F(JournalTest, AValueOfOneLineStandsBehindAnEqualsSign) {
  EXPECT_EQ(JournalEntry("all is well", Priority::kNotice, kId).Bytes(),
            std::string("MESSAGE=all is well\nMESSAGE_ID=") + kId +
                "\nPRIORITY=5\nSYSLOG_IDENTIFIER=tvq\n");
}

TEST_F(JournalTest, AnEntryThatTheSystemHasNoRoomForIsPassedOnInAFileToo) {
  for (const int error : {EMSGSIZE, ENOBUFS}) {
    const FailingCall full(Call::kSend, error);
    Journal(mSystem.Path()).Send(JournalEntry("message", Priority::kNotice, kId));
    const std::optional<JournalFields> fields = mSystem.Next();
    ASSERT_TRUE(fields);
    EXPECT_TRUE(mSystem.WasInFile());
    EXPECT_THAT(fields->at("MESSAGE"), ElementsAre("message"));
  }
}

// The error of an entry that the journal did not take.
std::string SendError(const std::string& path) {
  try {
    Journal(path).Send(JournalEntry("message", Priority::kNotice, kId));
  } catch (const InputError& error) {
    return error.what();
  }
  return "(none)";
}

TEST_F(JournalTest, AnEntryThatTheJournalDoesNotTakeIsAnError) {
  const std::string start = "the journal at " + mSystem.Path() + " takes no entry: ";
  {
    const FailingCall gone(Call::kSend, ECONNREFUSED);
    EXPECT_EQ(SendError(mSystem.Path()), start + "Connection refused");
    EXPECT_FALSE(mSystem.Next());
  }
  const FailingCall full(Call::kSend, EMSGSIZE);
  const FailingCall noRoom(Call::kWrite, ENOSPC);
  EXPECT_EQ(SendError(mSystem.Path()), start + "No space left on device");
  EXPECT_FALSE(mSystem.Next());
}

TEST_F(JournalTest, APathMayHaveAsManyCharactersAsASocketTakes) {
  std::string longest = Path("");
  longest.append(107 - longest.size(), 'x');
  FakeJournal system(longest);
  ASSERT_TRUE(system.IsBound());
  EXPECT_EQ(SendError(longest), "(none)");
  EXPECT_EQ(SendError(longest + "x"),
            "the journal at " + longest + "x takes no entry: File name too long");
}

TEST_F(JournalTest, WhereNoJournalListensAnErrorSaysSo) {
  for (const std::string& path : {Path("nothing"), std::string(200, 'x')}) {
    try {
      Journal journal(path);
      FAIL() << path;
    } catch (const InputError& error) {
      EXPECT_THAT(error.what(), HasSubstr("the journal at " + path + " takes no entry: "));
      EXPECT_THAT(error.Hint(), HasSubstr("--journal"));
    }
  }
}

}  // namespace
}  // namespace tvq::cli
