/*
 * A saved state in a folder.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/state_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

constexpr char kName[] = "tvq-state.bin";
constexpr char kFolderHint[] = "name a folder that you may write to and that is no link";

// Owns a file descriptor.
class Descriptor {
 public:
  explicit Descriptor(int number) : mNumber(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (mNumber >= 0) {
      close(mNumber);
    }
  }
  int Number() const { return mNumber; }
  bool IsOpen() const { return mNumber >= 0; }

 private:
  int mNumber;
};

bool IsLink(const std::string& path) {
  struct stat status = {};
  return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

// The error says what to do, where it is known; else the hint does.
[[noreturn]] void Fail(const std::string& verb, const std::string& path, const std::string& hint) {
  const int error = errno;
  std::string reason = std::strerror(error);
  std::string advice = error == EACCES || error == EPERM ? kSudoHint : hint;
  if (IsLink(path)) {
    reason = "it is a symbolic link";
    advice = fmt::format(
        "links are not followed; name what it leads to, which `realpath {}` prints", path);
  }
  throw InputError(fmt::format("cannot {} {}: {}", verb, path, reason), advice);
}

int OpenFolder(const std::string& folder) {
  return open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool WriteAll(int file, const std::vector<uint8_t>& bytes) {
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = write(file, bytes.data() + written, bytes.size() - written);
    if (count < 0 && errno != EINTR) {
      return false;
    }
    written += count < 0 ? 0 : static_cast<size_t>(count);
  }
  return fsync(file) == 0;
}

// A file of this process alone, which goes again unless it takes its final name.
class NewFile {
 public:
  explicit NewFile(int folder)
      : mFolder(folder),
        mName(fmt::format(".{}.{}", kName, getpid())),
        mFile(openat(folder, mName.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                     0600)) {}
  NewFile(const NewFile&) = delete;
  NewFile& operator=(const NewFile&) = delete;
  ~NewFile() {
    if (mFile.IsOpen() && !mIsRenamed) {
      unlinkat(mFolder, mName.c_str(), 0);
    }
  }

  bool Write(const std::vector<uint8_t>& bytes) {
    return mFile.IsOpen() && WriteAll(mFile.Number(), bytes);
  }
  const std::string& Name() const { return mName; }
  bool TakeName(const char* name) {
    mIsRenamed = renameat(mFolder, mName.c_str(), mFolder, name) == 0;
    return mIsRenamed && fsync(mFolder) == 0;
  }

 private:
  int mFolder;
  std::string mName;
  Descriptor mFile;
  bool mIsRenamed = false;
};

}  // namespace

std::string StatePath(const std::string& folder) {
  return folder + "/" + kName;
}

std::string SaveHint(int error, const std::string& folder, const std::string& name) {
  const std::string kept = "what was saved there before is still there";
  switch (error) {
    case ENOSPC:
    case EDQUOT:
      return fmt::format("{}; `df -h {}` shows how much room is left", kept, folder);
    case EEXIST:
      return fmt::format("{}; a save that was interrupted left {}/{}: type `{}` again", kept,
                         folder, name, kThisCommand);
    default:
      return kept;
  }
}

void SaveStateFile(const std::string& folder, const std::vector<uint8_t>& bytes) {
  if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    Fail("make", folder, kFolderHint);
  }
  const Descriptor directory(OpenFolder(folder));
  if (!directory.IsOpen()) {
    Fail("open", folder, kFolderHint);
  }
  NewFile file(directory.Number());
  if (!file.Write(bytes) || !file.TakeName(kName)) {
    Fail("write", StatePath(folder), SaveHint(errno, folder, file.Name()));
  }
}

std::vector<uint8_t> LoadStateFile(const std::string& folder) {
  const std::string hint = "save a state first with `tvq save " + folder + "`";
  const Descriptor directory(OpenFolder(folder));
  if (!directory.IsOpen()) {
    Fail("open", folder, hint);
  }
  const Descriptor file(openat(directory.Number(), kName, O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
  if (!file.IsOpen()) {
    Fail("open", StatePath(folder), hint);
  }
  std::vector<uint8_t> bytes;
  uint8_t buffer[1 << 16];
  for (;;) {
    const ssize_t count = read(file.Number(), buffer, sizeof(buffer));
    if (count == 0) {
      return bytes;
    }
    if (count < 0 && errno != EINTR) {
      Fail("read", StatePath(folder), hint);
    }
    bytes.insert(bytes.end(), buffer, buffer + (count < 0 ? 0 : count));
  }
}

}  // namespace tvq::cli
