/*
 * What tells a machine from others.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/facts/identity.h"

#include <IndustryStandard/SmbiosFields.h>
#include <Library/TvqDeviceLib.h>

#include <algorithm>

#include "host/table/structure.h"

namespace tvq::facts {
namespace {

// Of the first system; all machines of a model may have the same.
bool HasUsableUuid(const table::Bytes& structures) {
  constexpr auto kUuid = SMBIOS_FIELD(1, Uuid);
  for (const smbios::Structure& structure : smbios::Walk(table::ViewOf(structures))) {
    if (structure.Type() != kUuid.Type) {
      continue;
    }
    smbios::U8 uuid[devices::kUuidSize];
    if (!structure.Has(kUuid.Offset, sizeof(uuid))) {
      return false;
    }
    std::copy_n(structure.Formatted().Data() + kUuid.Offset, sizeof(uuid), uuid);
    return !devices::SaysNone(uuid) && !devices::IsMadeUp(uuid);
  }
  return false;
}

// Of the first part, unless it tells it from no other.
std::string_view UsableSerialOf(const std::vector<Part>& parts) {
  const std::string_view serial = parts.empty() ? std::string_view() : parts[0].TextOf("serial");
  const smbios::Text text(reinterpret_cast<const smbios::U8*>(serial.data()), serial.size());
  return devices::IsDummy(text) ? std::string_view() : serial;
}

}  // namespace

std::string IdentityOf(const Machine& machine, const table::Bytes& structures) {
  const std::vector<Part>& systems = machine.Of(Kind::kSystem);
  if (!systems.empty() && HasUsableUuid(structures)) {
    return "uuid:" + std::string(systems[0].TextOf("uuid"));
  }
  if (const std::string_view serial = UsableSerialOf(systems); !serial.empty()) {
    return "system:" + std::string(serial);
  }
  const std::string_view serial = UsableSerialOf(machine.Of(Kind::kBoard));
  return serial.empty() ? std::string() : "board:" + std::string(serial);
}

}  // namespace tvq::facts
