/** @file
  Shows and saves what the driver has built, and compares it with the saved state.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_RESULTS_H_
#define TVQ_PLATFORM_AGENT_RESULTS_H_

#include "boot_snapshot.h"
#include "options.h"
#include "run_report.h"
#include "screen/content.h"
#include "state_check.h"

namespace tvqplatform {

class Results {
 public:
  Results(const Volume& volume, RunReport& report, const StartedTable& table,
          const Options& options)
      : mVolume(volume), mReport(report), mTable(table), mOptions(options) {}
  Results(const Results&) = delete;
  Results& operator=(const Results&) = delete;

  /// The verdicts go there too, for whoever looks at a screen.
  void ShowOn(ScreenContent& content) { mContent = &content; }

  void ShowAndSave();

  /// Saves the inventory and the log; files that have the same bytes stay.
  void Save();

  /// Compares with the saved state, and saves this boot's as the options say.
  void CheckState() { CheckState(mReport); }
  void CheckState(RunReport& report);

  const Inventory& Devices() const { return mInventory; }
  const Snapshot& Now() const { return mNow.Get(); }
  /// Of the last check.
  const StateOutcome& Outcome() const { return mOutcome; }

 private:
  void ShowMissingBlobs();
  void SaveDevices();
  void SaveLog();
  void Compare(const Snapshot& saved, RunReport& report);

  const Volume& mVolume;
  RunReport& mReport;
  const StartedTable& mTable;
  const Options& mOptions;
  Inventory mInventory;
  BootSnapshot mNow;
  bool mHasNow = false;
  StateOutcome mOutcome;
  ScreenContent* mContent = nullptr;
};

}  // namespace tvqplatform

#endif
