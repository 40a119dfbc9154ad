/*
 * The FQDD map as the driver makes it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/fqdd_map.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "host/lint/devices.h"
#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

using devices::FqddMap;

// The structure of each group's texts. A string number past the last string moves on to the
// structure behind, for good.
class Slots {
 public:
  explicit Slots(const Subject& subject) : mSubject(subject) {}

  std::optional<std::string_view> Text(const FqddGroup& group) {
    const Structure*& slot = mSlots.emplace(group.map, group.map).first->second;
    if (slot == nullptr || group.stringNumber == 0) {
      return std::nullopt;
    }
    const auto text = slot->String(group.stringNumber);
    if (!text) {
      slot = Behind(*slot);
    }
    return text;
  }

 private:
  const Structure* Behind(const Structure& structure) const {
    const auto& all = mSubject.Structures();
    const auto found = std::find_if(all.begin(), all.end(), [&](const Structure& other) {
      return other.Offset() == structure.End();
    });
    return found == all.end() ? nullptr : &*found;
  }

  const Subject& mSubject;
  std::map<const Structure*, const Structure*> mSlots;
};

std::string OwnName(const Structure& device) {
  return device.Type() == kProcessor ? fmt::format("CPU.Socket.{:X}", devices::SocketNumber(device))
                                     : fmt::format("DIMM.Socket.{}", LocatorText(device));
}

}  // namespace

bool IsUsableMap(const Structure& map) {
  return devices::CheckFqddMap(map) == FqddMap::kUsable;
}

std::vector<FqddGroup> FqddGroups(const Subject& subject) {
  constexpr auto kString = SMBIOS_GROUP_FIELD(225, SMBIOS_TVQ_FQDD_GROUP, StringNumber);
  constexpr auto kHandle = SMBIOS_GROUP_FIELD(225, SMBIOS_TVQ_FQDD_GROUP, Handle);
  std::vector<FqddGroup> groups;
  for (const Structure* map : subject.SeenOfType(kFqddMap)) {
    std::size_t at = kFirstGroup;
    for (std::size_t i = 0; IsUsableMap(*map) && map->Has(at, kGroupSize); ++i) {
      groups.push_back({map, i, map->Get(kString.In(at)), map->Get(kHandle.In(at))});
      at += kGroupSize;
    }
  }
  return groups;
}

bool HasFqddMap(const Subject& subject) {
  const auto maps = subject.SeenOfType(kFqddMap);
  return !maps.empty() && std::all_of(maps.begin(), maps.end(),
                                      [](const Structure* map) { return IsUsableMap(*map); });
}

std::vector<NamedDevice> NameDevices(const Subject& subject) {
  const std::vector<FqddGroup> groups = FqddGroups(subject);
  Slots slots(subject);
  std::vector<NamedDevice> named;
  const auto name = [&](const Structure* device) {
    const auto group = std::find_if(groups.begin(), groups.end(), [&](const FqddGroup& candidate) {
      return candidate.handle == device->Handle();
    });
    const auto text = group == groups.end() ? std::nullopt : slots.Text(*group);
    const std::string fqdd = text ? std::string(*text) : OwnName(*device);
    named.push_back({device, fqdd.substr(0, kFqddLength)});
  };
  for (const auto& devices : {RecordedProcessors(subject), RecordedModules(subject)}) {
    std::for_each(devices.begin(), devices.end(), name);
  }
  return named;
}

}  // namespace tvq::lint
