/*
 * Names for the files of many pages.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/page_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>

namespace tvq::cli {
namespace {

// File systems take 255 bytes; a number and an ending come behind.
constexpr std::size_t kLongest = 100;
constexpr char kNameless[] = "machine";
constexpr std::string_view kEndings[] = {".bin", ".dmp", ".dump", ".hex", ".raw", ".txt"};
constexpr std::string_view kPlain =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";

std::string Lower(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return text;
}

std::string LastPart(const std::string& path) {
  const std::string trimmed = path.substr(0, path.find_last_not_of('/') + 1);
  return trimmed.substr(trimmed.rfind('/') + 1);
}

void CutEnding(std::string& name) {
  const std::string lower = Lower(name);
  for (const std::string_view ending : kEndings) {
    const bool hasEnding = lower.size() > ending.size() &&
                           lower.compare(lower.size() - ending.size(), ending.size(), ending) == 0;
    if (hasEnding) {
      name.resize(name.size() - ending.size());
      return;
    }
  }
}

std::string StemOf(const std::string& path) {
  std::string name = LastPart(path);
  std::error_code error;
  if (!std::filesystem::is_directory(path, error)) {
    CutEnding(name);
  }
  name.resize(std::min(name.size(), kLongest));
  for (char& character : name) {
    character = kPlain.find(character) == std::string_view::npos ? '_' : character;
  }
  // "." and ".." are no names, and others that begin so are hidden.
  const bool isHidden = !name.empty() && name.front() == '.';
  return name.empty() ? kNameless : isHidden ? '_' + name.substr(1) : name;
}

}  // namespace

std::string PageNamer::Take(const std::string& stem) {
  std::string name = stem;
  for (int number = 2; !mTaken.insert(Lower(name)).second; ++number) {
    name = fmt::format("{}-{}", stem, number);
  }
  return name + ".html";
}

std::string PageNamer::NameAfter(const std::string& path) {
  return Take(StemOf(path));
}

std::string PageNamer::NameWithout() {
  return Take(kNameless);
}

}  // namespace tvq::cli
