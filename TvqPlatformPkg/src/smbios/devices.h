/** @file
  What the names of processors and memory modules must have so that TVQSMBIOS can tell the devices
  apart.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_DEVICES_H_
#define TVQ_PLATFORM_SMBIOS_DEVICES_H_

#include "table.h"

namespace tvqplatform {

/// String number of a processor's socket designation (SMBIOS 7.5).
inline constexpr UINTN kProcessorDesignation = 0x04;
/// String number of a memory device's locator (SMBIOS 7.18).
inline constexpr UINTN kModuleLocator = 0x10;

inline bool IsProcessorStructure(const TableStructure& structure) {
  return structure.Type() == kTypeProcessor;
}
inline bool IsMemoryStructure(const TableStructure& structure) {
  return structure.Type() == kTypeMemoryDevice;
}

/// A processor in its socket: these get a record.
bool IsProcessor(const TableStructure& structure);

/// High-bandwidth memory: part of a processor, never a module.
bool IsHbm(const TableStructure& structure);

/// A memory device that gets a record: it is populated, and neither HBM nor a logical device.
bool IsModule(const TableStructure& structure);

/// The character that tells processors apart.
struct ProcessorKey {
  bool Exists;
  UINT8 Character;

  /// The socket number, which stands in the FQDD: in 8 bits, whatever the character is.
  UINT8 Number() const { return static_cast<UINT8>(Character - '0'); }
};
ProcessorKey KeyOfProcessor(const TableStructure& structure);

/// The three characters that tell modules apart.
struct ModuleKey {
  bool Exists;
  UINT8 Characters[3];
};
/// With "DIMM_" anywhere in the locator, the first five characters of it are skipped. Then three
/// bytes count as they stand in the table, whatever the locator's length.
ModuleKey KeyOfModule(Bytes table, const TableStructure& structure);

}  // namespace tvqplatform

#endif
