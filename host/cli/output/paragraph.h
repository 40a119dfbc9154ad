/*
 * Text that is broken into lines. Nothing is cut: what is longer than a line goes on in the next one.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_OUTPUT_PARAGRAPH_H_
#define TVQ_HOST_CLI_OUTPUT_PARAGRAPH_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/output/console.h"

namespace tvq::cli {

// How many characters the terminal shows for the text. Codes for colour take no room.
std::size_t WidthOf(const std::string& utf8);

// These show their text as the terminal can.

// A paragraph, broken between words. The first line stands behind `indent` blanks, the others behind
// two more.
std::string Wrapped(const std::string& utf8, const Terminal& terminal, std::size_t indent);

// Paragraphs with an empty line between; other ends of lines in the text mean nothing.
std::string Filled(std::string_view utf8, const Terminal& terminal);

// The items with commas between, broken between items, and inside one only where it is longer than a
// line. The first stands behind `lead`, the lines behind the first behind `indent` blanks.
std::string Listed(const std::vector<std::string>& items, const Terminal& terminal,
                   const std::string& lead, std::size_t indent);

// The text with each line that is longer than the terminal's broken between words; the lines that it
// becomes stand two blanks further in than it began.
std::string Folded(const std::string& utf8, const Terminal& terminal);

// "1 core", "2 cores".
std::string Counted(std::size_t count, const std::string& one, const std::string& many = "");

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_OUTPUT_PARAGRAPH_H_
