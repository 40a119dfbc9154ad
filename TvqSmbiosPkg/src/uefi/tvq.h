/** @file
  Operations of the inventory protocol; Protocol/TvqInventory.h documents them.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_OPERATIONS_H_
#define TVQ_OPERATIONS_H_

#include <TvqCpp.h>
#include <Protocol/TvqRecord.h>

#include "containing.h"

namespace tvq {

[[nodiscard]] EFI_STATUS EFIAPI SMTVQIdentify(TVQ_INVENTORY_PROTOCOL* This, TVQ_IDENTITY* Identity);
[[nodiscard]] EFI_STATUS EFIAPI SMTVQGet(TVQ_INVENTORY_PROTOCOL* This, TVQ_REQUEST* Request,
                                         TVQ_DATA* Result);
[[nodiscard]] EFI_STATUS EFIAPI SMTVQSet(TVQ_INVENTORY_PROTOCOL* This, TVQ_REQUEST* Request,
                                         TVQ_DATA* Data);
[[nodiscard]] EFI_STATUS EFIAPI SMTVQVerify(TVQ_INVENTORY_PROTOCOL* This, TVQ_REQUEST* Request,
                                            TVQ_DATA* OldData, TVQ_DATA* Response, UINT32* Result);

/// The record's inventory protocol. The record is packed, but its pool block is aligned, and the
/// protocol's position in it is.
inline TVQ_INVENTORY_PROTOCOL* InventoryOf(smTVQ* record) {
  static_assert(OFFSET_OF(smTVQ, Protocol) % alignof(TVQ_INVENTORY_PROTOCOL) == 0, "aligned");
  return reinterpret_cast<TVQ_INVENTORY_PROTOCOL*>(reinterpret_cast<UINT8*>(record) +
                                                   OFFSET_OF(smTVQ, Protocol));
}

/// The record of an inventory protocol, or null.
inline smTVQ* RecordOf(TVQ_INVENTORY_PROTOCOL* protocol, UINTN line) {
  return Containing<smTVQ>(protocol, OFFSET_OF(smTVQ, Protocol), TVQ_RECORD_SIGNATURE,
                           {"src/uefi/tvq", line});
}

}  // namespace tvq

#endif
