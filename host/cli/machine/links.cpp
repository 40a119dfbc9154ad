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

// All devices of one kind.
struct Devices {
  devices::Kind kind;
  std::vector<Candidate> candidates;
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
  std::vector<Devices> all;
  for (const KindLink& kind : kKinds) {
    all.push_back({kind.device, CandidatesOf(kind, structures)});
  }
  std::vector<std::optional<PartPlace>> links;
  for (const run::Record& record : records) {
    std::optional<PartPlace> link;
    if (record.deviceType == kSystemRecord) {
      link = PartPlace{Kind::kSystem, 0};
    }
    for (Devices& one : all) {
      if (record.deviceType == devices::RecordTypeOf(one.kind) && record.devicePath) {
        const smbios::Bytes path = {record.devicePath->data(), record.devicePath->size()};
        link = Take(one.candidates, devices::KeyOfPath(path));
      }
    }
    links.push_back(link);
  }
  return links;
}

}  // namespace tvq::cli
