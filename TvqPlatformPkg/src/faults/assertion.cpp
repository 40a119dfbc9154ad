/** @file
  A deliberate mistake: it shows what an assertion that fails does to the driver.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "faults.h"

extern "C" {
#include <Library/UefiLib.h>
}

#include <Protocol/TvqInventory.h>
#include <Protocol/TvqRecord.h>

namespace tvqplatform {

namespace {

/// A record of zeros. With assertions enabled the driver goes on with the interface in it as the record, so
/// that there has to be memory for another one.
struct NoRecord {
  alignas(8) UINT8 Bytes[OFFSET_OF(smTVQ, Protocol) + sizeof(smTVQ)];

  TVQ_INVENTORY_PROTOCOL* Interface() {
    return reinterpret_cast<TVQ_INVENTORY_PROTOCOL*>(Bytes + OFFSET_OF(smTVQ, Protocol));
  }
};

}  // namespace

EFI_STATUS FailAssertion() {
  VOID* found = nullptr;
  EFI_STATUS status = gBS->LocateProtocol(&gTvqInventoryProtocolGuid, nullptr, &found);
  if (EFI_ERROR(status)) {
    return status;
  }
  NoRecord none;
  ZeroMem(&none, sizeof(none));
  TVQ_IDENTITY identity;
  status = static_cast<TVQ_INVENTORY_PROTOCOL*>(found)->SMTVQIdentify(none.Interface(), &identity);
  AsciiPrint("TvqFaults: the driver went on: %r\n", status);
  return status == EFI_UNSUPPORTED ? EFI_SUCCESS : EFI_ABORTED;
}

}  // namespace tvqplatform
