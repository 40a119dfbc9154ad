/** @file
  The agent: starts TVQSMBIOS, shows the inventory and saves it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_AGENT_H_
#define TVQ_PLATFORM_AGENT_AGENT_H_

#include "options.h"
#include "results.h"
#include "run_report.h"
#include "volume.h"

namespace tvqplatform {

/// One run. Whatever goes wrong is reported, and what can still be shown is shown.
class Agent {
 public:
  explicit Agent(EFI_HANDLE image);

  /// EFI_SUCCESS, or EFI_ABORTED when the report ends with a failure.
  [[nodiscard]] EFI_STATUS Run();

  bool WantsPowerOff() const { return mOptions.PowerOff; }
  /// Whether a shell started it, which takes a status for what it says. A boot manager goes on to the
  /// next boot option after an error alone.
  bool IsFromShell() const { return mIsFromShell; }

 private:
  void ReadOptions();
  [[nodiscard]] bool ReadCommandLine();

  /// Whether somebody may be there to look at a screen.
  bool WantsScreen() const;
  void CheckVolume(EFI_STATUS opened);
  /// Starts the driver where it was not, and shows what it has built.
  [[nodiscard]] EFI_STATUS Begin();
  [[nodiscard]] EFI_STATUS ShowScreen(Results& results, ScreenContent& content);
  /// Takes the records off, or unloads the driver.
  void End();

  EFI_HANDLE mImage;
  bool mIsFromShell;
  RunReport mReport;
  Volume mVolume;
  Options mOptions;
};

}  // namespace tvqplatform

#endif
