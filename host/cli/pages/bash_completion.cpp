/*
 * The completion for bash.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/cli/pages/completion.h"
#include "host/cli/pages/values.h"

namespace tvq::cli {
namespace {

constexpr char kFrame[] = R"(# bash completion of tvq
# SPDX-License-Identifier: BSD-2-Clause-Patent
_tvq_words() {{ mapfile -t COMPREPLY < <(compgen -W "$1" -- "$word"); }}
_tvq_paths() {{
  compopt -o filenames 2>/dev/null
  mapfile -t COMPREPLY < <(compgen "$1" -- "$word")
}}
_tvq() {{
  local word="${{COMP_WORDS[COMP_CWORD]}}" previous="${{COMP_WORDS[COMP_CWORD - 1]}}"
  COMPREPLY=()
  # In --option=value, '=' is a word of its own.
  if [[ "$word" == = ]]; then
    word=
  elif [[ "$previous" == = ]]; then
    previous="${{COMP_WORDS[COMP_CWORD - 2]}}"
  fi
  if ((COMP_CWORD == 1)); then
    _tvq_words "{first}"
    return
  fi
  case "${{COMP_WORDS[1]}} $previous" in
{values}  esac
  case "${{COMP_WORDS[1]}} $word" in
{options}{positionals}  esac
}}
complete -F _tvq tvq
)";

std::string Joined(const std::vector<std::string>& words) {
  return fmt::format("{}", fmt::join(words, " "));
}

// The command that offers the values; nothing is offered where there is none.
std::string Offer(const Values& values) {
  if (!values.words.empty()) {
    return fmt::format("_tvq_words \"{}\"", Joined(values.words));
  }
  return values.areFiles ? "_tvq_paths -f" : values.areFolders ? "_tvq_paths -d" : ":";
}

std::string ValueCases(const CommandNode& command) {
  std::string cases;
  for (const Argument& option : command.options) {
    for (const std::string& name : option.names) {
      if (!option.value.empty()) {
        cases += fmt::format("    \"{} {}\")\n      {}\n      return\n      ;;\n",
                             command.text.name, name, Offer(ValuesOf(option.value)));
      }
    }
  }
  return cases;
}

std::string OptionCase(const CommandNode& command) {
  std::vector<std::string> names;
  for (const Argument& option : command.options) {
    names.insert(names.end(), option.names.begin(), option.names.end());
  }
  return fmt::format("    \"{} -\"*) _tvq_words \"{}\" ;;\n", command.text.name, Joined(names));
}

// All of them offer the same.
std::string PositionalCase(const CommandNode& command) {
  return command.positionals.empty()
             ? ""
             : fmt::format("    \"{} \"*) {} ;;\n", command.text.name,
                           Offer(ValuesOf(command.positionals.front().names.front())));
}

}  // namespace

std::string BashCompletion(const CommandTree& tree) {
  std::vector<std::string> first;
  std::string values;
  std::string options;
  std::string positionals;
  for (const CommandNode& command : tree.commands) {
    first.emplace_back(command.text.name);
    values += ValueCases(command);
    options += OptionCase(command);
    positionals += PositionalCase(command);
  }
  for (const Argument& option : tree.options) {
    first.insert(first.end(), option.names.begin(), option.names.end());
  }
  return fmt::format(kFrame, fmt::arg("first", Joined(first)), fmt::arg("values", values),
                     fmt::arg("options", options), fmt::arg("positionals", positionals));
}

}  // namespace tvq::cli
