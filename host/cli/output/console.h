/*
 * What a command reads from and writes to.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_OUTPUT_CONSOLE_H_
#define TVQ_HOST_CLI_OUTPUT_CONSOLE_H_

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

namespace tvq::cli {

// What standard output is shown on.
struct Terminal {
  std::size_t width = 0;  // 0: lines may be as long as they are
  bool hasColour = false;
  bool isAscii = false;  // it shows no other characters
};

struct Console {
  std::istream& in;
  std::ostream& out;
  std::ostream& diagnostics;
  Terminal terminal = {};
  bool isQuiet = false;  // of the lines on `diagnostics`, it has the errors alone

  // Lines on `diagnostics`.
  void Line(std::string_view text) const;
  void Warning(std::string_view text) const;
  void Error(std::string_view text, std::string_view hint = "") const;
};

// Of this process: no width and no colour where standard output is no terminal, and no colour where
// the variable NO_COLOR asks for none. The locale says whether it shows ASCII alone.
Terminal StandardTerminal();

// The same for lines that people read: of 80 characters where nothing is known of the width.
Terminal PageOf(Terminal terminal);

enum class Ink {
  kPlain,
  kBold,
  kDim,
  kRed,
  kGreen,
  kYellow,
};

// The text as the terminal shows it in that ink.
std::string Painted(const Terminal& terminal, Ink ink, std::string_view text);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_OUTPUT_CONSOLE_H_
