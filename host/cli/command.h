/*
 * What a command of `tvq` is: its words, its options and what it does.
 *
 * A command lives in a file of its own, with one function that adds it; commands.def lists them:
 *
 *     void AddSlot(Commands& commands) {
 *       const auto options = std::make_shared<SlotOptions>();
 *       Parameters parameters = commands.Add(kText, [options](Console& console) { ... });
 *       parameters.Value("BDF", options->address, "...").Required();
 *     }
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMMAND_H_
#define TVQ_HOST_CLI_COMMAND_H_

#include <functional>
#include <memory>
#include <stdexcept>
#include <vector>

#include "host/cli/output/console.h"
#include "host/cli/parameters.h"

namespace tvq::cli {

// The same for every command.
enum ExitStatus : int {
  kExitNothingFound = 0,
  kExitFound = 1,    // there is something to look at
  kExitTrouble = 2,  // something could not be done; also wrong usage
  kExitNoState = 3,  // no state was saved yet
};

// What the help and the manual say of a command.
struct CommandText {
  const char* name;
  const char* summary;   // one line without a full stop, for the list of commands
  const char* details;   // paragraphs with an empty line between; other ends of lines mean nothing
  const char* examples;  // command lines, each with a line feed
  const char* statuses;  // what the exit statuses mean here, a sentence for each
};

// Arguments that do not go together. The message is a sentence without a full stop.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// What a command does. An InputError ends it with a message and kExitTrouble, a UsageError with a word about its
// usage too.
using CommandBody = std::function<ExitStatus(Console&)>;

struct AddedCommand {
  CommandText text;
  const CLI::App* app;
};

struct CommandTree;

// The commands of a command line while it is put together.
class Commands {
 public:
  explicit Commands(CLI::App& app) : mApp(app) {}
  Commands(const Commands&) = delete;
  Commands& operator=(const Commands&) = delete;

  // The subcommand, for its options. The body runs after everything was parsed.
  Parameters Add(const CommandText& text, CommandBody body);

  // The body of the command that the arguments named.
  const CommandBody& Chosen() const { return mChosen; }

  // Adds --wide, for a command that prints lines for people.
  void AddWide(Parameters parameters);

  // Whether --quiet was given, and --wide.
  bool IsQuiet() const { return mIsQuiet; }
  bool IsWide() const { return mIsWide; }

  // Everything that was added.
  CommandTree Tree() const;

 private:
  CLI::App& mApp;
  std::vector<AddedCommand> mAdded;
  CommandBody mChosen;
  bool mIsQuiet = false;
  bool mIsWide = false;
};

// Declares the function of every command.
#define TVQ_COMMAND(Function) void Function(Commands& commands);
#include "host/cli/commands.def"
#undef TVQ_COMMAND

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMMAND_H_
