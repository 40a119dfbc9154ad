/*
 * A driver for the tests of the firmware library: it does what a test tells it to.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "Probe.h"

extern "C" {
#include <Library/BaseLib.h>
#include <Library/DebugLib.h>
#include <Library/MemoryAllocationLib.h>
#include <Library/PcdLib.h>
#include <Library/UefiBootServicesTableLib.h>
#include <Library/UefiRuntimeServicesTableLib.h>
}

UINTN gProbeCounter = kProbeInitialCounter;
UINTN gProbeMark;
EFI_STATUS gProbeEntryStatus = EFI_SUCCESS;
EFI_STATUS gProbeUnloadStatus = EFI_SUCCESS;
BOOLEAN gProbeLeavesTplRaised = FALSE;

EFI_STATUS EFIAPI ProbeEntry(EFI_HANDLE, EFI_SYSTEM_TABLE*) {
  ++gProbeCounter;
  if (gProbeLeavesTplRaised) {
    gBS->RaiseTPL(TPL_CALLBACK);
  }
  return gProbeEntryStatus;
}

EFI_STATUS EFIAPI ProbeUnload(EFI_HANDLE) {
  return gProbeUnloadStatus;
}

EFI_BOOT_SERVICES* ProbeBootServices() {
  return gBS;
}

EFI_SYSTEM_TABLE* ProbeSystemTable() {
  return gST;
}

EFI_HANDLE ProbeImageHandle() {
  return gImageHandle;
}

static VOID* MakeProbeBlock(UINTN size) {
  return AllocatePool(size);
}

VOID* ProbeAllocate(UINTN size) {
  return MakeProbeBlock(size);
}

VOID ProbeFree(VOID* buffer) {
  FreePool(buffer);
}

EFI_HANDLE* ProbeLocateHandles() {
  EFI_HANDLE* handles = nullptr;
  UINTN count = 0;
  gBS->LocateHandleBuffer(AllHandles, nullptr, nullptr, &count, &handles);
  return handles;
}

EFI_STATUS ProbeSetVariable(const CHAR16* name, UINTN value) {
  EFI_GUID vendor = {0x11223344, 0, 0, {0}};
  return gRT->SetVariable(const_cast<CHAR16*>(name), &vendor, EFI_VARIABLE_BOOTSERVICE_ACCESS,
                          sizeof(value), &value);
}

BOOLEAN ProbeAssert() {
  ASSERT(gProbeMark == 1234);
  return TRUE;
}

ProbeRecord* ProbeRecordOf(LIST_ENTRY* link) {
  return CR(link, ProbeRecord, link, kProbeSignature);
}

VOID ProbePrintDebug(UINTN value) {
  DEBUG((DEBUG_INFO, "probe says %d\n", value));
}

BOOLEAN ProbeFeature() {
  return FeaturePcdGet(PcdVerifyNodeInList);
}
