/*
 * Runs a fuzz target on files, and on all files of folders: what failed once, and the seeds.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tests/fuzz/target.h"

namespace {

std::vector<std::string> FilesIn(const std::string& path) {
  std::vector<std::string> files;
  if (!std::filesystem::is_directory(path)) {
    return {path};
  }
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    if (entry.is_regular_file()) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

// False: there is no such file.
bool Replay(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> bytes{std::istreambuf_iterator<char>(file),
                                std::istreambuf_iterator<char>()};
  if (!file) {
    std::fprintf(stderr, "cannot read %s\n", path.c_str());
    return false;
  }
  // Whatever goes wrong comes after this line.
  std::printf("%s\n", path.c_str());
  std::fflush(stdout);
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  size_t runs = 0;
  for (int i = 1; i < argc; ++i) {
    for (const std::string& file : FilesIn(argv[i])) {
      if (!Replay(file)) {
        return 2;
      }
      ++runs;
    }
  }
  std::printf("%zu inputs, no finding\n", runs);
  return runs == 0 ? 2 : 0;
}
