/*
 * The tables that the arguments of a command name.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/many/table_list.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "host/cli/command.h"
#include "host/cli/input/input.h"
#include "host/cli/input/state_file.h"

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;

// On an agent's stick, the files beside the states are the agent's own.
std::vector<std::string> MachinesOn(const std::string& folder) {
  std::vector<std::string> machines = MachineFolders(folder);
  machines.erase(std::remove_if(machines.begin(), machines.end(),
                                [](const std::string& path) {
                                  std::error_code error;
                                  return !fs::is_directory(path, error);
                                }),
                 machines.end());
  return machines;
}

// What is in the folder, as far as it can be read.
std::vector<fs::directory_entry> EntriesOf(const std::string& folder, std::error_code& error) {
  std::vector<fs::directory_entry> entries;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    if (at->path().filename().native().front() != '.') {
      entries.push_back(*at);
    }
  }
  std::sort(entries.begin(), entries.end());
  return entries;
}

std::error_code AddFilesIn(const std::string& folder, std::vector<TableFile>& files);

void AddEntry(const fs::directory_entry& entry, std::vector<TableFile>& files) {
  const std::string& path = entry.path().native();
  std::error_code error;
  if (entry.is_symlink(error) && !fs::exists(path, error)) {
    files.push_back({path, fmt::format("{} is a link that leads nowhere", path)});
  } else if (entry.is_regular_file(error)) {
    files.push_back({path});
  } else if (entry.is_directory(error) && !entry.is_symlink(error)) {
    if (HasStates(path)) {
      files.push_back({path});  // It stands for its newest state.
    } else if (const std::error_code failed = AddFilesIn(path, files)) {
      files.push_back({path, fmt::format("cannot read the folder {}: {}", path, failed.message())});
    }
  }
}

std::error_code AddFilesIn(const std::string& folder, std::vector<TableFile>& files) {
  std::error_code error;
  if (const std::vector<std::string> machines = MachinesOn(folder); !machines.empty()) {
    for (const std::string& machine : machines) {
      files.push_back({machine});
    }
    return error;
  }
  for (const fs::directory_entry& entry : EntriesOf(folder, error)) {
    AddEntry(entry, files);
  }
  return error;
}

bool IsFolderOfTables(const std::string& path) {
  std::error_code error;
  return fs::is_directory(path, error) && (!HoldsStates(path) || !MachinesOn(path).empty());
}

}  // namespace

bool AreMany(const std::vector<std::string>& arguments) {
  return arguments.size() > 1 || (arguments.size() == 1 && IsFolderOfTables(arguments.front()));
}

std::vector<TableFile> ListTables(const std::vector<std::string>& arguments) {
  if (std::count(arguments.begin(), arguments.end(), "-") > 1) {
    throw UsageError("'-' is given twice, and standard input can be read once");
  }
  std::vector<TableFile> files;
  for (const std::string& argument : arguments) {
    if (!IsFolderOfTables(argument)) {
      files.push_back({argument});
    } else if (const std::error_code failed = AddFilesIn(argument, files)) {
      throw InputError(fmt::format("cannot read the folder {}: {}", argument, failed.message()),
                       "name files, or folders that you may read");
    }
  }
  return files;
}

}  // namespace tvq::cli
