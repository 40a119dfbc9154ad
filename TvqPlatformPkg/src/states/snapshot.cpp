/** @file
  What a machine was at one time.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "snapshot.h"

namespace tvqplatform {

/// Not inlined: Clang joins its zeros with those of what holds a snapshot, and calls memset, which no
/// image has, for more than 128 bytes in a row.
[[gnu::noinline]] Snapshot::Snapshot() {}
Snapshot::~Snapshot() = default;

bool Snapshot::Add(const SnapshotDevice& device) {
  return Devices.Append(device);
}

}  // namespace tvqplatform
