/*
 * Files that a command writes beside what it prints.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/output/whole_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

[[noreturn]] void Fail(const NamedFile& file, const std::string& reason, const std::string& hint) {
  throw InputError(fmt::format("the {} cannot be written to {}: {}", file.what, file.path, reason),
                   hint);
}

[[noreturn]] void FailForLink(const NamedFile& file, const std::string& link) {
  const std::string place = link == file.path ? "it" : link;
  Fail(file, fmt::format("{} is a symbolic link", place),
       fmt::format("links are not followed: name what it leads to, which `realpath {}` prints, or "
                   "remove it",
                   link));
}

}  // namespace

void WriteWhole(const NamedFile& file, std::string_view text, Readers readers) {
  std::string link;
  const Descriptor folder = OpenFolder(FolderOf(file.path), Missing::kFails, link);
  if (!link.empty()) {
    FailForLink(file, link);
  }
  const std::string name = NameOfFile(file.path);
  if (folder.IsOpen() && IsLink(folder, name)) {
    FailForLink(file, file.path);
  }
  if (folder.IsOpen() && IsSpecialFile(folder, name)) {
    Fail(file, "it is no plain file", "name one that may be replaced");
  }
  if (!folder.IsOpen() || WriteFile(folder, name, {text.begin(), text.end()}, Taken::kReplaced,
                                    readers) == Written::kNo) {
    Fail(file, std::strerror(errno),
         "name a file in a folder that is there and that you may write to");
  }
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
  return std::string(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
}

}  // namespace tvq::cli
