/*
 * What the driver tells devices apart by.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/devices.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

namespace tvq::lint {
namespace {

std::vector<const Structure*> UpToRepeatedKey(std::vector<const Structure*> devices) {
  std::set<Key> keys;
  const auto repeated = std::find_if(devices.begin(), devices.end(), [&](const Structure* device) {
    return !keys.insert(KeyOf(*device)).second;
  });
  devices.erase(repeated, devices.end());
  return devices;
}

}  // namespace

bool IsDummy(std::string_view text) {
  return devices::IsDummy(
      smbios::Text(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

Key KeyOf(const Structure& device) {
  const devices::Key key = devices::KeyOf(device);
  Key copy;
  std::copy(std::begin(key.Data), std::end(key.Data), copy.begin());
  return copy;
}

std::string LocatorText(const Structure& module) {
  const devices::LocatorKey key = devices::KeyOfLocator(module);
  return {key.Characters, key.Characters + key.Length()};
}

std::vector<const Structure*> RecordedProcessors(const Subject& subject) {
  return UpToRepeatedKey(subject.Processors());
}

std::vector<const Structure*> RecordedModules(const Subject& subject) {
  return UpToRepeatedKey(subject.Modules());
}

std::string LostRecords(std::string_view devices, std::size_t behind) {
  const std::string others = behind == 0   ? ""
                             : behind == 1 ? ", nor does the one behind it"
                                           : fmt::format(", nor do the {} behind it", behind);
  return fmt::format("the driver builds no more {}: this one gets no record{}", devices, others);
}

}  // namespace tvq::lint
