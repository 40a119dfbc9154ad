/*
 * The completion for zsh.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/cli/pages/completion.h"
#include "host/cli/pages/quoting.h"
#include "host/cli/pages/values.h"

namespace tvq::cli {
namespace {

constexpr char kFrame[] = R"(#compdef tvq
# SPDX-License-Identifier: BSD-2-Clause-Patent
if ((CURRENT == 2)); then
  local -a commands=(
{commands}  )
  if [[ "$words[CURRENT]" == -* ]]; then
    _arguments{options}
  else
    _describe command commands
  fi
  return
fi
local command="$words[2]"
shift words
((CURRENT--))
case "$command" in
{cases}esac
)";

// Text in a part of a specification that ends at a colon or a bracket.
std::string Part(std::string_view text) {
  std::string part;
  for (const char character : text) {
    if (std::string_view("[]:\\").find(character) != std::string_view::npos) {
      part += '\\';
    }
    part += character;
  }
  return part;
}

std::string Action(const Values& values) {
  if (!values.words.empty()) {
    return fmt::format("({})", fmt::join(values.words, " "));
  }
  return values.areFiles ? "_files" : values.areFolders ? "_files -/" : " ";
}

std::string Value(const std::string& name) {
  return fmt::format(":{}:{}", Part(name), Action(ValuesOf(name)));
}

// What is not offered any more once the option stands there.
std::string Excluded(const Argument& option) {
  std::vector<std::string> excluded = option.excludes;
  excluded.insert(excluded.end(), option.names.begin(), option.names.end());
  return fmt::format("({})", fmt::join(excluded, " "));
}

// One specification for each name.
std::string OptionSpecification(const Argument& option) {
  const std::string before = option.isRepeated ? "*" : Excluded(option);
  const std::string value = option.value.empty() ? "" : Value(option.value);
  std::string specifications;
  for (const std::string& name : option.names) {
    specifications += ' ' + SingleQuoted(fmt::format("{}{}[{}]{}", before, name,
                                                     Part(option.description), value));
  }
  return specifications;
}

std::string Specifications(const CommandNode& command) {
  std::string specifications;
  for (const Argument& option : command.options) {
    specifications += OptionSpecification(option);
  }
  for (const Argument& positional : command.positionals) {
    specifications +=
        ' ' + SingleQuoted((positional.isRepeated ? "*" : "") + Value(positional.names.front()));
  }
  return specifications;
}

}  // namespace

std::string ZshCompletion(const CommandTree& tree) {
  std::string commands;
  std::string cases;
  for (const CommandNode& command : tree.commands) {
    commands += fmt::format(
        "    {}\n", SingleQuoted(fmt::format("{}:{}", command.text.name, command.text.summary)));
    cases += fmt::format("  {}) _arguments{} ;;\n", command.text.name, Specifications(command));
  }
  std::string options;
  for (const Argument& option : tree.options) {
    options += OptionSpecification(option);
  }
  return fmt::format(kFrame, fmt::arg("commands", commands), fmt::arg("options", options),
                     fmt::arg("cases", cases));
}

}  // namespace tvq::cli
