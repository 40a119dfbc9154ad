/*
 * Reads input files, with messages for those that cannot be read.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/input.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <istream>
#include <memory>

namespace tvq::cli {
namespace {

// Far more than an SMBIOS table can have in practice; keeps endless devices out.
constexpr size_t kMaximumSize = size_t{16} << 20;
constexpr size_t kStep = size_t{1} << 16;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

[[noreturn]] void ThrowFileError(const std::string& path, int error, const std::string& hint) {
  throw InputError(fmt::format("cannot read {}: {}", path, std::strerror(error)),
                   IsDenied(error) ? kSudoHint : hint);
}

// All that `readStep` gives, which reads up to kStep bytes and returns how many there were.
template <typename ReadStep>
std::vector<uint8_t> ReadAll(const std::string& name, const std::string& hint, ReadStep readStep) {
  std::vector<uint8_t> bytes;
  size_t read = 0;
  do {
    const size_t before = bytes.size();
    bytes.resize(before + kStep);
    read = readStep(bytes.data() + before);
    bytes.resize(before + read);
    if (bytes.size() > kMaximumSize) {
      throw InputError(fmt::format("{} is larger than any SMBIOS table", name), hint);
    }
  } while (read == kStep);
  return bytes;
}

}  // namespace

bool IsDenied(int error) {
  return error == EACCES || error == EPERM;
}

std::vector<uint8_t> ReadFile(const std::string& path, const std::string& hint) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    ThrowFileError(path, errno, hint);
  }
  std::vector<uint8_t> bytes = ReadAll(
      path, hint, [&file](uint8_t* buffer) { return std::fread(buffer, 1, kStep, file.get()); });
  if (std::ferror(file.get()) != 0) {
    ThrowFileError(path, errno, hint);
  }
  return bytes;
}

std::vector<uint8_t> ReadInput(const std::string& path, const std::string& hint,
                               const Console& console) {
  if (path != "-") {
    return ReadFile(path, hint);
  }
  return ReadAll("standard input", hint, [&console](uint8_t* buffer) {
    console.in.read(reinterpret_cast<char*>(buffer), kStep);
    return static_cast<size_t>(console.in.gcount());
  });
}

std::string WithCommand(std::string hint, const std::string& commandLine) {
  const std::size_t place = hint.find(kThisCommand);
  if (place != std::string::npos) {
    hint.replace(place, sizeof(kThisCommand) - 1, commandLine);
  }
  return hint;
}

bool NamesFile(const std::string& argument) {
  struct stat status = {};
  return argument == "-" || argument.find('/') != std::string::npos ||
         stat(argument.c_str(), &status) == 0;
}

}  // namespace tvq::cli
