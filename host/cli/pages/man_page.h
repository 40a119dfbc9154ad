/*
 * The manual page of `tvq`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_PAGES_MAN_PAGE_H_
#define TVQ_HOST_CLI_PAGES_MAN_PAGE_H_

#include <string>

#include "host/cli/pages/command_tree.h"

namespace tvq::cli {

// In roff, with the macros of man(7).
std::string ManPage(const CommandTree& tree);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_PAGES_MAN_PAGE_H_
