/*
 * Which part of the machine a device record is of.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/machine/links.h"

#include <Library/TvqDeviceLib.h>

namespace tvq::cli {
namespace {

using facts::Kind;

constexpr unsigned kSystemRecord = 4;

struct KindLink {
  devices::Kind device;
  uint8_t structureType;
  Kind part;
};
constexpr KindLink kKinds[] = {{devices::Kind::kProcessor, 4, Kind::kProcessor},
                               {devices::Kind::kModule, 17, Kind::kModule}};

// The first device with the key that no record before has.
std::optional<PartPlace> Find(const KindLink& kind, smbios::Bytes table, const devices::Key& key,
                              std::vector<bool>& taken) {
  std::size_t index = 0;
  for (const smbios::Structure& structure : smbios::Walk(table)) {
    if (structure.Type() != kind.structureType) {
      continue;
    }
    taken.resize(std::max(taken.size(), index + 1));
    if (!taken[index] && devices::KindOf(structure) == kind.device &&
        devices::KeyOf(structure) == key) {
      taken[index] = true;
      return PartPlace{kind.part, index};
    }
    ++index;
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::optional<PartPlace>> LinkRecords(const run::Table& table,
                                                  const std::vector<run::Record>& records) {
  const smbios::Bytes structures = {table.structures.data(), table.structures.size()};
  std::vector<bool> taken[std::size(kKinds)];
  std::vector<std::optional<PartPlace>> links;
  for (const run::Record& record : records) {
    std::optional<PartPlace> link;
    if (record.deviceType == kSystemRecord) {
      link = PartPlace{Kind::kSystem, 0};
    }
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
      if (record.deviceType == devices::RecordTypeOf(kKinds[i].device) && record.devicePath) {
        const smbios::Bytes path = {record.devicePath->data(), record.devicePath->size()};
        link = Find(kKinds[i], structures, devices::KeyOfPath(path), taken[i]);
      }
    }
    links.push_back(link);
  }
  return links;
}

}  // namespace tvq::cli
