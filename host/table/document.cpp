/*
 * The source form as blocks of settings, before any of it has a meaning in bytes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/document.h"

#include <algorithm>

#include "host/table/layout.h"
#include "host/table/text.h"

namespace tvq::table {
namespace {

using Tokens = std::vector<Token>;

std::vector<std::string_view> BlockTitles() {
  std::vector<std::string_view> titles = {"type", "raw", "entry-point"};
  for (const Layout& layout : Layouts()) {
    titles.push_back(layout.name);
  }
  return titles;
}

// The words of a heading, taken one by one.
class HeadingParser {
 public:
  HeadingParser(const Tokens& tokens, const std::vector<Block>& earlier)
      : mTokens(tokens), mEarlier(earlier) {}

  Result<Block> Run(std::size_t line) {
    mBlock.line = line;
    if (mTokens.back().kind != Token::Kind::kClose) {
      return Error{"the heading has no ']' at its end", "a heading is [processor 0x0004 @cpu1]"};
    }
    TVQ_TRY(TakeTitle());
    if (mBlock.kind == Block::Kind::kStructure) {
      TVQ_TRY(TakeHandle());
      TVQ_TRY(TakeLabel());
      TVQ_TRY(TakeModel());
    }
    if (mNext + 1 != mTokens.size()) {
      return Error{mTokens[mNext].Spelling() + " has no place in this heading",
                   "a heading is [TYPE HANDLE @label like @other], [raw] or [entry-point]"};
    }
    return std::move(mBlock);
  }

 private:
  // The next token, or null when it is not a word.
  const Token* NextWord() const { return mTokens[mNext].IsWord() ? &mTokens[mNext] : nullptr; }

  Result<Done> TakeTitle() {
    const Token* title = NextWord();
    if (title == nullptr) {
      return Error{"the heading names no type", "a heading is [processor 0x0004 @cpu1]"};
    }
    ++mNext;
    if (title->text == "type") {
      return TakeTypeNumber();
    }
    if (title->text == "raw") {
      mBlock.kind = Block::Kind::kRaw;
    } else if (title->text == "entry-point") {
      mBlock.kind = Block::Kind::kEntryPoint;
    } else if (const Layout* layout = FindLayout(title->text)) {
      mBlock.type = layout->type;
    } else {
      return Error{"there is no type of structure named '" + title->text + "'",
                   DidYouMean(title->text, BlockTitles())};
    }
    return Done();
  }

  Result<Done> TakeTypeNumber() {
    const Token* word = NextWord();
    const auto number = word != nullptr ? ParseByte(word->text) : std::nullopt;
    if (!number) {
      return Error{"'type' takes a number from 0 to 255", "[type 221 0x0050], for example"};
    }
    ++mNext;
    mBlock.type = *number;
    return Done();
  }

  Result<Done> TakeHandle() {
    const Token* word = NextWord();
    const auto number = word != nullptr ? ParseNumber(word->text) : std::nullopt;
    if (!number) {
      return Done();
    }
    if (*number > 0xFFFF) {
      return Error{"the handle " + word->text + " does not fit a word", "handles end at 0xFFFF"};
    }
    ++mNext;
    mBlock.handle = static_cast<std::uint16_t>(*number);
    return Done();
  }

  Result<Done> TakeLabel() {
    const Token* word = NextWord();
    if (word == nullptr || !word->IsLabel()) {
      return Done();
    }
    if (const Block* other = FindBlock(word->text)) {
      return Error{"the label " + word->text + " stands on line " + std::to_string(other->line),
                   "every structure takes a label of its own"};
    }
    ++mNext;
    mBlock.label = word->text;
    return Done();
  }

  Result<Done> TakeModel() {
    const Token* word = NextWord();
    if (word == nullptr || word->text != "like") {
      return Done();
    }
    ++mNext;
    const Token* label = NextWord();
    const Block* model = label != nullptr ? FindBlock(label->text) : nullptr;
    if (model == nullptr || model->type != mBlock.type) {
      return Error{"'like' names no structure of this type above",
                   "it takes the label of one: [memory-device @b like @a]"};
    }
    ++mNext;
    mBlock.items = model->items;
    return Done();
  }

  const Block* FindBlock(const std::string& label) const {
    const auto found = std::find_if(mEarlier.begin(), mEarlier.end(), [&](const Block& block) {
      return !label.empty() && block.label == label;
    });
    return found == mEarlier.end() ? nullptr : &*found;
  }

  const Tokens& mTokens;
  const std::vector<Block>& mEarlier;
  Block mBlock;
  std::size_t mNext = 1;  // after the '['
};

class DocumentParser {
 public:
  Result<Document> Run(std::string_view source) {
    while (!source.empty()) {
      ++mLine;
      const std::size_t end = std::min(source.find('\n'), source.size());
      if (auto parsed = ParseLine(source.substr(0, end)); !parsed) {
        parsed.Failure().line = mLine;
        return std::move(parsed.Failure());
      }
      source.remove_prefix(std::min(end + 1, source.size()));
    }
    return std::move(mDocument);
  }

 private:
  Result<Done> ParseLine(std::string_view line) {
    auto tokens = SplitLine(line);
    if (!tokens) {
      return std::move(tokens.Failure());
    }
    if (tokens->empty()) {
      return Done();
    }
    if (tokens->front().kind != Token::Kind::kOpen) {
      return AddItem(*tokens);
    }
    auto block = HeadingParser(*tokens, mDocument.blocks).Run(mLine);
    if (!block) {
      return std::move(block.Failure());
    }
    mHeadingLine = mLine;
    mDocument.blocks.push_back(std::move(*block));
    return Done();
  }

  Result<Done> AddItem(const Tokens& tokens) {
    const auto equals = std::find_if(tokens.begin(), tokens.end(), [](const Token& token) {
      return token.kind == Token::Kind::kEquals;
    });
    const auto keys = equals - tokens.begin();
    const bool areWords =
        std::all_of(tokens.begin(), equals, [](const Token& token) { return token.IsWord(); });
    if (equals == tokens.end() || keys < 1 || keys > 2 || !areWords) {
      return Error{"the line is no 'name = value'",
                   "bytes take an offset as well: bytes 0x10 = 00 FF"};
    }
    Item item{mLine, tokens[0].text, keys == 2 ? tokens[1].text : "", {equals + 1, tokens.end()}};
    TVQ_TRY(CheckItem(item));
    return Insert(std::move(item));
  }

  static Result<Done> CheckItem(const Item& item) {
    for (const Token& value : item.values) {
      if (!value.IsWord() && value.kind != Token::Kind::kString) {
        return item.Complain("does not take " + value.Spelling() + " as a value");
      }
    }
    if (item.values.empty()) {
      return item.Complain("has no value");
    }
    if (!item.argument.empty() && item.key != "bytes") {
      return item.Complain("takes no '" + item.argument + "' before the '='");
    }
    return Done();
  }

  // A second item of the same name replaces one that came from the block that this one is like.
  Result<Done> Insert(Item item) {
    std::vector<Item>& items =
        mDocument.blocks.empty() ? mDocument.settings : mDocument.blocks.back().items;
    const auto same = std::find_if(items.begin(), items.end(), [&](const Item& other) {
      return other.key == item.key && other.argument == item.argument;
    });
    if (same == items.end() || Repeats(item.key)) {
      items.push_back(std::move(item));
    } else if (same->line < mHeadingLine) {
      *same = std::move(item);
    } else {
      return item.Complain("stands on line " + std::to_string(same->line) + " already");
    }
    return Done();
  }

  bool Repeats(const std::string& key) const {
    if (mDocument.blocks.empty()) {
      return false;
    }
    return key == "string" || key == LayoutOf(mDocument.blocks.back().type).group.name;
  }

  Document mDocument;
  std::size_t mLine = 0;
  std::size_t mHeadingLine = 0;  // of the last block; what it took over stands above
};

}  // namespace

Result<Document> ParseDocument(std::string_view source) {
  return DocumentParser().Run(source);
}

}  // namespace tvq::table
