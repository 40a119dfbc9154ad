/*
 * The names of devices in those of systemd's units.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/unit_name.h"

#include <fmt/format.h>

#include <charconv>

namespace tvq::cli {
namespace {

// "\x20"
constexpr std::string_view kMark = "\\x";
constexpr std::size_t kEscapeSize = 4;

bool IsPlain(char character) {
  return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'Z') ||
         (character >= 'a' && character <= 'z') ||
         std::string_view(":_.-").find(character) != std::string_view::npos;
}

// The character that the text begins with an escape for; 0 where it does not.
char EscapedAt(std::string_view text) {
  unsigned char character = 0;
  if (text.size() < kEscapeSize || text.substr(0, kMark.size()) != kMark) {
    return 0;
  }
  const char* const end = text.data() + kEscapeSize;
  const auto result = std::from_chars(text.data() + kMark.size(), end, character, 16);
  return result.ec == std::errc() && result.ptr == end ? static_cast<char>(character) : '\0';
}

}  // namespace

std::string EscapedForUnit(std::string_view name) {
  std::string escaped;
  for (const char character : name) {
    escaped += IsPlain(character)
                   ? std::string(1, character)
                   : fmt::format("{}{:02x}", kMark, static_cast<unsigned char>(character));
  }
  return escaped;
}

std::string UnescapedFromUnit(std::string_view escaped) {
  std::string name;
  while (!escaped.empty()) {
    const char character = EscapedAt(escaped);
    name += character != 0 ? character : escaped.front();
    escaped.remove_prefix(character != 0 ? kEscapeSize : 1);
  }
  return name;
}

}  // namespace tvq::cli
