/** @file
  Shows and saves what the driver has built, and compares it with the saved state.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "results.h"

#include "../compare/lines.h"
#include "ask_driver.h"
#include "attributes.h"
#include "calendar.h"
#include "file_names.h"
#include "messages.h"
#include "show.h"

namespace tvqplatform {

namespace {

constexpr CHAR8 kTakeOffFirst[] =
    "run TvqAgent stop to take off the records that an unloaded driver left behind, then TvqAgent "
    "again.";
constexpr CHAR8 kRestartForBlobs[] =
    "restart the machine and run TvqAgent before anything else; \\TVQ\\log.txt says what was "
    "missing.";

/// Appends a device's blobs one after another.
[[nodiscard]] bool AppendBlobs(const DeviceInventory& device, GrowingArray<UINT8>& bytes) {
  for (UINTN slot = 0; slot < kBlobCount; slot++) {
    const tvq::Span<const UINT8> blob = BlobBytes(device, slot);
    if (!bytes.Append(blob.Data(), blob.Size())) {
      return false;
    }
  }
  return true;
}

/// The name of the first blob that the device did not give, or null.
const CHAR8* FirstMissingBlob(const DeviceInventory& device) {
  constexpr const CHAR8* kNames[kBlobCount] = {"inventory", "configuration", "end"};
  for (UINTN slot = 0; slot < kBlobCount; slot++) {
    if (BlobBytes(device, slot).Empty()) {
      return kNames[slot];
    }
  }
  return nullptr;
}

const CHAR16* NameOf(const DeviceInventory& device) {
  return device.Fqdd == nullptr || device.Fqdd[0] == 0 ? tvq::Ucs2(u"a device without a name")
                                                       : device.Fqdd;
}

void AddToReport(VOID* report, const CHAR8* line) {
  AddLine(static_cast<RunReport*>(report), "%a", line);
}

}  // namespace

void Results::ShowAndSave() {
  const EFI_STATUS status = mInventory.Collect();
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the records cannot be collected", status, kRestart);
  }
  AddLine(&mReport, "");
  ShowInventory(mReport, mInventory, mTable.Labels);
  ShowMissingBlobs();
  AddLine(&mReport, "");
  ShowAttributes(mReport, AttributeAnswers());
  AddLine(&mReport, "");
  if (!mVolume.IsReadOnly()) {
    AddLine(&mReport, "Saved in \\TVQ:");
    SaveDevices();
    AddLine(&mReport, "");
  }
  mHasNow = mNow.Take(mInventory, mTable, SecondsNow());
  if (mContent != nullptr) {
    ShowDevices(mInventory, mTable.Labels, mNow.Get(), *mContent);
  }
  CheckState();
  AddLine(&mReport, "");
  SaveLog();
  if (mInventory.LeftBehind() != 0) {
    AddLine(&mReport, "");
    AddLine(&mReport, "Left behind: %d records of a driver that was unloaded; they are not asked",
            static_cast<UINT32>(mInventory.LeftBehind()));
  }
  if (mInventory.Size() == 0 && !mReport.HasFailed()) {
    mReport.Fail("the driver made no record", mInventory.LeftBehind() == 0
                                                  ? "look at \\TVQ\\log.txt for what it reported."
                                                  : kTakeOffFirst);
  }
}

void Results::Save() {
  AddLine(&mReport, "Saved in \\TVQ:");
  SaveDevices();
  SaveLog();
}

/// The inventory has the device all the same; only its documents are missing.
void Results::ShowMissingBlobs() {
  for (const DeviceInventory& device : mInventory) {
    const CHAR8* const missing = FirstMissingBlob(device);
    if (missing == nullptr) {
      continue;
    }
    const Topic before = mReport.Begin(Topic::kProblem);
    if (EFI_ERROR(device.GetStatus)) {
      AddLine(&mReport, "Blobs: %s gives none (%r)", NameOf(device), device.GetStatus);
    } else {
      AddLine(&mReport, "Blobs: %s gives no %a blob", NameOf(device), missing);
    }
    AddLine(&mReport, "  What to do: %a", kRestartForBlobs);
    (void)mReport.Begin(before);
  }
}

void Results::SaveDevices() {
  const EFI_STATUS status = mVolume.MakeFolder(tvq::Ucs2(TVQ_FOLDER));
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the folder \\TVQ cannot be made", status, kCheckVolume);
  }
  FileNames names;
  for (const DeviceInventory& device : mInventory) {
    FileNames::Name name;
    OwnedArray<UINT8> bytes;
    if (!names.Take(device.Fqdd, name) || !AppendBlobs(device, bytes)) {
      mReport.FailWithStatus("a device's blobs cannot be saved", EFI_OUT_OF_RESOURCES,
                             kCheckVolume);
      return;
    }
    CHAR16 path[80];
    UnicodeSPrint(path, sizeof(path), tvq::Ucs2(TVQ_FILE(u"%a.tvq")), name.Text);
    mReport.SaveFile(mVolume, path, {bytes.Data(), bytes.Size()});
  }
}

void Results::SaveLog() {
  TVQ_PLATFORM_PROTOCOL* platform = FindPlatform();
  if (platform == nullptr) {
    AddLine(&mReport, "  (no log: TvqPlatform is not loaded)");
    return;
  }
  if (mVolume.IsReadOnly()) {
    return;
  }
  Report log;
  log.UseConsole(false);
  WriteLog(log, *platform);
  mReport.SaveFile(mVolume, tvq::Ucs2(TVQ_FILE(u"log.txt")), log.Text());
}

void Results::CheckState(RunReport& report) {
  if (!mHasNow) {
    report.FailWithStatus("the devices cannot be compared", EFI_OUT_OF_RESOURCES, kRestart);
    return;
  }
  if (mTable.IsOfOthers) {
    AddLine(&report,
            "State: not compared and not saved, because the records are another machine's");
    return;
  }
  struct Question {
    Results& Self;
    RunReport& Report;

    static void Run(VOID* context, const Snapshot& saved) {
      auto* asked = static_cast<Question*>(context);
      asked->Self.Compare(saved, asked->Report);
    }
  };
  Question question = {*this, report};
  const Topic before = report.Begin(Topic::kState);
  StateCheck check(mVolume, report, mOptions);
  check.Run(mNow.Get(), {Question::Run, &question});
  mOutcome = check.Outcome();
  (void)report.Begin(before);
}

void Results::Compare(const Snapshot& saved, RunReport& report) {
  Comparison comparison;
  if (!comparison.Run(saved, mNow.Get(), QuestionFor(mInventory))) {
    report.FailWithStatus("the devices cannot be compared", EFI_OUT_OF_RESOURCES, kRestart);
    return;
  }
  const Topic before = report.Begin(Topic::kRest);
  if (!IsQuiet(comparison)) {
    AddLine(&report, "Since the saved state:");
  }
  (void)report.Begin(Topic::kFinding);
  WriteComparison(comparison, Wanted::kFindings, {AddToReport, &report, true});
  (void)report.Begin(before);
  if (mContent != nullptr) {
    ForgetVerdicts(*mContent);
    ShowVerdicts(comparison, *mContent);
  }
}

}  // namespace tvqplatform
