/*
 * What `tvq` and its commands take, for whoever writes it down: the manual page and the completions.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_PAGES_COMMAND_TREE_H_
#define TVQ_HOST_CLI_PAGES_COMMAND_TREE_H_

#include <string>
#include <vector>

#include "host/cli/command.h"

namespace tvq::cli {

// An option, or an argument that stands by itself.
struct Argument {
  std::vector<std::string> names;  // "-o", "--output"; of one that stands by itself its only name
  std::string value;               // what an option takes; empty for a flag
  std::string description;
  bool isRequired = false;
  bool isRepeated = false;
  // Long names of other options.
  std::vector<std::string> needs;
  std::vector<std::string> excludes;
};

struct CommandNode {
  CommandText text;
  std::vector<Argument> positionals;
  std::vector<Argument> options;
};

struct CommandTree {
  std::string summary;
  std::vector<Argument> options;  // those that stand before a command
  std::vector<CommandNode> commands;
};

// Reads what was added to a command line.
CommandTree ReadCommandTree(const CLI::App& app, const std::vector<AddedCommand>& commands);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_PAGES_COMMAND_TREE_H_
