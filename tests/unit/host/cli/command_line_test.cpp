/*
 * What every command says of itself, and the colours and widths that all of them share.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TvqSmbiosPkg/Include/TvqVersion.h"
#include "host/cli/output/text_table.h"
#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {
namespace {

using testing::HasSubstr;
using testing::Not;

using CliHelp = CliTest;

constexpr const char* kCommands[] = {"show",   "slot", "decode", "export", "save",
                                     "verify", "diff", "lint",   "mktable"};

TEST_F(CliHelp, EveryCommandHasExamplesAndSaysItsExitStatuses) {
  for (const char* const command : kCommands) {
    const Outcome help = RunTvq({command, "--help"});
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_THAT(help.out, HasSubstr(std::string("Usage: tvq ") + command)) << command;
    EXPECT_THAT(help.out, HasSubstr("\nExamples:\n")) << command;
    EXPECT_THAT(help.out, HasSubstr("\nExit status: 0 ")) << command;
  }
}

TEST_F(CliHelp, EveryCommandThatPrintsOrSavesCanRedact) {
  for (const char* const command : kCommands) {
    EXPECT_THAT(RunTvq({command, "--help"}).out, HasSubstr("--redact-key")) << command;
  }
}

TEST_F(CliHelp, ListsTheCommands) {
  const Outcome help = RunTvq({"--help"});
  for (const char* const command : kCommands) {
    EXPECT_THAT(help.out, HasSubstr(std::string("\n  ") + command + " ")) << command;
  }
}

TEST_F(CliHelp, PrintsTheVersion) {
  const Outcome outcome = RunTvq({"--version"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, "tvq " TVQ_VERSION "\n");
}

TEST_F(CliHelp, AWrongCommandLineIsTrouble) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{}, {"no-such-command"}, {"show", "--no-such-option"}, {"slot"}}) {
    const Outcome outcome = RunTvq(arguments);
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.out, Not(HasSubstr("Usage")));
    EXPECT_NE(outcome.diagnostics, "");
  }
}

TEST_F(CliHelp, NamesACommandThatIsNone) {
  EXPECT_EQ(RunTvq({"shw"}).diagnostics,
            "tvq: error: there is no command 'shw'\ntvq: hint: `tvq --help` lists the commands\n");
}

TEST(Wrapped, BreaksBetweenWords) {
  EXPECT_EQ(Wrapped("one two three", {9, false}, 1), " one two\n   three\n");
  EXPECT_EQ(Wrapped("one two three", {0, false}, 1), " one two three\n");
}

TEST(TextTable, LeavesOutAColumnThatHoldsNothing) {
  TextTable table({"A", "B", "C"});
  table.Add({"1", "-", "3"});
  table.Add({"longer", "-", "3"});
  EXPECT_EQ(table.Render({}, 0), "A       C\n1       3\nlonger  3\n");
}

TEST(TextTable, CutsTheColumnsThatTellRowsApartLast) {
  TextTable table({"NAME", "MODEL"}, 1);
  table.Add({"System.Embedded.1", "A long model"});
  EXPECT_EQ(table.Render({.width = 30}),
            "  NAME               MODEL\n  System.Embedded.1  A long m…\n");
  EXPECT_EQ(table.Render({.width = 20}), "  NAME        MODEL\n  System.Em…  A lon…\n");
}

TEST(TextTable, CutsTheWidestColumn) {
  TextTable table({"A", "B"});
  table.Add({"0123456789", "short"});
  EXPECT_EQ(table.Render({14, false}, 0), "A        B\n012345…  short\n");
}

TEST(Cut, CountsCharactersAndNotBytes) {
  EXPECT_EQ(WidthOf("ää…"), 3u);
  EXPECT_EQ(Cut("äöüß", 3), "äö…");
  EXPECT_EQ(Cut("äöü", 3), "äöü");
}

}  // namespace
}  // namespace tvq::cli
