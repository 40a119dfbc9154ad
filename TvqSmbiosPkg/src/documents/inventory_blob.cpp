/** @file
  The inventory blob.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "blobs.h"

#include <Library/TvqDeviceLib.h>
#include <Library/ZorvLib.h>

#include "../log.h"
#include "../text.h"

namespace tvq {

namespace {

constexpr Logger kLog("getInvBlob");

/// A text that ends in NUL within its buffer, empty until it is written.
template <UINTN kSize>
struct TextBuffer {
  CHAR8 Text[kSize];
  UINTN Length = 0;

  TextBuffer() { Text[0] = '\0'; }

  /// The text, cut to what `kRoom` bytes hold.
  template <UINTN kRoom = kSize>
  void Narrow(const CHAR16* text) {
    static_assert(kRoom <= kSize, "the buffer has the room");
    Length = NarrowInto(Text, kRoom, text);
  }
  /// Room that the text takes in the string area.
  UINTN Room() const { return Length == 0 ? 0 : Length + 1; }
};

/// The texts of a blob. One that is not known is empty.
struct Texts {
  TextBuffer<128> Identity;
  TextBuffer<64> MarketingName;
  TextBuffer<32> FirmwareVersion;
  TextBuffer<128> ComponentId;

  UINTN Room() const {
    return Identity.Room() + MarketingName.Room() + FirmwareVersion.Room() + ComponentId.Room();
  }
};

/// The offset rule counts a terminator for each earlier slot, whether or not its text is there. So
/// a text may end this many bytes past the size that the header states.
constexpr UINTN kAbsentSlots = 3;

void CollectDimmTexts(Texts& texts, const smTVQ* record) {
  texts.Identity.Narrow<devices::kSerialLength + 1>(record->device.generic.WWN);
  kLog("DIMM WWN = %a len = %d\n", texts.Identity.Text, texts.Identity.Length);
  texts.FirmwareVersion.Narrow(record->device.dimm.FirmwareVersion);
  kLog("DIMM FW = %a len = %d\n", texts.FirmwareVersion.Text, texts.FirmwareVersion.Length);
  if (record->device.dimm.ComponentID != 0) {
    texts.ComponentId.Length = ZvAsciiSPrint(texts.ComponentId.Text, sizeof(texts.ComponentId.Text),
                                             "%d", record->device.dimm.ComponentID);
    kLog("DIMM CompID = %a len = %d\n", texts.ComponentId.Text, texts.ComponentId.Length);
  }
}

void CollectTexts(Texts& texts, const smTVQ* record) {
  texts.MarketingName.Narrow(record->device.generic.MarketingName);
  kLog("MarketingName = [%a] \n", texts.MarketingName.Text);
  switch (record->device.generic.DeviceType) {
    case TVQ_DEVICE_TYPE_DIMM:
      CollectDimmTexts(texts, record);
      break;
    case TVQ_DEVICE_TYPE_SYSTEM:
      kLog("Populating INVBLOB for SYSTEM \n");
      texts.Identity.Narrow(record->device.system.ServiceTag);
      kLog("SYSTEM WWN = [%a] \n", texts.Identity.Text);
      break;
    case TVQ_DEVICE_TYPE_CPU:
      kLog("Populating INVBLOB for CPU \n");
      break;
    default:
      break;
  }
}

/// Copies a text that is there to its offset in the string area. Returns its string reference, 0
/// for a text that is not there.
template <UINTN kSize>
UINT32 PutText(TVQ_INVENTORY_BLOB* blob, const TextBuffer<kSize>& text, UINTN offset) {
  if (text.Length == 0) {
    return 0;
  }
  CopyMem(reinterpret_cast<UINT8*>(blob) + sizeof(TVQ_INVENTORY_BLOB) + offset, text.Text,
          text.Length + 1);
  return TVQ_STRING_REFERENCE(offset);
}

/// The locator, read as a hexadecimal number.
void PutSlotNumber(TVQ_INVENTORY_BLOB* blob, const CHAR16* locator) {
  if (locator == nullptr) {
    return;
  }
  PoolPtr<CHAR8> narrow(UnicodeToNewAscii(locator));
  if (narrow) {
    blob->flags |= TVQ_INVENTORY_FLAG_SLOT_NUMBER;
    blob->SlotNumber = static_cast<UINT8>(ZvAsciiStrToUint(narrow.Get(), 16));
  }
}

void FillDimmBlob(TVQ_INVENTORY_BLOB* blob, const Texts& texts, const TVQ_DIMM& dimm) {
  PutSlotNumber(blob, dimm.DeviceLocator);
  if (dimm.ProductID != 0) {
    blob->flags |= TVQ_INVENTORY_FLAG_PRODUCT_ID;
    blob->ProductID = dimm.ProductID;
  }
  UINTN offset = 0;
  blob->wwnOffset = PutText(blob, texts.Identity, offset);
  offset += texts.Identity.Length + 1;
  blob->MktnameOffset = PutText(blob, texts.MarketingName, offset);
  offset += texts.MarketingName.Length + 1;
  blob->FwVerOffset = PutText(blob, texts.FirmwareVersion, offset);
  offset += texts.FirmwareVersion.Length + 1;
  blob->CompIDOffset = PutText(blob, texts.ComponentId, offset);
}

void FillBlob(TVQ_INVENTORY_BLOB* blob, const Texts& texts, const smTVQ* record) {
  switch (record->device.generic.DeviceType) {
    case TVQ_DEVICE_TYPE_DIMM:
      FillDimmBlob(blob, texts, record->device.dimm);
      break;
    case TVQ_DEVICE_TYPE_SYSTEM:
      // Deliberate: the identity only reserves its room, and no reference points to it.
      blob->MktnameOffset = PutText(blob, texts.MarketingName, texts.Identity.Length + 1);
      break;
    default:
      blob->MktnameOffset = PutText(blob, texts.MarketingName, 0);
      break;
  }
}

bool IsKnownType(UINT8 deviceType) {
  return deviceType == TVQ_DEVICE_TYPE_CPU || deviceType == TVQ_DEVICE_TYPE_DIMM ||
         deviceType == TVQ_DEVICE_TYPE_SYSTEM;
}

}  // namespace

EFI_STATUS getInvBlob(TVQ_BLOB_HEADER** Blob, smTVQ* Record) {
  kLog("Entering \n");
  if (Blob == nullptr || Record == nullptr) {
    kLog("Invalid Parameter\n");
    return EFI_INVALID_PARAMETER;
  }
  *Blob = nullptr;
  Texts texts;
  CollectTexts(texts, Record);
  if (IsKnownType(Record->device.generic.DeviceType)) {
    const UINTN size = sizeof(TVQ_INVENTORY_BLOB) + 1 + texts.Room();
    TVQ_BLOB_HEADER* blob =
        NewBlob(TVQ_BLOB_TYPE_INVENTORY, TVQ_BLOB_COOKIE_INVENTORY, size, size + kAbsentSlots);
    if (blob == nullptr) {
      kLog("Failed to allocate memory for tvqInvBlob \n");
      return EFI_OUT_OF_RESOURCES;
    }
    FillBlob(reinterpret_cast<TVQ_INVENTORY_BLOB*>(blob), texts, Record);
    *Blob = blob;
  }
  kLog("Exiting \n");
  return EFI_SUCCESS;
}

}  // namespace tvq
