/*
 * A fresh machine with the reference platform, on which the driver was started on a table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/fuzz/started_driver.h"

#include <string>
#include <utility>

#include "images/driver.h"
#include "images/platform.h"
#include "tests/fuzz/debug_log.h"

#include <Protocol/TvqStartRequest.h>

namespace tvq::fuzz {
namespace {

void Load(host::Firmware& firmware, const host::Image& image) {
  Expect(firmware.StartImage(firmware.LoadImage(image)) == EFI_SUCCESS,
         "the image " + image.Name() + " cannot be started");
}

}  // namespace

StartedDriver::StartedDriver(Table table, host::Guard guard, DeviceSet* verified)
    : mTable(std::move(table), guard), mStatus(Start()), mOperations(mFirmware, verified) {
  mRecords = mOperations.FindRecords();
}

EFI_STATUS StartedDriver::Start() {
  mFirmware.Memory().KeepCallSites(false);
  // A slot query that firmware would never return from ends here, too.
  mFirmware.SetPcd(host::images::driver, "PcdTvqBoundedWalks", 1);
  Load(mFirmware, host::images::platform);
  ReplaceDebugLog(mFirmware);
  Load(mFirmware, host::images::driver);
  mFirmware.BootServices()->InstallConfigurationTable(&gEfiSmbiosTableGuid, mTable.EntryPoint());
  return RequestStart();
}

EFI_STATUS StartedDriver::RequestStart() {
  VOID* request = nullptr;
  mFirmware.BootServices()->LocateProtocol(&gTvqStartRequestProtocolGuid, nullptr, &request);
  return static_cast<TVQ_START_REQUEST*>(request)->Start(nullptr);
}

void StartedDriver::StartAgain() {
  Expect(RequestStart() == mStatus, "a second start ends with another status");
  Expect(mOperations.FindRecords().size() == mRecords.size(),
         "a second start publishes another number of records");
}

void StartedDriver::Unload() {
  EFI_LOADED_IMAGE_PROTOCOL* image = nullptr;
  const EFI_HANDLE handle = mFirmware.HandleOf(host::images::driver);
  mFirmware.BootServices()->HandleProtocol(handle, &gEfiLoadedImageProtocolGuid,
                                           reinterpret_cast<VOID**>(&image));
  EFI_STATUS expected = EFI_UNSUPPORTED;
  if (image->Unload != nullptr) {
    // The handler ends early where it finds no record.
    expected = mRecords.empty() ? EFI_NOT_FOUND : EFI_SUCCESS;
  }
  Expect(mFirmware.UnloadImage(handle) == expected, "unloading ends with another status");
}

void StartedDriver::ExpectNoComplaints() const {
  for (const host::Assertion& assertion : mFirmware.Assertions()) {
    Expect(false, "assertion in " + assertion.file + ": " + assertion.text);
  }
  for (const host::Misuse& misuse : mFirmware.Misuses()) {
    Expect(false, misuse.what);
  }
  Expect(mTable.IsAsItWas(), "the table was written to");
}

}  // namespace tvq::fuzz
