/*
 * Bytes and files for the tests of tables.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_TABLE_TABLE_BYTES_H_
#define TVQ_TESTS_UNIT_HOST_TABLE_TABLE_BYTES_H_

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include "host/table/table.h"

namespace tvq::table {

// The bytes that pairs of digits name: FromHex("DD 05 01").
inline Bytes FromHex(const std::string& digits) {
  std::istringstream words(digits);
  Bytes bytes;
  for (std::string word; words >> word;) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(word, nullptr, 16)));
  }
  return bytes;
}

inline Bytes operator+(Bytes left, const Bytes& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

// The bytes of a text and the NUL that ends it.
inline Bytes WithNul(const std::string& text) {
  return Bytes(text.begin(), text.end()) + Bytes{0};
}

inline Bytes ReadBytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline std::string ReadText(const std::filesystem::path& path) {
  const Bytes bytes = ReadBytes(path);
  return {bytes.begin(), bytes.end()};
}

// The files of a folder with this ending, in order; none where there is no such folder.
inline std::vector<std::string> FilesOf(const std::filesystem::path& folder,
                                        const std::vector<std::string>& endings) {
  std::vector<std::string> files;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ignored)) {
    for (const std::string& ending : endings) {
      if (entry.path().extension() == ending) {
        files.push_back(entry.path().string());
      }
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

inline std::vector<std::string> SampleFiles() {
  return FilesOf(std::filesystem::path(TVQ_SOURCE_DIR) / "samples", {".smbios"});
}

// Captured tables of real machines are not part of this tree. They are taken from the folder that
// TVQ_DUMPS names, or from one beside the tree.
inline std::vector<std::string> DumpFiles() {
  const char* const named = std::getenv("TVQ_DUMPS");
  const std::filesystem::path beside = std::filesystem::path(TVQ_SOURCE_DIR) / "../shared/dumps";
  return FilesOf(named != nullptr ? std::filesystem::path(named) : beside, {".bin", ".dat"});
}

// A name that GoogleTest accepts for the test of a file.
inline std::string NameOfFile(const std::string& path) {
  std::string name = std::filesystem::path(path).stem().string();
  for (char& character : name) {
    character = std::isalnum(static_cast<unsigned char>(character)) != 0 ? character : '_';
  }
  return name;
}

}  // namespace tvq::table

#endif  // TVQ_TESTS_UNIT_HOST_TABLE_TABLE_BYTES_H_
