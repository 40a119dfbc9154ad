/** @file
  The records' handles: whose driver is still loaded, and taking their protocols off.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_RECORDS_H_
#define TVQ_PLATFORM_AGENT_RECORDS_H_

#include <TvqCpp.h>

namespace tvqplatform {

/// True for a record whose driver was unloaded: its operations lie in memory that is no code any
/// more, and nobody may call them.
bool IsLeftBehind(EFI_HANDLE handle);

/// True when the system has device records whose driver is loaded. Starting again would add none.
bool HasRecords();

/// What became of the records' protocols.
struct TakenOff {
  EFI_STATUS Status;  ///< Of the first record that kept its protocols, or of finding the records.
  UINTN Count;        ///< Records whose protocols are off.
  UINTN Kept;         ///< Records whose protocols somebody holds.
};

/// Closes what the driver has opened, and takes inventory protocol, device-list entry and device
/// path off every record, so that a later start can publish the devices anew. The record itself
/// stays on its handle while its driver is loaded, whose unload handler looks for it there. The
/// memory of the records belongs to the driver, which does not give it back.
TakenOff TakeOffRecords();

}  // namespace tvqplatform

#endif
