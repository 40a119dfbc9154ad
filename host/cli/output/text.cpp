/*
 * How texts and bytes of the firmware are shown.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/text.h"

#include <fmt/format.h>

#include <cstddef>

namespace tvq::cli {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char16_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char16_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

bool IsControl(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

void Append(std::string& utf8, char32_t character) {
  const auto tail = [&](int shift) {
    utf8.push_back(static_cast<char>(0x80 | ((character >> shift) & 0x3F)));
  };
  if (character < 0x80) {
    utf8.push_back(static_cast<char>(character));
  } else if (character < 0x800) {
    utf8.push_back(static_cast<char>(0xC0 | (character >> 6)));
    tail(0);
  } else if (character < 0x10000) {
    utf8.push_back(static_cast<char>(0xE0 | (character >> 12)));
    tail(6);
    tail(0);
  } else {
    utf8.push_back(static_cast<char>(0xF0 | (character >> 18)));
    tail(12);
    tail(6);
    tail(0);
  }
}

// Marks, embeddings and isolates of bidirectional text (Unicode, UAX 9).
bool TurnsDirection(char32_t character) {
  return character == 0x061C || (character >= 0x200E && character <= 0x200F) ||
         (character >= 0x2028 && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

struct Character {
  char32_t code;
  size_t length;
};

// The first one of the text; a byte that begins none counts for itself.
Character FrontOf(std::string_view utf8) {
  const auto lead = static_cast<uint8_t>(utf8.front());
  const size_t length = lead < 0xC2 || lead > 0xF4 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (length == 1 || utf8.size() < length) {
    return {lead, 1};
  }
  char32_t code = lead & (0x7F >> length);
  for (const char byte : utf8.substr(1, length - 1)) {
    if ((static_cast<uint8_t>(byte) & 0xC0) != 0x80) {
      return {lead, 1};
    }
    code = code << 6 | (static_cast<uint8_t>(byte) & 0x3F);
  }
  return {code, length};
}

}  // namespace

std::string Utf8OfWide(std::u16string_view text) {
  std::string utf8;
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (IsHighSurrogate(unit) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      ++i;
      Append(utf8, 0x10000 + ((char32_t{unit} & 0x3FF) << 10) + (char32_t{text[i]} & 0x3FF));
    } else {
      Append(utf8, IsHighSurrogate(unit) || IsLowSurrogate(unit) ? kReplacement : unit);
    }
  }
  return utf8;
}

std::string Utf8OfBytes(std::string_view text) {
  std::string utf8;
  for (const char byte : text) {
    Append(utf8, static_cast<uint8_t>(byte));
  }
  return utf8;
}

std::string LabelText(std::string_view label) {
  const size_t start = label.find_first_not_of(' ');
  if (start == std::string_view::npos) {
    return "-";
  }
  return Printable(label.substr(start, label.find_last_not_of(' ') - start + 1));
}

std::string Printable(std::string_view text) {
  std::string printable;
  for (const char character : text) {
    const auto byte = static_cast<uint8_t>(character);
    if (IsControl(byte)) {
      printable += fmt::format("\\x{:02X}", byte);
    } else {
      Append(printable, byte);
    }
  }
  return printable;
}

std::string Printable(std::u16string_view text) {
  std::string printable;
  size_t start = 0;
  for (size_t i = 0; i <= text.size(); ++i) {
    if (i == text.size() || IsControl(text[i])) {
      printable += Utf8OfWide(text.substr(start, i - start));
      printable += i == text.size() ? "" : fmt::format("\\x{:02X}", unsigned{text[i]});
      start = i + 1;
    }
  }
  return printable;
}

std::string Printable(std::string_view text, const Terminal& terminal) {
  if (!terminal.isAscii) {
    return Printable(text);
  }
  std::string printable;
  for (const char character : text) {
    const auto byte = static_cast<uint8_t>(character);
    printable +=
        byte < 0x80 ? Printable(std::string_view(&character, 1)) : fmt::format("\\x{:02X}", byte);
  }
  return printable;
}

std::string Printable(std::u16string_view text, const Terminal& terminal) {
  std::string printable;
  for (const char16_t unit : text) {
    printable += unit < 0x80 ? Printable(std::u16string_view(&unit, 1))
                             : fmt::format("\\x{:02X}", unsigned{unit});
  }
  return terminal.isAscii ? printable : Printable(text);
}

std::string Shown(std::string_view utf8, const Terminal& terminal) {
  if (!terminal.isAscii) {
    return std::string(utf8);
  }
  std::string shown;
  while (!utf8.empty()) {
    const Character front = FrontOf(utf8);
    shown += front.code < 0x80 ? std::string(utf8.substr(0, 1))
                               : fmt::format("\\x{:02X}", static_cast<uint32_t>(front.code));
    utf8.remove_prefix(front.length);
  }
  return shown;
}

std::string Harmless(std::string_view utf8) {
  std::string harmless;
  while (!utf8.empty()) {
    const Character front = FrontOf(utf8);
    // A code in more bytes than it takes is not UTF-8 either.
    const bool isNoCharacter = (front.length == 1 && front.code >= 0x80) ||
                               (front.length == 3 && front.code < 0x800) ||
                               (front.length == 4 && front.code < 0x10000);
    const bool isSpelledOut =
        IsControl(front.code) || isNoCharacter || TurnsDirection(front.code) ||
        (front.code >= 0xD800 && front.code <= 0xDFFF) || front.code > 0x10FFFF;
    harmless += isSpelledOut ? fmt::format("\\x{:02X}", static_cast<uint32_t>(front.code))
                             : std::string(utf8.substr(0, front.length));
    utf8.remove_prefix(front.length);
  }
  return harmless;
}

std::string Hex(const std::vector<uint8_t>& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string hex;
  for (const uint8_t byte : bytes) {
    hex.push_back(kDigits[byte >> 4]);
    hex.push_back(kDigits[byte & 0x0F]);
  }
  return hex;
}

}  // namespace tvq::cli
