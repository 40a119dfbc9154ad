/*
 * What every command says of itself, and the options and errors that all of them share.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "TvqSmbiosPkg/Include/TvqVersion.h"
#include "host/cli/output/paragraph.h"
#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {
namespace {

using testing::EndsWith;
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

constexpr std::size_t kHelpWidth = 80;

// Where the texts about the options begin in their lines.
std::size_t TextColumn(const std::string& help) {
  const std::size_t text = help.find("Print this help");
  return text - help.rfind('\n', text) - 1;
}

// The texts about the options, in lines as they stand there.
std::vector<std::string> OptionTexts(const std::string& help) {
  const std::size_t column = TextColumn(help);
  std::vector<std::string> texts;
  std::istringstream lines(help.substr(0, help.find("\nExamples:\n")));
  for (std::string line; std::getline(lines, line);) {
    const bool isOption = line.substr(0, 2) == "  ";
    if (isOption && line.find_first_not_of(' ') != column) {
      texts.emplace_back();
    }
    if (isOption && line.size() > column && line[column - 1] == ' ') {
      texts.back() += line.substr(column) + '\n';
    }
  }
  return texts;
}

// What stands between the options and the examples.
std::string Details(const std::string& help) {
  const std::size_t end = help.find("\nExamples:\n");
  const std::size_t lastOption = help.rfind("\n  ", end);
  const std::size_t start = help.find("\n\n", lastOption) + 2;
  return help.substr(start, end - start);
}

std::string Refilled(const std::string& text, std::size_t width) {
  Terminal terminal;
  terminal.width = width;
  return Filled(text, terminal);
}

TEST_F(CliHelp, FillsItsLines) {
  for (const char* const command : kCommands) {
    const std::string help = RunTvq({command, "--help"}).out;
    for (const std::string& text : OptionTexts(help)) {
      EXPECT_EQ(Refilled(text, kHelpWidth - TextColumn(help)), text) << command;
    }
    EXPECT_EQ(Refilled(Details(help), kHelpWidth), Details(help)) << command;
    const std::string statuses = help.substr(help.find("Exit status: "));
    EXPECT_EQ(Refilled(statuses, kHelpWidth), statuses) << command;
  }
}

TEST_F(CliHelp, EndsWithOneLineFeed) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--help"}, {"show", "--help"}}) {
    const std::string help = RunTvq(arguments).out;
    EXPECT_THAT(help, EndsWith(".\n"));
  }
}

TEST_F(CliHelp, SaysWhatAnOptionTakes) {
  EXPECT_THAT(RunTvq({"show", "--help"}).out, HasSubstr("\n  --from-dump FILE "));
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
  EXPECT_EQ(RunTvq({"show", "--two\nlines"}).diagnostics,
            "tvq: error: The following argument was not expected: --two\n"
            "tvq: hint: `tvq show --help` lists the options, with examples\n");
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
