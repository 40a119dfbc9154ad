/** @file
  SMBIOS entry points (SMBIOS 5.2), read and written.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_ENTRY_POINT_H_
#define TVQ_PLATFORM_SMBIOS_ENTRY_POINT_H_

#include "notes.h"
#include "table.h"

namespace tvqplatform {

inline constexpr UINTN kEntryPoint32Size = 0x1F;
inline constexpr UINTN kEntryPoint64Size = 0x18;

/// A 32-bit entry point can state no longer table.
inline constexpr UINTN kMaximumTableSize = 0xFFFF;

enum class EntryPointKind : UINT8 {
  kNone,  ///< A bare table.
  k32Bit,
  k64Bit,
};

struct EntryPoint {
  EntryPointKind Kind = EntryPointKind::kNone;
  UINT8 Major = 0;
  UINT8 Minor = 0;
  UINT16 StructureCount = 0;  ///< Only a 32-bit entry point states it.
  UINT32 TableLength = 0;     ///< At most that much, for a 64-bit entry point.
  UINT64 TableAddress = 0;
};

/// Reads the entry point at the start of `bytes`. Kind is kNone when there is none. What is wrong
/// with it is noted.
EntryPoint ReadEntryPoint(Bytes bytes, Notes& notes);

/// A structure table with what its entry point states about it.
struct SmbiosTable {
  UINT8 Major = 0;
  UINT8 Minor = 0;
  UINT16 StructureCount = 0;
  Bytes Structures;
};

/// Writes a 32-bit entry point for the table at `address`.
void WriteEntryPoint32(const SmbiosTable& table, UINT32 address, UINT8 (&entry)[kEntryPoint32Size]);

}  // namespace tvqplatform

#endif
