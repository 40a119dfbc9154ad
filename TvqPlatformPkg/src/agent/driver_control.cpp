/** @file
  Loads the driver, starts it, takes its records off and unloads it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "driver_control.h"

#include "attributes.h"
#include "clock.h"
#include "messages.h"
#include "records.h"
#include "start.h"

namespace tvqplatform {

namespace {

// A volume for machines of several architectures has the images of each in a folder of its own.
#if defined(MDE_CPU_AARCH64)
#define TVQ_ARCHITECTURE u"AARCH64"
#elif defined(MDE_CPU_RISCV64)
#define TVQ_ARCHITECTURE u"RISCV64"
#else
#define TVQ_ARCHITECTURE u"X64"
#endif

constexpr UINTN kImagePathSize = 48;

#define TVQ_FAMILY_VARIABLE "EFI_SMBIOS_PROCESSOR_FAMILY"

constexpr CHAR8 kCopyFiles[] =
    "copy TvqPlatform.efi and TVQSMBIOS.efi into the folder \\TVQ of the volume that TvqAgent "
    "was started from.";

constexpr CHAR8 kRefusedImage[] =
    "Secure Boot refuses this file: enroll its hash, or the key that it is signed with, in the "
    "firmware's "
    "setup; or sign it with a key that is enrolled there; or switch Secure Boot off.";

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

bool DriverControl::Ensure() {
  if (!EFI_ERROR(FindLoadedDriver().Status)) {
    return true;
  }
  if (FindPlatform() == nullptr && !Load(u"TvqPlatform.efi")) {
    return false;
  }
  if (!Load(u"TVQSMBIOS.efi")) {
    return false;
  }
  if (EFI_ERROR(FindLoadedDriver().Status)) {
    mReport.Fail("the driver was loaded, but installed no start request", kCopyFiles);
    return false;
  }
  return true;
}

bool DriverControl::Load(const char16_t* name) {
  CHAR8 what[64];
  CHAR16 path[kImagePathSize];
  UnicodeSPrint(path, sizeof(path), tvq::Ucs2(TVQ_FILE(TVQ_ARCHITECTURE u"\\%s")), tvq::Ucs2(name));
  if (!mVolume.Exists(path)) {
    UnicodeSPrint(path, sizeof(path), tvq::Ucs2(TVQ_FILE(u"%s")), tvq::Ucs2(name));
  }
  if (!mVolume.Exists(path)) {
    AsciiSPrint(what, sizeof(what), "%s is missing", path);
    mReport.Fail(what, kCopyFiles);
    return false;
  }
  const EFI_STATUS status = LoadAndStartImage(mVolume, path);
  if (EFI_ERROR(status) && status != EFI_ALREADY_STARTED) {
    AsciiSPrint(what, sizeof(what), "%s cannot be loaded", path);
    mReport.FailWithStatus(what, status,
                           status == EFI_SECURITY_VIOLATION || status == EFI_ACCESS_DENIED
                               ? kRefusedImage
                               : kCopyFiles);
    return false;
  }
  AddLine(&mReport, "Loaded %s", path);
  return true;
}

bool DriverControl::Start(bool asIs, bool keepVariable) {
  const FamilyVariable variable;
  const UINT64 before = ReadTicks();
  const EFI_STATUS status = StartDriver();
  const UINT64 ticks = ReadTicks() - before;
  CHAR8 milliseconds[kMillisecondsSize];
  FormatMilliseconds(TicksToMicroseconds(ticks, TicksPerSecond()), milliseconds);
  AddLine(&mReport, "Start: %r, in %a ms (%,ld ticks of the processor's clock)", status,
          milliseconds, ticks);
  if (!keepVariable) {
    PutBack(variable);
  }
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the driver's start failed", status,
                           status == EFI_NOT_FOUND && asIs
                               ? "run TvqAgent without as-is: the table has no usable type 225."
                               : "look at the last lines of \\TVQ\\log.txt.");
  }
  return !EFI_ERROR(status);
}

void DriverControl::PutBack(const FamilyVariable& variable) {
  bool isChanged;
  const EFI_STATUS status = variable.PutBack(isChanged);
  if (EFI_ERROR(status)) {
    AddLine(&mReport, "Variable: " TVQ_FAMILY_VARIABLE " stays as the start left it (%r)", status);
    AddLine(&mReport, "  What to do: nothing; the next start writes the same.");
  } else if (isChanged) {
    AddLine(&mReport, "Variable: " TVQ_FAMILY_VARIABLE " is as before the start again");
  }
}

bool DriverControl::TakeOff() {
  const TakenOff result = TakeOffRecords();
  AddLine(&mReport, "Stop: %d records taken off", static_cast<UINT32>(result.Count));
  if (result.Kept != 0) {
    AddLine(&mReport, "Stop: %d records kept, because somebody uses them",
            static_cast<UINT32>(result.Kept));
  }
  if (EFI_ERROR(result.Status)) {
    mReport.FailWithStatus("not all records can be taken off", result.Status, kRestart);
    return false;
  }
  return true;
}

void DriverControl::Unload() {
  const EFI_STATUS status = UnloadDriver();
  AddLine(&mReport, "Unload: %r", status);
  if (EFI_ERROR(status)) {
    mReport.FailWithStatus("the driver cannot be unloaded", status,
                           "unload it only after a start that ended with success.");
  }
}

}  // namespace tvqplatform
