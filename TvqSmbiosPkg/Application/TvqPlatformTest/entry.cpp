/** @file
  TvqPlatformTest: tells whether a platform provides what TVQSMBIOS relies on, and what to do where it
  does not. It changes nothing but for one line in the debug log, and needs no reference platform.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "check.h"

extern "C" {
#include <Library/UefiLib.h>
}

namespace tvqtest {

namespace {

struct Totals {
  UINT32 Passed;
  UINT32 Failed;
  UINT32 Missing;
};

const Group* const kGroups[] = {&kServices, &kAux,        &kLibrary,   &kTable, &kPrerequisite,
                                &kDebugLog, &kManagement, &kXmlParser, &kDriver};

/// The position may be anywhere in a packed interface.
bool HasFunction(const VOID* interface, UINTN offset) {
  if (offset == kNoFunction) {
    return true;
  }
  const auto* place = static_cast<const UINT8*>(interface) + offset;
  return ReadUnaligned64(reinterpret_cast<const UINT64*>(place)) != 0;
}

/// The question is shown before it is asked, so that one that never comes back is named.
bool Run(const Check& check, const VOID* interface) {
  AsciiPrint("  %a ... ", check.What);
  if (!HasFunction(interface, check.Function)) {
    AsciiPrint("FAIL: it is NULL\n");
    return false;
  }
  const bool passes = check.Passes == nullptr || check.Passes();
  AsciiPrint(passes ? "OK\n" : "FAIL\n");
  return passes;
}

void RunChecks(const Group& group, const VOID* interface, Totals& totals) {
  UINT32 failed = 0;
  for (const Check& check : group.Checks) {
    failed += Run(check, interface) ? 0 : 1;
  }
  if (failed != 0) {
    AsciiPrint("  What to do: %a\n", group.Advice);
  }
  totals.Failed += failed;
  totals.Passed += static_cast<UINT32>(group.Checks.Size()) - failed;
}

void RunGroup(const Group& group, Totals& totals) {
  AsciiPrint("%a\n", group.Title);
  const VOID* interface = group.Find();
  if (interface != nullptr) {
    AsciiPrint("  is there ... OK\n");
    totals.Passed++;
    RunChecks(group, interface, totals);
    return;
  }
  AsciiPrint("  is there ... %a\n  Without it %a\n", group.IsOptional ? "no" : "FAIL",
             group.Missing);
  (group.IsOptional ? totals.Missing : totals.Failed)++;
}

}  // namespace

/**
  Runs every check once.

  @retval EFI_SUCCESS   The platform is ready for the driver; optional parts may be missing.
  @retval EFI_ABORTED   A check failed.
**/
extern "C" EFI_STATUS EFIAPI TvqPlatformTestEntry(EFI_HANDLE, EFI_SYSTEM_TABLE*) {
  AsciiPrint("TvqPlatformTest: does this platform provide what TVQSMBIOS relies on?\n\n");
  Totals totals = {};
  for (const Group* group : kGroups) {
    RunGroup(*group, totals);
  }
  AsciiPrint("\nTvqPlatformTest: %d OK, %d failed, %d optional parts missing\n", totals.Passed,
             totals.Failed, totals.Missing);
  return totals.Failed == 0 ? EFI_SUCCESS : EFI_ABORTED;
}

}  // namespace tvqtest
