/*
 * `tvq man` and `tvq completion`: what an installation takes along.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <memory>
#include <ostream>
#include <string_view>

#include "host/cli/pages/completion.h"
#include "host/cli/pages/man_page.h"

namespace tvq::cli {
namespace {

constexpr CommandText kManText = {
    "man", "Prints the manual page",
    "In roff, made of the same texts as what --help prints. An installation has it as tvq(1).",
    "  tvq man | man -l -\n", "0 it was printed; 2 the command line is wrong."};

constexpr CommandText kCompletionText = {
    "completion", "Prints a script with which a shell completes the command line",
    "Completes commands, options, files, folders, and the names of rules and types. An\n"
    "installation has the scripts where the shells look for them.",
    "  source <(tvq completion bash)\n"
    "  tvq completion zsh > ~/.zfunc/_tvq\n"
    "  tvq completion fish | source\n",
    "0 it was printed; 2 there is no such shell."};

using Script = std::string (*)(const CommandTree& tree);

// By the name of the shell; null for one that is not known.
Script ScriptFor(std::string_view shell) {
  return shell == "bash"   ? BashCompletion
         : shell == "zsh"  ? ZshCompletion
         : shell == "fish" ? FishCompletion
                           : nullptr;
}

}  // namespace

void AddMan(Commands& commands) {
  commands.Add(kManText, [&commands](Console& console) {
    console.Text(ManPage(commands.Tree()));
    return kExitNothingFound;
  });
}

void AddCompletion(Commands& commands) {
  const auto shell = std::make_shared<std::string>();
  Parameters parameters = commands.Add(kCompletionText, [&commands, shell](Console& console) {
    console.Text(ScriptFor(*shell)(commands.Tree()));
    return kExitNothingFound;
  });
  parameters.Value("bash|zsh|fish", *shell, "The shell")
      .Named("")
      .Required()
      .Checked([](const std::string& name) {
        return ScriptFor(name) != nullptr ? std::string()
                                          : "'" + name + "' is none of bash|zsh|fish";
      });
}

}  // namespace tvq::cli
