/*
 * Paths to single facts.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/machine/paths.h"

#include <fmt/format.h>

#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

constexpr std::string_view kFqdd = "fqdd";
constexpr std::string_view kHandle = "handle";

std::string ValueText(const facts::Value& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) {
    return Printable(*text);
  }
  if (const auto* const number = std::get_if<std::uint64_t>(&value)) {
    return fmt::format("{}", *number);
  }
  if (const bool* const flag = std::get_if<bool>(&value)) {
    return *flag ? "true" : "false";
  }
  return "";
}

// "board[2]", or "board" for the first one.
bool IsNumbered(PartPlace place, std::string_view name) {
  const std::string one = NameOf(place.kind).one;
  return name == fmt::format("{}[{}]", one, place.index + 1) || (place.index == 0 && name == one);
}

}  // namespace

std::string ReadFact(const MachineView& view, PartPlace place, std::string_view fact) {
  if (fact == kFqdd) {
    return view.FqddOf(place);
  }
  if (fact == kHandle) {
    return fmt::format("{}", view.At(place).handle);
  }
  return ValueText(view.At(place).Find(fact));
}

std::vector<PathValue> ListPaths(const MachineView& view) {
  std::vector<PathValue> paths;
  for (const PartPlace place : AllParts(view.machine)) {
    const bool isOnly = view.machine.Of(place.kind).size() == 1;
    const std::string fqdd = view.FqddOf(place);
    const bool isDevice =
        place.kind == facts::Kind::kProcessor || place.kind == facts::Kind::kModule;
    const std::string name = isDevice ? NameOf(view, place)
                             : isOnly
                                 ? NameOf(place.kind).one
                                 : fmt::format("{}[{}]", NameOf(place.kind).one, place.index + 1);
    const auto add = [&](std::string_view fact) {
      std::string value = ReadFact(view, place, fact);
      if (!value.empty()) {
        paths.push_back({fmt::format("{}.{}", name, fact), std::move(value)});
      }
    };
    add(kHandle);
    add(kFqdd);
    for (const facts::Fact& fact : view.At(place).facts) {
      add(fact.name);
    }
  }
  return paths;
}

Selection Select(const MachineView& view, std::string_view path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string_view::npos) {
    return {};
  }
  const std::string_view name = path.substr(0, dot);
  Selection selection = {{}, path.substr(dot + 1)};
  for (const PartPlace place : AllParts(view.machine)) {
    if (IsNumbered(place, name)) {
      selection.parts = {place};
      return selection;
    }
  }
  selection.parts = FindParts(view, name);
  return selection;
}

}  // namespace tvq::cli
