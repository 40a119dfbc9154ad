/*
 * A page as an outline, a line for each element with what a reader sees of it and where it leads:
 *
 *     li#at-module-1.box.module
 *       a.name -> #module-1: DIMM_A1
 *       span.bar
 *         span {width:100%}
 *
 * A row of a table is one line, with its cells between bars; an entry of a list of terms is "term = value". Only for pages
 * that HtmlWriter wrote.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_CLI_REPORT_PAGE_OUTLINE_H_
#define TVQ_TESTS_UNIT_HOST_CLI_REPORT_PAGE_OUTLINE_H_

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>

namespace tvq::cli {

class PageOutline {
 public:
  // Of the first element that begins so: `<section id="picture"`.
  PageOutline(std::string_view html, std::string_view start) {
    const std::size_t at = html.find(start);
    mHtml = at == std::string_view::npos ? "" : html.substr(at);
    while (!mHtml.empty() && (mText.empty() || mDepth != 0)) {
      Next();
    }
  }

  const std::string& Text() const { return mText; }

 private:
  // The next tag with the text behind it.
  void Next() {
    const std::size_t end = std::min(mHtml.find('>'), mHtml.size() - 1);
    const std::string_view tag = mHtml.substr(1, end - 1);
    mHtml.remove_prefix(end + 1);
    const std::string text = Unescaped(mHtml.substr(0, mHtml.find('<')));
    mHtml.remove_prefix(std::min(mHtml.find('<'), mHtml.size()));
    if (tag[0] == '/') {
      mIsInRow = mIsInRow && tag != "/tr";
      --mDepth;
    } else {
      Begin(tag, text == "\n" ? "" : text);
    }
  }

  void Begin(std::string_view tag, const std::string& text) {
    const std::string name(tag.substr(0, tag.find(' ')));
    const std::string marks = Marks(tag);
    const bool isCell = name == "th" || name == "td";
    const std::string what = marks + ((marks.empty() && isCell) || text.empty() ? "" : ": ") + text;
    if (name == "dd") {
      mText += " =" + (text.empty() ? "" : " " + text);
    } else if (mIsInRow) {
      mText += isCell ? " | " + what : " " + name + what;
    } else if (name != "div" || !what.empty()) {
      mText += (mText.empty() ? "" : "\n") + std::string(2 * mDepth, ' ') + name + what;
    }
    mIsInRow = mIsInRow || name == "tr";
    ++mDepth;
  }

  static std::string Marks(std::string_view tag) {
    std::string classes = Attribute(tag, "class");
    std::replace(classes.begin(), classes.end(), ' ', '.');
    const auto mark = [&](const char* before, const std::string& value, const char* after) {
      return value.empty() ? "" : before + value + after;
    };
    return mark("#", Attribute(tag, "id"), "") + mark(".", classes, "") +
           mark(" -> ", Attribute(tag, "href"), "") + mark(" {", Attribute(tag, "style"), "}") +
           mark(" (", Attribute(tag, "data-value"), ")") +
           mark(" across ", Attribute(tag, "colspan"), "");
  }

  static std::string Attribute(std::string_view tag, std::string_view name) {
    const std::string start = " " + std::string(name) + "=\"";
    const std::size_t at = tag.find(start);
    if (at == std::string_view::npos) {
      return "";
    }
    const std::string_view value = tag.substr(at + start.size());
    return Unescaped(value.substr(0, value.find('"')));
  }

  static std::string Unescaped(std::string_view html) {
    std::string text(html);
    for (const auto& [entity, character] : kEntities) {
      for (std::size_t at = 0; (at = text.find(entity)) != std::string::npos;) {
        text.replace(at, entity.size(), character);
      }
    }
    return text;
  }

  static constexpr std::pair<std::string_view, const char*> kEntities[] = {
      {"&lt;", "<"}, {"&gt;", ">"}, {"&quot;", "\""}, {"&#39;", "'"}, {"&amp;", "&"}};

  std::string_view mHtml;
  std::string mText;
  std::size_t mDepth = 0;
  bool mIsInRow = false;
};

}  // namespace tvq::cli

#endif  // TVQ_TESTS_UNIT_HOST_CLI_REPORT_PAGE_OUTLINE_H_
