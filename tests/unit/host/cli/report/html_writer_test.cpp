/*
 * Texts in HTML are texts.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/html_writer.h"

#include <gtest/gtest.h>

namespace tvq::cli {
namespace {

TEST(HtmlWriter, WritesElementsWithTheirAttributes) {
  HtmlWriter html;
  {
    const auto list = html.Open("ul", {{"class", "boxes"}});
    html.Add("li", {}, "one");
    html.Link("#two", "two", "part");
  }
  EXPECT_EQ(html.Html(),
            "<ul class=\"boxes\">\n<li>one</li>\n<a class=\"part\" href=\"#two\">two</a></ul>");
}

TEST(HtmlWriter, KeepsAnElementInTheLineOfTheTextInFrontOfIt) {
  HtmlWriter html;
  {
    const auto line = html.Open("p");
    html.Text("see ");
    html.Link("#two", "two");
  }
  EXPECT_EQ(html.Html(), "<p>see <a href=\"#two\">two</a></p>");
}

TEST(HtmlWriter, EscapesWhatWouldBeMoreThanText) {
  HtmlWriter html;
  html.Add("p", {{"title", "\"'<&>"}}, "<b>&amp;\"'</b>");
  EXPECT_EQ(html.Html(),
            "<p title=\"&quot;&#39;&lt;&amp;&gt;\">&lt;b&gt;&amp;amp;&quot;&#39;&lt;/b&gt;</p>");
}

TEST(HtmlWriter, SpellsOutWhatIsNoCharacterToShow) {
  EXPECT_EQ(EscapedHtml("a\x1B[0m\n"), "a\\x1B[0m\\x0A");
  EXPECT_EQ(EscapedHtml("\xC3\xA4"), "\xC3\xA4");
  EXPECT_EQ(EscapedHtml("\xC2\x85"), "\\x85") << "a control character of eight bits";
  EXPECT_EQ(EscapedHtml("\xFFx"), "\\xFFx") << "no UTF-8";
  EXPECT_EQ(EscapedHtml("\xE0\x80\xBC"), "\\x3C") << "more bytes than the character takes";
  EXPECT_EQ(EscapedHtml("\xE2\x80\xAEoperator"), "\\x202Eoperator") << "turns the direction";
}

}  // namespace
}  // namespace tvq::cli
