/*
 * What may stand where a help text says FILE, RULE or a|b.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_PAGES_VALUES_H_
#define TVQ_HOST_CLI_PAGES_VALUES_H_

#include <string>
#include <string_view>
#include <vector>

namespace tvq::cli {

// What a shell offers; nothing at all for a value that nobody can guess.
struct Values {
  bool areFiles = false;
  bool areFolders = false;
  std::vector<std::string> words;
};

// By the name of a value: words in small letters stand for themselves, and of several names apart by
// '|' any will do.
Values ValuesOf(std::string_view name);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_PAGES_VALUES_H_
