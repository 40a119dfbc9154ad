/** @file
  Device-list entries: a device's display name and its FQDD.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_ZVEP_H_
#define TVQ_ZVEP_H_

#include <TvqCpp.h>
#include <Protocol/ZvEntry.h>

namespace tvq {

/// Builds the entry of a device from the device part of its record; its texts stay the record's.
/// Returns the entry's interface, or null when Device is null or there is no memory.
[[nodiscard]] ZVEP_PROTOCOL* MakeCPUZVEP(const TVQ_DEVICE* Device);
[[nodiscard]] ZVEP_PROTOCOL* MakeDIMMZVEP(const TVQ_DEVICE* Device);
[[nodiscard]] ZVEP_PROTOCOL* MakeSYSTEMZVEP(const TVQ_DEVICE* Device);

}  // namespace tvq

#endif
