/*
 * Writes HTML.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/html_writer.h"

#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

// What stands for the byte in HTML; null where it stands for itself.
const char* EntityOf(char byte) {
  switch (byte) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return nullptr;
  }
}

}  // namespace

std::string EscapedHtml(std::string_view utf8) {
  std::string html;
  for (const char byte : Harmless(utf8)) {
    const char* const entity = EntityOf(byte);
    if (entity != nullptr) {
      html += entity;
    } else {
      html += byte;
    }
  }
  return html;
}

void HtmlWriter::Text(std::string_view utf8) {
  mHtml += EscapedHtml(utf8);
}

void HtmlWriter::Begin(std::string_view tag, const HtmlAttributes& attributes) {
  // Elements that follow one another are words apart, also where there are no styles.
  if (!mHtml.empty() && mHtml.back() == '>') {
    mHtml += '\n';
  }
  mHtml += '<';
  mHtml += tag;
  for (const HtmlAttribute& attribute : attributes) {
    mHtml += ' ';
    mHtml += attribute.name;
    mHtml += "=\"" + EscapedHtml(attribute.value) + '"';
  }
  mHtml += '>';
}

void HtmlWriter::Close(std::string_view tag) {
  mHtml += "</";
  mHtml += tag;
  mHtml += '>';
}

}  // namespace tvq::cli
