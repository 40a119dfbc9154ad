/*
 * A saved state in a folder.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_INPUT_STATE_FILE_H_
#define TVQ_HOST_CLI_INPUT_STATE_FILE_H_

#include <cstdint>
#include <string>
#include <vector>

namespace tvq::cli {

// The path of the state in a folder, for messages.
std::string StatePath(const std::string& folder);

// Puts a state in place of one that may be there, as a whole or not at all: the new file is created
// exclusively with mode 0600, reaches the disk, and takes the old one's name. No link is followed;
// the folder is made when it is missing. Throws an InputError.
void SaveStateFile(const std::string& folder, const std::vector<uint8_t>& bytes);

// What to do about a save that failed with this errno, while its new file had that name.
std::string SaveHint(int error, const std::string& folder, const std::string& name);

// Throws an InputError, one that says to save first where there is no state.
std::vector<uint8_t> LoadStateFile(const std::string& folder);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_INPUT_STATE_FILE_H_
