/*
 * The index of many pages.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REPORT_INDEX_PAGE_H_
#define TVQ_HOST_CLI_REPORT_INDEX_PAGE_H_

#include <string>
#include <vector>

#include "host/cli/report/report.h"

namespace tvq::cli {

// A table, and the page about it; no page where there is none, with the reason.
struct IndexRow {
  std::string table;
  std::string page;
  ReportSummary summary;
  std::string trouble;
};

// One HTML document: a table of all machines, which a script can sort and filter.
std::string IndexPage(const std::vector<IndexRow>& rows, bool isRedacted, bool isCompared);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_INDEX_PAGE_H_
