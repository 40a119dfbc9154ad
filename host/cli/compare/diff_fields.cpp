/*
 * The fields in which two tables differ.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/compare/diff_fields.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <sstream>
#include <tuple>

#include "host/table/layout.h"
#include "host/table/source.h"
#include "host/table/structure.h"

namespace tvq::cli {
namespace {

using run::FieldChange;

using Fields = std::vector<std::pair<std::string, std::string>>;  // each name once

std::vector<FieldChange> DiffFields(const Fields& before, const Fields& after) {
  const std::map<std::string, std::string> old(before.begin(), before.end());
  const std::map<std::string, std::string> now(after.begin(), after.end());
  std::vector<FieldChange> changes;
  for (const auto& [name, text] : before) {
    const auto found = now.find(name);
    if (found == now.end()) {
      changes.push_back({name, text, std::nullopt});
    } else if (found->second != text) {
      changes.push_back({name, text, found->second});
    }
  }
  for (const auto& [name, text] : after) {
    if (old.count(name) == 0) {
      changes.push_back({name, std::nullopt, text});
    }
  }
  return changes;
}

// The UUID of the source form as the kernel prints it: in small letters, and before SMBIOS 2.6 with
// the bytes of the first three fields as they stand in the table.
std::string KernelUuid(const std::string& uuid, table::Version version) {
  constexpr std::size_t kStanding[] = {6, 4, 2, 0, 11, 9, 16, 14};
  constexpr std::size_t kPlaces[] = {0, 2, 4, 6, 9, 11, 14, 16};
  constexpr std::size_t kLength = 36;
  std::string text = uuid;
  const bool isSwapped = table::Version{2, 6} <= version;
  for (std::size_t i = 0; i < std::size(kPlaces) && uuid.size() == kLength && !isSwapped; ++i) {
    text.replace(kPlaces[i], 2, uuid, kStanding[i], 2);
  }
  for (char& character : text) {
    character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  }
  return text;
}

// The lines of the structure's source form. Those that repeat are numbered from the second on.
Fields FieldsOf(const table::Structure& structure, table::Version version) {
  table::Table table;
  table.version = version;
  const smbios::Bytes bytes = structure.Whole();
  table.structures.assign(bytes.begin(), bytes.end());
  std::istringstream source(table::FormatSource(table));
  Fields fields;
  std::map<std::string, int> counts;
  bool isInBlock = false;
  for (std::string line; std::getline(source, line);) {
    const std::size_t sign = line.find(" = ");
    isInBlock = isInBlock || (!line.empty() && line[0] == '[');
    if (!isInBlock || sign == std::string::npos) {
      continue;
    }
    std::string name = line.substr(0, line.find_last_not_of(' ', sign) + 1);
    if (const int count = ++counts[name]; count > 1) {
      name += fmt::format("[{}]", count);
    }
    std::string value = line.substr(sign + 3);
    fields.emplace_back(name, name == "uuid" ? KernelUuid(value, version) : std::move(value));
  }
  return fields;
}

// Type, handle, and how many of the same came before.
using Key = std::tuple<unsigned, unsigned, unsigned>;

std::vector<std::pair<Key, table::Structure>> Keyed(
    const std::vector<table::Structure>& structures) {
  std::map<std::pair<unsigned, unsigned>, unsigned> counts;
  std::vector<std::pair<Key, table::Structure>> keyed;
  for (const table::Structure& structure : structures) {
    const unsigned before = counts[{structure.Type(), structure.Handle()}]++;
    keyed.emplace_back(Key(structure.Type(), structure.Handle(), before), structure);
  }
  return keyed;
}

std::string NameOf(const table::Structure& structure) {
  const std::string_view name = table::LayoutOf(structure.Type()).name;
  return fmt::format("type {}, handle 0x{:04X}{}", structure.Type(), structure.Handle(),
                     name.empty() ? "" : fmt::format(" ({})", name));
}

StructureChange ChangeOf(const table::Structure& structure) {
  StructureChange change;
  change.structure = NameOf(structure);
  change.type = structure.Type();
  change.handle = structure.Handle();
  return change;
}

table::Version VersionOf(const run::Table& table) {
  return {static_cast<uint8_t>(table.major), static_cast<uint8_t>(table.minor)};
}

bool AreEqual(const table::Structure& left, const table::Structure& right) {
  const smbios::Bytes one = left.Whole();
  const smbios::Bytes other = right.Whole();
  return std::equal(one.begin(), one.end(), other.begin(), other.end());
}

}  // namespace

std::vector<StructureChange> DiffTables(const run::Table& before, const run::Table& after) {
  const auto old = Keyed(table::SplitTable(before.structures));
  const auto now = Keyed(table::SplitTable(after.structures));
  const std::map<Key, table::Structure> oldByKey(old.begin(), old.end());
  const std::map<Key, table::Structure> nowByKey(now.begin(), now.end());
  std::vector<StructureChange> changes;
  for (const auto& [key, structure] : old) {
    const auto found = nowByKey.find(key);
    if (found == nowByKey.end()) {
      changes.push_back(ChangeOf(structure));
      changes.back().isRemoved = true;
    } else if (!AreEqual(structure, found->second)) {
      changes.push_back(ChangeOf(structure));
      changes.back().fields = DiffFields(FieldsOf(structure, VersionOf(before)),
                                         FieldsOf(found->second, VersionOf(after)));
    }
  }
  for (const auto& [key, structure] : now) {
    if (oldByKey.count(key) == 0) {
      changes.push_back(ChangeOf(structure));
      changes.back().isAdded = true;
    }
  }
  return changes;
}

}  // namespace tvq::cli
