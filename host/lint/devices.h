/*
 * How the driver names modules: what is left of their locators.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_DEVICES_H_
#define TVQ_HOST_LINT_DEVICES_H_

#include <array>
#include <string>
#include <vector>

#include "host/lint/subject.h"

namespace tvq::lint {

// A locator with this text anywhere loses its first five characters.
constexpr std::string_view kLocatorPrefix = "DIMM_";

// The three bytes that tell a module apart; zeros without a locator. Behind a short locator they
// are what follows in the table.
using LocatorKey = std::array<char, 3>;
LocatorKey KeyOf(const Structure& module);

// The characters up to the first NUL.
std::string KeyText(const LocatorKey& key);

// The number that stands in a processor's device path and name.
std::uint8_t SocketNumber(const Structure& processor);

// The processors and modules that get a record: building ends at the first with the device path of
// one before it.
std::vector<const Structure*> RecordedProcessors(const Subject& subject);
std::vector<const Structure*> RecordedModules(const Subject& subject);

// What the first clash among `devices` costs, with so many of them behind it.
std::string LostRecords(std::string_view devices, std::size_t behind);

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_DEVICES_H_
