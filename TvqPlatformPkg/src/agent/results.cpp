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
#include "state_check.h"

namespace tvqplatform {

namespace {

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

void AddToReport(VOID* report, const CHAR8* line) {
  AddLine(static_cast<RunReport*>(report), "%a", line);
}

}  // namespace

void Results::ShowAndSave() {
  Inventory inventory;
  const EFI_STATUS status = inventory.Collect();
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the records cannot be collected", status, kRestart);
  }
  AddLine(&mReport, "");
  ShowInventory(mReport, inventory, mTable.Labels);
  AddLine(&mReport, "");
  ShowAttributes(mReport, AttributeAnswers());
  AddLine(&mReport, "");
  AddLine(&mReport, "Saved in \\TVQ:");
  SaveDevices(inventory);
  AddLine(&mReport, "");
  CheckState(inventory);
  AddLine(&mReport, "");
  SaveLog();
  if (inventory.LeftBehind() != 0) {
    AddLine(&mReport, "");
    AddLine(&mReport, "Left behind: %d records of a driver that was unloaded; they are not asked",
            static_cast<UINT32>(inventory.LeftBehind()));
  }
  if (inventory.Size() == 0 && !mReport.HasFailed()) {
    mReport.Fail("the driver made no record",
                 inventory.LeftBehind() == 0 ? "look at \\TVQ\\log.txt for what it reported."
                                             : "run TvqAgent stop to take off the records that an "
                                               "unloaded driver left behind, then TvqAgent again.");
  }
}

void Results::SaveDevices(const Inventory& inventory) {
  const EFI_STATUS status = mVolume.MakeFolder(tvq::Ucs2(TVQ_FOLDER));
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the folder \\TVQ cannot be made", status, kCheckVolume);
  }
  FileNames names;
  for (UINTN i = 0; i < inventory.Size(); i++) {
    FileNames::Name name;
    OwnedArray<UINT8> bytes;
    if (!names.Take(inventory[i].Fqdd, name) || !AppendBlobs(inventory[i], bytes)) {
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
  Report log;
  log.UseConsole(false);
  WriteLog(log, *platform);
  mReport.SaveFile(mVolume, tvq::Ucs2(TVQ_FILE(u"log.txt")), log.Text());
}

void Results::CheckState(const Inventory& inventory) {
  BootSnapshot now;
  if (!now.Take(inventory, mTable, SecondsNow())) {
    mReport.FailWithStatus("the devices cannot be compared", EFI_OUT_OF_RESOURCES, kRestart);
    return;
  }
  struct Question {
    Results* Self;
    const Inventory& Devices;
    const Snapshot& Now;

    static void Run(VOID* context, const Snapshot& saved) {
      auto* asked = static_cast<Question*>(context);
      asked->Self->CompareWithState(asked->Devices, asked->Now, saved);
    }
  };
  Question question = {this, inventory, now.Get()};
  StateCheck(mVolume, mReport, mOptions).Run(now.Get(), {Question::Run, &question});
}

void Results::CompareWithState(const Inventory& inventory, const Snapshot& now,
                               const Snapshot& saved) {
  Comparison comparison;
  if (!comparison.Run(saved, now, QuestionFor(inventory))) {
    mReport.FailWithStatus("the devices cannot be compared", EFI_OUT_OF_RESOURCES, kRestart);
    return;
  }
  if (!IsQuiet(comparison)) {
    AddLine(&mReport, "Since the saved state:");
  }
  WriteComparison(comparison, Wanted::kFindings, {AddToReport, &mReport, true});
}

}  // namespace tvqplatform
