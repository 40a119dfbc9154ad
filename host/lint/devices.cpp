/*
 * How the driver names devices.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/lint/devices.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "host/lint/smbios.h"

namespace tvq::lint {
namespace {

// Position of the character of a socket designation that becomes the number.
constexpr std::size_t kSocketDigit = 3;

template <typename KeyOfDevice>
std::vector<const Structure*> UpToRepeatedKey(std::vector<const Structure*> devices,
                                              KeyOfDevice keyOf) {
  std::set<decltype(keyOf(*devices[0]))> keys;
  const auto repeated = std::find_if(devices.begin(), devices.end(), [&](const Structure* device) {
    return !keys.insert(keyOf(*device)).second;
  });
  devices.erase(repeated, devices.end());
  return devices;
}

}  // namespace

LocatorKey KeyOf(const Structure& module) {
  LocatorKey key = {};
  const auto locator = module.Text(memory::kLocator);
  if (!locator) {
    return key;
  }
  const bool hasPrefix = locator->find(kLocatorPrefix) != std::string_view::npos;
  std::size_t at = module.PositionOf(*locator) + (hasPrefix ? kLocatorPrefix.size() : 0);
  for (char& character : key) {
    character = static_cast<char>(module.TableByte(at++));
  }
  return key;
}

std::string KeyText(const LocatorKey& key) {
  return {key.begin(), std::find(key.begin(), key.end(), '\0')};
}

std::uint8_t SocketNumber(const Structure& processor) {
  const auto designation = processor.Text(processor::kSocket);
  if (!designation) {
    return 0;
  }
  const std::size_t at = processor.PositionOf(*designation) + kSocketDigit;
  return static_cast<std::uint8_t>(processor.TableByte(at) - '0');
}

std::vector<const Structure*> RecordedProcessors(const Subject& subject) {
  return UpToRepeatedKey(subject.Processors(), SocketNumber);
}

std::vector<const Structure*> RecordedModules(const Subject& subject) {
  return UpToRepeatedKey(subject.Modules(), KeyOf);
}

std::string LostRecords(std::string_view devices, std::size_t behind) {
  const std::string others = behind == 0   ? ""
                             : behind == 1 ? ", nor does the one behind it"
                                           : fmt::format(", nor do the {} behind it", behind);
  return fmt::format("the driver builds no more {}: this one gets no record{}", devices, others);
}

}  // namespace tvq::lint
