/*
 * Files that are given as a table and are something else.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/file_kind.h"

#include <fmt/format.h>

#include <string_view>

#include "host/cli/input/input.h"
#include "host/table/dump.h"

namespace tvq::cli {
namespace {

using namespace std::string_view_literals;

// Entry points of 32 and of 64 bits begin so (SMBIOS 5.2.1 and 5.2.2).
constexpr std::string_view kAnchor = "_SM";

// How a file begins, what it then is, and what to do about it; "{}" is its name.
struct FileKind {
  std::string_view magic;
  const char* what;
  const char* hint;
};
constexpr FileKind kKinds[] = {
    {"\x1F\x8B"sv, "compressed with gzip", "unpack it on the way: `gunzip -c {} | tvq show -`"},
    {"\xFD"
     "7zXZ\0"sv,
     "compressed with xz", "unpack it on the way: `xz -dc {} | tvq show -`"},
    {"BZh"sv, "compressed with bzip2", "unpack it on the way: `bunzip2 -c {} | tvq show -`"},
    {"\x28\xB5\x2F\xFD"sv, "compressed with zstd",
     "unpack it on the way: `zstd -dc {} | tvq show -`"},
    {"TVQSTATE"sv, "a saved state, and no table",
     "name the state first, and a table to compare it with: `tvq diff {} TABLE`"},
    {"# dmidecode "sv, "what dmidecode prints for people",
     "have it print the bytes, too: `sudo dmidecode -u | tvq show -`"},
};

}  // namespace

void RefuseOtherFiles(const std::string& name, const std::vector<uint8_t>& file) {
  if (table::IsHexText(file)) {
    return;
  }
  const std::string_view bytes(reinterpret_cast<const char*>(file.data()), file.size());
  for (const FileKind& kind : kKinds) {
    if (bytes.substr(0, kind.magic.size()) == kind.magic) {
      throw InputError(fmt::format("{} is {}", name, kind.what),
                       fmt::format(fmt::runtime(kind.hint), name));
    }
  }
}

void RefuseTables(const std::string& name, const std::vector<uint8_t>& file, const char* wanted,
                  const char* command) {
  const std::string_view bytes(reinterpret_cast<const char*>(file.data()), file.size());
  if (bytes.substr(0, kAnchor.size()) == kAnchor) {
    throw InputError(fmt::format("{} is a table, and no {}", name, wanted),
                     fmt::format("`{} {}` reads it", command, name));
  }
}

}  // namespace tvq::cli
