/*
 * Where a command with the option -o writes its result.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_OUTPUT_OUTPUT_FILE_H_
#define TVQ_HOST_CLI_OUTPUT_OUTPUT_FILE_H_

#include <string>

#include "host/cli/output/console.h"

namespace tvq::cli {

// Writes a file as a whole or not at all, for its owner alone and without following a link; standard
// output where the path is empty or "-". Throws InputError.
void WriteOutput(const std::string& path, const std::string& result, const Console& console);

// Makes a folder for such files where there is none yet. Throws InputError.
void MakeOutputFolder(const std::string& path);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_OUTPUT_OUTPUT_FILE_H_
