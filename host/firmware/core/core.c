/*
 * Holds EDK II's DXE core together on the host: the globals of its main file, the memory functions
 * it calls, and the table of the services that it implements.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "DxeMain.h"
#include "Hand/Handle.h"

#include "host/firmware/host_interface.h"

// EDK II's DxeMain.c and the protocol notify of the dispatcher define these; none of the
// architectural protocols is there on the host.
EFI_SYSTEM_TABLE* gDxeCoreST = NULL;
EFI_HANDLE gDxeCoreImageHandle = NULL;
EFI_CPU_ARCH_PROTOCOL* gCpu = NULL;
EFI_SMM_BASE2_PROTOCOL* gSmmBase2 = NULL;
EFI_SECURITY2_ARCH_PROTOCOL* gSecurity2 = NULL;

static EFI_STATUS EFIAPI GetTimerPeriod(IN EFI_TIMER_ARCH_PROTOCOL* This, OUT UINT64* TimerPeriod) {
  (VOID) This;
  *TimerPeriod = 100000;  // 10 ms, the tick of most platforms
  return EFI_SUCCESS;
}

static EFI_TIMER_ARCH_PROTOCOL mTimer = {NULL, NULL, GetTimerPeriod, NULL};
EFI_TIMER_ARCH_PROTOCOL* gTimer = &mTimer;

static EFI_RUNTIME_ARCH_PROTOCOL mRuntime = {
    .ImageHead = INITIALIZE_LIST_HEAD_VARIABLE(mRuntime.ImageHead),
    .EventHead = INITIALIZE_LIST_HEAD_VARIABLE(mRuntime.EventHead),
};
EFI_RUNTIME_ARCH_PROTOCOL* gRuntime = &mRuntime;

// The real pool takes a lock of this priority, which is how a call from a higher one is found out.
static EFI_LOCK mMemoryLock = EFI_INITIALIZE_LOCK_VARIABLE(TPL_NOTIFY);

EFI_STATUS EFIAPI CoreAllocatePool(IN EFI_MEMORY_TYPE PoolType, IN UINTN Size, OUT VOID** Buffer) {
  return TvqHostAllocatePool(PoolType, Size, Buffer);
}

EFI_STATUS EFIAPI CoreFreePool(IN VOID* Buffer) {
  return TvqHostFreePool(Buffer);
}

EFI_STATUS EFIAPI CoreAllocatePages(IN EFI_ALLOCATE_TYPE Type, IN EFI_MEMORY_TYPE MemoryType,
                                    IN UINTN NumberOfPages, IN OUT EFI_PHYSICAL_ADDRESS* Memory) {
  return TvqHostAllocatePages(Type, MemoryType, NumberOfPages, Memory);
}

EFI_STATUS EFIAPI CoreFreePages(IN EFI_PHYSICAL_ADDRESS Memory, IN UINTN NumberOfPages) {
  return TvqHostFreePages(Memory, NumberOfPages);
}

// The core fixes the checksum after each change of the configuration table and before it signals
// the change.
VOID CalculateEfiHdrCrc(IN OUT EFI_TABLE_HEADER* Hdr) {
  Hdr->CRC32 = 0;
  Hdr->CRC32 = CalculateCrc32(Hdr, Hdr->HeaderSize);
  if (Hdr == &gDxeCoreST->Hdr) {
    TvqHostSystemTableChanged(gDxeCoreST);
  }
}

static VOID EFIAPI CopyMemory(IN VOID* Destination, IN VOID* Source, IN UINTN Length) {
  CopyMem(Destination, Source, Length);
}

static VOID EFIAPI SetMemory(IN VOID* Buffer, IN UINTN Size, IN UINT8 Value) {
  SetMem(Buffer, Size, Value);
}

static VOID FillBootServices(OUT EFI_BOOT_SERVICES* Services) {
  Services->RaiseTPL = CoreRaiseTpl;
  Services->RestoreTPL = CoreRestoreTpl;
  Services->CreateEvent = CoreCreateEvent;
  Services->SetTimer = CoreSetTimer;
  Services->WaitForEvent = CoreWaitForEvent;
  Services->SignalEvent = CoreSignalEvent;
  Services->CloseEvent = CoreCloseEvent;
  Services->CheckEvent = CoreCheckEvent;
  Services->CreateEventEx = CoreCreateEventEx;
  Services->InstallProtocolInterface = CoreInstallProtocolInterface;
  Services->ReinstallProtocolInterface = CoreReinstallProtocolInterface;
  Services->UninstallProtocolInterface = CoreUninstallProtocolInterface;
  Services->InstallMultipleProtocolInterfaces = CoreInstallMultipleProtocolInterfaces;
  Services->UninstallMultipleProtocolInterfaces = CoreUninstallMultipleProtocolInterfaces;
  Services->HandleProtocol = CoreHandleProtocol;
  Services->OpenProtocol = CoreOpenProtocol;
  Services->CloseProtocol = CoreCloseProtocol;
  Services->OpenProtocolInformation = CoreOpenProtocolInformation;
  Services->RegisterProtocolNotify = CoreRegisterProtocolNotify;
  Services->ProtocolsPerHandle = CoreProtocolsPerHandle;
  Services->LocateHandle = CoreLocateHandle;
  Services->LocateHandleBuffer = CoreLocateHandleBuffer;
  Services->LocateProtocol = CoreLocateProtocol;
  Services->LocateDevicePath = CoreLocateDevicePath;
  Services->ConnectController = CoreConnectController;
  Services->DisconnectController = CoreDisconnectController;
  Services->InstallConfigurationTable = CoreInstallConfigurationTable;
  Services->CopyMem = CopyMemory;
  Services->SetMem = SetMemory;
}

// The core is an image too: the parent of those that it loads.
static EFI_LOADED_IMAGE_PROTOCOL mCoreImage = {
    .Revision = EFI_LOADED_IMAGE_PROTOCOL_REVISION,
    .ImageCodeType = EfiBootServicesCode,
    .ImageDataType = EfiBootServicesData,
};

static VOID Start(EFI_SYSTEM_TABLE* SystemTable) {
  gDxeCoreST = SystemTable;
  FillBootServices(SystemTable->BootServices);
#ifdef TVQ_CORE_HAS_HANDLE_SERVICES
  CoreInitializeHandleServices();
#endif
  mCoreImage.SystemTable = SystemTable;
  CoreInstallProtocolInterface(&gDxeCoreImageHandle, &gEfiLoadedImageProtocolGuid,
                               EFI_NATIVE_INTERFACE, &mCoreImage);
  gTvqHostCore.Image->Construct(gDxeCoreImageHandle, SystemTable);
  CoreInitializeEventServices();
}

static EFI_HANDLE ImageHandle(VOID) {
  return gDxeCoreImageHandle;
}

static VOID TimerTick(UINT64 HundredNanoseconds) {
  CoreTimerTick(HundredNanoseconds);
}

static EFI_TPL CurrentTpl(VOID) {
  return gEfiCurrentTpl;
}

static UINT64 HandleDatabaseKey(VOID) {
  return CoreGetHandleDatabaseKey();
}

static VOID ConnectHandlesByKey(UINT64 Key) {
  CoreConnectHandlesByKey(Key);
}

static EFI_STATUS ValidateHandle(EFI_HANDLE Handle) {
  EFI_STATUS Status;

  CoreAcquireProtocolLock();
  Status = CoreValidateHandle(Handle);
  CoreReleaseProtocolLock();
  return Status;
}

static UINT32 Crc32(VOID* Data, UINTN Size) {
  return CalculateCrc32(Data, Size);
}

static VOID AcquireMemoryLock(VOID) {
  CoreAcquireLock(&mMemoryLock);
}

static VOID ReleaseMemoryLock(VOID) {
  CoreReleaseLock(&mMemoryLock);
}

extern const TVQ_HOST_IMAGE gTvqHostImage_core;

const TVQ_HOST_CORE gTvqHostCore = {
    .Image = &gTvqHostImage_core,
    .Start = Start,
    .ImageHandle = ImageHandle,
    .TimerTick = TimerTick,
    .CurrentTpl = CurrentTpl,
    .HandleDatabaseKey = HandleDatabaseKey,
    .ConnectHandlesByKey = ConnectHandlesByKey,
    .ValidateHandle = ValidateHandle,
    .Crc32 = Crc32,
    .AcquireMemoryLock = AcquireMemoryLock,
    .ReleaseMemoryLock = ReleaseMemoryLock,
};
