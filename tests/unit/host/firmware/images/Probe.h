/*
 * A driver for the tests of the firmware library: it does what a test tells it to.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_PROBE_H_
#define TVQ_TESTS_PROBE_H_

extern "C" {
#include <Uefi.h>
}

constexpr UINTN kProbeInitialCounter = 7;
constexpr UINT32 kProbeSignature = 0x45425250;

struct ProbeRecord {
  UINT32 Signature;  // the name that the macro CR asks for
  LIST_ENTRY link;
};

// Starts at kProbeInitialCounter whenever the image is loaded; ProbeEntry adds one.
extern UINTN gProbeCounter;
// Zero whenever the image is loaded.
extern UINTN gProbeMark;
// What the entry point and the unload handler return.
extern EFI_STATUS gProbeEntryStatus;
extern EFI_STATUS gProbeUnloadStatus;
// Whether the entry point returns at a raised task priority level.
extern BOOLEAN gProbeLeavesTplRaised;

extern "C" {
EFI_STATUS EFIAPI ProbeEntry(EFI_HANDLE imageHandle, EFI_SYSTEM_TABLE* systemTable);
EFI_STATUS EFIAPI ProbeUnload(EFI_HANDLE imageHandle);
}

EFI_BOOT_SERVICES* ProbeBootServices();
EFI_SYSTEM_TABLE* ProbeSystemTable();
EFI_HANDLE ProbeImageHandle();

// Allocates through MemoryAllocationLib, two calls deep: ProbeAllocate, then MakeProbeBlock.
VOID* ProbeAllocate(UINTN size);
VOID ProbeFree(VOID* buffer);
// A handle buffer as gBS->LocateHandleBuffer hands it out; for all handles.
EFI_HANDLE* ProbeLocateHandles();
EFI_STATUS ProbeSetVariable(const CHAR16* name, UINTN value);
// Fails an ASSERT and tells whether the code went on.
BOOLEAN ProbeAssert();
// Takes a list entry to its record with CR.
ProbeRecord* ProbeRecordOf(LIST_ENTRY* link);
VOID ProbePrintDebug(UINTN value);
BOOLEAN ProbeFeature();

#endif  // TVQ_TESTS_PROBE_H_
