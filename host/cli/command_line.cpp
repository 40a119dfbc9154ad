/*
 * The command line of `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <ostream>
#include <string>
#include <string_view>

#include "TvqSmbiosPkg/Include/TvqVersion.h"
#include "host/cli/command.h"
#include "host/cli/input/input.h"
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
    "Exit status of every command: 0 nothing was found; 1 something was found; 2 it could not be\n"
    "done; 3 no state was saved yet. 1 wins over 2.";

// Options without the names of the options that they exclude or need.
class HelpFormatter : public CLI::Formatter {
 public:
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

CLI::App& Commands::Add(const CommandText& text, CommandBody body) {
  CLI::App* command = mApp.add_subcommand(text.name, text.summary);
  command->footer(fmt::format("{}\n\nExamples:\n{}\nExit status: {}", text.details, text.examples,
                              text.statuses));
  command->add_flag("-q,--quiet", mIsQuiet, "Print no warnings and remarks, errors alone");
  command->callback([this, body = std::move(body)] { mChosen = body; });
  mAdded.push_back({text, command});
  return *command;
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

// The hint with the command line in its place.
std::string WithCommand(std::string hint, int argc, const char* const* argv) {
  const std::size_t place = hint.find(kThisCommand);
  if (place != std::string::npos) {
    std::string command = "tvq";
    for (int i = 1; i < argc; ++i) {
      command += ' ' + Quoted(argv[i]);
    }
    hint.replace(place, sizeof(kThisCommand) - 1, command);
  }
  return hint;
}

// The parser's own message may be of several lines, of which the first tells what is wrong.
int ReportUsage(const CLI::App& app, const CLI::ParseError& error, const Console& console) {
  const std::string message = error.what();
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
    console.isQuiet = commands.IsQuiet();
    return commands.Chosen()(console);
  } catch (const CLI::Success& request) {
    app.exit(request, console.out, console.diagnostics);
    return kExitNothingFound;
  } catch (const CLI::ParseError& error) {
    return ReportUsage(app, error, console);
  } catch (const NoStateError& error) {
    console.Error(error.what(), WithCommand(error.Hint(), argc, argv));
    return kExitNoState;
  } catch (const InputError& error) {
    console.Error(error.what(), WithCommand(error.Hint(), argc, argv));
    return kExitTrouble;
  }
}

}  // namespace tvq::cli
