/** @file
  The report of one run: its lines, why it failed, and how it ends.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "run_report.h"

#include "messages.h"
#include "start.h"

namespace tvqplatform {

namespace {

constexpr CHAR8 kSuccess[] = "TvqAgent: success";
constexpr CHAR8 kFailed[] = "TvqAgent: failed: %a";

}  // namespace

void RunReport::Fail(const CHAR8* reason, const CHAR8* advice) {
  const Topic before = Begin(Topic::kProblem);
  AddLine(this, "Problem: %a.", reason);
  AddLine(this, "  What to do: %a", advice);
  (void)Begin(before);
  mFailures++;
  if (!mFailed) {
    mFailed = true;
    AsciiSPrint(mReason, sizeof(mReason), "%a", reason);
  }
}

void RunReport::FailWithStatus(const CHAR8* what, EFI_STATUS status, const CHAR8* advice) {
  CHAR8 words[40];
  CHAR8 reason[sizeof(mReason)];
  StatusInWords(status, words, sizeof(words));
  AsciiSPrint(reason, sizeof(reason), "%a: %a", what, words);
  Fail(reason, advice);
}

EFI_STATUS RunReport::Finish(const Volume& volume) {
  const bool usesConsole = UsesConsole();
  const UINTN end = CountLines();
  AddLine(this, "");
  UseConsole(false);
  if (mFailed) {
    AddLine(this, kFailed, mReason);
  } else {
    AddLine(this, kSuccess);
  }
  const EFI_STATUS status = SaveText(volume);
  Keep(end);
  // The console's last line tells about the report's file too.
  UseConsole(usesConsole);
  if (EFI_ERROR(status)) {
    FailWithStatus("\\TVQ\\report.txt cannot be written", status, kCheckVolume);
  }
  ShowEnd();
  return mFailed ? EFI_ABORTED : EFI_SUCCESS;
}

EFI_STATUS RunReport::SaveText(const Volume& volume) const {
  if (volume.IsReadOnly()) {
    return EFI_SUCCESS;
  }
  const EFI_STATUS status = volume.MakeFolder(tvq::Ucs2(TVQ_FOLDER));
  return EFI_ERROR(status) ? status : volume.Write(tvq::Ucs2(TVQ_FILE(u"report.txt")), Text());
}

void RunReport::ShowEnd() {
  const UINTN end = CountLines();
  if (mFailed) {
    AddLine(this, kFailed, mReason);
  } else {
    AddLine(this, kSuccess);
  }
  Keep(end);
}

void RunReport::SaveFile(const Volume& volume, const CHAR16* path, tvq::Span<const UINT8> bytes) {
  const EFI_STATUS status = volume.Write(path, bytes);
  if (!EFI_ERROR(status)) {
    AddLine(this, "  %-28s %7d bytes", path, static_cast<UINT32>(bytes.Size()));
    return;
  }
  CHAR8 what[100];
  AsciiSPrint(what, sizeof(what), "%s cannot be written", path);
  FailWithStatus(what, status, kCheckVolume);
}

}  // namespace tvqplatform
