/** @file
  The section of the agent's report that says what became of each device.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "show_comparison.h"

#include "../text.h"

namespace tvqplatform {

namespace {

constexpr UINTN kDetailSize = 192;

/// "3 replaced", where there are any.
void AppendCount(CHAR8* line, UINTN size, const Comparison& comparison, Verdict verdict) {
  const UINTN count = comparison.Count(verdict);
  if (count != 0) {
    const UINTN length = Length(line);
    AsciiSPrint(line + length, size - length, "%a%d %a", length == 0 ? "" : ", ",
                static_cast<UINT32>(count), VerdictInWords(verdict));
  }
}

void ShowSummary(Report& report, const Comparison& comparison) {
  CHAR8 line[128] = {};
  for (UINTN verdict = 0; verdict < kVerdictCount; verdict++) {
    AppendCount(line, sizeof(line), comparison, static_cast<Verdict>(verdict));
  }
  AddLine(&report, "Summary: %a", line[0] == '\0' ? "no device, now or then" : line);
}

}  // namespace

const CHAR16* FqddOf(const Finding& finding) {
  if (finding.Current == nullptr) {
    return finding.Saved->Fqdd;
  }
  return finding.Current->Fqdd == nullptr ? tvq::Ucs2(u"") : finding.Current->Fqdd;
}

void FormatDetail(const Finding& finding, CHAR8* buffer, UINTN size) {
  buffer[0] = '\0';
  if (finding.What == Verdict::kMoved) {
    AsciiSPrint(buffer, size, "was %s", finding.MovedFrom->Fqdd);
  } else if (finding.What == Verdict::kNotVerified && finding.Reason != nullptr) {
    AsciiSPrint(buffer, size, "%a", finding.Reason);
  } else if (finding.What == Verdict::kNotVerified) {
    AsciiSPrint(buffer, size, "%r", finding.Status);
  }
}

void ShowComparison(Report& report, const Comparison& comparison, const DeviceLabels& labels) {
  AddLine(&report, "Since the saved state:");
  for (UINTN i = 0; i < comparison.Size(); i++) {
    const Finding& finding = comparison[i];
    const CHAR16* fqdd = FqddOf(finding);
    CHAR8 detail[kDetailSize];
    FormatDetail(finding, detail, sizeof(detail));
    CHAR8 label[kLabelSize];
    CopyLabel(labels.OfFqdd(fqdd), label);
    AddLine(&report, "  %-30s  %-16a  %a%a%a", fqdd[0] == 0 ? tvq::Ucs2(u"-") : fqdd, label,
            VerdictInWords(finding.What), detail[0] == '\0' ? "" : ": ", detail);
  }
  ShowSummary(report, comparison);
}

}  // namespace tvqplatform
