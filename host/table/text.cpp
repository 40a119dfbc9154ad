/*
 * Small pieces of text: numbers, quoted strings, and the name that was probably meant.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/text.h"

#include <algorithm>
#include <charconv>
#include <numeric>

namespace tvq::table {
namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

// How many letters have to be put in, taken out or changed to make one word of the other.
std::size_t EditDistance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < left.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i + 1;
    for (std::size_t j = 0; j < right.size(); ++j) {
      const std::size_t changed = diagonal + (left[i] == right[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::optional<std::uint64_t> ParseNumber(std::string_view text) {
  const bool isHex = text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
  text.remove_prefix(isHex ? 2 : 0);
  std::uint64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, value, isHex ? 16 : 10);
  if (parsed.ec != std::errc() || parsed.ptr != end) {
    return std::nullopt;
  }
  return value;
}

std::optional<std::uint8_t> ParseByte(std::string_view text) {
  const auto number = ParseNumber(text);
  return number && *number <= 0xFF ? std::optional(static_cast<std::uint8_t>(*number))
                                   : std::nullopt;
}

std::optional<std::uint8_t> ParseHexByte(std::string_view text) {
  std::uint8_t value = 0;
  const char* const end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, value, 16);
  if (text.size() != 2 || parsed.ec != std::errc() || parsed.ptr != end) {
    return std::nullopt;
  }
  return value;
}

std::string HexNumber(std::uint64_t value, int digits) {
  std::string text;
  for (; value != 0 || digits > 0; value >>= 4, --digits) {
    text.insert(text.begin(), kDigits[value & 0xF]);
  }
  return "0x" + text;
}

std::string HexBytes(const std::uint8_t* bytes, std::size_t size) {
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    text += i == 0 ? "" : " ";
    text += kDigits[bytes[i] >> 4];
    text += kDigits[bytes[i] & 0xF];
  }
  return text;
}

std::string Quote(std::string_view bytes) {
  std::string text = "\"";
  for (const char character : bytes) {
    const auto byte = static_cast<std::uint8_t>(character);
    if (byte == '"' || byte == '\\') {
      text += '\\';
      text += character;
    } else if (byte < 0x20 || byte > 0x7E) {
      text += "\\x";
      text += kDigits[byte >> 4];
      text += kDigits[byte & 0xF];
    } else {
      text += character;
    }
  }
  return text + '"';
}

std::string DidYouMean(std::string_view word, const std::vector<std::string_view>& names) {
  std::string_view nearest;
  std::size_t least = std::max<std::size_t>(word.size() / 2, 1) + 1;
  for (const std::string_view name : names) {
    const std::size_t distance = EditDistance(word, name);
    if (distance < least) {
      least = distance;
      nearest = name;
    }
  }
  return nearest.empty() ? "" : "did you mean '" + std::string(nearest) + "'?";
}

}  // namespace tvq::table
