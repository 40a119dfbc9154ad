/*
 * The saved states in a folder.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/state_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <strings.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <utility>

#include "host/cli/input/folder.h"
#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

constexpr std::string_view kPrefix = "state-";
constexpr char kSuffix[] = ".bin";
// How the agent names the folder of a machine.
constexpr std::string_view kMachinePrefix = "machine-";
// What versions before had in place of numbered files.
constexpr char kSingleFile[] = "tvq-state.bin";
constexpr char kServiceFolder[] = "/var/lib/tvq";
constexpr char kFolderHint[] = "name a folder that you may write to and that is no link";
// Far more than the largest machine needs.
constexpr off_t kLargestState = 16 << 20;
// Numbers have at most nine digits.
constexpr uint64_t kNumberLimit = 1000000000;

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

std::string NameOf(uint64_t number) {
  return fmt::format("{}{}{}", kPrefix, number, kSuffix);
}

// The number in the name of a state's file; 0 for other files. FAT may show names in capitals.
uint64_t NumberIn(const std::string& name) {
  if (strncasecmp(name.c_str(), kPrefix.data(), kPrefix.size()) != 0) {
    return 0;
  }
  uint64_t number = 0;  // which stays where there is none, or one without end
  const std::string_view rest = std::string_view(name).substr(kPrefix.size());
  const char* const suffix = std::from_chars(rest.begin(), rest.end(), number).ptr;
  return strcasecmp(suffix, kSuffix) == 0 && number < kNumberLimit ? number : 0;
}

// The number of a state, and the name of its file.
using NumberedFile = std::pair<uint64_t, std::string>;

// The newest one first.
std::vector<NumberedFile> StatesIn(const Descriptor& folder) {
  std::vector<NumberedFile> files;
  for (const std::string& name : NamesIn(folder)) {
    const uint64_t number = NumberIn(name);
    if (number != 0) {
      files.emplace_back(number, name);
    }
  }
  std::sort(files.rbegin(), files.rend());
  return files;
}

// The error says what to do, where it is known; else the hint does.
[[noreturn]] void Fail(const std::string& verb, const std::string& path, const std::string& link,
                       const std::string& hint) {
  const int error = errno;
  std::string reason = std::strerror(error);
  std::string advice = IsDenied(error) ? kSudoHint : hint;
  if (!link.empty()) {
    reason = link == path ? "it is a symbolic link" : link + " is a symbolic link";
    advice = fmt::format(
        "links are not followed; name what it leads to, which `realpath {}` prints", path);
  }
  throw InputError(fmt::format("cannot {} {}: {}", verb, path, reason), advice);
}

// Whether somebody else than the user and root may change it.
bool OthersMayWrite(const struct stat& status) {
  const bool isOurs = status.st_uid == geteuid() || status.st_uid == 0;
  return !isOurs || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

[[noreturn]] void Refuse(const std::string& path, const std::string& why, const std::string& hint) {
  throw InputError(fmt::format("{} is not read: {}", path, why), hint);
}

void CheckFile(const std::string& path, const struct stat& status) {
  if (!S_ISREG(status.st_mode)) {
    Refuse(path, "it is no plain file", "name a folder that `tvq save` was given");
  }
  if (status.st_size > kLargestState) {
    Refuse(path, fmt::format("it has {} bytes, more than any state", status.st_size),
           "name a folder that `tvq save` was given");
  }
  if (OthersMayWrite(status)) {
    Refuse(path, "others may write it, so that nobody knows whose state it is",
           fmt::format("where you trust it: `chown {} {}` and `chmod go-w {}`",
                       static_cast<unsigned>(geteuid()), path, path));
  }
}

// No more bytes than the file had when its size was asked for.
run::Bytes ReadAll(int file, off_t size, const std::string& path) {
  run::Bytes bytes(static_cast<size_t>(size));
  uint8_t* at = bytes.data();
  const uint8_t* const end = at + size;
  for (;;) {
    const ssize_t count = read(file, at, static_cast<size_t>(end - at));
    if (count < 0 && errno != EINTR) {
      Fail("read", path, "", "look at the disk's health");
    }
    if (count == 0) {
      bytes.resize(static_cast<size_t>(at - bytes.data()));
      return bytes;
    }
    at += std::max<ssize_t>(count, 0);
  }
}

run::Bytes ReadFileIn(const Descriptor& folder, const std::string& name, const std::string& path) {
  // A pipe that nobody writes to would be waited for.
  const Descriptor file(
      openat(folder.Number(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (!file.IsOpen()) {
    Fail("open", path, errno == ELOOP ? path : "", "name a folder that `tvq save` was given");
  }
  struct stat status = {};
  if (fstat(file.Number(), &status) != 0) {
    Fail("read", path, "", "look at the disk's health");
  }
  CheckFile(path, status);
  return ReadAll(file.Number(), status.st_size, path);
}

bool HasFile(const Descriptor& folder, const char* name) {
  struct stat status = {};
  return fstatat(folder.Number(), name, &status, AT_SYMLINK_NOFOLLOW) == 0;
}

// The service's folder is that of its user, and has to stay so.
std::string HintForFolder(const std::string& path) {
  if (IsServiceFolder(path)) {
    return "it is the service's: `systemctl start tvq-verify` compares, `journalctl -x -t tvq` "
           "tells what was found and how to accept it, `systemctl start tvq-save` saves";
  }
  return fmt::format("where you trust it: `chown root {}` and `chmod go-w {}`", path, path);
}

// As root, nobody else may exchange the files either.
void CheckFolder(const Descriptor& folder, const std::string& path) {
  struct stat status = {};
  if (geteuid() == 0 && fstat(folder.Number(), &status) == 0 && OthersMayWrite(status)) {
    Refuse(path, "others may write there, so that nobody knows whose states these are",
           HintForFolder(path));
  }
}

// Opens a folder to read states there. Not open: there is none.
Descriptor OpenToRead(const std::string& folder) {
  std::string link;
  Descriptor directory = OpenFolder(folder, Missing::kFails, link);
  if (directory.IsOpen()) {
    CheckFolder(directory, folder);
  } else if (errno != ENOENT) {
    Fail("open", folder, link, kFolderHint);
  }
  return directory;
}

std::string PathIn(const std::string& folder, const std::string& name) {
  return (std::filesystem::path(folder) / name).string();
}

// Keeps other saves away until the folder is closed. Everybody who may read the folder can hold the lock,
// so that nobody waits long for it; without it, saves at the same time do not get in each other's way
// either: the second one finds the name taken. False: it is held by somebody else, or cannot be.
bool Lock(const Descriptor& folder) {
  constexpr int kAttempts = 20;
  constexpr useconds_t kPause = 50000;
  for (int i = 0; i < kAttempts; ++i) {
    if (flock(folder.Number(), LOCK_EX | LOCK_NB) == 0) {
      return true;
    }
    if (errno != EWOULDBLOCK && errno != EINTR) {
      return false;
    }
    usleep(kPause);
  }
  return false;
}

// Those without a number are of versions before, which did not keep it in the state's own name.
run::StateFile Check(run::DriverRun& driver, const run::Bytes& bytes, uint64_t number) {
  if (number != 0) {
    return driver.CheckStateFile(bytes, number);
  }
  try {
    driver.ReadStateTable(bytes);
    return {};
  } catch (const run::StateError& error) {
    return {run::StateFile::Kind::kUnusable, error.what()};
  }
}

// Whether the folder is one that the first version of the agent left states in.
bool HasFirstAgentsStates(const std::string& folder) {
  std::string link;
  const Descriptor directory = OpenFolder(folder, Missing::kFails, link);
  return directory.IsOpen() &&
         (HasFile(directory, "state-a.bin") || HasFile(directory, "state-b.bin"));
}

void RemoveOld(const Descriptor& folder, unsigned kept) {
  unsigned count = 0;
  for (const auto& [number, name] : StatesIn(folder)) {
    if (++count > kept) {
      unlinkat(folder.Number(), name.c_str(), 0);
    }
  }
}

std::vector<std::string> MachineFoldersIn(const std::string& folder) {
  std::string link;
  const Descriptor directory = OpenFolder(folder, Missing::kFails, link);
  std::vector<std::string> machines;
  if (directory.IsOpen()) {
    for (const std::string& name : NamesIn(directory)) {
      if (StartsWith(name, kMachinePrefix)) {
        machines.push_back(PathIn(folder, name));
      }
    }
  }
  std::sort(machines.begin(), machines.end());
  return machines;
}

// What to do where a folder has no state: the agent's has one for each machine.
std::string NoStateHint(const std::string& folder) {
  if (HasFirstAgentsStates(folder)) {
    return "state-a.bin and state-b.bin are of an earlier agent: `tvq diff` reads either";
  }
  const std::vector<std::string> machines = MachineFolders(folder);
  return machines.empty() ? "save a state first with `tvq save " + folder + "`"
                          : MachineFoldersHint(machines);
}

}  // namespace

std::vector<std::string> MachineFolders(const std::string& stick) {
  if (HasStates(stick)) {
    return {};
  }
  const std::vector<std::string> machines = MachineFoldersIn(stick);
  return machines.empty() ? MachineFoldersIn(PathIn(stick, "TVQ")) : machines;
}

std::string WithoutMachineNumbers(const std::string& path) {
  std::string plain;
  for (std::string::size_type at = 0; at < path.size();) {
    const std::string component = path.substr(at, path.find('/', at) - at);
    const bool isOfMachine = StartsWith(component, kMachinePrefix);
    plain += isOfMachine ? "machine" : component;
    at += component.size();
    if (at < path.size()) {
      plain += path[at++];
    }
  }
  return plain;
}

std::string MachineFoldersHint(const std::vector<std::string>& machines) {
  return fmt::format("name the folder of one machine: {}", fmt::join(machines, ", "));
}

bool HoldsStates(const std::string& folder) {
  std::string link;
  const Descriptor directory = OpenFolder(folder, Missing::kFails, link);
  const std::vector<std::string> names =
      directory.IsOpen() ? NamesIn(directory) : std::vector<std::string>();
  return std::any_of(names.begin(), names.end(), [](const std::string& name) {
    return name == kSingleFile || StartsWith(name, kPrefix) || StartsWith(name, kMachinePrefix);
  });
}

std::optional<run::Bytes> StateIn(run::DriverRun& driver, const std::string& path,
                                  const Console& console) {
  struct stat status = {};
  if (path == "-" || stat(path.c_str(), &status) != 0) {
    return std::nullopt;
  }
  if (S_ISDIR(status.st_mode)) {
    return LoadState(driver, path, console).bytes;
  }
  // Whoever writes into a pipe is not disturbed: what comes through it comes once.
  return S_ISREG(status.st_mode) ? LoadStateFile(path) : std::nullopt;
}

std::string SaveHint(int error, const std::string& folder) {
  std::string kept = "what was saved there before is still there";
  switch (error) {
    case ENOSPC:
    case EDQUOT:
      return fmt::format("{}; `df -h {}` shows how much room is left", kept, folder);
    default:
      return kept;
  }
}

std::string SaveState(const std::string& folder, unsigned kept,
                      const std::function<run::Bytes(uint64_t number)>& encode) {
  std::string link;
  const Descriptor directory = OpenFolder(folder, Missing::kIsMade, link);
  if (!directory.IsOpen()) {
    Fail("open", folder, link, kFolderHint);
  }
  if (Lock(directory)) {
    RemoveLeftovers(directory, [](const std::string& name) { return NumberIn(name) != 0; });
  }
  const std::vector<NumberedFile> files = StatesIn(directory);
  const uint64_t number = files.empty() ? 1 : files.front().first + 1;
  std::string path = PathIn(folder, NameOf(number));
  if (number >= kNumberLimit) {
    throw InputError(fmt::format("cannot write {}: states have at most nine digits", path),
                     "save in another folder, or move the states away");
  }
  const Written written = WriteFile(directory, NameOf(number), encode(number), Taken::kFails);
  if (written == Written::kNo) {
    Fail("write", path, "", SaveHint(errno, folder));
  }
  if (written == Written::kNotSure) {
    throw InputError(fmt::format("{} is saved, but may be gone after a power cut: {}", path,
                                 std::strerror(errno)),
                     "look at the disk's health");
  }
  RemoveOld(directory, kept);
  return path;
}

std::optional<LoadedState> LoadStateIfAny(run::DriverRun& driver, const std::string& folder,
                                          Damaged damaged, const Console& console) {
  const Descriptor directory = OpenToRead(folder);
  if (!directory.IsOpen()) {
    return std::nullopt;
  }
  std::vector<NumberedFile> files = StatesIn(directory);
  if (HasFile(directory, kSingleFile)) {
    files.emplace_back(0, kSingleFile);
  }
  std::vector<std::string> passedOver;
  for (size_t i = 0; i < files.size(); ++i) {
    const auto& [number, name] = files[i];
    const std::string path = PathIn(folder, name);
    run::Bytes bytes = ReadFileIn(directory, name, path);
    const run::StateFile state = Check(driver, bytes, number);
    if (state.kind == run::StateFile::Kind::kWhole) {
      return LoadedState{path, std::move(bytes), std::move(passedOver)};
    }
    const bool isLast = i + 1 == files.size();
    // Only the newest one can have been cut off.
    const bool isCutOff = state.kind == run::StateFile::Kind::kCutOff && i == 0;
    if (!isCutOff && damaged == Damaged::kFails) {
      throw InputError(fmt::format("{} {}", path, state.what),
                       isLast ? "move it away and save a new one"
                              : "move it away to use the state before it, which `tvq save` kept");
    }
    passedOver.push_back(
        fmt::format("{} {}; {}", path, state.what,
                    isLast ? "there is none before it" : "the one before it counts"));
    console.Warning(passedOver.back());
  }
  return std::nullopt;
}

std::optional<run::Bytes> LoadStateFile(const std::string& path) {
  constexpr std::string_view kMagic = "TVQSTATE";
  char magic[kMagic.size()] = {};
  struct stat status = {};
  const Descriptor peeked(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  const bool isState = peeked.IsOpen() && fstat(peeked.Number(), &status) == 0 &&
                       S_ISREG(status.st_mode) &&
                       pread(peeked.Number(), magic, sizeof(magic), 0) == sizeof(magic) &&
                       std::string_view(magic, sizeof(magic)) == kMagic;
  if (!isState) {
    return std::nullopt;
  }
  return ReadFileIn(OpenToRead(FolderOf(path)), NameOfFile(path), path);
}

bool IsServiceFolder(const std::string& path) {
  return path.substr(0, path.find_last_not_of('/') + 1) == kServiceFolder;
}

bool NamesState(const std::string& name) {
  return NumberIn(name) != 0 || name == kSingleFile;
}

bool HasStates(const std::string& folder) {
  std::string link;
  const Descriptor directory = OpenFolder(folder, Missing::kFails, link);
  return directory.IsOpen() && (!StatesIn(directory).empty() || HasFile(directory, kSingleFile));
}

LoadedState LoadState(run::DriverRun& driver, const std::string& folder, const Console& console) {
  std::optional<LoadedState> state = LoadStateIfAny(driver, folder, Damaged::kFails, console);
  if (!state) {
    throw NoStateError(fmt::format("there is no saved state in {}", folder), NoStateHint(folder));
  }
  return std::move(*state);
}

}  // namespace tvq::cli
