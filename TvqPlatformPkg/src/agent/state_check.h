/** @file
  The section of the agent's report about saved states: which of them is this machine's, what it is
  compared with, and whether this boot's is saved.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_STATE_CHECK_H_
#define TVQ_PLATFORM_AGENT_STATE_CHECK_H_

#include "../states/machine_match.h"
#include "options.h"
#include "run_report.h"
#include "state_files.h"

namespace tvqplatform {

/// Compares this boot with a saved state, and reports what it found.
struct StateComparer {
  void (*Compare)(VOID* context, const Snapshot& saved);
  VOID* Context;
};

/// What became of this boot's state.
enum class StateEnd : UINT8 {
  kNone,      ///< It is not saved: another one stays the one that counts, or the report says why.
  kFirst,     ///< It is saved, as the first one.
  kAccepted,  ///< It is saved beside others, or was there already.
};

struct StateOutcome {
  bool IsCompared = false;
  UINT64 SavedTime = 0;  ///< Of the state that it was compared with; 0 where that is unknown.
  StateEnd End = StateEnd::kNone;
};

class StateCheck {
 public:
  StateCheck(const Volume& volume, RunReport& report, const Options& options)
      : mVolume(volume), mReport(report), mOptions(options) {}

  /// Saves the state of the first boot, and compares every later boot with it. It stays as it is
  /// until somebody accepts the new one.
  void Run(const Snapshot& now, const StateComparer& comparer);

  const StateOutcome& Outcome() const { return mOutcome; }

 private:
  [[nodiscard]] EFI_STATUS ChooseFolder(const Snapshot& now, CHAR16 (&path)[kPathSize]) const;
  [[nodiscard]] bool Load(const Snapshot& now, StateFiles& files);
  void ShowSkipped(const StateFiles& files);
  /// Says what the state is. False: it is not one to compare with.
  [[nodiscard]] bool ShowState(const Snapshot& now, const StateFiles& files);
  [[nodiscard]] bool ShowMachine(const Snapshot& now, const StoredState& state);
  void ShowHoles(const Snapshot& snapshot, const CHAR8* whose);
  /// On a volume that takes nothing, only who asked for it is told of a failure.
  void SaveUnlessReadOnly(const Snapshot& now, StateFiles& files);
  /// Unless that would put an incomplete state in place of a complete one.
  void Save(const Snapshot& snapshot, StateFiles& files, const CHAR8* what);
  void AcceptNames(const Snapshot& now, StateFiles& files);
  void Write(const Snapshot& snapshot, StateFiles& files, const CHAR8* what);

  const Volume& mVolume;
  RunReport& mReport;
  const Options& mOptions;
  StateOutcome mOutcome;
};

}  // namespace tvqplatform

#endif
