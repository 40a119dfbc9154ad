/*
 * The FQDD map as the driver makes it of the structures of type 225.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_FQDD_MAP_H_
#define TVQ_HOST_LINT_FQDD_MAP_H_

#include <optional>
#include <string>
#include <vector>

#include "host/lint/subject.h"

#include "host/lint/smbios.h"

namespace tvq::lint {

// Characters of an FQDD that the device-list entry hands out.
constexpr std::size_t kFqddLength = 15;

// Where the groups of a structure begin, and the size of each.
constexpr std::size_t kFirstGroup = SMBIOS_FIELD(225, Format).End();
constexpr std::size_t kGroupSize = sizeof(SMBIOS_TVQ_FQDD_GROUP);

struct FqddGroup {
  const Structure* map;
  std::size_t position;  // of the group, from 0
  std::uint8_t stringNumber;
  std::uint16_t handle;
};

// Whether the driver can make sense of the structure.
bool IsUsableMap(const Structure& map);

// The groups of all usable structures.
std::vector<FqddGroup> FqddGroups(const Subject& subject);

// Whether the driver starts, and makes records.
bool HasFqddMap(const Subject& subject);

struct NamedDevice {
  const Structure* device;
  std::string fqdd;  // as the entry hands it out
};

// The processors and modules that get a record, in the order in which the driver names them.
std::vector<NamedDevice> NameDevices(const Subject& subject);

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_FQDD_MAP_H_
