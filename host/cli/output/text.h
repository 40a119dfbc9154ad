/*
 * How texts and bytes of the firmware are shown.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_OUTPUT_TEXT_H_
#define TVQ_HOST_CLI_OUTPUT_TEXT_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/output/console.h"

namespace tvq::cli {

// UTF-8 of 16-bit characters: each unit is the character of its code. Two halves of a surrogate
// pair are one character, and a lone half, which UTF-8 cannot express, is U+FFFD.
std::string Utf8OfWide(std::u16string_view text);

// What a machine prints at a place, as UTF-8 without blanks around it; "-" where it prints nothing.
std::string LabelText(std::string_view label);

// UTF-8 of 8-bit characters: each byte is the character U+0000 to U+00FF of its code.
std::string Utf8OfBytes(std::string_view text);

// The same for a terminal: control characters, which could command it, are spelled out as "\x1B".
std::string Printable(std::string_view text);
std::string Printable(std::u16string_view text);
// The same with "\xE4" for characters that the terminal cannot show.
std::string Printable(std::string_view text, const Terminal& terminal);
std::string Printable(std::u16string_view text, const Terminal& terminal);

// UTF-8 as the terminal can show it: where that is ASCII alone, with "\xE4" for other characters and
// for bytes that are no UTF-8.
std::string Shown(std::string_view utf8, const Terminal& terminal);

// UTF-8 that shows what it says: control characters, those that turn the direction of a text, and bytes
// that are no UTF-8 are spelled out as "\x1B".
std::string Harmless(std::string_view utf8);

// Two lower-case digits for each byte.
std::string Hex(const std::vector<uint8_t>& bytes);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_OUTPUT_TEXT_H_
