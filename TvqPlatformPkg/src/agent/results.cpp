/** @file
  Shows and saves what the driver has built, and compares it with the saved state.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "results.h"

#include "attributes.h"
#include "file_names.h"
#include "messages.h"
#include "show.h"
#include "show_comparison.h"
#include "state_files.h"

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

}  // namespace

void Results::ShowAndSave() {
  Inventory inventory;
  const EFI_STATUS status = inventory.Collect();
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the records cannot be collected", status, kRestart);
  }
  AddLine(&mReport, "");
  ShowInventory(mReport, inventory, mLabels);
  AddLine(&mReport, "");
  ShowAttributes(mReport, AttributeAnswers());
  AddLine(&mReport, "");
  AddLine(&mReport, "Saved in \\TVQ:");
  SaveDevices(inventory);
  SaveLog();
  AddLine(&mReport, "");
  CheckState(inventory);
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

/// Saves the state of the first boot, and compares every later boot with it. It stays as it is until
/// somebody accepts the new one.
void Results::CheckState(const Inventory& inventory) {
  if (inventory.Size() == 0) {
    AddLine(&mReport, "State: not compared and not saved, because there is no record");
    return;
  }
  StateFiles files(mVolume);
  EFI_STATUS status = files.Load();
  const bool isFirst = status == EFI_NOT_FOUND;
  if (!EFI_ERROR(status)) {
    CompareWithState(inventory, files.Current());
  } else if (!isFirst && !mIsAccepted) {
    mReport.FailWithStatus("the saved state in \\TVQ cannot be read", status,
                           "run TvqAgent with the option accept to save a new one in its place.");
    return;
  }
  if (!isFirst && !mIsAccepted) {
    AddLine(&mReport, "State: left as it was saved; the option accept saves this boot's");
    return;
  }
  status = files.Save(inventory);
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the state cannot be saved", status, kCheckVolume);
    return;
  }
  AddLine(&mReport, isFirst ? "State: saved; later boots are compared with it"
                            : "State: accepted; this boot's is saved");
}

void Results::CompareWithState(const Inventory& inventory, const SavedState& saved) {
  Comparison comparison;
  const EFI_STATUS status = comparison.Run(inventory, saved);
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the devices cannot be compared", status, kRestart);
    return;
  }
  ShowComparison(mReport, comparison, mLabels);
}

}  // namespace tvqplatform
