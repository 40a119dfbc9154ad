/*
 * The parts of a machine beside the records that the driver made of them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/machine/machine_view.h"

#include <fmt/format.h>

#include "host/cli/output/text.h"

namespace tvq::cli {

using facts::Kind;
using facts::Part;

const Device* MachineView::DeviceOf(PartPlace place) const {
  for (const Device& device : devices) {
    if (device.place && device.place->kind == place.kind && device.place->index == place.index) {
      return &device;
    }
  }
  return nullptr;
}

std::string MachineView::FqddOf(PartPlace place) const {
  const Device* const device = DeviceOf(place);
  return device == nullptr || device->fqdd == "-" ? "" : device->fqdd;
}

std::string LabelOf(const Part& part) {
  const std::string_view label = part.TextOf("label");
  return Utf8OfBytes(label.empty() ? part.TextOf("location") : label);
}

std::vector<PartPlace> AllParts(const facts::Machine& machine) {
  std::vector<PartPlace> places;
  for (const facts::KindName& name : facts::kKindNames) {
    for (std::size_t i = 0; i < machine.Of(name.kind).size(); ++i) {
      places.push_back({name.kind, i});
    }
  }
  return places;
}

std::vector<PartPlace> FindParts(const MachineView& view, std::string_view name) {
  std::vector<PartPlace> found;
  if (name.empty()) {
    return found;
  }
  for (const PartPlace place : AllParts(view.machine)) {
    if (view.FqddOf(place) == name || LabelOf(view.At(place)) == name) {
      found.push_back(place);
    }
  }
  return found;
}

std::string NameOf(const MachineView& view, PartPlace place) {
  std::string fqdd = view.FqddOf(place);
  if (!fqdd.empty()) {
    return fqdd;
  }
  return fmt::format("{}[{}]", NameOf(place.kind).one, place.index + 1);
}

std::string NamesOf(const MachineView& view, const std::vector<PartPlace>& places) {
  std::string names;
  for (const PartPlace place : places) {
    names += (names.empty() ? "" : ", ") + NameOf(view, place);
  }
  return names;
}

facts::Machine ReadMachine(const run::Table& table) {
  return facts::ReadMachine(
      table.structures,
      {static_cast<std::uint8_t>(table.major), static_cast<std::uint8_t>(table.minor)},
      table.structureCount);
}

const facts::KindName& NameOf(Kind kind) {
  return facts::kKindNames[static_cast<std::size_t>(kind)];
}

}  // namespace tvq::cli
