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

#include "host/cli/input/input.h"
#include "host/cli/input/state_file.h"

namespace tvq::cli {
namespace {

namespace fs = std::filesystem;

void AddFilesIn(const std::string& folder, std::vector<std::string>& files) {
  std::vector<fs::directory_entry> entries;
  std::error_code error;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
    if (at->path().filename().native().front() != '.') {
      entries.push_back(*at);
    }
  }
  if (error) {
    throw InputError(fmt::format("cannot read the folder {}: {}", folder, error.message()),
                     "name files, or folders that you may read");
  }
  std::sort(entries.begin(), entries.end());
  for (const fs::directory_entry& entry : entries) {
    if (entry.is_directory(error) && !entry.is_symlink(error)) {
      if (HasStates(entry.path().native())) {
        files.push_back(entry.path().native());  // It stands for its newest state.
      } else {
        AddFilesIn(entry.path().native(), files);
      }
    } else if (entry.is_regular_file(error)) {
      files.push_back(entry.path().native());
    }
  }
}

bool IsFolderOfTables(const std::string& path) {
  std::error_code error;
  return fs::is_directory(path, error) && !HoldsStates(path);
}

}  // namespace

bool AreMany(const std::vector<std::string>& arguments) {
  return arguments.size() > 1 || (arguments.size() == 1 && IsFolderOfTables(arguments.front()));
}

std::vector<std::string> ListTables(const std::vector<std::string>& arguments) {
  std::vector<std::string> files;
  for (const std::string& argument : arguments) {
    if (IsFolderOfTables(argument)) {
      AddFilesIn(argument, files);
    } else {
      files.push_back(argument);
    }
  }
  return files;
}

}  // namespace tvq::cli
