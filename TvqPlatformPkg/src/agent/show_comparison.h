/** @file
  The section of the agent's report that says what became of each device.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_SHOW_COMPARISON_H_
#define TVQ_PLATFORM_AGENT_SHOW_COMPARISON_H_

#include "../smbios/names/device_labels.h"
#include "comparison.h"
#include "report.h"

namespace tvqplatform {

/// One line for each device, then a summary.
void ShowComparison(Report& report, const Comparison& comparison, const DeviceLabels& labels);

/// What a finding adds to its verdict: where the device was, or why it was not verified. Empty when
/// the verdict says it all.
void FormatDetail(const Finding& finding, CHAR8* buffer, UINTN size);

/// The FQDD that a finding is about.
const CHAR16* FqddOf(const Finding& finding);

}  // namespace tvqplatform

#endif
