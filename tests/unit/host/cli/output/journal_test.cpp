/*
 * Entries of the journal, as they arrive.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/journal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/cli/input/input.h"
#include "tests/unit/host/cli/cli_fixture.h"
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
