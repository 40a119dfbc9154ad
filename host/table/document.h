/*
 * The source form as blocks of settings, before any of it has a meaning in bytes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_DOCUMENT_H_
#define TVQ_HOST_TABLE_DOCUMENT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/table/lexer.h"
#include "host/table/result.h"

namespace tvq::table {

// key [argument] = value...
struct Item {
  std::size_t line;
  std::string key;
  std::string argument;
  std::vector<Token> values;  // at least one; words and strings

  // `message` begins with the key in the end.
  Error Complain(const std::string& message, std::string hint = "") const {
    return {"'" + key + "' " + message, std::move(hint), line};
  }
};

// [title handle @label] and the items below it.
struct Block {
  enum class Kind {
    kStructure,
    kRaw,
    kEntryPoint
  };

  std::size_t line;
  Kind kind = Kind::kStructure;
  std::uint8_t type = 0;
  std::optional<std::uint16_t> handle;
  std::string label;
  std::vector<Item> items;
};

struct Document {
  std::vector<Item> settings;  // before the first block
  std::vector<Block> blocks;   // with the items of the blocks that they are like
};

Result<Document> ParseDocument(std::string_view source);

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_DOCUMENT_H_
