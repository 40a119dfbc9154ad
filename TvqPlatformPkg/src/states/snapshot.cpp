/** @file
  What a machine was at one time.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "snapshot.h"

namespace tvqplatform {

Snapshot::Snapshot() = default;
Snapshot::~Snapshot() = default;

bool Snapshot::Add(const SnapshotDevice& device) {
  return Devices.Append(device);
}

}  // namespace tvqplatform
