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
  bool isPipe = false;   // a program reads what is printed, or a file keeps it
};

struct Console {
  std::istream& in;
  std::ostream& out;
  std::ostream& diagnostics;
  Terminal terminal = {};
  bool isQuiet = false;          // of the lines on `diagnostics`, it has the errors alone
  bool isOneLine = false;        // each JSON document has a line of its own
  bool hasProgress = false;      // `diagnostics` is a terminal
  std::string commandLine = {};  // as it was typed, for hints
  // Where the system's journal takes entries.
  std::string journal = "/run/systemd/journal/socket";

  // Lines for people on `out`, each with its line feed: no wider than the terminal, in characters that
  // it shows.
  void Page(const std::string& utf8) const;
  // One text on `out`, as long as it is.
  void Text(std::string_view utf8) const;

  // Lines on `diagnostics`, shown as a page is.
  void Line(std::string_view text) const;
  void Warning(std::string_view text) const;
  void Error(std::string_view text, std::string_view hint = "") const;
};

// Of this process: where standard output is no terminal, 80 characters wide and without colour; and
// without colour where the variable NO_COLOR asks for none. The locale says whether it shows ASCII
// alone.
Terminal StandardTerminal();

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
