/*
 * Names for the files of many pages.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REPORT_PAGE_NAMES_H_
#define TVQ_HOST_CLI_REPORT_PAGE_NAMES_H_

#include <set>
#include <string>

namespace tvq::cli {

// No two names are equal, nor that of the index, also where upper and lower case are one.
class PageNamer {
 public:
  // After the last part of a path: of a file without the ending that captured tables have.
  std::string NameAfter(const std::string& path);
  // For a table whose name gives a number away.
  std::string NameWithout();

 private:
  std::string Take(const std::string& stem);

  std::set<std::string> mTaken = {"index"};
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_PAGE_NAMES_H_
