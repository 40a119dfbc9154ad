/*
 * What a run was started on, as the agent sees it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/run/started.h"

#include <new>
#include <utility>

#include "host/run/convert.h"

namespace tvq::run {

void Started::NameDevices() {
  if (mHasNames) {
    return;
  }
  const bool isConformed =
      mTable.original &&
      !tvqplatform::IsRefused(mConformed.Conform(ViewOf(mTable.original->structures)));
  const bool hasLabels = isConformed
                             ? mLabels.Collect(mConformed.Devices(), mConformed.Structures())
                             : mLabels.Collect(ViewOf(mTable.structures));
  if (!hasLabels) {
    throw std::bad_alloc();
  }
  mHasNames = true;
}

tvqplatform::SmbiosTable Started::Published() const {
  const Bytes& structures = mTable.original ? mTable.original->structures : mTable.structures;
  const unsigned count = mTable.original ? mTable.original->structureCount : mTable.structureCount;
  return {static_cast<UINT8>(mTable.major), static_cast<UINT8>(mTable.minor),
          static_cast<UINT16>(count), ViewOf(structures)};
}

void Started::Take(const Origin& origin, tvqplatform::BootSnapshot& snapshot) {
  NameDevices();
  tvqplatform::Inventory inventory;
  CollectInto(inventory);
  const UINT32 options = (mTable.original ? 0u : tvqplatform::kSnapshotAsIs) |
                         (origin.isRedacted ? tvqplatform::kSnapshotRedacted : 0u);
  const tvqplatform::StartedTable started = {Published(), ViewOf(mTable.structures), mLabels,
                                             mIsStarted, options};
  if (!snapshot.Take(inventory, started, origin.time)) {
    throw std::bad_alloc();
  }
}

void CollectInto(tvqplatform::Inventory& inventory) {
  const EFI_STATUS status = inventory.Collect();
  if (EFI_ERROR(status)) {
    throw std::runtime_error("the records cannot be collected: " + InWords(status));
  }
}

}  // namespace tvq::run
