/*
 * What a run was started on, as the agent sees it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_RUN_STARTED_H_
#define TVQ_HOST_RUN_STARTED_H_

#include <memory>
#include <utility>

#include "host/run/driver_run.h"

#include "host/firmware/firmware.h"

#include "TvqPlatformPkg/src/agent/boot_snapshot.h"
#include "TvqPlatformPkg/src/smbios/conform.h"
#include "TvqPlatformPkg/src/smbios/names/device_labels.h"

namespace tvq::run {

// The table of a run, and the machine with it as a snapshot.
class Started {
 public:
  Started(Table table, bool isStarted) : mTable(std::move(table)), mIsStarted(isStarted) {}

  // Of the records that there are now. Throws std::bad_alloc, or what Collect does.
  void Take(const Origin& origin, tvqplatform::BootSnapshot& snapshot);

 private:
  // Collected for the first snapshot: most runs take none.
  const tvqplatform::DeviceLabels& Labels();
  tvqplatform::SmbiosTable Published() const;

  Table mTable;
  bool mIsStarted;
  tvqplatform::ConformedTable mConformed;
  std::unique_ptr<tvqplatform::DeviceLabels> mLabels;
};

// Collects the records that there are. Throws a std::runtime_error.
void CollectInto(tvqplatform::Inventory& inventory);

}  // namespace tvq::run

#endif  // TVQ_HOST_RUN_STARTED_H_
