/*
 * Types of structures, and their fields by the names of EDK II's headers: SMBIOS_FIELD(17, Size).
 *
 * Include this header behind those of libraries: EDK II's claim short words as macros.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_SMBIOS_H_
#define TVQ_HOST_LINT_SMBIOS_H_

#include <cstdint>

#include <IndustryStandard/SmbiosFields.h>

namespace tvq::lint {

constexpr std::uint8_t kBios = SMBIOS_TYPE_BIOS_INFORMATION;
constexpr std::uint8_t kSystem = SMBIOS_TYPE_SYSTEM_INFORMATION;
constexpr std::uint8_t kBoard = SMBIOS_TYPE_BASEBOARD_INFORMATION;
constexpr std::uint8_t kChassis = SMBIOS_TYPE_SYSTEM_ENCLOSURE;
constexpr std::uint8_t kProcessor = SMBIOS_TYPE_PROCESSOR_INFORMATION;
constexpr std::uint8_t kCache = SMBIOS_TYPE_CACHE_INFORMATION;
constexpr std::uint8_t kSlot = SMBIOS_TYPE_SYSTEM_SLOTS;
constexpr std::uint8_t kOemStrings = SMBIOS_TYPE_OEM_STRINGS;
constexpr std::uint8_t kMemoryArray = SMBIOS_TYPE_PHYSICAL_MEMORY_ARRAY;
constexpr std::uint8_t kMemoryDevice = SMBIOS_TYPE_MEMORY_DEVICE;
constexpr std::uint8_t kFqddMap = SMBIOS_TYPE_TVQ_FQDD_MAP;
constexpr std::uint8_t kDimmExtension = SMBIOS_TYPE_TVQ_DIMM_EXTENSION;

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_SMBIOS_H_
