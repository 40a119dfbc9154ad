/*
 * What every command says of itself, and the options and errors that all of them share.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TvqSmbiosPkg/Include/TvqVersion.h"
#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {
namespace {

using testing::HasSubstr;
using testing::Not;

using CliHelp = CliTest;

constexpr const char* kCommands[] = {"show", "get",    "slot", "decode", "export",
                                     "save", "verify", "diff", "lint",   "mktable"};

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

TEST_F(CliHelp, AUsageErrorHasTheFormOfAllOthers) {
  EXPECT_EQ(RunTvq({"show", "--no-such-option"}).diagnostics,
            "tvq: error: The following argument was not expected: --no-such-option\n"
            "tvq: hint: `tvq show --help` lists the options, with examples\n");
  EXPECT_EQ(RunTvq({}).diagnostics,
            "tvq: error: A subcommand is required\ntvq: hint: `tvq --help` lists the commands\n");
  EXPECT_THAT(RunTvq({"slot"}).diagnostics, HasSubstr("tvq: error: "));
}

TEST_F(CliHelp, QuietLeavesTheErrorsAlone) {
  const std::string table = Write("table.bin", test::Table::Of(test::System{}).Bytes());
  EXPECT_THAT(RunTvq({"show", table}).diagnostics, HasSubstr("tvq: warning: "));
  EXPECT_EQ(RunTvq({"show", table, "--quiet"}).diagnostics, "");
  EXPECT_EQ(RunTvq({"show", table, "-q"}).diagnostics, "");
  EXPECT_THAT(RunTvq({"show", Path("missing/table"), "-q"}).diagnostics, HasSubstr("tvq: error: "));
}

}  // namespace
}  // namespace tvq::cli
