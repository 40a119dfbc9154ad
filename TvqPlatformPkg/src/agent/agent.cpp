/** @file
  The agent: starts TVQSMBIOS, shows the inventory and saves it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "agent.h"

extern "C" {
#include <Protocol/LoadedImage.h>
}

#include <TvqVersion.h>

#include "messages.h"
#include "start.h"

namespace tvqplatform {

namespace {

constexpr UINTN kMaximumOptionsFile = 4096;

tvq::Span<const CHAR8> AsText(const GrowingArray<UINT8>& bytes) {
  return {reinterpret_cast<const CHAR8*>(bytes.Data()), bytes.Size()};
}

}  // namespace

Agent::~Agent() {
  mTableFile.Free();
}

EFI_STATUS Agent::Run() {
  AddLine(&mReport, "TvqAgent " TVQ_VERSION ": inventory of this machine from its SMBIOS table");
  const EFI_STATUS opened = mVolume.Open(mImage);
  ReadOptions();
  if (EFI_ERROR(opened)) {
    FailWithStatus("the volume that TvqAgent was started from cannot be opened", opened,
                   "start TvqAgent from a FAT volume.");
  }
  if (mOptions.Stop || mOptions.Unload) {
    End();
  } else {
    Begin();
    ShowResults();
    mPublication.Restore();
  }
  return Finish();
}

void Agent::ReadOptions() {
  if (!ReadCommandLine()) {
    OwnedArray<UINT8> file;
    const CHAR16* path = tvq::Ucs2(TVQ_FILE(u"options.txt"));
    const EFI_STATUS status = mVolume.Read(path, kMaximumOptionsFile, file);
    if (!EFI_ERROR(status)) {
      ParseOptions(AsText(file), mOptions);
    } else if (status != EFI_NOT_FOUND && status != EFI_NO_MEDIA) {
      FailWithStatus("\\TVQ\\options.txt cannot be read", status, kCheckVolume);
    }
  }
  if (mOptions.Unknown[0] != '\0') {
    AddLine(&mReport, "Options: '%a' is not known and ignored (%a)", mOptions.Unknown,
            kOptionWords);
  }
}

bool Agent::ReadCommandLine() {
  VOID* loaded = nullptr;
  if (EFI_ERROR(gBS->HandleProtocol(mImage, &gEfiLoadedImageProtocolGuid, &loaded))) {
    return false;
  }
  const auto* image = static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(loaded);
  return ParseLoadOptions(image->LoadOptions, image->LoadOptionsSize, mOptions);
}

EFI_STATUS Agent::Finish() {
  constexpr CHAR8 kSuccess[] = "TvqAgent: success";
  constexpr CHAR8 kFailed[] = "TvqAgent: failed: %a";
  AddLine(&mReport, "");
  mReport.UseConsole(false);
  if (mFailed) {
    AddLine(&mReport, kFailed, mReason);
  } else {
    AddLine(&mReport, kSuccess);
  }
  const EFI_STATUS status = mVolume.Write(tvq::Ucs2(TVQ_FILE(u"report.txt")), mReport.Text());
  // The console's last line tells about the report's file too.
  mReport.UseConsole(true);
  if (EFI_ERROR(status)) {
    FailWithStatus("\\TVQ\\report.txt cannot be written", status, kCheckVolume);
  }
  if (mFailed) {
    AddLine(&mReport, kFailed, mReason);
    return EFI_ABORTED;
  }
  AddLine(&mReport, kSuccess);
  return EFI_SUCCESS;
}

void Agent::Fail(const CHAR8* reason, const CHAR8* advice) {
  AddLine(&mReport, "Problem: %a.", reason);
  AddLine(&mReport, "  What to do: %a", advice);
  if (!mFailed) {
    mFailed = true;
    AsciiSPrint(mReason, sizeof(mReason), "%a", reason);
  }
}

void Agent::FailWithStatus(const CHAR8* what, EFI_STATUS status, const CHAR8* advice) {
  CHAR8 words[40];
  CHAR8 reason[sizeof(mReason)];
  StatusInWords(status, words, sizeof(words));
  AsciiSPrint(reason, sizeof(reason), "%a: %a", what, words);
  Fail(reason, advice);
}

}  // namespace tvqplatform
