/*
 * The parts of a machine as JSON.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/machine/machine_json.h"

#include <nlohmann/json.hpp>

#include "host/cli/output/text.h"

namespace tvq::cli {

using Json = nlohmann::ordered_json;
using facts::Kind;

Json ToJson(const facts::Value& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) {
    return Utf8OfBytes(*text);
  }
  if (const auto* const number = std::get_if<std::uint64_t>(&value)) {
    return *number;
  }
  if (const bool* const flag = std::get_if<bool>(&value)) {
    return *flag;
  }
  return nullptr;
}

Json PartJson(const MachineView& view, PartPlace place) {
  const facts::Part& part = view.At(place);
  Json json = {{"handle", part.handle}};
  if (place.kind == Kind::kProcessor || place.kind == Kind::kModule ||
      place.kind == Kind::kSystem) {
    const std::string fqdd = view.FqddOf(place);
    json["fqdd"] = fqdd.empty() ? Json() : Json(fqdd);
  }
  for (const facts::Fact& fact : part.facts) {
    json[std::string(fact.name)] = ToJson(fact.value);
  }
  return json;
}

Json MachineJson(const MachineView& view) {
  Json json = Json::object();
  for (const facts::KindName& name : facts::kKindNames) {
    Json& list = json[name.many] = Json::array();
    for (std::size_t i = 0; i < view.machine.Of(name.kind).size(); ++i) {
      list.push_back(PartJson(view, {name.kind, i}));
    }
  }
  return json;
}

Json DifferencesJson(const std::vector<Difference>& differences) {
  Json list = Json::array();
  for (const Difference& difference : differences) {
    list.push_back({{"fact", difference.fact},
                    {"table", ToJson(difference.table)},
                    {"element", difference.element},
                    {"document", Utf8OfBytes(difference.document)}});
  }
  return list;
}

}  // namespace tvq::cli
