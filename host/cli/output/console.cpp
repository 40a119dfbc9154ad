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

#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

// Empty where the variable is not set.
std::string ValueOf(const char* variable) {
  const char* const value = std::getenv(variable);
  return value == nullptr ? "" : value;
}

// By the first of the variables that is set (POSIX, Base Definitions, 8.2), without the data of a
// locale, which need not be installed.
bool IsUtf8Locale() {
  for (const char* const variable : {"LC_ALL", "LC_CTYPE", "LANG"}) {
    if (const std::string locale = ValueOf(variable); !locale.empty()) {
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

void Console::Page(const std::string& utf8) const {
  out << Folded(utf8, terminal);
}

void Console::Text(std::string_view utf8) const {
  out << Shown(utf8, terminal);
}

void Console::Line(std::string_view text) const {
  if (!isQuiet) {
    diagnostics << Folded(fmt::format("tvq: {}\n", text), terminal);
  }
}

void Console::Warning(std::string_view text) const {
  Line(fmt::format("warning: {}", text));
}

void Console::Error(std::string_view text, std::string_view hint) const {
  diagnostics << Folded(fmt::format("tvq: error: {}\n", text), terminal);
  if (!hint.empty()) {
    diagnostics << Folded(fmt::format("tvq: hint: {}\n", hint), terminal);
  }
}

Terminal StandardTerminal() {
  constexpr std::size_t kUsualWidth = 80;
  const bool isAscii = !IsUtf8Locale();
  if (isatty(STDOUT_FILENO) == 0) {
    return {kUsualWidth, false, isAscii, true};
  }
  winsize size = {};
  ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
  const std::size_t width = size.ws_col == 0 ? kUsualWidth : size.ws_col;
  const char* const kind = std::getenv("TERM");
  const bool isDumb = kind == nullptr || std::string_view(kind) == "dumb";
  return {width, !isDumb && ValueOf("NO_COLOR").empty(), isAscii, false};
}

std::string Painted(const Terminal& terminal, Ink ink, std::string_view text) {
  const char* const code = terminal.hasColour ? CodeOf(ink) : nullptr;
  return code == nullptr ? std::string(text) : fmt::format("\x1B[{}m{}\x1B[0m", code, text);
}

}  // namespace tvq::cli
