/*
 * Interfaces of inventory protocols that are not those of a record.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_UEFI_MISPLACED_RECORD_H_
#define TVQ_TESTS_UNIT_DRIVER_UEFI_MISPLACED_RECORD_H_

#include "tests/unit/shared/driver_harness.h"

namespace tvq::test {

// Two records, of which the second stands where the first has its inventory protocol. The first has no valid signature.
class RecordInPlaceOfTheProtocol {
 public:
  RecordInPlaceOfTheProtocol(UINT8 outerType, UINT8 innerType,
                             UINT64 outerSignature = TVQ_RECORD_SIGNATURE ^ 1) {
    smTVQ* outer = reinterpret_cast<smTVQ*>(mBytes);
    outer->Signature = outerSignature;
    outer->device.generic.DeviceType = outerType;
    smTVQ* inner = reinterpret_cast<smTVQ*>(This());
    inner->device.generic.DeviceType = innerType;
  }
  TVQ_INVENTORY_PROTOCOL* This() {
    return reinterpret_cast<TVQ_INVENTORY_PROTOCOL*>(mBytes + OFFSET_OF(smTVQ, Protocol));
  }
  smTVQ* Inner() { return reinterpret_cast<smTVQ*>(This()); }

 private:
  alignas(8) UINT8 mBytes[OFFSET_OF(smTVQ, Protocol) + sizeof(smTVQ)] = {};
};

// The interface whose record would stand at address 0.
inline TVQ_INVENTORY_PROTOCOL* ProtocolOfNoRecord() {
  return reinterpret_cast<TVQ_INVENTORY_PROTOCOL*>(OFFSET_OF(smTVQ, Protocol));
}

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_UEFI_MISPLACED_RECORD_H_
