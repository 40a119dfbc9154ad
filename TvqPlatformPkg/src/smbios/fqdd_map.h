/** @file
  Adds the OEM structures of type 225 to a table that has none.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_FQDD_MAP_H_
#define TVQ_PLATFORM_SMBIOS_FQDD_MAP_H_

#include "conform.h"

namespace tvqplatform {

bool HasFqddMap(Bytes table);

/// Adds structures with an FQDD for each processor and each module of the table, before the first
/// end-of-table structure or else at the end, and notes a change for each group. Whoever has
/// neither gets one structure without groups: with it TVQSMBIOS builds the system's record.
[[nodiscard]] ConformResult AddFqddMap(GrowingArray<UINT8>& table,
                                       GrowingArray<TableChange>& changes);

}  // namespace tvqplatform

#endif
