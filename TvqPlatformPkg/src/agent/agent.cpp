/** @file
  The agent: starts TVQSMBIOS, shows the inventory and saves it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "agent.h"

extern "C" {
#include <Protocol/ShellParameters.h>
}

#include <TvqVersion.h>

#include "../handle_list.h"
#include "../loaded_image.h"
#include "driver_control.h"
#include "messages.h"
#include "prepared_table.h"
#include "records.h"
#include "screen_session.h"
#include "watchdog.h"

namespace tvqplatform {

namespace {

constexpr UINTN kMaximumOptionsFile = 4096;

tvq::Span<const CHAR8> AsText(const GrowingArray<UINT8>& bytes) {
  return {reinterpret_cast<const CHAR8*>(bytes.Data()), bytes.Size()};
}

}  // namespace

Agent::Agent(EFI_HANDLE image)
    : mImage(image),
      mIsFromShell(InterfaceOn<VOID>(image, gEfiShellParametersProtocolGuid) != nullptr) {}

EFI_STATUS Agent::Run() {
  const Watchdog watchdog(mIsFromShell);
  AddLine(&mReport, "TvqAgent " TVQ_VERSION ": inventory of this machine from its SMBIOS table");
  const EFI_STATUS opened = mVolume.Open(mImage);
  ReadOptions();
  mReport.UseConsole(!WantsScreen());
  CheckVolume(opened);
  if (mOptions.Stop || mOptions.Unload) {
    End();
    return mReport.Finish(mVolume);
  }
  return Begin();
}

bool Agent::WantsScreen() const {
  if (mOptions.Unattended || mOptions.Stop || mOptions.Unload || !Console::IsThere()) {
    return false;
  }
  return mOptions.Screen || !(mOptions.PowerOff || mIsFromShell);
}

void Agent::CheckVolume(EFI_STATUS opened) {
  if (EFI_ERROR(opened)) {
    mReport.FailWithStatus("the volume that TvqAgent was started from cannot be opened", opened,
                           "start TvqAgent from a FAT volume.");
    return;
  }
  mVolume.TryToWrite(tvq::Ucs2(TVQ_FOLDER));
  if (mVolume.IsReadOnly()) {
    const Topic before = mReport.Begin(Topic::kMedium);
    AddLine(&mReport,
            "Volume: it cannot be written to; nothing is saved, and what lies there is compared "
            "with.");
    (void)mReport.Begin(before);
  }
}

EFI_STATUS Agent::Begin() {
  ScreenContent content;
  PreparedTable table(mVolume, mReport);
  DriverControl driver(mVolume, mReport);
  bool isStarted = true;
  if (mVolume.Exists(tvq::Ucs2(TVQ_FILE(u"table.bin")))) {
    AddLine(&mReport, "Table: of \\TVQ\\table.bin, not the firmware's own");
  }
  if (HasRecords() && !mOptions.Again) {
    AddLine(&mReport, "Start: the driver was started before; its records are shown as they are.");
    table.ReadLabels(mOptions.AsIs);
  } else {
    isStarted = driver.Ensure() && table.Prepare(mOptions.AsIs) &&
                driver.Start(mOptions.AsIs, mOptions.KeepVariable);
  }
  const StartedTable started = table.Started(isStarted);
  Results results(mVolume, mReport, started, mOptions);
  if (WantsScreen()) {
    results.ShowOn(content);
  }
  results.ShowAndSave();
  table.PutBack();
  const EFI_STATUS status = mReport.Finish(mVolume);
  return WantsScreen() ? ShowScreen(results, content) : status;
}

/// The options that were for the visit alone do not hold for what somebody does at the screen.
EFI_STATUS Agent::ShowScreen(Results& results, ScreenContent& content) {
  mOptions.Accept = false;
  mOptions.NameCount = 0;
  ScreenEnd end = ScreenEnd::kLeft;
  if (!ScreenSession(mVolume, mReport, results, mOptions, content).Run(end)) {
    mReport.ShowOnConsole();
  }
  mReport.UseConsole(true);
  mReport.ShowEnd();
  mOptions.PowerOff = mOptions.PowerOff || end == ScreenEnd::kPowerOff;
  return mReport.HasFailed() ? EFI_ABORTED : EFI_SUCCESS;
}

/// The records come first: unloading the driver leaves them behind, and then nobody may ask them.
void Agent::End() {
  DriverControl driver(mVolume, mReport);
  if (mOptions.Stop && !driver.TakeOff()) {
    return;
  }
  if (mOptions.Unload) {
    driver.Unload();
  }
}

void Agent::ReadOptions() {
  if (!ReadCommandLine()) {
    OwnedArray<UINT8> file;
    const CHAR16* path = tvq::Ucs2(TVQ_FILE(u"options.txt"));
    const EFI_STATUS status = mVolume.Read(path, kMaximumOptionsFile, file);
    if (!EFI_ERROR(status)) {
      ParseOptions(AsText(file), mOptions);
      AddLine(&mReport, "Options: of \\TVQ\\options.txt");
    } else if (status != EFI_NOT_FOUND && status != EFI_NO_MEDIA) {
      mReport.FailWithStatus("\\TVQ\\options.txt cannot be read", status, kCheckVolume);
    }
  }
  if (mOptions.Unknown[0] != '\0') {
    AddLine(&mReport, "Options: '%a' is not known and ignored (%a)", mOptions.Unknown,
            kOptionWords);
  }
}

bool Agent::ReadCommandLine() {
  const EFI_LOADED_IMAGE_PROTOCOL* const image = LoadedImageOn(mImage);
  return image != nullptr && ParseLoadOptions(image->LoadOptions, image->LoadOptionsSize, mOptions);
}

}  // namespace tvqplatform
