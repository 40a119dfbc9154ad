/*
 * JSON that is written as it comes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/json_text.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

bool IsPlain(char character) {
  const auto byte = static_cast<std::uint8_t>(character);
  return byte >= 0x20 && byte < 0x7F && character != '"' && character != '\\';
}

}  // namespace

void JsonText::NewLine() {
  if (mForm == JsonForm::kLines) {
    mText += '\n';
    mText.append(mDepth, ' ');
  }
}

void JsonText::BeginValue() {
  if (!mIsNamed && mDepth != 0) {
    mText += mIsFirst ? "" : ",";
    NewLine();
  }
  mIsNamed = false;
  mIsFirst = false;
}

void JsonText::Begin(char bracket) {
  BeginValue();
  mText += bracket;
  ++mDepth;
  mIsFirst = true;
}

void JsonText::End(char bracket) {
  --mDepth;
  if (!mIsFirst) {
    NewLine();
  }
  mText += bracket;
  mIsFirst = false;
}

void JsonText::Name(std::string_view name) {
  BeginValue();
  mText += '"';
  mText += name;
  mText += mForm == JsonForm::kLines ? "\": " : "\":";
  mIsNamed = true;
}

void JsonText::Text(std::string_view utf8) {
  BeginValue();
  if (std::all_of(utf8.begin(), utf8.end(), IsPlain)) {
    mText += '"';
    mText += utf8;
    mText += '"';
  } else {
    Escape(utf8);
  }
}

void JsonText::Escape(std::string_view utf8) {
  constexpr char kDigits[] = "0123456789abcdef";
  constexpr std::string_view kSpelled = "\"\\\b\f\n\r\t";
  constexpr std::string_view kLetters = "\"\\bfnrt";
  const std::size_t start = mText.size();
  mText += '"';
  for (const char character : utf8) {
    const std::size_t spelled = kSpelled.find(character);
    if (IsPlain(character)) {
      mText += character;
    } else if (spelled != std::string_view::npos) {
      mText += {'\\', kLetters[spelled]};
    } else if (static_cast<std::uint8_t>(character) < 0x20) {
      mText += "\\u00";
      mText += {kDigits[character >> 4], kDigits[character & 0x0F]};
    } else {
      // Other characters than ASCII are rare.
      mText.resize(start);
      mText +=
          nlohmann::json(utf8).dump(-1, ' ', mIsAscii, nlohmann::json::error_handler_t::replace);
      return;
    }
  }
  mText += '"';
}

void JsonText::Number(std::uint64_t number) {
  BeginValue();
  char digits[20];
  mText.append(digits, std::to_chars(digits, digits + sizeof(digits), number).ptr);
}

void JsonText::Null() {
  BeginValue();
  mText += "null";
}

void JsonText::Hex(const std::vector<std::uint8_t>& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  BeginValue();
  mText += '"';
  std::size_t at = mText.size();
  mText.resize(at + 2 * bytes.size());
  for (const std::uint8_t byte : bytes) {
    mText[at++] = kDigits[byte >> 4];
    mText[at++] = kDigits[byte & 0x0F];
  }
  mText += '"';
}

}  // namespace tvq::cli
