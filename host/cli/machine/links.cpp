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

// A device of the table.
struct Candidate {
  PartPlace place;
  devices::Key key;
  bool isTaken = false;  // by a record
};

std::vector<Candidate> CandidatesOf(const KindLink& kind, smbios::Bytes table) {
  std::vector<Candidate> candidates;
  std::size_t index = 0;
  for (const smbios::Structure& structure : smbios::Walk(table)) {
    if (structure.Type() == kind.structureType) {
      if (devices::KindOf(structure) == kind.device) {
        candidates.push_back({{kind.part, index}, devices::KeyOf(structure)});
      }
      ++index;
    }
  }
  return candidates;
}

// The first device with the key that no record before has.
std::optional<PartPlace> Take(std::vector<Candidate>& candidates, const devices::Key& key) {
  for (Candidate& candidate : candidates) {
    if (!candidate.isTaken && candidate.key == key) {
      candidate.isTaken = true;
      return candidate.place;
    }
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::optional<PartPlace>> LinkRecords(const run::Table& table,
                                                  const std::vector<run::Record>& records) {
  const smbios::Bytes structures = {table.structures.data(), table.structures.size()};
  std::vector<Candidate> candidates[std::size(kKinds)];
  for (std::size_t i = 0; i < std::size(kKinds); ++i) {
    candidates[i] = CandidatesOf(kKinds[i], structures);
  }
  std::vector<std::optional<PartPlace>> links;
  for (const run::Record& record : records) {
    std::optional<PartPlace> link;
    if (record.deviceType == kSystemRecord) {
      link = PartPlace{Kind::kSystem, 0};
    }
    for (std::size_t i = 0; i < std::size(kKinds); ++i) {
      if (record.deviceType == devices::RecordTypeOf(kKinds[i].device) && record.devicePath) {
        const smbios::Bytes path = {record.devicePath->data(), record.devicePath->size()};
        link = Take(candidates[i], devices::KeyOfPath(path));
      }
    }
    links.push_back(link);
  }
  return links;
}

}  // namespace tvq::cli
