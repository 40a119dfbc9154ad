/*
 * The completion for fish.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/cli/pages/completion.h"
#include "host/cli/pages/quoting.h"
#include "host/cli/pages/values.h"

namespace tvq::cli {
namespace {

// What is offered for a value, and files only where they are wanted.
std::string Offer(const Values& values) {
  if (!values.words.empty()) {
    return fmt::format(" -f -a {}", SingleQuoted(fmt::format("{}", fmt::join(values.words, " "))));
  }
  if (values.areFolders) {
    return " -f -a '(__fish_complete_directories)'";
  }
  return values.areFiles ? " -F" : " -f";
}

std::string Line(const std::string& condition, const std::string& rest) {
  return fmt::format("complete -c tvq -n {}{}\n", SingleQuoted(condition), rest);
}

std::string OptionLine(const std::string& condition, const Argument& option) {
  std::string names;
  for (const std::string& name : option.names) {
    names += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
  }
  return Line(condition,
              fmt::format("{}{} -d {}", names,
                          option.value.empty() ? "" : " -r" + Offer(ValuesOf(option.value)),
                          SingleQuoted(option.description)));
}

std::string CommandLines(const CommandNode& command) {
  const std::string condition = fmt::format("__fish_seen_subcommand_from {}", command.text.name);
  std::string lines =
      Line("__fish_use_subcommand",
           fmt::format(" -f -a {} -d {}", command.text.name, SingleQuoted(command.text.summary)));
  lines += Line(condition, command.positionals.empty()
                               ? " -f"
                               : Offer(ValuesOf(command.positionals.front().names.front())));
  for (const Argument& option : command.options) {
    lines += OptionLine(condition, option);
  }
  return lines;
}

}  // namespace

std::string FishCompletion(const CommandTree& tree) {
  std::string lines =
      "# fish completion of tvq\n"
      "# SPDX-License-Identifier: BSD-2-Clause-Patent\n";
  for (const Argument& option : tree.options) {
    lines += OptionLine("__fish_use_subcommand", option);
  }
  for (const CommandNode& command : tree.commands) {
    lines += CommandLines(command);
  }
  return lines;
}

}  // namespace tvq::cli
