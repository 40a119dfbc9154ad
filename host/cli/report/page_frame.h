/*
 * What every page has around its content.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REPORT_PAGE_FRAME_H_
#define TVQ_HOST_CLI_REPORT_PAGE_FRAME_H_

#include <string>
#include <string_view>

#include "host/cli/report/html_writer.h"

namespace tvq::cli {

// The texts of report.css and index.js.
extern const std::string_view kReportStyle;
extern const std::string_view kIndexScript;

// From the document's type to the beginning of its body. A browser loads nothing for the page, and
// runs no script but this one; none where it is empty.
void BeginPage(HtmlWriter& html, std::string_view title, std::string_view script);
void EndPage(HtmlWriter& html);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_PAGE_FRAME_H_
