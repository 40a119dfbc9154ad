/*
 * Small pieces of text: numbers, quoted strings, and the name that was probably meant.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_TEXT_H_
#define TVQ_HOST_TABLE_TEXT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tvq::table {

// A decimal number, or a hexadecimal one after 0x.
std::optional<std::uint64_t> ParseNumber(std::string_view text);

// A number that fits a byte.
std::optional<std::uint8_t> ParseByte(std::string_view text);

// Two hexadecimal digits.
std::optional<std::uint8_t> ParseHexByte(std::string_view text);

// 0x and at least `digits` digits.
std::string HexNumber(std::uint64_t value, int digits);

// Two digits for each byte, with blanks between.
std::string HexBytes(const std::uint8_t* bytes, std::size_t size);

// The bytes between quotation marks, with an escape for every byte that is not printable ASCII.
std::string Quote(std::string_view bytes);

// "did you mean 'name'?" for the name nearest to the word, empty when none is near.
std::string DidYouMean(std::string_view word, const std::vector<std::string_view>& names);

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_TEXT_H_
