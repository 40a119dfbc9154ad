/*
 * What the driver tells devices apart by.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_DEVICES_H_
#define TVQ_HOST_LINT_DEVICES_H_

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include <Library/TvqDeviceLib.h>

#include "host/lint/subject.h"

namespace tvq::lint {

// Whether a serial number, part number or tag of the table tells no part from another.
bool IsDummy(std::string_view text);

// What tells a device from others of its kind.
using Key = std::array<std::uint8_t, sizeof(devices::Key::Data)>;
Key KeyOf(const Structure& device);

// What is left of the locator of a module.
std::string LocatorText(const Structure& module);

// The processors and modules that get a record: building ends at the first with the device path of
// one before it.
std::vector<const Structure*> RecordedProcessors(const Subject& subject);
std::vector<const Structure*> RecordedModules(const Subject& subject);

// What the first clash among `devices` costs, with so many of them behind it.
std::string LostRecords(std::string_view devices, std::size_t behind);

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_DEVICES_H_
