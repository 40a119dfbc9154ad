/** @file
  Devices of a snapshot that nothing can be compared with.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_STATES_HOLES_H_
#define TVQ_PLATFORM_STATES_HOLES_H_

#include "snapshot.h"

namespace tvqplatform {

enum class Hole : UINT8 {
  kNone,
  kNoRecord,    ///< The driver made no record of it.
  kNoBlobs,     ///< The record gave no blobs.
  kUnreadable,  ///< Its document is not there, or no parser reads it.
};

/// Asks the platform's XML parser. Without one, no document counts as unreadable.
Hole FindHole(const SnapshotDevice& device);

UINTN CountHoles(const Snapshot& snapshot);

/// "no record: the driver ended at a device before it".
const CHAR8* HoleText(Hole hole, WhyNoRecord why);

/// The same without "no record: ".
const CHAR8* ReasonText(WhyNoRecord why);

}  // namespace tvqplatform

#endif
