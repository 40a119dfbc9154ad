/*
 * The configuration document of a device.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/device/document.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

constexpr std::size_t kLongestName = 64;
constexpr int kDeepest = 8;

constexpr std::string_view kRepeated[] = {
    "ChassisInformation", "BaseBoardInformation", "PCISlotInfo", "CacheData", "HBMData", "PMAData"};
constexpr std::string_view kSingle[] = {"Inventory",     "Identifier", "SystemInformation",
                                        "Configuration", "cpuData",    "dimmData",
                                        "BIOSData"};

template <std::size_t N>
bool Contains(const std::string_view (&names)[N], std::string_view name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool IsSection(std::string_view name) {
  return Contains(kRepeated, name) || Contains(kSingle, name);
}

class Reader {
 public:
  explicit Reader(std::string_view text) : mText(text) {}

  Element Read() {
    Expect(kDeclaration);
    Expect(kRootTag);
    Element root = {std::string(kRootName), true, {}, {}};
    ReadChildren(root, 1);
    if (mAt != mText.size()) {
      throw DataError(mAt, "there is more behind the document's end");
    }
    return root;
  }

 private:
  bool Skip(std::string_view wanted) {
    if (mText.substr(mAt, wanted.size()) != wanted) {
      return false;
    }
    mAt += wanted.size();
    return true;
  }

  void Expect(std::string_view wanted) {
    if (!Skip(wanted)) {
      throw DataError(mAt, fmt::format("'{}' should stand here", wanted));
    }
  }

  void ReadChildren(Element& section, int depth) {
    constexpr std::size_t kUsualCount = 16;
    if (depth > kDeepest) {
      throw DataError(mAt, "sections are nested too deep");
    }
    section.children.reserve(kUsualCount);
    while (!IsEndOf(section.name, mAt)) {
      section.children.push_back(ReadChild(section.name, depth));
    }
    mAt += LengthOfEnd(section.name);
  }

  Element ReadChild(const std::string& section, int depth) {
    const std::size_t start = mAt;
    Element child;
    if (Skip("<")) {
      child.name = ReadName();
    }
    if (child.name.empty() || !Skip(">")) {
      throw DataError(start,
                      fmt::format("an element of '{}' or its end should stand here", section));
    }
    child.isSection = IsSection(child.name);
    if (child.isSection) {
      ReadChildren(child, depth + 1);
      return child;
    }
    // The text may hold anything but the tag that ends it.
    const std::size_t end = FindEndOf(child.name);
    if (end == std::string_view::npos) {
      throw DataError(start, fmt::format("'{}' does not end", child.name));
    }
    child.offset = mAt;
    child.text = mText.substr(mAt, end - mAt);
    mAt = end + LengthOfEnd(child.name);
    return child;
  }

  std::string_view ReadName() {
    const std::size_t start = mAt;
    while (mAt < mText.size() && IsNameCharacter(mText[mAt]) && mAt - start < kLongestName) {
      ++mAt;
    }
    return mText.substr(start, mAt - start);
  }

  // Of the tag "</name>".
  static std::size_t LengthOfEnd(std::string_view name) { return name.size() + 3; }

  // Whether that tag stands there.
  bool IsEndOf(std::string_view name, std::size_t at) const {
    const std::string_view tag = mText.substr(at, LengthOfEnd(name));
    return tag.size() == LengthOfEnd(name) && tag.substr(0, 2) == "</" && tag.back() == '>' &&
           tag.substr(2, name.size()) == name;
  }

  // Where it stands next.
  std::size_t FindEndOf(std::string_view name) const {
    std::size_t at = mText.find('<', mAt);
    while (at != std::string_view::npos && !IsEndOf(name, at)) {
      at = mText.find('<', at + 1);
    }
    return at;
  }

  std::string_view mText;
  std::size_t mAt = 0;
};

void Indent(const Element& element, const Terminal& terminal, std::size_t indent,
            std::string& text) {
  const auto tag = [&terminal](const std::string& name) {
    return Painted(terminal, Ink::kDim, "<" + name + ">");
  };
  text += std::string(indent, ' ') + tag(element.name);
  if (element.isSection) {
    text += '\n';
    for (const Element& child : element.children) {
      Indent(child, terminal, indent + 2, text);
    }
    text += std::string(indent, ' ');
  } else {
    const std::string shown = Printable(element.text, terminal);
    const std::size_t width = indent + 2 * element.name.size() + 5 + WidthOf(shown);
    if (terminal.width != 0 && width > terminal.width) {
      text += '\n' + Wrapped(shown, terminal, indent + 2) + std::string(indent, ' ');
    } else {
      text += shown;
    }
  }
  text += tag("/" + element.name) + '\n';
}

}  // namespace

bool IsNameCharacter(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || character == '_';
}

const Element* Element::Find(std::string_view child) const {
  const auto found =
      std::find_if(children.begin(), children.end(),
                   [child](const Element& element) { return element.name == child; });
  return found == children.end() ? nullptr : &*found;
}

std::string_view Element::TextOf(std::string_view path) const {
  const std::size_t slash = path.find('/');
  const Element* const child = Find(path.substr(0, slash));
  if (child == nullptr) {
    return {};
  }
  return slash == std::string_view::npos ? child->text : child->TextOf(path.substr(slash + 1));
}

bool Element::Has(std::string_view path) const {
  const std::size_t slash = path.find('/');
  const Element* const child = Find(path.substr(0, slash));
  return child != nullptr &&
         (slash == std::string_view::npos || child->Has(path.substr(slash + 1)));
}

Element ReadDocument(std::string_view text) {
  return Reader(text).Read();
}

std::string Indented(const Element& root, const Terminal& terminal, std::size_t indent) {
  std::string text;
  Indent(root, terminal, indent, text);
  return text;
}

nlohmann::ordered_json ToJson(const Element& section) {
  nlohmann::ordered_json json = nlohmann::ordered_json::object();
  for (const Element& child : section.children) {
    if (!child.isSection) {
      json[child.name] = Utf8OfBytes(child.text);
    } else if (Contains(kRepeated, child.name)) {
      json[child.name].push_back(ToJson(child));
    } else {
      json[child.name] = ToJson(child);
    }
  }
  return json;
}

}  // namespace tvq::cli
