/** @file
  The agent: starts TVQSMBIOS, shows the inventory and saves it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "agent.h"

extern "C" {
#include <Protocol/LoadedImage.h>
}

#include "../smbios/firmware_table.h"
#include "attributes.h"
#include "file_names.h"
#include "show.h"
#include "show_comparison.h"
#include "start.h"
#include "state_files.h"

namespace tvqplatform {

namespace {

// Paths as literals, so that messages can name them too.
#define TVQ_FOLDER u"\\TVQ"
#define TVQ_FILE(name) TVQ_FOLDER u"\\" name

constexpr UINTN kMaximumOptionsFile = 4096;
/// Far more than a 32-bit entry point can state, so that the table itself is judged.
constexpr UINTN kMaximumTableFile = SIZE_1MB;

constexpr CHAR8 kCopyFiles[] =
    "copy TvqPlatform.efi and TVQSMBIOS.efi into the folder \\TVQ of the volume that TvqAgent "
    "was started from.";
constexpr CHAR8 kCheckVolume[] =
    "check that the volume can be written to and has room, then run TvqAgent again.";

tvq::Span<const CHAR8> AsText(const GrowingArray<UINT8>& bytes) {
  return {reinterpret_cast<const CHAR8*>(bytes.Data()), bytes.Size()};
}

/// Appends a device's blobs one after another.
bool AppendBlobs(const DeviceInventory& device, GrowingArray<UINT8>& bytes) {
  for (UINTN slot = 0; slot < kBlobCount; slot++) {
    const tvq::Span<const UINT8> blob = BlobBytes(device, slot);
    if (!bytes.Append(blob.Data(), blob.Size())) {
      return false;
    }
  }
  return true;
}

/// Loads an image from a file and runs it. A driver stays; EFI_ALREADY_STARTED is its business.
EFI_STATUS LoadAndStartImage(const Volume& volume, const CHAR16* path) {
  EFI_DEVICE_PATH_PROTOCOL* devicePath = volume.PathOf(path);
  if (devicePath == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  const tvq::PoolPtr<EFI_DEVICE_PATH_PROTOCOL> owned(devicePath);
  EFI_HANDLE image = nullptr;
  EFI_STATUS status = gBS->LoadImage(FALSE, gImageHandle, devicePath, nullptr, 0, &image);
  if (EFI_ERROR(status)) {
    // Some errors leave an image that may not be started.
    if (image != nullptr) {
      gBS->UnloadImage(image);
    }
    return status;
  }
  return gBS->StartImage(image, nullptr, nullptr);
}

}  // namespace

Agent::~Agent() {
  mTableFile.Free();
}

EFI_STATUS Agent::Run() {
  AddLine(&mReport, "TvqAgent: inventory of this machine from its SMBIOS table");
  const EFI_STATUS opened = mVolume.Open(mImage);
  ReadOptions();
  if (EFI_ERROR(opened)) {
    FailWithStatus("the volume that TvqAgent was started from cannot be opened", opened,
                   "start TvqAgent from a FAT volume.");
  }
  if (HasRecords()) {
    AddLine(&mReport, "Start: the driver was started before; its records are shown as they are.");
  } else if (EnsureDriver() && PrepareTable()) {
    Start();
  }
  ShowResults();
  mPublication.Restore();
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
    AddLine(&mReport, "Options: '%a' is not known and ignored (accept, as-is, poweroff)",
            mOptions.Unknown);
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

bool Agent::EnsureDriver() {
  if (FindStartRequest() != nullptr) {
    return true;
  }
  if (FindPlatform() == nullptr && !LoadAndStart(tvq::Ucs2(TVQ_FILE(u"TvqPlatform.efi")))) {
    return false;
  }
  if (!LoadAndStart(tvq::Ucs2(TVQ_FILE(u"TVQSMBIOS.efi")))) {
    return false;
  }
  if (FindStartRequest() == nullptr) {
    Fail("the driver was loaded, but installed no start request", kCopyFiles);
    return false;
  }
  return true;
}

bool Agent::LoadAndStart(const CHAR16* path) {
  CHAR8 what[64];
  if (!mVolume.Exists(path)) {
    AsciiSPrint(what, sizeof(what), "%s is missing", path);
    Fail(what, kCopyFiles);
    return false;
  }
  const EFI_STATUS status = LoadAndStartImage(mVolume, path);
  if (EFI_ERROR(status) && status != EFI_ALREADY_STARTED) {
    AsciiSPrint(what, sizeof(what), "%s cannot be loaded", path);
    FailWithStatus(what, status,
                   status == EFI_SECURITY_VIOLATION || status == EFI_ACCESS_DENIED
                       ? "switch Secure Boot off, or sign the file."
                       : kCopyFiles);
    return false;
  }
  AddLine(&mReport, "Loaded %s", path);
  return true;
}

bool Agent::PrepareTable() {
  if (!ReadTable()) {
    return false;
  }
  if (!mOptions.AsIs) {
    ConformTable();
  }
  return PublishTable();
}

bool Agent::ReadTable() {
  const CHAR16* path = tvq::Ucs2(TVQ_FILE(u"table.bin"));
  const EFI_STATUS status = mVolume.Read(path, kMaximumTableFile, mTableFile);
  if (status == EFI_NOT_FOUND || status == EFI_NO_MEDIA) {
    if (!ReadFirmwareTable(mCapture)) {
      Fail("this firmware has no SMBIOS table",
           "put a captured table at \\TVQ\\table.bin, as dmidecode --dump-bin writes it.");
      return false;
    }
    ShowTable(mReport, mCapture, "the firmware");
    return true;
  }
  if (EFI_ERROR(status)) {
    FailWithStatus("\\TVQ\\table.bin cannot be read", status, kCheckVolume);
    return false;
  }
  ReadCapturedFile({mTableFile.Data(), mTableFile.Size()}, mCapture);
  if (mCapture.Error != CaptureError::kNone) {
    AddLine(&mReport, "\\TVQ\\table.bin is no SMBIOS table: %a.", CaptureErrorText(mCapture.Error));
    Fail("\\TVQ\\table.bin is no SMBIOS table",
         "replace it by what dmidecode --dump-bin writes, or remove it.");
    return false;
  }
  ShowTable(mReport, mCapture, "\\TVQ\\table.bin");
  return true;
}

/// A table that cannot be conformed is used as it stands, so that something can be shown.
void Agent::ConformTable() {
  const ConformResult result = mConformed.Conform(mCapture.Table.Structures);
  ShowChanges(mReport, result, mConformed);
  if (IsRefused(result)) {
    Fail("the table cannot be conformed",
         "this inventory is of the table as it stands; the option as-is asks for that.");
    return;
  }
  mIsChanged = result == ConformResult::kChanged;
  if (mIsChanged) {
    mCapture.Table.Structures = mConformed.Structures();
    mCapture.Table.StructureCount =
        static_cast<UINT16>(Summarize(mConformed.Structures()).StructureCount);
  }
}

bool Agent::PublishTable() {
  const bool isFirmwares = mTableFile.Empty();
  if (isFirmwares && !mIsChanged && mCapture.Kind == EntryPointKind::k32Bit) {
    return true;
  }
  const EFI_STATUS status = mPublication.Publish(mCapture.Table);
  if (EFI_ERROR(status)) {
    FailWithStatus("the table cannot be published below 4 GiB", status,
                   status == EFI_BAD_BUFFER_SIZE
                       ? "use a table of at most 65,535 bytes."
                       : "restart the machine and run TvqAgent before anything else.");
    return false;
  }
  AddLine(&mReport, "Published: %d structures, %d bytes, below 4 GiB behind a 32-bit entry point",
          static_cast<UINT32>(mCapture.Table.StructureCount),
          static_cast<UINT32>(mCapture.Table.Structures.Size()));
  return true;
}

bool Agent::Start() {
  const EFI_STATUS status = StartDriver();
  AddLine(&mReport, "Start: %r", status);
  if (EFI_ERROR(status)) {
    FailWithStatus("the driver's start failed", status,
                   status == EFI_NOT_FOUND && mOptions.AsIs
                       ? "run TvqAgent without as-is: the table has no usable type 225."
                       : "look at the last lines of \\TVQ\\log.txt.");
    return false;
  }
  return true;
}

void Agent::ShowResults() {
  Inventory inventory;
  const EFI_STATUS status = inventory.Collect();
  if (EFI_ERROR(status)) {
    FailWithStatus("the records cannot be collected", status,
                   "restart the machine and run TvqAgent before anything else.");
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
  if (inventory.Size() == 0 && !mFailed) {
    Fail("the driver made no record", "look at \\TVQ\\log.txt for what it reported.");
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
    FailWithStatus("the devices cannot be compared", status,
                   "restart the machine and run TvqAgent before anything else.");
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
