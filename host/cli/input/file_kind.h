/*
 * Files that are given as a table and are something else.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_INPUT_FILE_KIND_H_
#define TVQ_HOST_CLI_INPUT_FILE_KIND_H_

#include <cstdint>
#include <string>
#include <vector>

namespace tvq::cli {

// Throws an InputError that says what the file is and what to do with it, where it is known to be no
// table: compressed, a saved state, or what dmidecode prints for people.
void RefuseOtherFiles(const std::string& name, const std::vector<uint8_t>& file);

// Throws InputError for a table where something else is wanted. `command` reads tables.
void RefuseTables(const std::string& name, const std::vector<uint8_t>& file, const char* wanted,
                  const char* command);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_INPUT_FILE_KIND_H_
