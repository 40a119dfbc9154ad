/** @file
  The agent's part that shows and saves what the driver has built, and compares it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "agent.h"
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

void Agent::ShowResults() {
  Inventory inventory;
  const EFI_STATUS status = inventory.Collect();
  if (EFI_ERROR(status)) {
    FailWithStatus("the records cannot be collected", status, kRestart);
  }
  AddLine(&mReport, "");
  ShowInventory(mReport, inventory);
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
  if (inventory.Size() == 0 && !mFailed) {
    Fail("the driver made no record", inventory.LeftBehind() == 0
                                          ? "look at \\TVQ\\log.txt for what it reported."
                                          : "run TvqAgent stop to take off the records that an "
                                            "unloaded driver left behind, then TvqAgent again.");
  }
}

void Agent::SaveDevices(const Inventory& inventory) {
  const EFI_STATUS status = mVolume.MakeFolder(tvq::Ucs2(TVQ_FOLDER));
  if (EFI_ERROR(status)) {
    FailWithStatus("the folder \\TVQ cannot be made", status, kCheckVolume);
  }
  FileNames names;
  for (UINTN i = 0; i < inventory.Size(); i++) {
    FileNames::Name name;
    OwnedArray<UINT8> bytes;
    if (!names.Take(inventory[i].Fqdd, name) || !AppendBlobs(inventory[i], bytes)) {
      FailWithStatus("a device's blobs cannot be saved", EFI_OUT_OF_RESOURCES, kCheckVolume);
      return;
    }
    CHAR16 path[80];
    UnicodeSPrint(path, sizeof(path), tvq::Ucs2(TVQ_FILE(u"%a.tvq")), name.Text);
    SaveFile(path, {bytes.Data(), bytes.Size()});
  }
}

void Agent::SaveLog() {
  TVQ_PLATFORM_PROTOCOL* platform = FindPlatform();
  if (platform == nullptr) {
    AddLine(&mReport, "  (no log: TvqPlatform is not loaded)");
    return;
  }
  Report log;
  log.UseConsole(false);
  WriteLog(log, *platform);
  SaveFile(tvq::Ucs2(TVQ_FILE(u"log.txt")), log.Text());
}

/// Saves the state of the first boot, and compares every later boot with it. It stays as it is until
/// somebody accepts the new one.
void Agent::CheckState(const Inventory& inventory) {
  if (inventory.Size() == 0) {
    AddLine(&mReport, "State: not compared and not saved, because there is no record");
    return;
  }
  StateFiles files(mVolume);
  EFI_STATUS status = files.Load();
  const bool isFirst = status == EFI_NOT_FOUND;
  if (!EFI_ERROR(status)) {
    CompareWithState(inventory, files.Current());
  } else if (!isFirst && !mOptions.Accept) {
    FailWithStatus("the saved state in \\TVQ cannot be read", status,
                   "run TvqAgent with the option accept to save a new one in its place.");
    return;
  }
  if (!isFirst && !mOptions.Accept) {
    AddLine(&mReport, "State: left as it was saved; the option accept saves this boot's");
    return;
  }
  status = files.Save(inventory);
  if (EFI_ERROR(status)) {
    FailWithStatus("the state cannot be saved", status, kCheckVolume);
    return;
  }
  AddLine(&mReport, isFirst ? "State: saved; later boots are compared with it"
                            : "State: accepted; this boot's is saved");
}

void Agent::CompareWithState(const Inventory& inventory, const SavedState& saved) {
  Comparison comparison;
  const EFI_STATUS status = comparison.Run(inventory, saved);
  if (EFI_ERROR(status)) {
    FailWithStatus("the devices cannot be compared", status, kRestart);
    return;
  }
  ShowComparison(mReport, comparison);
}

void Agent::SaveFile(const CHAR16* path, tvq::Span<const UINT8> bytes) {
  const EFI_STATUS status = mVolume.Write(path, bytes);
  if (!EFI_ERROR(status)) {
    AddLine(&mReport, "  %-28s %7d bytes", path, static_cast<UINT32>(bytes.Size()));
    return;
  }
  CHAR8 what[100];
  AsciiSPrint(what, sizeof(what), "%s cannot be written", path);
  FailWithStatus(what, status, kCheckVolume);
}

}  // namespace tvqplatform
