/*
 * The machine: fresh images, and the tables of services that the DXE core and this library provide.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/firmware_state.h"

#include "host/firmware/host_interface.h"
#include "host/firmware/image_registry.h"

namespace tvq::host {
namespace {

FirmwareState* gState = nullptr;
char16_t gVendor[] = u"Firmware on Linux";

// The services that are not the DXE core's: memory, which the caller owns, images, time and
// variables.

EFI_STATUS EFIAPI AllocatePool(EFI_MEMORY_TYPE type, UINTN size, VOID** buffer) {
  FirmwareState& state = FirmwareState::Current();
  return state.GetMemory().Allocate(state.Services().Caller(), type, size, buffer);
}

EFI_STATUS EFIAPI FreePool(VOID* buffer) {
  return FirmwareState::Current().GetMemory().Free(buffer);
}

EFI_STATUS EFIAPI AllocatePages(EFI_ALLOCATE_TYPE how, EFI_MEMORY_TYPE type, UINTN pages,
                                EFI_PHYSICAL_ADDRESS* memory) {
  FirmwareState& state = FirmwareState::Current();
  return state.GetMemory().AllocatePages(state.Services().Caller(), how, type, pages, memory);
}

EFI_STATUS EFIAPI FreePages(EFI_PHYSICAL_ADDRESS memory, UINTN pages) {
  return FirmwareState::Current().GetMemory().FreePages(memory, pages);
}

EFI_STATUS EFIAPI StartImage(EFI_HANDLE image, UINTN* exitDataSize, CHAR16** exitData) {
  if (exitData != nullptr && exitDataSize != nullptr) {
    *exitDataSize = 0;
    *exitData = nullptr;
  }
  return FirmwareState::Current().images.Start(image);
}

EFI_STATUS EFIAPI UnloadImage(EFI_HANDLE image) {
  return FirmwareState::Current().images.Unload(image);
}

EFI_STATUS EFIAPI Stall(UINTN microseconds) {
  gTvqHostCore.TimerTick(UINT64{microseconds} * 10);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI SetWatchdogTimer(UINTN, UINT64, UINTN, CHAR16*) {
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetNextMonotonicCount(UINT64* count) {
  if (count == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *count = ++FirmwareState::Current().monotonicCount;
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI CalculateCrc32(VOID* data, UINTN size, UINT32* crc) {
  if (data == nullptr || size == 0 || crc == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *crc = gTvqHostCore.Crc32(data, size);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetVariable(CHAR16* name, EFI_GUID* vendor, UINT32* attributes, UINTN* size,
                              VOID* data) {
  return FirmwareState::Current().variables.Get(name, vendor, attributes, size, data);
}

EFI_STATUS EFIAPI GetNextVariableName(UINTN* size, CHAR16* name, EFI_GUID* vendor) {
  return FirmwareState::Current().variables.GetNextName(size, name, vendor);
}

EFI_STATUS EFIAPI SetVariable(CHAR16* name, EFI_GUID* vendor, UINT32 attributes, UINTN size,
                              VOID* data) {
  return FirmwareState::Current().variables.Set(name, vendor, attributes, size, data);
}

EFI_STATUS EFIAPI QueryVariableInfo(UINT32 attributes, UINT64* storage, UINT64* remaining,
                                    UINT64* largest) {
  return FirmwareState::Current().variables.QueryInfo(attributes, storage, remaining, largest);
}

EFI_STATUS EFIAPI GetTime(EFI_TIME* time, EFI_TIME_CAPABILITIES*) {
  if (time == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  *time = FirmwareState::Current().time;
  return EFI_SUCCESS;
}

VOID EFIAPI ResetSystem(EFI_RESET_TYPE, EFI_STATUS, UINTN, VOID*) {
  FirmwareState::Current().reports.AddMisuse(
      "ResetSystem was called, which this machine does not have");
}

// Three services of the core return a buffer that the caller is to free: it becomes the caller's
// own.

void HandOver(const void* buffer) {
  FirmwareState& state = FirmwareState::Current();
  state.GetMemory().GiveTo(state.Services().Caller(), buffer);
}

EFI_STATUS EFIAPI LocateHandleBuffer(EFI_LOCATE_SEARCH_TYPE type, EFI_GUID* protocol, VOID* key,
                                     UINTN* count, EFI_HANDLE** buffer) {
  const EFI_STATUS status =
      FirmwareState::Current().coreServices.LocateHandleBuffer(type, protocol, key, count, buffer);
  if (!EFI_ERROR(status)) {
    HandOver(*buffer);
  }
  return status;
}

EFI_STATUS EFIAPI ProtocolsPerHandle(EFI_HANDLE handle, EFI_GUID*** protocols, UINTN* count) {
  const EFI_STATUS status =
      FirmwareState::Current().coreServices.ProtocolsPerHandle(handle, protocols, count);
  if (!EFI_ERROR(status)) {
    HandOver(*protocols);
  }
  return status;
}

EFI_STATUS EFIAPI OpenProtocolInformation(EFI_HANDLE handle, EFI_GUID* protocol,
                                          EFI_OPEN_PROTOCOL_INFORMATION_ENTRY** entries,
                                          UINTN* count) {
  const EFI_STATUS status = FirmwareState::Current().coreServices.OpenProtocolInformation(
      handle, protocol, entries, count);
  if (!EFI_ERROR(status)) {
    HandOver(*entries);
  }
  return status;
}

EFI_TABLE_HEADER Header(UINT64 signature, size_t size) {
  return {signature, EFI_SYSTEM_TABLE_REVISION, static_cast<UINT32>(size), 0, 0};
}

}  // namespace

FirmwareState& FirmwareState::Current() {
  if (gState == nullptr) {
    Die("code of an image needs a Firmware, and none exists");
  }
  return *gState;
}

FirmwareState* FirmwareState::CurrentOrNull() {
  return gState;
}

FirmwareState::FirmwareState()
    : images(*this), mMemory(MakeMemory(*this)), mServices(MakeServiceTables()) {
  if (gState != nullptr) {
    Die("a second Firmware was made while one exists; there is only one DXE core");
  }
  gState = this;
  RestoreImages();
  MakeTables();
}

FirmwareState::~FirmwareState() {
  if (gTvqHostCore.CurrentTpl() != TPL_APPLICATION) {
    reports.AddMisuse("the task priority level was left raised");
  }
  GetMemory().CheckForOverruns();
  reports.ReportUntaken();
  // Nobody finds pointers to this machine in an image.
  RestoreImages();
  gState = nullptr;
}

void FirmwareState::RestoreImages() {
  CoreImage().RestoreData();
  for (const Image* image : LinkedImages()) {
    image->RestoreData();
  }
}

void FirmwareState::MakeTables() {
  systemTable.Hdr = Header(EFI_SYSTEM_TABLE_SIGNATURE, sizeof(systemTable));
  systemTable.FirmwareVendor = reinterpret_cast<CHAR16*>(gVendor);
  systemTable.ConOut = console.Protocol();
  systemTable.StdErr = console.Protocol();
  systemTable.BootServices = &bootServices;
  systemTable.RuntimeServices = &runtimeServices;

  bootServices.Hdr = Header(EFI_BOOT_SERVICES_SIGNATURE, sizeof(bootServices));
  bootServices.AllocatePool = AllocatePool;
  bootServices.FreePool = FreePool;
  bootServices.AllocatePages = AllocatePages;
  bootServices.FreePages = FreePages;
  bootServices.StartImage = StartImage;
  bootServices.UnloadImage = UnloadImage;
  bootServices.Stall = Stall;
  bootServices.SetWatchdogTimer = SetWatchdogTimer;
  bootServices.GetNextMonotonicCount = GetNextMonotonicCount;
  bootServices.CalculateCrc32 = CalculateCrc32;

  runtimeServices.Hdr = Header(EFI_RUNTIME_SERVICES_SIGNATURE, sizeof(runtimeServices));
  runtimeServices.GetTime = GetTime;
  runtimeServices.GetVariable = GetVariable;
  runtimeServices.GetNextVariableName = GetNextVariableName;
  runtimeServices.SetVariable = SetVariable;
  runtimeServices.QueryVariableInfo = QueryVariableInfo;
  runtimeServices.ResetSystem = ResetSystem;

  gTvqHostCore.Start(&systemTable);
  coreServices = bootServices;
  bootServices.LocateHandleBuffer = LocateHandleBuffer;
  bootServices.ProtocolsPerHandle = ProtocolsPerHandle;
  bootServices.OpenProtocolInformation = OpenProtocolInformation;
  mServices->Make(*this);
}

}  // namespace tvq::host
