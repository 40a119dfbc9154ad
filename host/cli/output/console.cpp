/*
 * What a command reads from and writes to.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/console.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <ostream>

namespace tvq::cli {
namespace {

bool IsSet(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

// By the first of the variables that is set (POSIX, Base Definitions, 8.2), without the data of a
// locale, which need not be installed.
bool IsUtf8Locale() {
  for (const char* const variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    if (IsSet(variable)) {
      const std::string locale = std::getenv(variable);
      return locale.find("UTF-8") != std::string::npos || locale.find("utf8") != std::string::npos;
    }
  }
  return false;
}

const char* CodeOf(Ink ink) {
  switch (ink) {
    case Ink::kBold:
      return "1";
    case Ink::kDim:
      return "2";
    case Ink::kRed:
      return "31";
    case Ink::kGreen:
      return "32";
    case Ink::kYellow:
      return "33";
    case Ink::kPlain:
      break;
  }
  return nullptr;
}

}  // namespace

void Console::Line(std::string_view text) const {
  if (isQuiet) {
    return;
  }
  diagnostics << "tvq: " << text << '\n';
}

void Console::Warning(std::string_view text) const {
  if (isQuiet) {
    return;
  }
  diagnostics << "tvq: warning: " << text << '\n';
}

void Console::Error(std::string_view text, std::string_view hint) const {
  diagnostics << "tvq: error: " << text << '\n';
  if (!hint.empty()) {
    diagnostics << "tvq: hint: " << hint << '\n';
  }
}

Terminal StandardTerminal() {
  const bool isAscii = !IsUtf8Locale();
  if (isatty(STDOUT_FILENO) == 0) {
    return {0, false, isAscii};
  }
  winsize size = {};
  ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
  const char* const kind = std::getenv("TERM");
  const bool isDumb = kind == nullptr || std::string_view(kind) == "dumb";
  return {size.ws_col, !isDumb && !IsSet("NO_COLOR"), isAscii};
}

Terminal PageOf(Terminal terminal) {
  constexpr std::size_t kUsualWidth = 80;
  terminal.width = terminal.width == 0 ? kUsualWidth : terminal.width;
  return terminal;
}

std::string Painted(const Terminal& terminal, Ink ink, std::string_view text) {
  const char* const code = terminal.hasColour ? CodeOf(ink) : nullptr;
  return code == nullptr ? std::string(text) : fmt::format("\x1B[{}m{}\x1B[0m", code, text);
}

}  // namespace tvq::cli
