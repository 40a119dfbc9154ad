/*
 * Files that a command writes beside what it prints.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_OUTPUT_WHOLE_FILE_H_
#define TVQ_HOST_CLI_OUTPUT_WHOLE_FILE_H_

#include <string>
#include <string_view>

#include "host/cli/input/folder.h"

namespace tvq::cli {

// A path, and what it is of: "metrics".
struct NamedFile {
  std::string path;
  const char* what;
};

// Writes the file as a whole or not at all. No link is followed, neither in the path of its folder nor
// in its own place; whatever stands there and is no plain file stays. Throws an InputError.
void WriteWhole(const NamedFile& file, std::string_view text, Readers readers);

// What the file says at its beginning; nothing where there is no plain file that can be read.
std::string StartOfFile(const std::string& path);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_OUTPUT_WHOLE_FILE_H_
