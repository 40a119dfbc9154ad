/** @file
  The agent: starts TVQSMBIOS, shows the inventory and saves it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_AGENT_H_
#define TVQ_PLATFORM_AGENT_AGENT_H_

#include "options.h"
#include "run_report.h"
#include "volume.h"

namespace tvqplatform {

/// One run. Whatever goes wrong is reported, and what can still be shown is shown.
class Agent {
 public:
  explicit Agent(EFI_HANDLE image) : mImage(image) {}

  /// EFI_SUCCESS, or EFI_ABORTED when the report ends with a failure.
  [[nodiscard]] EFI_STATUS Run();

  bool WantsPowerOff() const { return mOptions.PowerOff; }

 private:
  void ReadOptions();
  [[nodiscard]] bool ReadCommandLine();

  /// Starts the driver where it was not, and shows what it has built.
  void Begin();
  /// Takes the records off, or unloads the driver.
  void End();

  EFI_HANDLE mImage;
  RunReport mReport;
  Volume mVolume;
  Options mOptions;
};

}  // namespace tvqplatform

#endif
