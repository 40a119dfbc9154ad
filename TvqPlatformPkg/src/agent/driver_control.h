/** @file
  Loads the driver, starts it, takes its records off and unloads it. The report says what happens.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_DRIVER_CONTROL_H_
#define TVQ_PLATFORM_AGENT_DRIVER_CONTROL_H_

#include "family_variable.h"
#include "run_report.h"

namespace tvqplatform {

class DriverControl {
 public:
  DriverControl(const Volume& volume, RunReport& report) : mVolume(volume), mReport(report) {}

  /// Loads platform and driver where they are missing. False: one of them cannot be had.
  [[nodiscard]] bool Ensure();

  /// `asIs`: the table was not conformed, which may be why the start fails. The variable that the
  /// start writes is put back as it was, unless it is to stay. False: the start failed.
  [[nodiscard]] bool Start(bool asIs, bool keepVariable);

  /// Takes the records off. False: some are still there.
  [[nodiscard]] bool TakeOff();

  void Unload();

 private:
  /// Loads an image by its file's name.
  [[nodiscard]] bool Load(const char16_t* name);
  void PutBack(const FamilyVariable& variable);

  const Volume& mVolume;
  RunReport& mReport;
};

}  // namespace tvqplatform

#endif
