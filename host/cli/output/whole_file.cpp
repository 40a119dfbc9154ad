/*
 * Files that a command writes beside what it prints.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/whole_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace tvq::cli {
namespace {

std::string FolderOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

void SayWhyNot(const NamedFile& file, const std::string& link, const Console& console) {
  const std::string reason =
      link.empty() ? std::strerror(errno) : fmt::format("{} is a symbolic link", link);
  console.Error(fmt::format("the {} cannot be written to {}: {}", file.what, file.path, reason),
                link.empty() ? "name a file in a folder that is there and that you may write to"
                             : "links are not followed; name the folder that it leads to");
}

}  // namespace

std::string NameOfFile(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool WriteWhole(const NamedFile& file, std::string_view text, Readers readers,
                const Console& console) {
  std::string link;
  const Descriptor folder = OpenFolder(FolderOf(file.path), Missing::kFails, link);
  if (!folder.IsOpen() || WriteFile(folder, NameOfFile(file.path), {text.begin(), text.end()},
                                    Taken::kReplaced, readers) == Written::kNo) {
    SayWhyNot(file, link, console);
    return false;
  }
  return true;
}

std::string StartOfFile(const std::string& path) {
  std::string link;
  const Descriptor folder = OpenFolder(FolderOf(path), Missing::kFails, link);
  // A pipe that nobody writes to would be waited for.
  const Descriptor file(folder.IsOpen() ? openat(folder.Number(), NameOfFile(path).c_str(),
                                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC)
                                        : -1);
  char buffer[4096];
  const ssize_t count = file.IsOpen() ? read(file.Number(), buffer, sizeof(buffer)) : 0;
  return std::string(buffer, count < 0 ? 0 : static_cast<std::size_t>(count));
}

}  // namespace tvq::cli
