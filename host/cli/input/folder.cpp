/*
 * Folders and files that are reached without following a link.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <random>
#include <sstream>

namespace tvq::cli {
namespace {

// How a folder is opened that is passed through, one whose names are read, and a new file.
constexpr int kPassed = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kRead = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int kNew = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

std::vector<std::string> ComponentsOf(const std::string& path) {
  std::vector<std::string> components;
  std::istringstream rest(path);
  for (std::string component; std::getline(rest, component, '/');) {
    if (!component.empty() && component != ".") {
      components.push_back(component);
    }
  }
  return components;
}

bool WriteAll(int file, const std::vector<uint8_t>& bytes, Readers readers) {
  if (readers == Readers::kEveryone && fchmod(file, 0644) != 0) {
    return false;
  }
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = write(file, bytes.data() + written, bytes.size() - written);
    if (count < 0 && errno != EINTR) {
      return false;
    }
    written += static_cast<size_t>(std::max<ssize_t>(count, 0));
  }
  return fsync(file) == 0;
}

// "." in front of the name, and a number that nobody guesses behind it.
std::string TemporaryName(const std::string& name) {
  std::random_device random;
  return fmt::format(".{}.{:08x}{:08x}", name, random(), random());
}

// The name that a file with a temporary one was to have; empty where the name is no temporary one.
std::string FinalName(const std::string& name) {
  constexpr size_t kDigits = 16;
  constexpr char kHex[] = "0123456789abcdef";
  const size_t dot = name.rfind('.');
  const bool isTemporary = dot != 0 && name[0] == '.' && name.size() - dot - 1 == kDigits &&
                           name.find_first_not_of(kHex, dot + 1) == std::string::npos;
  return isTemporary ? name.substr(1, dot - 1) : "";
}

// A file of this process alone, which goes again unless it takes its final name: it is open until then.
class NewFile {
 public:
  NewFile(int folder, const std::string& name, Readers readers)
      : mFolder(folder),
        mName(TemporaryName(name)),
        mFile(openat(folder, mName.c_str(), kNew, readers == Readers::kGroup ? 0640 : 0600)) {}
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile() {
    if (mFile.IsOpen()) {
      const int error = errno;
      unlinkat(mFolder, mName.c_str(), 0);
      errno = error;
    }
  }

  bool Write(const std::vector<uint8_t>& bytes, Readers readers) {
    return mFile.IsOpen() && WriteAll(mFile.Number(), bytes, readers);
  }
  bool TakeName(const std::string& name, Taken taken) {
    const unsigned flags = taken == Taken::kFails ? RENAME_NOREPLACE : 0;
    bool isRenamed = renameat2(mFolder, mName.c_str(), mFolder, name.c_str(), flags) == 0;
    if (!isRenamed && errno == EINVAL && flags != 0) {
      // A file system that cannot promise it; nobody else writes states at the same time.
      isRenamed = faccessat(mFolder, name.c_str(), F_OK, AT_SYMLINK_NOFOLLOW) != 0 &&
                  renameat(mFolder, mName.c_str(), mFolder, name.c_str()) == 0;
    }
    if (isRenamed) {
      mFile = Descriptor();
    }
    return isRenamed;
  }

 private:
  int mFolder;
  std::string mName;
  Descriptor mFile;
};

}  // namespace

Descriptor::~Descriptor() {
  if (mNumber >= 0) {
    close(mNumber);
  }
}

Descriptor OpenFolder(const std::string& path, Missing missing, std::string& link) {
  std::string walked = path[0] == '/' ? "/" : "";
  Descriptor at(open(walked.empty() ? "." : "/", kPassed));
  std::vector<std::string> components = ComponentsOf(path);
  if (components.empty()) {
    components.emplace_back(".");
  }
  for (size_t i = 0; i < components.size() && at.IsOpen(); ++i) {
    const std::string& name = components[i];
    const bool isLast = i + 1 == components.size();
    if (isLast && missing == Missing::kIsMade && mkdirat(at.Number(), name.c_str(), 0700) != 0 &&
        errno != EEXIST) {
      return Descriptor();
    }
    walked += (i == 0 ? "" : "/") + name;
    Descriptor next(openat(at.Number(), name.c_str(), isLast ? kRead : kPassed));
    if (!next.IsOpen() && IsLink(at, name)) {
      link = walked;
    }
    const int error = errno;
    at = std::move(next);
    errno = error;
  }
  return at;
}

Written WriteFile(const Descriptor& folder, const std::string& name,
                  const std::vector<uint8_t>& bytes, Taken taken, Readers readers) {
  if (IsSpecialFile(folder, name)) {
    errno = EEXIST;
    return Written::kNo;
  }
  NewFile file(folder.Number(), name, readers);
  if (!file.Write(bytes, readers) || !file.TakeName(name, taken)) {
    return Written::kNo;
  }
  return fsync(folder.Number()) == 0 ? Written::kYes : Written::kNotSure;
}

std::string NameOfFile(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string FolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

bool IsLink(const Descriptor& folder, const std::string& name) {
  const int error = errno;
  struct stat status = {};
  const bool isLink = fstatat(folder.Number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                      S_ISLNK(status.st_mode);
  errno = error;
  return isLink;
}

bool IsSpecialFile(const Descriptor& folder, const std::string& name) {
  struct stat status = {};
  return fstatat(folder.Number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

void RemoveLeftovers(const Descriptor& folder,
                     const std::function<bool(const std::string& name)>& isTheirs) {
  for (const std::string& name : NamesIn(folder)) {
    const std::string final = FinalName(name);
    struct stat status = {};
    if (!final.empty() && isTheirs(final) &&
        fstatat(folder.Number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
        S_ISREG(status.st_mode) && status.st_uid == geteuid()) {
      unlinkat(folder.Number(), name.c_str(), 0);
    }
  }
}

std::vector<std::string> NamesIn(const Descriptor& folder) {
  std::vector<std::string> names;
  const int copy = openat(folder.Number(), ".", kRead);
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(copy < 0 ? nullptr : fdopendir(copy), closedir);
  while (stream != nullptr) {
    const dirent* const entry = readdir(stream.get());
    if (entry == nullptr) {
      break;
    }
    names.emplace_back(entry->d_name);
  }
  return names;
}

}  // namespace tvq::cli
