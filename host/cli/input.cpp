/*
 * Reads input files, with messages for those that cannot be read.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
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
  const bool isDenied = error == EACCES || error == EPERM;
  throw InputError(fmt::format("cannot read {}: {}", path, std::strerror(error)),
                   isDenied ? "only root may read this file: run the command with sudo" : hint);
}

}  // namespace

std::vector<uint8_t> ReadFile(const std::string& path, const std::string& hint) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    ThrowFileError(path, errno, hint);
  }
  std::vector<uint8_t> bytes;
  size_t read = 0;
  do {
    const size_t before = bytes.size();
    bytes.resize(before + kStep);
    read = std::fread(bytes.data() + before, 1, kStep, file.get());
    bytes.resize(before + read);
    if (bytes.size() > kMaximumSize) {
      throw InputError(fmt::format("{} is larger than any SMBIOS table", path), hint);
    }
  } while (read == kStep);
  if (std::ferror(file.get()) != 0) {
    ThrowFileError(path, errno, hint);
  }
  return bytes;
}

}  // namespace tvq::cli
