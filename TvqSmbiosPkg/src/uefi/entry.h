/** @file
  Entry point, deferred start and unloading.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_ENTRY_H_
#define TVQ_ENTRY_H_

#include <TvqCpp.h>

/**
  Sets up the library and installs the start request on the image handle. Nothing is built yet.

  @param[in]  ImageHandle   The driver's image handle.
  @param[in]  SystemTable   The EFI system table.

  @retval EFI_SUCCESS           The start request is installed.
  @retval EFI_OUT_OF_RESOURCES  Library state or start request could not be allocated.
  @retval EFI_NOT_FOUND         The platform has no services table.
  @retval Others                A protocol of the platform is missing, or the start request could
                                not be installed; nothing is undone.
**/
extern "C" EFI_STATUS EFIAPI DriverEntry(EFI_HANDLE ImageHandle, EFI_SYSTEM_TABLE* SystemTable);

namespace tvq {

/// The driver's own image handle.
extern EFI_HANDLE gTvqImageHandle;

/// The start; Protocol/TvqStartRequest.h documents it.
[[nodiscard]] EFI_STATUS EFIAPI SMBIOSInit(VOID* Context);

/// Runs the three builders, each whatever became of the one before, and stores the firmware
/// attribute.
void BuildAllRecords();

/// Fills gDebugLog when the debug log appears. Runs at TPL_CALLBACK.
VOID EFIAPI DebugLogNotify(EFI_EVENT Event, VOID* Context);

/**
  Closes the records' by-driver opens and frees the FQDD map. Deliberate: the interfaces of the
  records stay installed, because the call that is to take them off names the entry by the address
  of a variable, which the firmware refuses.

  @retval EFI_SUCCESS     Done.
  @retval EFI_NOT_FOUND   There is no record; nothing was done.
  @retval Others          What else LocateHandleBuffer returned; nothing was done.
**/
[[nodiscard]] EFI_STATUS EFIAPI DriverUnload(EFI_HANDLE ImageHandle);

}  // namespace tvq

#endif
