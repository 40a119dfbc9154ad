/** @file
  Entry point, deferred start and unloading.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "entry.h"

extern "C" {
#include <Protocol/LoadedImage.h>
}

#include <Guid/TvqAttributes.h>
#include <Library/ZorvLib.h>
#include <Protocol/TvqPlatformPresence.h>
#include <Protocol/TvqStartRequest.h>

#include "../common/builders.h"
#include "../log.h"
#include "../smbios/access.h"
#include "../smbios/attributes.h"
#include "../smbios/fqdd.h"
#include "../smbios/table_index.h"
#include "tvq.h"

namespace tvq {

EFI_HANDLE gTvqImageHandle;

namespace {

VOID* LocateProtocolOrNull(EFI_GUID* protocol, EFI_STATUS* status) {
  VOID* interface = nullptr;
  *status = gBS->LocateProtocol(protocol, nullptr, &interface);
  return EFI_ERROR(*status) ? nullptr : interface;
}

/// Registers the attribute namespaces. Deliberate: the server namespace may fail. Its attributes are
/// then not answered, and nothing else depends on them.
[[nodiscard]] EFI_STATUS RegisterAttributes() {
  VOID* token;
  const auto add = gZV->Services->RegisterAttribute;
  (void)add(&token, Ucs2(TVQ_NAMESPACE_SERVER), ServerAttributeGet, ServerAttributeSet);
  const EFI_STATUS status = add(&token, Ucs2(TVQ_NAMESPACE_PCI), PciAttributeGet, PciAttributeSet);
  if (EFI_ERROR(status)) {
    return status;
  }
  return add(&token, Ucs2(TVQ_NAMESPACE_BIOS), BiosAttributeGet, BiosAttributeSet);
}

/// Arms the notification for a debug log that appears later, and runs it once. UefiLib's routine
/// for this only asserts when the event cannot be had, and then goes on with it.
void AwaitDebugLog() {
  EFI_EVENT event;
  VOID* registration;
  if (EFI_ERROR(
          gBS->CreateEvent(EVT_NOTIFY_SIGNAL, TPL_CALLBACK, DebugLogNotify, nullptr, &event))) {
    return;
  }
  if (EFI_ERROR(gBS->RegisterProtocolNotify(&gDebugLogProtocolGuid, event, &registration))) {
    (void)gBS->CloseEvent(event);
    return;
  }
  (void)gBS->SignalEvent(event);
}

void BindDebugLog() {
  EFI_STATUS status;
  gDebugLog =
      static_cast<DEBUG_LOG_PROTOCOL*>(LocateProtocolOrNull(&gDebugLogProtocolGuid, &status));
  if (EFI_ERROR(status)) {
    AwaitDebugLog();
  }
}

/// Makes the image unloadable.
[[nodiscard]] EFI_STATUS SetUnloadHandler() {
  EFI_LOADED_IMAGE_PROTOCOL* loadedImage = nullptr;
  const EFI_STATUS status = gBS->OpenProtocol(
      gTvqImageHandle, &gEfiLoadedImageProtocolGuid, reinterpret_cast<VOID**>(&loadedImage),
      gTvqImageHandle, gTvqImageHandle, EFI_OPEN_PROTOCOL_GET_PROTOCOL);
  if (EFI_ERROR(status)) {
    // Deliberate: the text tells of an uninstall, although none follows.
    Logger("SMBIOSInit")(" before UninstallMultipleProtocolInterfaces, status %r \n", status);
    return status;
  }
  loadedImage->Unload = DriverUnload;
  return EFI_SUCCESS;
}

void ReleaseRecord(EFI_HANDLE handle) {
  smTVQ* record = nullptr;
  VOID* entry = nullptr;
  (void)gBS->CloseProtocol(handle, &gTvqRecordGuid, gTvqImageHandle, handle);
  (void)gBS->HandleProtocol(handle, &gTvqRecordGuid, reinterpret_cast<VOID**>(&record));
  (void)gBS->HandleProtocol(handle, &gZvEntryProtocolGuid, &entry);
  if (record != nullptr) {
    // Deliberate: the address of the local variable is no interface of the handle, so the firmware
    // refuses the whole call and all three interfaces stay.
    (void)gBS->UninstallMultipleProtocolInterfaces(
        handle, &gTvqInventoryProtocolGuid, InventoryOf(record), &gZvEntryProtocolGuid, &entry,
        &gEfiDevicePathProtocolGuid, record->DevicePath, nullptr);
  }
}

}  // namespace

EFI_STATUS EFIAPI SMBIOSInit(VOID*) {
  EFI_STATUS status = LocateSmbiosTable();
  if (EFI_ERROR(status)) {
    return status;
  }
  const TableIndex index;
  status = BuildFqddMap();
  if (EFI_ERROR(status)) {
    return status;
  }
  status = RegisterAttributes();
  if (EFI_ERROR(status)) {
    return status;
  }
  BindDebugLog();
  (void)LocateProtocolOrNull(&gTvqPrerequisiteProtocolGuid, &status);
  if (EFI_ERROR(status)) {
    return status;
  }
  BuildAllRecords();
  return SetUnloadHandler();
}

void BuildAllRecords() {
  (void)MakeCPUs();
  (void)MakeDIMMs();
  (void)MakeSYSTEM();
  UINT64 value = 0;  // Deliberate: it is stored also when the getter fails.
  (void)BiosAttributeGet(Ucs2(TVQ_NAMESPACE_BIOS), Ucs2(TVQ_ATTRIBUTE_BIOS_INFO), &value);
  (void)gZV->Services->SetAttributeValue(Ucs2(TVQ_NAMESPACE_BIOS), Ucs2(TVQ_ATTRIBUTE_BIOS_INFO),
                                         value);
}

VOID EFIAPI DebugLogNotify(EFI_EVENT, VOID*) {
  (void)gBS->LocateProtocol(&gDebugLogProtocolGuid, nullptr, reinterpret_cast<VOID**>(&gDebugLog));
}

EFI_STATUS EFIAPI DriverUnload(EFI_HANDLE) {
  UINTN count = 0;
  EFI_HANDLE* handles = nullptr;
  const EFI_STATUS status =
      gBS->LocateHandleBuffer(ByProtocol, &gTvqRecordGuid, nullptr, &count, &handles);
  if (EFI_ERROR(status)) {
    return status;
  }
  for (UINTN i = 0; i < count; i++) {
    ReleaseRecord(handles[i]);
  }
  if (handles != nullptr) {
    (void)gBS->FreePool(handles);
  }
  (void)ReleaseSmbiosState();
  return status;
}

}  // namespace tvq

extern "C" EFI_STATUS EFIAPI DriverEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable) {
  tvq::gTvqImageHandle = ImageHandle;
  const EFI_STATUS status = ZorvLibInitialize(ImageHandle, SystemTable);
  if (EFI_ERROR(status)) {
    return status;
  }
  auto* request = static_cast<TVQ_START_REQUEST*>(ZvAllocateZero(sizeof(TVQ_START_REQUEST)));
  if (request == nullptr) {
    return EFI_OUT_OF_RESOURCES;
  }
  request->StartCode = TVQ_START_CODE;
  request->Start = tvq::SMBIOSInit;
  return gBS->InstallMultipleProtocolInterfaces(&ImageHandle, &gTvqStartRequestProtocolGuid,
                                                request, nullptr);
}
