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

const tvqplatform::DeviceLabels& Started::Labels() {
  if (!mLabels) {
    auto labels = std::make_unique<tvqplatform::DeviceLabels>();
    // What was conformed before is refused only where there is no memory.
    const bool hasLabels =
        mTable.original
            ? !tvqplatform::IsRefused(mConformed.Conform(ViewOf(mTable.original->structures))) &&
                  labels->Collect(mConformed.Devices(), mConformed.Structures())
            : labels->Collect(ViewOf(mTable.structures));
    if (!hasLabels) {
      throw std::bad_alloc();
    }
    mLabels = std::move(labels);
  }
  return *mLabels;
}

tvqplatform::SmbiosTable Started::Published() const {
  const auto publishedAs = [this](const auto& table) -> tvqplatform::SmbiosTable {
    return {static_cast<UINT8>(mTable.major), static_cast<UINT8>(mTable.minor),
            static_cast<UINT16>(table.structureCount), ViewOf(table.structures)};
  };
  return mTable.original ? publishedAs(*mTable.original) : publishedAs(mTable);
}

void Started::Take(const Origin& origin, tvqplatform::BootSnapshot& snapshot) {
  tvqplatform::Inventory inventory;
  CollectInto(inventory);
  const UINT32 options = (mTable.original ? 0u : tvqplatform::kSnapshotAsIs) |
                         (origin.isRedacted ? tvqplatform::kSnapshotRedacted : 0u);
  const tvqplatform::StartedTable started = {Published(), ViewOf(mTable.structures), Labels(),
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
