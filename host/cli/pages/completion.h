/*
 * Scripts with which shells complete the command line of `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_PAGES_COMPLETION_H_
#define TVQ_HOST_CLI_PAGES_COMPLETION_H_

#include <string>

#include "host/cli/pages/command_tree.h"

namespace tvq::cli {

std::string BashCompletion(const CommandTree& tree);
std::string ZshCompletion(const CommandTree& tree);
std::string FishCompletion(const CommandTree& tree);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_PAGES_COMPLETION_H_
