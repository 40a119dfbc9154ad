/*
 * Writes HTML. Every text goes through one function that escapes it, so that whatever a table says is text.
 *
 *     HtmlWriter html;
 *     const auto list = html.Open("ul", {{"class", "tiles"}});
 *     html.Add("li", {}, label);
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REPORT_HTML_WRITER_H_
#define TVQ_HOST_CLI_REPORT_HTML_WRITER_H_

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace tvq::cli {

// UTF-8 as it may stand in a text or in an attribute between quotation marks. What is no UTF-8, and
// characters that control a terminal or the direction of text, are spelled out as "\xE9".
std::string EscapedHtml(std::string_view utf8);

struct HtmlAttribute {
  std::string_view name;
  std::string value;
};
using HtmlAttributes = std::vector<HtmlAttribute>;

class HtmlWriter {
 public:
  // An element that is open as long as this lives.
  class Element {
   public:
    Element(HtmlWriter& writer, std::string_view tag) : mWriter(writer), mTag(tag) {}
    Element(const Element&) = delete;
    Element& operator=(const Element&) = delete;
    ~Element() { mWriter.Close(mTag); }

   private:
    HtmlWriter& mWriter;
    std::string_view mTag;  // a literal
  };

  [[nodiscard]] Element Open(std::string_view tag, const HtmlAttributes& attributes = {}) {
    Begin(tag, attributes);
    return Element(*this, tag);
  }
  // A whole element.
  void Add(std::string_view tag, const HtmlAttributes& attributes, std::string_view text) {
    Begin(tag, attributes);
    Text(text);
    Close(tag);
  }
  void Link(const std::string& target, std::string_view text, const std::string& classes = "") {
    Add("a",
        classes.empty() ? HtmlAttributes{{"href", target}}
                        : HtmlAttributes{{"class", classes}, {"href", target}},
        text);
  }
  // An element without an end.
  void AddEmpty(std::string_view tag, const HtmlAttributes& attributes) { Begin(tag, attributes); }

  void Text(std::string_view utf8);
  // What is HTML already: the program's own, never a table's.
  void Markup(std::string_view html) { mHtml += html; }

  const std::string& Html() const { return mHtml; }

 private:
  void Begin(std::string_view tag, const HtmlAttributes& attributes);
  void Close(std::string_view tag);

  std::string mHtml;
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_HTML_WRITER_H_
