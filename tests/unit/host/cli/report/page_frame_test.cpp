/*
 * What a page lets a browser do.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/page_frame.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tvq::cli {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string FrameOf(std::string_view script) {
  HtmlWriter html;
  BeginPage(html, "Title", script);
  EndPage(html);
  return html.Html();
}

TEST(PageFrame, LetsABrowserRunTheScriptOfThePageAlone) {
  EXPECT_THAT(
      FrameOf("alert(1)"),
      HasSubstr("; script-src &#39;sha256-bhHHL3z2vDgxUt0W3dWQOrprscmda2Y5pLsLg4GF+pI=&#39;"));
}

TEST(PageFrame, LetsABrowserRunNothingOnAPageWithoutAScript) {
  EXPECT_THAT(FrameOf(""), HasSubstr("default-src &#39;none&#39;; "));
  EXPECT_THAT(FrameOf(""), Not(HasSubstr("script-src")));
}

}  // namespace
}  // namespace tvq::cli
