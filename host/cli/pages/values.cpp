/*
 * What may stand where a help text says FILE, RULE or a|b.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/pages/values.h"

#include <algorithm>

#include "host/lint/lint.h"
#include "host/lint/rule.h"
#include "host/table/layout.h"

namespace tvq::cli {
namespace {

constexpr std::string_view kFiles[] = {"FILE", "TABLE", "SOURCE", "BEFORE", "AFTER"};

template <typename Names>
bool Contains(const Names& names, std::string_view name) {
  return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool IsWord(std::string_view name) {
  return std::all_of(name.begin(), name.end(),
                     [](char letter) { return letter >= 'a' && letter <= 'z'; });
}

void Add(std::string_view name, Values& values) {
  values.areFiles |= Contains(kFiles, name);
  values.areFolders |= name == "DIR";
  if (name == "RULE") {
    values.words.emplace_back("all");
    for (const lint::Rule* rule : lint::AllRules()) {
      values.words.emplace_back(rule->name);
    }
  } else if (name == "TYPE") {
    for (const table::Layout& layout : table::Layouts()) {
      values.words.emplace_back(layout.name);
    }
  } else if (IsWord(name)) {
    values.words.emplace_back(name);
  }
}

}  // namespace

Values ValuesOf(std::string_view name) {
  Values values;
  while (!name.empty()) {
    const std::size_t end = std::min(name.find('|'), name.size());
    Add(name.substr(0, end), values);
    name.remove_prefix(std::min(end + 1, name.size()));
  }
  return values;
}

}  // namespace tvq::cli
