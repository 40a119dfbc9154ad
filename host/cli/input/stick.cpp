/*
 * An agent's stick, which has a folder of states for each machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/stick.h"

#include <fmt/format.h>

#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

// How sure it is that a state is of the machine; the surer, the greater.
enum class Match {
  kNot,
  kPossible,  // nothing tells
  kLikely,    // nothing tells, and the agent made the folder for such a machine
  kByNumber,  // its board is another one
  kSame,
};

Match MatchOf(run::StateFit::Machine machine, const std::string& folder) {
  switch (machine) {
    case run::StateFit::Machine::kSame:
      return Match::kSame;
    case run::StateFit::Machine::kBoardReplaced:
      return Match::kByNumber;
    case run::StateFit::Machine::kUnknown:
      return folder.find("/machine-without-number") != std::string::npos ? Match::kLikely
                                                                         : Match::kPossible;
    case run::StateFit::Machine::kAnother:
      break;
  }
  return Match::kNot;
}

Match MatchFolder(run::DriverRun& driver, const std::string& folder, const run::Bytes& now,
                  const Console& quiet) {
  const std::optional<LoadedState> state = LoadStateIfAny(driver, folder, Damaged::kIsSaid, quiet);
  return state ? MatchOf(driver.FitOf(state->bytes, now).machine, folder) : Match::kNot;
}

// Those that are surest.
std::vector<std::string> FindFolders(run::DriverRun& driver,
                                     const std::vector<std::string>& machines,
                                     const run::Bytes& now, const Console& quiet) {
  Match best = Match::kPossible;
  std::vector<std::string> found;
  for (const std::string& folder : machines) {
    const Match match = MatchFolder(driver, folder, now, quiet);
    if (match > best) {
      best = match;
      found.clear();
    }
    if (match == best) {
      found.push_back(folder);
    }
  }
  return found;
}

}  // namespace

std::string FolderOfMachine(const std::string& path, const MakeNow& now, const Console& console) {
  const std::vector<std::string> machines = MachineFolders(path);
  if (machines.empty()) {
    return path;
  }
  Console quiet = console;
  quiet.isQuiet = true;
  run::DriverRun driver;
  const run::Bytes state = now(driver, quiet);
  const std::vector<std::string> found = FindFolders(driver, machines, state, quiet);
  if (found.size() != 1) {
    throw NoStateError(
        fmt::format(found.empty() ? "{} has no state of this machine"
                                  : "{} has several states that may be of this machine",
                    path),
        MachineFoldersHint(found.empty() ? machines : found));
  }
  return found.front();
}

std::string FolderOfMachine(const StateOptions& options, const Console& console) {
  return FolderOfMachine(
      options.folder,
      [&options](run::DriverRun& driver, const Console& quiet) {
        CollectRecords(driver, options, quiet);
        return driver.State(OriginOf(options));
      },
      console);
}

}  // namespace tvq::cli
