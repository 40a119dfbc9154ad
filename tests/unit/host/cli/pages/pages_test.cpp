/*
 * What the manual page and the completions are made of. That readers of such files take them is seen with the built
 * command, in tests/cli/pages_test.py.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/cli/pages/completion.h"
#include "host/cli/pages/man_page.h"
#include "host/cli/pages/quoting.h"
#include "host/cli/pages/values.h"
#include "tests/unit/host/cli/cli_fixture.h"

namespace tvq::cli {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

// Of `tvq` itself.
using CliManPage = CliTest;
using CliCompletion = CliTest;

Argument Option(std::vector<std::string> names, std::string value, std::string description) {
  Argument option;
  option.names = std::move(names);
  option.value = std::move(value);
  option.description = std::move(description);
  return option;
}

// A command of one argument and one option.
CommandTree TreeOf(const CommandText& text, const Argument& positional, const Argument& option) {
  return {"A summary.", {Option({"-h", "--help"}, "", "Help")}, {{text, {positional}, {option}}}};
}

CommandTree TreeOf(const Argument& option) {
  return TreeOf({"do", "Does it", "", "", ""}, Option({"FILE"}, "", "A file"), option);
}

TEST(ManPage, KeepsWhatRoffWouldObey) {
  const CommandText text = {"do", "Does it", "The 'what'.\n.Then ~more.\n\nAnd `tvq do --it`.",
                            "  .hidden | tvq do ^\n", "0 done."};
  const std::string page =
      ManPage(TreeOf(text, Option({"FILE"}, "", "A file"), Option({"--it"}, "", "It")));
  EXPECT_THAT(page, HasSubstr("\nThe \\(aqwhat\\(aq.\n\\&.Then \\(timore.\n"));
  EXPECT_THAT(page, HasSubstr("\n.PP\nAnd \\fBtvq do \\-\\-it\\fR.\n"));
  EXPECT_THAT(page, HasSubstr("\n.nf\n\\&.hidden | tvq do \\(ha\n.fi\n"));
  EXPECT_THAT(page, HasSubstr("\nExit status: 0 done.\n"));
}

TEST(ManPage, SaysWhatAnOptionTakesAndGoesWith) {
  Argument option = Option({"-o", "--output"}, "FILE", "Where `it` goes");
  option.needs = {"--it"};
  option.excludes = {"--this", "--that"};
  option.isRepeated = true;
  EXPECT_THAT(ManPage(TreeOf(option)),
              HasSubstr(".TP\n\\fB\\-o\\fR, \\fB\\-\\-output\\fR \\fIFILE\\fR\n"
                        "Where \\fBit\\fR goes.\nMay be given more than once.\n"
                        "Only with \\fB\\-\\-it\\fR.\n"
                        "Not with \\fB\\-\\-this\\fR, \\fB\\-\\-that\\fR.\n"));
}

TEST(ManPage, ShowsWhichArgumentsMayBeLeftOutOrRepeated) {
  CommandTree tree = TreeOf(Option({"--it"}, "", "It"));
  Argument& file = tree.commands[0].positionals[0];
  EXPECT_THAT(ManPage(tree), HasSubstr("\\fBtvq do\\fR [\\fIOPTIONS\\fR] [\\fIFILE\\fR]\n"));
  file.isRequired = true;
  file.isRepeated = true;
  EXPECT_THAT(ManPage(tree), HasSubstr("[\\fIOPTIONS\\fR] \\fIFILE\\fR .\\|.\\|.\n"));
  tree.commands[0].options = {Option({"-h", "--help"}, "", "Help")};
  EXPECT_THAT(ManPage(tree), AllOf(HasSubstr("\n\\fBtvq do\\fR \\fIFILE\\fR"),
                                   HasSubstr("\n\\fBtvq\\fR \\fB\\-\\-help\\fR\n")));
}

TEST(ManPage, HasItsSummaryWithoutAFullStop) {
  for (const char* const summary : {"A summary", "A summary."}) {
    CommandTree tree = TreeOf(Option({"--it"}, "", "It"));
    tree.summary = summary;
    EXPECT_THAT(ManPage(tree), HasSubstr("\n.SH NAME\ntvq \\- A summary\n.SH SYNOPSIS\n"));
  }
  CommandTree tree = TreeOf(Option({"--it"}, "", "It"));
  tree.summary = "";
  EXPECT_THAT(ManPage(tree), HasSubstr("\ntvq \\- \n"));
}

TEST(ManPage, BeginsEachSectionOnALineOfItsOwn) {
  const std::string page = ManPage(TreeOf(Option({"--it"}, "", "It")));
  EXPECT_THAT(page, HasSubstr("captured anywhere.\n.SH OPTIONS\n"));
  EXPECT_THAT(page, HasSubstr("\n.TP\n\\fIFILE\\fR\nA file.\n.TP\n\\fB\\-\\-it\\fR\nIt.\n"));
}

TEST(ManPage, HasCommandsInBoldAndALoneQuoteAsItIs) {
  const CommandText text = {"do", "Does it", "`tvq do` or `tvq`, a lone ` too.", "", ""};
  EXPECT_THAT(ManPage(TreeOf(text, Option({"FILE"}, "", "A file"), Option({"--it"}, "", "It"))),
              HasSubstr("\n\\fBtvq do\\fR or \\fBtvq\\fR, a lone \\(ga too.\n"));
}

TEST(ManPage, HasNothingInBoldOfTwoQuotesWithNothingBetween) {
  const CommandText text = {"do", "Does it", "Nothing: ``, `tvq` and ` too.", "", ""};
  EXPECT_THAT(ManPage(TreeOf(text, Option({"FILE"}, "", "A file"), Option({"--it"}, "", "It"))),
              HasSubstr("\nNothing: \\fB\\fR, \\fBtvq\\fR and \\(ga too.\n"));
}

TEST_F(CliManPage, ShowsWhatEachCommandTakes) {
  const std::string page = RunTvq({"man"}).out;
  EXPECT_THAT(page, HasSubstr("\n\\fBtvq get\\fR [\\fIOPTIONS\\fR] "
                              "[\\fITABLE|PATH\\fR .\\|.\\|.]\n"));
  EXPECT_THAT(page, HasSubstr(" [\\fIOPTIONS\\fR] \\fIDIR\\fR \\fINAME\\fR .\\|.\\|.\n"));
  EXPECT_THAT(page, HasSubstr("\n\\fBtvq\\fR \\fB\\-\\-version\\fR\n"));
}

TEST_F(CliManPage, NamesTheFilesThatItUses) {
  const Outcome printed = RunTvq({"man"});
  EXPECT_EQ(printed.status, 0);
  const std::string& page = printed.out;
  EXPECT_THAT(page, HasSubstr("\n\\fI/sys/firmware/dmi/tables/DMI\\fR\n"));
  EXPECT_THAT(page, HasSubstr("\n\\fIDIR/state\\-N.bin\\fR\n"));
}

TEST_F(CliManPage, HasTheOptionsOfACommandWithWhatTheyTakeAndGoWith) {
  const std::string page = RunTvq({"man"}).out;
  EXPECT_THAT(page, HasSubstr("\n\\fB\\-\\-smbios\\-version\\fR \\fIM.m\\fR\n"
                              "The version that a bare table counts as (3.0).\n"
                              "Only with \\fB\\-\\-table\\fR.\n"));
  EXPECT_THAT(page, HasSubstr("\nNot with \\fB\\-\\-from\\-dump\\fR, \\fB\\-\\-table\\fR.\n"));
  EXPECT_THAT(page, HasSubstr("\n\\fB\\-\\-json\\fR\n"));
  EXPECT_THAT(page, HasSubstr("\n\\fB\\-\\-enable\\fR \\fIRULE\\fR\n"
                              "Look for what this rule is about, too.\n"
                              "May be given more than once.\n"));
}

TEST(Values, AreWhatTheNameOfAValueStandsFor) {
  EXPECT_TRUE(ValuesOf("FILE").areFiles);
  EXPECT_TRUE(ValuesOf("TABLE|DEVICE").areFiles);
  EXPECT_TRUE(ValuesOf("DIR").areFolders);
  EXPECT_FALSE(ValuesOf("DIR").areFiles);
  EXPECT_THAT(ValuesOf("driver|table").words, ElementsAre("driver", "table"));
  EXPECT_THAT(ValuesOf("RULE").words, Contains("locator-clash"));
  EXPECT_THAT(ValuesOf("TYPE|all").words, AllOf(Contains("memory-device"), Contains("all")));
}

TEST(Values, AreWordsOfSmallLetters) {
  EXPECT_THAT(ValuesOf("a|z|az").words, ElementsAre("a", "z", "az"));
  EXPECT_THAT(ValuesOf("`|{|a-z|A").words, IsEmpty());
}

TEST(Values, AreUnknownForWhatNobodyCanGuess) {
  for (const char* const name : {"", "N", "M.m", "TEXT", "BUS:DEVICE.FUNCTION"}) {
    const Values values = ValuesOf(name);
    EXPECT_TRUE(!values.areFiles && !values.areFolders && values.words.empty()) << name;
  }
}

TEST(Completion, KeepsWhatMeansSomethingToAShell) {
  const Argument option = Option({"-o", "--output"}, "FILE", "It's [one]: that");
  EXPECT_THAT(ZshCompletion(TreeOf(option)),
              HasSubstr("'(-o --output)--output[It'\\''s \\[one\\]\\: that]:FILE:_files'"));
  EXPECT_THAT(FishCompletion(TreeOf(option)),
              HasSubstr(" -s o -l output -r -F -d 'It'\\''s [one]: that'\n"));
  EXPECT_EQ(SingleQuoted("a'b"), "'a'\\''b'");
}

TEST(Completion, OffersInZshNoOptionThatIsRuledOut) {
  Argument option = Option({"--this"}, "", "This");
  option.excludes = {"--that"};
  EXPECT_THAT(ZshCompletion(TreeOf(option)), HasSubstr("'(--that --this)--this[This]'"));
  option.isRepeated = true;
  EXPECT_THAT(ZshCompletion(TreeOf(option)), HasSubstr("'*--this[This]'"));
}

// What follows `do`, and each kind of value.
CommandTree TreeOfValues() {
  CommandTree tree = TreeOf(Option({"-f", "--file"}, "FILE", "A file"));
  CommandNode& command = tree.commands[0];
  command.positionals[0].isRepeated = true;
  command.options.push_back(Option({"--dir"}, "DIR", "A folder"));
  command.options.push_back(Option({"--as"}, "text|json", "A form"));
  command.options.push_back(Option({"--count"}, "N", "A number"));
  command.options.push_back(Option({"--it"}, "", "It"));
  tree.commands.push_back({{"stop", "Stops", "", "", ""}, {}, {Option({"--it"}, "", "It")}});
  return tree;
}

TEST(Completion, OffersInBashWhatAValueCanBe) {
  EXPECT_THAT(BashCompletion(TreeOfValues()),
              HasSubstr("    _tvq_words \"do stop -h --help\"\n    return\n  fi\n"
                        "  case \"${COMP_WORDS[1]} $previous\" in\n"
                        "    \"do -f\")\n      _tvq_paths -f\n      return\n      ;;\n"
                        "    \"do --file\")\n      _tvq_paths -f\n      return\n      ;;\n"
                        "    \"do --dir\")\n      _tvq_paths -d\n      return\n      ;;\n"
                        "    \"do --as\")\n      _tvq_words \"text json\"\n      return\n      ;;\n"
                        "    \"do --count\")\n      :\n      return\n      ;;\n"
                        "  esac\n"
                        "  case \"${COMP_WORDS[1]} $word\" in\n"
                        "    \"do -\"*) _tvq_words \"-f --file --dir --as --count --it\" ;;\n"
                        "    \"stop -\"*) _tvq_words \"--it\" ;;\n"
                        "    \"do \"*) _tvq_paths -f ;;\n"
                        "  esac\n"));
}

TEST(Completion, OffersInZshWhatAValueCanBe) {
  EXPECT_THAT(ZshCompletion(TreeOfValues()),
              HasSubstr("case \"$command\" in\n"
                        "  do) _arguments '(-f --file)-f[A file]:FILE:_files'"
                        " '(-f --file)--file[A file]:FILE:_files'"
                        " '(--dir)--dir[A folder]:DIR:_files -/'"
                        " '(--as)--as[A form]:text|json:(text json)'"
                        " '(--count)--count[A number]:N: '"
                        " '(--it)--it[It]' '*:FILE:_files' ;;\n"
                        "  stop) _arguments '(--it)--it[It]' ;;\n"
                        "esac\n"));
  EXPECT_THAT(ZshCompletion(TreeOf(Option({"--it"}, "", "It"))), HasSubstr(" ':FILE:_files' ;;"));
}

TEST(Completion, OffersInFishWhatAValueCanBe) {
  const std::string lines = FishCompletion(TreeOfValues());
  const std::string start = "complete -c tvq -n '__fish_seen_subcommand_from ";
  EXPECT_THAT(lines,
              HasSubstr(start + "do' -F\n" + start + "do' -s f -l file -r -F -d 'A file'\n"));
  EXPECT_THAT(lines, HasSubstr(" -l dir -r -f -a '(__fish_complete_directories)' -d 'A folder'\n"));
  EXPECT_THAT(lines, HasSubstr(" -l as -r -f -a 'text json' -d 'A form'\n"));
  EXPECT_THAT(lines, HasSubstr(" -l count -r -f -d 'A number'\n"));
  EXPECT_THAT(lines, HasSubstr(start + "stop' -f\n" + start + "stop' -l it -d 'It'\n"));
}

TEST_F(CliCompletion, IsThereForEachShell) {
  for (const char* const shell : {"bash", "zsh", "fish"}) {
    const Outcome outcome = RunTvq({"completion", shell});
    EXPECT_EQ(outcome.status, 0) << outcome.diagnostics;
    EXPECT_THAT(outcome.out, AllOf(HasSubstr("verify"), HasSubstr("save-first")));
  }
}

TEST_F(CliCompletion, OfAnUnknownShellIsAWrongCommandLine) {
  const Outcome outcome = RunTvq({"completion", "tcsh"});
  EXPECT_EQ(outcome.status, 2);
  EXPECT_THAT(outcome.out, IsEmpty());
  EXPECT_THAT(outcome.diagnostics, HasSubstr("'tcsh' is none of bash|zsh|fish"));
}

}  // namespace
}  // namespace tvq::cli
