/*
 * What the tests of the sections of a page share: pages of tables, as outlines.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_CLI_REPORT_PAGE_FIXTURE_H_
#define TVQ_TESTS_UNIT_HOST_CLI_REPORT_PAGE_FIXTURE_H_

#include <string>
#include <vector>

#include "tests/unit/host/cli/cli_fixture.h"
#include "tests/unit/host/cli/report/page_outline.h"

namespace tvq::cli {

class PageTest : public CliTest {
 protected:
  // The page, with names of files as they are in the test's folder.
  std::string Page(const test::Table& table, std::vector<std::string> more = {}) {
    more.insert(more.begin(), {"report", Write("table.bin", table.Bytes()), "-o", "-"});
    std::string page = RunTvq(more).out;
    const std::string folder = Path("");
    for (std::size_t at = 0; (at = page.find(folder)) != std::string::npos;) {
      page.erase(at, folder.size());
    }
    return page;
  }
  std::string PageSince(const test::Table& before, const test::Table& after,
                        std::vector<std::string> more = {"--show-serials"}) {
    more.insert(more.end(), {"--against", Write("before.bin", before.Bytes())});
    return Page(after, more);
  }
  static std::string Section(const std::string& page, const std::string& id) {
    return PageOutline(page, "<section id=\"" + id + "\"").Text();
  }
};

}  // namespace tvq::cli

#endif  // TVQ_TESTS_UNIT_HOST_CLI_REPORT_PAGE_FIXTURE_H_
