/*
 * The command line of `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>

#include "TvqSmbiosPkg/Include/TvqVersion.h"
#include "host/cli/command.h"
#include "host/cli/input/input.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/pages/command_tree.h"

namespace tvq::cli {
namespace {

constexpr void (*kCommands[])(Commands&) = {
#define TVQ_COMMAND(Function) Function,
#include "host/cli/commands.def"
#undef TVQ_COMMAND
};

constexpr char kVersion[] = "tvq " TVQ_VERSION;
constexpr char kSummary[] = "The inventory that TVQSMBIOS makes of an SMBIOS table.";
constexpr char kFooter[] =
    "`tvq COMMAND --help` tells more, with examples.\n"
    "Exit status of every command: 0 nothing was found; 1 something was found; 2 it\n"
    "could not be done; 3 no state was saved yet. 1 wins over 2.";
constexpr std::size_t kHelpWidth = 80;

// Text in lines of a page, for a place that is `indent` characters in.
std::string HelpText(std::string_view text, std::size_t indent) {
  Terminal page;
  page.width = kHelpWidth - indent;
  std::string lines = Filled(text, page);
  lines.pop_back();
  return lines;
}

// Options without the names of the options that they exclude or need.
class HelpFormatter : public CLI::Formatter {
 public:
  std::string make_option_desc(const CLI::Option* option) const override {
    return HelpText(option->get_description(), get_column_width());
  }
  std::string make_subcommand(const CLI::App* command) const override {
    std::ostringstream line;
    CLI::detail::format_help(line, command->get_name(),
                             HelpText(command->get_description(), get_column_width()),
                             get_column_width());
    return line.str();
  }
  // The parser adds an empty line.
  std::string make_footer(const CLI::App* app) const override {
    std::string footer = CLI::Formatter::make_footer(app);
    footer.erase(footer.find_last_not_of('\n') + 1);
    return footer + '\n';
  }
  std::string make_option_opts(const CLI::Option* option) const override {
    const std::string type = option->get_type_name();
    return type.empty() ? "" : " " + type;
  }
};

// The parser would only say that a command is missing.
void RequireKnownCommand(const CLI::App& app, int argc, const char* const* argv) {
  const auto isNamed = [&](const CLI::App* command) { return command->check_name(argv[1]); };
  if (argc > 1 && argv[1][0] != '-' && app.get_subcommands(isNamed).empty()) {
    throw InputError(fmt::format("there is no command '{}'", argv[1]),
                     "`tvq --help` lists the commands");
  }
}

}  // namespace

Parameters Commands::Add(const CommandText& text, CommandBody body) {
  CLI::App* command = mApp.add_subcommand(text.name, text.summary);
  command->footer(std::string());  // in place of that of `tvq`
  // Made when it is asked for: every run adds all commands.
  command->footer([text] {
    return fmt::format("{}\n\nExamples:\n{}\n{}", HelpText(text.details, 0), text.examples,
                       HelpText(fmt::format("Exit status: {}", text.statuses), 0));
  });
  command->add_flag("-q,--quiet", mIsQuiet, "Print no warnings and remarks, errors alone");
  command->callback([this, body = std::move(body)] { mChosen = body; });
  mAdded.push_back({text, command});
  return Parameters(*command);
}

void Commands::AddWide(Parameters parameters) {
  parameters.Flag("-w,--wide", mIsWide, "Let lines be as long as they are");
}

CommandTree Commands::Tree() const {
  return ReadCommandTree(mApp, mAdded);
}

namespace {

// A word as a shell takes it.
std::string Quoted(std::string_view word) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_./:=,@+";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string_view::npos) {
    return std::string(word);
  }
  std::string quoted = "'";
  for (const char character : word) {
    quoted += character == '\'' ? "'\\''" : std::string(1, character);
  }
  return quoted + "'";
}

std::string CommandLineOf(int argc, const char* const* argv) {
  std::string command = "tvq";
  for (int i = 1; i < argc; ++i) {
    command += ' ' + Quoted(argv[i]);
  }
  return command;
}

// The parser's own message may be of several lines, of which the first tells what is wrong.
int ReportUsage(const CLI::App& app, const std::string& message, const Console& console) {
  const std::vector<CLI::App*> named = app.get_subcommands();
  const std::string command = named.empty() ? "" : named.front()->get_name() + ' ';
  console.Error(message.substr(0, message.find('\n')),
                fmt::format("`tvq {}--help` lists the {}", command,
                            named.empty() ? "commands" : "options, with examples"));
  return kExitTrouble;
}

}  // namespace

int RunCommandLine(int argc, const char* const* argv, Console& console) {
  // Of all that is asked this takes least: putting the commands together would be most of it.
  if (argc == 2 && std::string_view(argv[1]) == "--version") {
    console.out << kVersion << '\n';
    return kExitNothingFound;
  }
  CLI::App app(kSummary, "tvq");
  app.formatter(std::make_shared<HelpFormatter>());
  app.set_version_flag("--version", kVersion, "Print the version and exit");
  app.require_subcommand(1);
  app.footer(kFooter);
  Commands commands(app);
  for (const auto& add : kCommands) {
    add(commands);
  }
  try {
    RequireKnownCommand(app, argc, argv);
    app.parse(argc, argv);
    console.commandLine = CommandLineOf(argc, argv);
    console.isQuiet = commands.IsQuiet();
    console.terminal.width = commands.IsWide() ? 0 : console.terminal.width;
    return commands.Chosen()(console);
  } catch (const CLI::Success& request) {
    app.exit(request, console.out, console.diagnostics);
    return kExitNothingFound;
  } catch (const CLI::ParseError& error) {
    return ReportUsage(app, error.what(), console);
  } catch (const UsageError& error) {
    return ReportUsage(app, error.what(), console);
  } catch (const NoStateError& error) {
    console.Error(error.what(), WithCommand(error.Hint(), console.commandLine));
    return kExitNoState;
  } catch (const InputError& error) {
    console.Error(error.what(), WithCommand(error.Hint(), console.commandLine));
    return kExitTrouble;
  }
}

}  // namespace tvq::cli
