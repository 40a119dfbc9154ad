/*
 * Text that is broken into lines.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/paragraph.h"

#include <fmt/format.h>

#include <algorithm>

namespace tvq::cli {
namespace {

bool StartsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

// Takes up to `width` characters off the front of the text.
std::string TakeFront(std::string& utf8, std::size_t width) {
  std::size_t end = 0;
  for (std::size_t count = 0; end < utf8.size(); ++end) {
    count += StartsCharacter(utf8[end]) ? 1 : 0;
    if (count > width) {
      break;
    }
  }
  std::string front = utf8.substr(0, end);
  utf8.erase(0, end);
  return front;
}

// Fills lines with pieces that stay whole where they fit into a line.
class Filler {
 public:
  Filler(const Terminal& terminal, std::string lead, std::size_t indent)
      : mWidth(terminal.width), mIndent(indent), mText(std::move(lead)), mColumn(WidthOf(mText)) {}

  // The first piece of all needs no blank before it.
  void Add(const std::string& piece, bool isFirst) {
    const std::size_t gap = isFirst ? 0 : 1;
    if (Fits(gap + WidthOf(piece))) {
      Put(std::string(gap, ' ') + piece);
      return;
    }
    if (!isFirst) {
      StartLine();
    }
    if (Fits(WidthOf(piece))) {
      Put(piece);
    } else if (piece.find(' ') != std::string::npos) {
      AddWords(piece);
    } else {
      AddBroken(piece);
    }
  }
  std::string Take() { return std::move(mText) + '\n'; }

 private:
  bool Fits(std::size_t width) const { return mWidth == 0 || mColumn + width <= mWidth; }
  void Put(const std::string& text) {
    mText += text;
    mColumn += WidthOf(text);
  }
  void StartLine() {
    mText += '\n' + std::string(mIndent, ' ');
    mColumn = mIndent;
  }
  void AddWords(const std::string& piece) {
    for (std::size_t at = 0; at < piece.size();) {
      const std::size_t end = std::min(piece.find(' ', at), piece.size());
      const std::string word = piece.substr(at, end - at);
      if (at != 0 && !Fits(1 + WidthOf(word))) {
        StartLine();
      } else if (at != 0) {
        Put(" ");
      }
      if (Fits(WidthOf(word))) {
        Put(word);
      } else {
        AddBroken(word);
      }
      at = end + 1;
    }
  }
  void AddBroken(std::string word) {
    while (!word.empty()) {
      const std::size_t room = mWidth > mColumn ? mWidth - mColumn : 0;
      Put(TakeFront(word, std::max<std::size_t>(room, mColumn <= mIndent ? 1 : 0)));
      if (!word.empty()) {
        StartLine();
      }
    }
  }

  std::size_t mWidth;
  std::size_t mIndent;
  std::string mText;
  std::size_t mColumn;
};

}  // namespace

std::size_t WidthOf(const std::string& utf8) {
  return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), StartsCharacter));
}

std::string Wrapped(const std::string& utf8, const Terminal& terminal, std::size_t indent) {
  Filler filler(terminal, std::string(indent, ' '), indent + 2);
  for (std::size_t at = 0; at < utf8.size();) {
    const std::size_t end = std::min(utf8.find(' ', at), utf8.size());
    filler.Add(utf8.substr(at, end - at), at == 0);
    at = end + 1;
  }
  return filler.Take();
}

std::string Listed(const std::vector<std::string>& items, const Terminal& terminal,
                   const std::string& lead, std::size_t indent) {
  Filler filler(terminal, lead, indent);
  for (std::size_t i = 0; i < items.size(); ++i) {
    filler.Add(items[i] + (i + 1 == items.size() ? "" : ","), i == 0);
  }
  return filler.Take();
}

std::string Counted(std::size_t count, const std::string& one, const std::string& many) {
  return fmt::format("{} {}", count, count == 1 ? one : many.empty() ? one + 's' : many);
}

}  // namespace tvq::cli
