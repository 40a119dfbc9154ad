/** @file
  The machine of this boot as a snapshot.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_BOOT_SNAPSHOT_H_
#define TVQ_PLATFORM_AGENT_BOOT_SNAPSHOT_H_

#include "../smbios/names/device_labels.h"
#include "../states/snapshot.h"
#include "inventory.h"

namespace tvqplatform {

/// What the driver was started on.
struct StartedTable {
  SmbiosTable Published;       ///< As the machine published it.
  Bytes Conformed;             ///< As the driver read it; the same structures where it was left so.
  const DeviceLabels& Labels;  ///< Of Conformed.
  bool IsStarted;              ///< The start ended with success.
  UINT32 Options;              ///< SnapshotOptions.
  bool IsOfOthers = false;     ///< The records are of another machine's table.
};

class BootSnapshot {
 public:
  BootSnapshot() = default;
  BootSnapshot(const BootSnapshot&) = delete;
  BootSnapshot& operator=(const BootSnapshot&) = delete;
  ~BootSnapshot();

  /// Takes it of all records and of the devices without one. The table has to stay, the inventory
  /// need not. False: there is no memory.
  [[nodiscard]] bool Take(const Inventory& inventory, const StartedTable& table, UINT64 time);

  const Snapshot& Get() const { return mSnapshot; }

 private:
  [[nodiscard]] bool AddRecord(const DeviceInventory& device, const StartedTable& table);
  [[nodiscard]] bool AddWithoutRecord(const Inventory& inventory, const StartedTable& table);

  Snapshot mSnapshot;
  GrowingArray<UINT8> mBlobs;
};

}  // namespace tvqplatform

#endif
