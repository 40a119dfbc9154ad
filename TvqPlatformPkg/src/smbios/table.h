/** @file
  An SMBIOS structure table and what its entry point states about it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_TABLE_H_
#define TVQ_PLATFORM_SMBIOS_TABLE_H_

#include <Library/SmbiosTableLib.h>
#include <TvqCpp.h>

namespace tvqplatform {

namespace smbios = tvq::smbios;
using smbios::Bytes;

/// A 32-bit entry point can state no longer table.
inline constexpr UINTN kMaximumTableSize = MAX_UINT16;

struct SmbiosTable {
  UINT8 Major = 0;
  UINT8 Minor = 0;
  UINT16 StructureCount = 0;
  Bytes Structures;
};

}  // namespace tvqplatform

#endif
