/*
 * The words of one line of the source form.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/lexer.h"

#include <algorithm>

#include "host/table/text.h"

namespace tvq::table {
namespace {

constexpr std::string_view kWordCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.@";

class Lexer {
 public:
  explicit Lexer(std::string_view line) : mRest(line) {}

  Result<std::vector<Token>> Run() {
    while (SkipBlanks()) {
      TVQ_TRY(TakeToken());
    }
    return std::move(mTokens);
  }

 private:
  // False at the end of the line or at a comment.
  bool SkipBlanks() {
    mRest.remove_prefix(std::min(mRest.find_first_not_of(" \t\r"), mRest.size()));
    return !mRest.empty() && mRest[0] != '#';
  }

  Result<Done> TakeToken() {
    switch (mRest[0]) {
      case '[':
        return TakeMark(Token::Kind::kOpen);
      case ']':
        return TakeMark(Token::Kind::kClose);
      case '=':
        return TakeMark(Token::Kind::kEquals);
      case '"':
        mRest.remove_prefix(1);
        return TakeString();
      default:
        return TakeWord();
    }
  }

  Result<Done> TakeMark(Token::Kind kind) {
    mTokens.push_back({kind, std::string(mRest.substr(0, 1))});
    mRest.remove_prefix(1);
    return Done();
  }

  Result<Done> TakeWord() {
    const std::size_t size = std::min(mRest.find_first_not_of(kWordCharacters), mRest.size());
    if (size == 0) {
      return Error{"unexpected character " + Quote(mRest.substr(0, 1)),
                   "text stands between quotation marks, comments after #"};
    }
    mTokens.push_back({Token::Kind::kWord, std::string(mRest.substr(0, size))});
    mRest.remove_prefix(size);
    return Done();
  }

  Result<Done> TakeString() {
    std::string bytes;
    while (!mRest.empty() && mRest[0] != '"') {
      if (mRest[0] == '\\') {
        TVQ_TRY(TakeEscape(bytes));
      } else {
        bytes += mRest[0];
        mRest.remove_prefix(1);
      }
    }
    if (mRest.empty()) {
      return Error{"the string has no end", "close it with a quotation mark on the same line"};
    }
    mRest.remove_prefix(1);
    mTokens.push_back({Token::Kind::kString, std::move(bytes)});
    return Done();
  }

  Result<Done> TakeEscape(std::string& bytes) {
    const std::string_view escape = mRest.substr(1, 1);
    if (escape == "\"" || escape == "\\") {
      bytes += escape;
      mRest.remove_prefix(2);
      return Done();
    }
    const auto byte = ParseHexByte(mRest.substr(std::min<std::size_t>(2, mRest.size()), 2));
    if (escape != "x" || !byte) {
      return Error{"unknown escape in the string", R"(there are \\, \" and \xNN for any byte)"};
    }
    bytes += static_cast<char>(*byte);
    mRest.remove_prefix(4);
    return Done();
  }

  std::string_view mRest;
  std::vector<Token> mTokens;
};

}  // namespace

std::string Token::Spelling() const {
  return kind == Kind::kString ? Quote(text) : "'" + text + "'";
}

Result<std::vector<Token>> SplitLine(std::string_view line) {
  return Lexer(line).Run();
}

}  // namespace tvq::table
