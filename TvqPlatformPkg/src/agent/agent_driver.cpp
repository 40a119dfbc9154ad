/** @file
  The agent's part that drives the driver: loads it, publishes the table, starts, stops and unloads.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "../smbios/firmware_table.h"
#include "agent.h"
#include "attributes.h"
#include "clock.h"
#include "messages.h"
#include "records.h"
#include "show.h"
#include "start.h"

namespace tvqplatform {

namespace {

/// Far more than a 32-bit entry point can state, so that the table itself is judged.
constexpr UINTN kMaximumTableFile = SIZE_1MB;

constexpr CHAR8 kCopyFiles[] =
    "copy TvqPlatform.efi and TVQSMBIOS.efi into the folder \\TVQ of the volume that TvqAgent "
    "was started from.";

/// Loads an image from a file and runs it. A driver stays; EFI_ALREADY_STARTED is its business.
[[nodiscard]] EFI_STATUS LoadAndStartImage(const Volume& volume, const CHAR16* path) {
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
      (void)gBS->UnloadImage(image);
    }
    return status;
  }
  return gBS->StartImage(image, nullptr, nullptr);
}

}  // namespace

void Agent::Begin() {
  if (HasRecords() && !mOptions.Again) {
    AddLine(&mReport, "Start: the driver was started before; its records are shown as they are.");
  } else if (EnsureDriver() && PrepareTable()) {
    Start();
  }
}

/// The records come first: unloading the driver leaves them behind, and then nobody may ask them.
void Agent::End() {
  if (mOptions.Stop && !TakeOff()) {
    return;
  }
  if (mOptions.Unload) {
    const EFI_STATUS status = UnloadDriver();
    AddLine(&mReport, "Unload: %r", status);
    if (EFI_ERROR(status)) {
      FailWithStatus("the driver cannot be unloaded", status,
                     "unload it only after a start that ended with success.");
    }
  }
}

bool Agent::TakeOff() {
  const TakenOff result = TakeOffRecords();
  AddLine(&mReport, "Stop: %d records taken off", static_cast<UINT32>(result.Count));
  if (result.Kept != 0) {
    AddLine(&mReport, "Stop: %d records kept, because somebody uses them",
            static_cast<UINT32>(result.Kept));
  }
  if (EFI_ERROR(result.Status)) {
    FailWithStatus("not all records can be taken off", result.Status, kRestart);
    return false;
  }
  return true;
}

bool Agent::EnsureDriver() {
  if (!EFI_ERROR(FindLoadedDriver().Status)) {
    return true;
  }
  if (FindPlatform() == nullptr && !LoadAndStart(tvq::Ucs2(TVQ_FILE(u"TvqPlatform.efi")))) {
    return false;
  }
  if (!LoadAndStart(tvq::Ucs2(TVQ_FILE(u"TVQSMBIOS.efi")))) {
    return false;
  }
  if (EFI_ERROR(FindLoadedDriver().Status)) {
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
        static_cast<UINT16>(smbios::Summarize(mConformed.Structures()).Count);
  }
}

bool Agent::PublishTable() {
  const bool isFirmwares = mTableFile.Empty();
  if (isFirmwares && !mIsChanged && mCapture.Kind == smbios::EntryPointKind::k32Bit) {
    return true;
  }
  const EFI_STATUS status = mPublication.Publish(mCapture.Table);
  if (EFI_ERROR(status)) {
    FailWithStatus(
        "the table cannot be published below 4 GiB", status,
        status == EFI_BAD_BUFFER_SIZE ? "use a table of at most 65,535 bytes." : kRestart);
    return false;
  }
  AddLine(&mReport, "Published: %d structures, %d bytes, below 4 GiB behind a 32-bit entry point",
          static_cast<UINT32>(mCapture.Table.StructureCount),
          static_cast<UINT32>(mCapture.Table.Structures.Size()));
  return true;
}

void Agent::Start() {
  const UINT64 before = ReadTicks();
  const EFI_STATUS status = StartDriver();
  const UINT64 ticks = ReadTicks() - before;
  const UINT64 microseconds = TicksToMicroseconds(ticks, TicksPerSecond());
  AddLine(&mReport, "Start: %r, in %ld.%03d ms (%,ld ticks of the processor's clock)", status,
          microseconds / 1000, static_cast<UINT32>(microseconds % 1000), ticks);
  if (EFI_ERROR(status)) {
    FailWithStatus("the driver's start failed", status,
                   status == EFI_NOT_FOUND && mOptions.AsIs
                       ? "run TvqAgent without as-is: the table has no usable type 225."
                       : "look at the last lines of \\TVQ\\log.txt.");
  }
}

}  // namespace tvqplatform
