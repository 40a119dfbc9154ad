/** @file
  Shows and saves what the driver has built, and compares it with the saved state.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_RESULTS_H_
#define TVQ_PLATFORM_AGENT_RESULTS_H_

#include "../smbios/names/device_labels.h"
#include "inventory.h"
#include "run_report.h"
#include "state.h"

namespace tvqplatform {

class Results {
 public:
  /// `isAccepted`: the state of this boot replaces the saved one.
  Results(const Volume& volume, RunReport& report, const DeviceLabels& labels, bool isAccepted)
      : mVolume(volume), mReport(report), mLabels(labels), mIsAccepted(isAccepted) {}

  void ShowAndSave();

 private:
  void SaveDevices(const Inventory& inventory);
  void SaveLog();
  void CheckState(const Inventory& inventory);
  void CompareWithState(const Inventory& inventory, const SavedState& saved);

  const Volume& mVolume;
  RunReport& mReport;
  const DeviceLabels& mLabels;
  bool mIsAccepted;
};

}  // namespace tvqplatform

#endif
