/** @file
  The report of one run: its lines, why it failed, and how it ends.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_RUN_REPORT_H_
#define TVQ_PLATFORM_AGENT_RUN_REPORT_H_

#include "report.h"
#include "volume.h"

namespace tvqplatform {

class RunReport : public Report {
 public:
  /// Notes why the run failed (the first reason counts) and what to do next.
  void Fail(const CHAR8* reason, const CHAR8* advice);
  void FailWithStatus(const CHAR8* what, EFI_STATUS status, const CHAR8* advice);

  bool HasFailed() const { return mFailed; }
  UINTN Failures() const { return mFailures; }

  /// Ends the report and saves it, unless the volume takes nothing. EFI_SUCCESS, or EFI_ABORTED after
  /// a failure. Lines that are added then come in front of the end.
  [[nodiscard]] EFI_STATUS Finish(const Volume& volume);

  /// Saves a file, and says so with its size.
  void SaveFile(const Volume& volume, const CHAR16* path, tvq::Span<const UINT8> bytes);

  /// Shows how it ended, as the last line of the console.
  void ShowEnd();

 private:
  [[nodiscard]] EFI_STATUS SaveText(const Volume& volume) const;

  bool mFailed = false;
  UINTN mFailures = 0;
  CHAR8 mReason[160];
};

}  // namespace tvqplatform

#endif
