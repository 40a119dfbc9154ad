/*
 * Where a command with the option -o writes its result.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/output_file.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <ostream>

#include "host/cli/input/folder.h"
#include "host/cli/input/input.h"

namespace tvq::cli {

void WriteOutput(const std::string& path, const std::string& result, const Console& console) {
  if (path.empty() || path == "-") {
    console.out << result;
    return;
  }
  const std::string name = NameOfFile(path);
  std::string link;
  const Descriptor directory = OpenFolder(FolderOf(path), Missing::kFails, link);
  if (directory.IsOpen() && IsSpecialFile(directory, name)) {
    throw InputError(fmt::format("cannot write {}: it is no plain file", path),
                     "`-o -` writes to standard output");
  }
  const Written written =
      directory.IsOpen()
          ? WriteFile(directory, name, {result.begin(), result.end()}, Taken::kReplaced)
          : Written::kNo;
  if (written != Written::kYes) {
    throw InputError(
        fmt::format(
            "{} {}: {}",
            written == Written::kNo ? "cannot write" : "written, but perhaps not on the disk:",
            path, link.empty() ? std::strerror(errno) : link + " is a symbolic link"),
        "name a file in a folder that you may write to, by a path without links");
  }
}

void MakeOutputFolder(const std::string& path) {
  std::string link;
  if (!OpenFolder(path, Missing::kIsMade, link).IsOpen()) {
    throw InputError(
        fmt::format("cannot make the folder {}: {}", path,
                    link.empty() ? std::strerror(errno) : link + " is a symbolic link"),
        "name a folder that you may write to, by a path without links");
  }
}

}  // namespace tvq::cli
