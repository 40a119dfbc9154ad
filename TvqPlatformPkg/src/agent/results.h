/** @file
  Shows and saves what the driver has built, and compares it with the saved state.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_RESULTS_H_
#define TVQ_PLATFORM_AGENT_RESULTS_H_

#include "boot_snapshot.h"
#include "options.h"
#include "run_report.h"

namespace tvqplatform {

class Results {
 public:
  Results(const Volume& volume, RunReport& report, const StartedTable& table,
          const Options& options)
      : mVolume(volume), mReport(report), mTable(table), mOptions(options) {}

  void ShowAndSave();

 private:
  void SaveDevices(const Inventory& inventory);
  void SaveLog();
  void CheckState(const Inventory& inventory);
  void CompareWithState(const Inventory& inventory, const Snapshot& now, const Snapshot& saved);

  const Volume& mVolume;
  RunReport& mReport;
  const StartedTable& mTable;
  const Options& mOptions;
};

}  // namespace tvqplatform

#endif
