/*
 * The saved states in a folder, in the same files as the agent's on its volume.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_INPUT_STATE_FILE_H_
#define TVQ_HOST_CLI_INPUT_STATE_FILE_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/cli/output/console.h"
#include "host/run/driver_run.h"

namespace tvq::cli {

// How many states stay where nobody says otherwise.
inline constexpr unsigned kKeptStates = 10;

struct LoadedState {
  std::string path;
  run::Bytes bytes;
  std::vector<std::string> passedOver = {};  // what is wrong with each newer file, as it was said

  bool IsNewest() const { return passedOver.empty(); }
};

// Whether the service has its states there, which its units alone may change.
bool IsServiceFolder(const std::string& path);

// What a damaged state, or one of a later version, comes to.
enum class Damaged {
  kFails,   // with an InputError
  kIsSaid,  // and passed over
};

// The newest state in a folder that is whole. What was cut off while it was saved is passed over with
// a warning. No link is followed in any component of the path, and the file has to be a plain one
// of sensible size that no one else can write. Throws an InputError, and a NoStateError that says
// to save first where there is no state.
LoadedState LoadState(run::DriverRun& driver, const std::string& folder, const Console& console);

// The same, and nothing where there is no state.
std::optional<LoadedState> LoadStateIfAny(run::DriverRun& driver, const std::string& folder,
                                          Damaged damaged, const Console& console);

// The bytes of one file, under the same rules; nothing where it does not begin as a state does.
std::optional<run::Bytes> LoadStateFile(const std::string& path);

// Whether there are states in a folder, or folders of machines as an agent makes them.
bool HoldsStates(const std::string& folder);

// The folders of machines on an agent's stick, whose root or folder TVQ is named; none where the folder
// has states of its own.
std::vector<std::string> MachineFolders(const std::string& stick);
// A path without the numbers that such folders in it are named after.
std::string WithoutMachineNumbers(const std::string& path);
// What to do where one of them is wanted.
std::string MachineFoldersHint(const std::vector<std::string>& machines);

// The state that the path names: of a folder the newest one, else the file itself. Nothing where it is no
// state, or "-".
std::optional<run::Bytes> StateIn(run::DriverRun& driver, const std::string& path,
                                  const Console& console);

// Whether a state has such a name.
bool NamesState(const std::string& name);

// Whether there are states in a folder, whole or not.
bool HasStates(const std::string& folder);

// Saves a state beside those that are there, and removes all but the newest `kept`. The folder is
// made when it is missing. `encode` gives the file with a number. Returns its path. Throws an
// InputError.
std::string SaveState(const std::string& folder, unsigned kept,
                      const std::function<run::Bytes(uint64_t number)>& encode);

// What to do about a save that failed with this errno.
std::string SaveHint(int error, const std::string& folder);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_INPUT_STATE_FILE_H_
