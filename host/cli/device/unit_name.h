/*
 * The names of devices in those of systemd's units.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_DEVICE_UNIT_NAME_H_
#define TVQ_HOST_CLI_DEVICE_UNIT_NAME_H_

#include <string>
#include <string_view>

namespace tvq::cli {

// A device's name of 8-bit characters with "\x20" for each that a unit's name cannot have. A hyphen
// stays: it stands for a slash in paths alone.
std::string EscapedForUnit(std::string_view name);

// The name behind that, or behind what `systemd-escape` makes of a name without slashes. What is no
// character, such as "\x00", stays as it is.
std::string UnescapedFromUnit(std::string_view escaped);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_DEVICE_UNIT_NAME_H_
