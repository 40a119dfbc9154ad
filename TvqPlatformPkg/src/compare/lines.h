/** @file
  A comparison in words: the agent's screen and what `tvq` prints.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_LINES_H_
#define TVQ_PLATFORM_COMPARE_LINES_H_

#include "comparison.h"

namespace tvqplatform {

/// Takes lines, without their ends.
struct LineSink {
  void (*Add)(VOID* context, const CHAR8* line);
  VOID* Context;
  bool IsAscii;  ///< Other characters stand as "\xE9", as control characters always do.
};

/// No line has more columns.
inline constexpr UINTN kColumns = 80;

enum class Wanted {
  kFindings,    ///< What somebody has to look at, and a summary: one line for a quiet machine.
  kEverything,  ///< Every device.
};

void WriteComparison(const Comparison& comparison, Wanted wanted, const LineSink& sink);

/// One device's lines, whether or not somebody has to look at it.
void WriteFinding(const Comparison& comparison, const Finding& finding, const LineSink& sink);

/// Why the device was not verified, or its fields are not known; empty where there is no reason.
void FormatObstacle(const Comparison& comparison, const Finding& finding, CHAR8* buffer,
                    UINTN size);

/// Who says that it was replaced: "the driver, the serial number"; empty where nobody does.
void FormatWitnesses(const Finding& finding, CHAR8* buffer, UINTN size);

/// What to do about it: after a firmware update, not what the verdict says elsewhere.
const CHAR8* ToDoOf(const Comparison& comparison, const Finding& finding);

/// Why nothing was compared, where the options are others.
void FormatOtherOptions(const Comparison& comparison, CHAR8* buffer, UINTN size);
inline constexpr CHAR8 kToDoForOtherOptions[] = "use the same options, or save anew";

/// "9 same, 1 replaced"; "no device, now or then" where there is none.
void FormatSummary(const Comparison& comparison, CHAR8* buffer, UINTN size);

/// "processor", "memory module", "HBM stack" or "system".
const CHAR8* NameOf(DeviceKind kind);

/// Whether somebody has to look at it.
bool IsFinding(const Comparison& comparison, const Finding& finding);

/// Whether nobody has to look at anything: the summary says it all.
bool IsQuiet(const Comparison& comparison);

/// The FQDD that the finding is about; empty for one without.
const CHAR16* FqddOf(const Comparison& comparison, const Finding& finding);
/// What the machine prints there, without blanks around it.
smbios::Text LabelOf(const Comparison& comparison, const Finding& finding);

}  // namespace tvqplatform

#endif
