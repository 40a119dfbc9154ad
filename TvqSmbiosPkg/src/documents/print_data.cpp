/** @file
  Logs a blob set.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "blobs.h"

#include <Library/ZorvLib.h>

#include "../log.h"

namespace tvq {

namespace {

constexpr Logger kLog("printData");

const char* LabelOf(UINT8 deviceType) {
  switch (deviceType) {
    case TVQ_DEVICE_TYPE_CPU:
      return "CPU";
    case TVQ_DEVICE_TYPE_DIMM:
      return "DIMM";
    default:
      return "SYSTEM";
  }
}

/// Tells whether there is a blob whose header was logged.
bool PrintHeader(const TVQ_DATA& slot, const char* label) {
  if (slot.Buffer == nullptr) {
    return false;
  }
  const auto* header = static_cast<const TVQ_BLOB_HEADER*>(slot.Buffer);
  kLog("[%a] BLOB type: 0x%08x\n", label, header->type);
  kLog("BLOB revision: %d cookie: 0x%08x sizeInBytes:%d\n", header->revision, header->cookie,
       header->sizeInBytes);
  return true;
}

const CHAR8* StringArea(const TVQ_INVENTORY_BLOB* blob) {
  return reinterpret_cast<const CHAR8*>(blob + 1);
}

void PrintReference(const TVQ_INVENTORY_BLOB* blob, UINT32 reference, LogFormat format) {
  if (TVQ_STRING_REFERENCE_PRESENT(reference)) {
    const UINT32 offset = TVQ_STRING_REFERENCE_OFFSET(reference);
    kLog(format, offset, StringArea(blob) + offset);
  }
}

/// Deliberate: the text is always the one at the start of the string area, whatever the offset.
void PrintIdentity(const TVQ_INVENTORY_BLOB* blob) {
  if (TVQ_STRING_REFERENCE_PRESENT(blob->wwnOffset)) {
    kLog("wwnOffset = %d wwn = %a\n", TVQ_STRING_REFERENCE_OFFSET(blob->wwnOffset),
         StringArea(blob));
  }
}

void PrintInventory(const TVQ_INVENTORY_BLOB* blob) {
  PrintIdentity(blob);
  PrintReference(blob, blob->MktnameOffset, "MktnameOffset = %d MktName = %a\n");
  PrintReference(blob, blob->FwVerOffset, "FwVerOffset = %d FWVer = %a\n");
  PrintReference(blob, blob->CompIDOffset, "CompIDOffset = %d CompID = %a\n");
  if ((blob->flags & TVQ_INVENTORY_FLAG_PRODUCT_ID) != 0) {
    kLog("Product ID = %04x \n", blob->ProductID);
  }
  if ((blob->flags & TVQ_INVENTORY_FLAG_SLOT_NUMBER) != 0) {
    kLog("Slot Number = %X \n", blob->SlotNumber);
  }
}

}  // namespace

void printData(const TVQ_DATA* Array, const smTVQ* Record) {
  if (gDebugLog == nullptr) {
    return;
  }
  const char* label = LabelOf(Record->device.generic.DeviceType);
  const TVQ_DATA& inventory = Array[TVQ_SLOT_INVENTORY];
  if (PrintHeader(inventory, label)) {
    PrintInventory(static_cast<const TVQ_INVENTORY_BLOB*>(inventory.Buffer));
  }
  (void)PrintHeader(Array[TVQ_SLOT_CONFIGURATION], label);
  (void)PrintHeader(Array[TVQ_SLOT_END], label);
}

}  // namespace tvq
