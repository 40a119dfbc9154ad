/*
 * What `tvq` and its commands take.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/pages/command_tree.h"

#include <CLI/CLI.hpp>
#include <set>

namespace tvq::cli {
namespace {

std::vector<std::string> NamesOf(const CLI::Option& option) {
  if (option.get_positional()) {
    return {option.get_name()};
  }
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames()) {
    names.push_back("-" + name);
  }
  for (const std::string& name : option.get_lnames()) {
    names.push_back("--" + name);
  }
  return names;
}

// The set is in the order of addresses, the command's options in theirs.
std::vector<std::string> InOrder(const CLI::App& app, const std::set<CLI::Option*>& options) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    if (options.count(const_cast<CLI::Option*>(option)) != 0 && option->nonpositional()) {
      names.push_back(option->get_name());
    }
  }
  return names;
}

Argument ReadArgument(const CLI::App& app, const CLI::Option& option) {
  return {NamesOf(option),
          option.get_items_expected_max() == 0 ? "" : option.get_type_name(),
          option.get_description(),
          option.get_required(),
          option.get_items_expected_max() > 1,
          InOrder(app, option.get_needs()),
          InOrder(app, option.get_excludes())};
}

std::vector<Argument> ReadArguments(const CLI::App& app, bool arePositional) {
  std::vector<Argument> arguments;
  for (const CLI::Option* option : app.get_options()) {
    if (option->get_positional() == arePositional) {
      arguments.push_back(ReadArgument(app, *option));
    }
  }
  return arguments;
}

}  // namespace

CommandTree ReadCommandTree(const CLI::App& app, const std::vector<AddedCommand>& commands) {
  CommandTree tree = {app.get_description(), ReadArguments(app, false), {}};
  for (const AddedCommand& command : commands) {
    tree.commands.push_back(
        {command.text, ReadArguments(*command.app, true), ReadArguments(*command.app, false)});
  }
  return tree;
}

}  // namespace tvq::cli
