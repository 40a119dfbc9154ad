/*
 * Text that is broken into lines.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/paragraph.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

bool StartsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

// How long the code for a colour is at the front of the text; 0 where there is none.
std::size_t LengthOfCode(std::string_view text) {
  return text.substr(0, 2) == "\x1B[" ? text.find('m') + 1 : 0;
}

// Takes up to `width` characters off the front of the text.
std::string TakeFront(std::string& utf8, std::size_t width) {
  std::size_t end = 0;
  for (std::size_t count = 0; end < utf8.size(); ++end) {
    if (const std::size_t code = LengthOfCode(std::string_view(utf8).substr(end)); code != 0) {
      end += code - 1;
      continue;
    }
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
  Filler(const Terminal& terminal, const std::string& lead, std::size_t indent)
      : mTerminal(terminal),
        mWidth(terminal.width),
        mIndent(indent),
        mText(Shown(lead, terminal)),
        mColumn(WidthOf(mText)) {}

  // The first piece of all needs no blank before it.
  void Add(const std::string& utf8, bool isFirst) {
    const std::string piece = Shown(utf8, mTerminal);
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

  const Terminal& mTerminal;
  std::size_t mWidth;
  std::size_t mIndent;
  std::string mText;
  std::size_t mColumn;
};

// Where the word ends that begins there. What stands between ` and ` is a command, which somebody may
// copy: one word.
std::size_t EndOfWord(const std::string& utf8, std::size_t at) {
  std::size_t end = utf8.find(' ', at);
  const std::size_t open = utf8.find('`', at);
  if (open < end) {
    const std::size_t close = utf8.find('`', open + 1);
    end = close == std::string::npos ? end : utf8.find(' ', close);
  }
  return std::min(end, utf8.size());
}

// The words of a text, which has no line feeds.
std::string FillWords(Filler filler, const std::string& utf8) {
  for (std::size_t at = 0; at < utf8.size();) {
    const std::size_t end = EndOfWord(utf8, at);
    filler.Add(utf8.substr(at, end - at), at == 0);
    at = end + 1;
  }
  return filler.Take();
}

}  // namespace

std::size_t WidthOf(const std::string& utf8) {
  const std::string_view text = utf8;
  std::size_t width = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t code = text[at] == '\x1B' ? LengthOfCode(text.substr(at)) : 0;
    width += code == 0 && StartsCharacter(text[at]) ? 1 : 0;
    at += std::max<std::size_t>(code, 1);
  }
  return width;
}

std::string Wrapped(const std::string& utf8, const Terminal& terminal, std::size_t indent) {
  return FillWords(Filler(terminal, std::string(indent, ' '), indent + 2), utf8);
}

std::string Filled(std::string_view utf8, const Terminal& terminal) {
  std::string text;
  while (!utf8.empty()) {
    const std::size_t end = std::min(utf8.find("\n\n"), utf8.size());
    std::string paragraph(utf8.substr(0, end));
    std::replace(paragraph.begin(), paragraph.end(), '\n', ' ');
    text += (text.empty() ? "" : "\n") + FillWords(Filler(terminal, "", 0), paragraph);
    utf8.remove_prefix(std::min(end + 2, utf8.size()));
  }
  return text;
}

std::string Listed(const std::vector<std::string>& items, const Terminal& terminal,
                   const std::string& lead, std::size_t indent) {
  Filler filler(terminal, lead, indent);
  for (std::size_t i = 0; i < items.size(); ++i) {
    filler.Add(items[i] + (i + 1 == items.size() ? "" : ","), i == 0);
  }
  return filler.Take();
}

std::string Folded(const std::string& utf8, const Terminal& terminal) {
  std::string shown = Shown(utf8, terminal);
  if (terminal.width == 0) {
    return shown;
  }
  std::string folded;
  for (std::size_t at = 0; at < shown.size();) {
    const std::size_t end = std::min(shown.find('\n', at), shown.size());
    const std::string line = shown.substr(at, end - at);
    // No line has more characters than bytes.
    if (line.size() <= terminal.width || WidthOf(line) <= terminal.width) {
      folded += line + '\n';
    } else {
      const std::size_t indent = line.find_first_not_of(' ');
      folded += Wrapped(line.substr(indent), terminal, indent);
    }
    at = end + 1;
  }
  return folded;
}

std::string Counted(std::size_t count, const std::string& one, const std::string& many) {
  return fmt::format("{} {}", count, count == 1 ? one : many.empty() ? one + 's' : many);
}

}  // namespace tvq::cli
