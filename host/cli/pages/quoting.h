/*
 * Text between quotation marks of a shell.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_PAGES_QUOTING_H_
#define TVQ_HOST_CLI_PAGES_QUOTING_H_

#include <string>
#include <string_view>

namespace tvq::cli {

// Between single ones, for zsh and fish alike.
inline std::string SingleQuoted(std::string_view text) {
  std::string quoted = "'";
  for (const char character : text) {
    quoted += character == '\'' ? "'\\''" : std::string(1, character);
  }
  return quoted + '\'';
}

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_PAGES_QUOTING_H_
