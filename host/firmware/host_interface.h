/*
 * What the joined images and the host library know of each other. Included by C code inside an
 * image and by the C++ library around it, so it holds only C.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_HOST_INTERFACE_H_
#define TVQ_HOST_FIRMWARE_HOST_INTERFACE_H_

#ifdef __cplusplus
extern "C" {
#endif

#include <Uefi.h>

// A PCD that is a variable; the table ends with a NULL name.
typedef struct {
  const CHAR8* Name;
  VOID* Value;
  UINTN Size;
} TVQ_HOST_PCD;

// What an image tells the host about itself; the generated AutoGen.c of each image defines one.
typedef struct TvqHostImage {
  const CHAR8* Name;
  BOOLEAN IsApplication;
  EFI_GUID FileGuid;
  EFI_IMAGE_ENTRY_POINT EntryPoint;
  VOID(EFIAPI* Construct)(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable);
  // What DebugAssertEnabled() of the image returns.
  BOOLEAN* AssertionsEnabled;
  CHAR8* CodeStart;
  CHAR8* CodeEnd;
  CHAR8* DataStart;
  CHAR8* DataEnd;
  const TVQ_HOST_PCD* Pcds;
} TVQ_HOST_IMAGE;

// What the core offers to the host besides the services.
typedef struct {
  const TVQ_HOST_IMAGE* Image;
  // Fills in the boot services that the DXE core implements itself and starts its event services.
  VOID (*Start)(EFI_SYSTEM_TABLE* SystemTable);
  EFI_HANDLE (*ImageHandle)(VOID);
  VOID (*TimerTick)(UINT64 HundredNanoseconds);
  EFI_TPL (*CurrentTpl)(VOID);
  UINT64 (*HandleDatabaseKey)(VOID);
  VOID (*ConnectHandlesByKey)(UINT64 Key);
  // EFI_SUCCESS if the handle is in the database.
  EFI_STATUS (*ValidateHandle)(EFI_HANDLE Handle);
  UINT32 (*Crc32)(VOID* Data, UINTN Size);
  VOID (*AcquireMemoryLock)(VOID);
  VOID (*ReleaseMemoryLock)(VOID);
} TVQ_HOST_CORE;

extern const TVQ_HOST_CORE gTvqHostCore;

// Memory for the core's own use.
EFI_STATUS TvqHostAllocatePool(EFI_MEMORY_TYPE Type, UINTN Size, VOID** Buffer);
EFI_STATUS TvqHostFreePool(VOID* Buffer);
EFI_STATUS TvqHostAllocatePages(EFI_ALLOCATE_TYPE Type, EFI_MEMORY_TYPE MemoryType, UINTN Pages,
                                EFI_PHYSICAL_ADDRESS* Memory);
EFI_STATUS TvqHostFreePages(EFI_PHYSICAL_ADDRESS Memory, UINTN Pages);

// Whether it is a live block of the pool. The plain firmware alone knows.
BOOLEAN TvqHostIsBlock(const VOID* Buffer);

// The core has changed the configuration table or its length: every image's system table is to
// follow.
VOID TvqHostSystemTableChanged(const EFI_SYSTEM_TABLE* SystemTable);

// DebugLib.
VOID TvqHostAssert(const CHAR8* Image, const CHAR8* File, UINTN Line, const CHAR8* Text);
// Whether debug lines of one of these levels are kept.
BOOLEAN TvqHostDebugOutputKept(UINTN Levels);
VOID TvqHostDebugOutput(const CHAR8* Text);

#ifdef __cplusplus
}
#endif

#endif  // TVQ_HOST_FIRMWARE_HOST_INTERFACE_H_
