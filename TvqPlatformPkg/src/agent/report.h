/** @file
  The agent's report: lines on the console, kept as ASCII for a file.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_REPORT_H_
#define TVQ_PLATFORM_AGENT_REPORT_H_

#include "../growing_array.h"

namespace tvqplatform {

/// Lines of printable ASCII, each with one "\n" at its end; whatever else a text has shows as '?'.
class Report {
 public:
  Report() = default;
  Report(const Report&) = delete;
  Report& operator=(const Report&) = delete;
  ~Report();

  /// Adds a line; also shows it, unless the report has no console.
  void Add(const CHAR8* format, VA_LIST marker);

  void UseConsole(bool use) { mUsesConsole = use; }
  tvq::Span<const UINT8> Text() const { return {mText.Data(), mText.Size()}; }
  /// Lines that there was no memory for, or only for their beginning.
  UINTN LostLines() const { return mLost; }

 private:
  void AddText(CHAR8* line);

  GrowingArray<UINT8> mText;
  bool mUsesConsole = true;
  UINTN mLost = 0;
};

/// Adds a line with PrintLib's ASCII directives.
VOID EFIAPI AddLine(Report* report, const CHAR8* format, ...);

}  // namespace tvqplatform

#endif
