/*
 * The words of one line of the source form.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_LEXER_H_
#define TVQ_HOST_TABLE_LEXER_H_

#include <string>
#include <string_view>
#include <vector>

#include "host/table/result.h"

namespace tvq::table {

struct Token {
  enum class Kind {
    kWord,
    kString,
    kOpen,
    kClose,
    kEquals
  };

  Kind kind;
  std::string text;  // of a string, the bytes that it stands for

  bool IsWord() const { return kind == Kind::kWord; }
  bool IsLabel() const { return IsWord() && text.size() > 1 && text[0] == '@'; }
  // As a message names it.
  std::string Spelling() const;
};

// Splits a line, without its comment. The failure carries no line number.
Result<std::vector<Token>> SplitLine(std::string_view line);

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_LEXER_H_
