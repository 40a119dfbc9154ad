/** @file
  Blobs, read inside their bounds.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

extern "C" {
#include <Base.h>
}

#include <IndustryStandard/TvqBlob.h>
#include <Library/TvqBlobLib.h>

namespace tvq::blobs {

namespace {

static_assert(kInventory == TVQ_BLOB_TYPE_INVENTORY &&
                  kConfiguration == TVQ_BLOB_TYPE_CONFIGURATION && kEnd == TVQ_BLOB_TYPE_END &&
                  kRevision == TVQ_BLOB_REVISION,
              "types and revision");
static_assert(kTypeOffset == OFFSET_OF(TVQ_BLOB_HEADER, type) &&
                  kCookieOffset == OFFSET_OF(TVQ_BLOB_HEADER, cookie) &&
                  kSizeOffset == OFFSET_OF(TVQ_BLOB_HEADER, sizeInBytes) &&
                  kHeaderSize == sizeof(TVQ_BLOB_HEADER),
              "the header");
static_assert(kStringArea == sizeof(TVQ_INVENTORY_BLOB), "texts follow the inventory blob");
static_assert(kDocument == sizeof(TVQ_CONFIGURATION_BLOB), "so does the document its blob");

constexpr Kind kKinds[] = {
    {TVQ_BLOB_TYPE_INVENTORY, TVQ_BLOB_COOKIE_INVENTORY, kStringArea},
    // The document has at least its terminator.
    {TVQ_BLOB_TYPE_CONFIGURATION, TVQ_BLOB_COOKIE_CONFIGURATION, kDocument + 1},
    {TVQ_BLOB_TYPE_END, TVQ_BLOB_COOKIE_END, sizeof(TVQ_END_BLOB)},
};

Defect FindDefect(const Blob& blob, SizeType held) {
  const Kind* kind = FindKind(blob.Type);
  if (blob.Revision != kRevision) {
    return Defect::kRevision;
  }
  if (kind == nullptr) {
    return Defect::kType;
  }
  if (blob.Cookie != kind->Cookie) {
    return Defect::kCookie;
  }
  if (blob.Size < kind->SmallestSize) {
    return Defect::kTooSmall;
  }
  return blob.Size > held ? Defect::kTooLarge : Defect::kNone;
}

bool HasItsEnd(const Blob& blob) {
  return blob.Type != kConfiguration || blob.Whole[blob.Size - 1] == 0;
}

Reference ReadReference(Bytes blob, SizeType where) {
  const U32 word = smbios::Read32(blob.Data() + where);
  return {static_cast<U8>(where), TVQ_STRING_REFERENCE_PRESENT(word),
          TVQ_STRING_REFERENCE_OFFSET(word)};
}

}  // namespace

const Kind* FindKind(U32 type) {
  for (const Kind& kind : kKinds) {
    if (kind.Type == type) {
      return &kind;
    }
  }
  return nullptr;
}

Blob ReadBlob(Bytes data) {
  Blob blob;
  if (data.Size() < kHeaderSize) {
    return blob;
  }
  blob.Revision = smbios::Read32(data.Data());
  blob.Type = smbios::Read32(data.Data() + kTypeOffset);
  blob.Cookie = smbios::Read32(data.Data() + kCookieOffset);
  blob.Size = smbios::Read32(data.Data() + kSizeOffset);
  blob.Why = FindDefect(blob, data.Size());
  blob.Whole = data.First(blob ? blob.Size : 0);
  return blob;
}

Search FindBlob(Bytes data, U32 type, SizeType index, Bytes& blob) {
  Search result = Search::kNotFound;
  U32 last = 0;
  while (!data.Empty() && last != kEnd) {
    const Blob next = ReadBlob(data);
    if (!next || !HasItsEnd(next)) {
      return Search::kDamaged;
    }
    if (next.Type == type && index-- == 0) {
      blob = next.Whole;
      result = Search::kFound;
    }
    last = next.Type;
    data = data.From(next.Size);
  }
  return result;
}

Text DocumentOf(Bytes configuration) {
  return smbios::TextAt(configuration.From(kDocument));
}

Inventory ReadInventory(Bytes blob) {
  Inventory inventory;
  if (blob.Size() < kStringArea) {
    return inventory;
  }
  inventory.Flags = smbios::Read32(blob.Data() + OFFSET_OF(TVQ_INVENTORY_BLOB, flags));
  inventory.HasProductId = (inventory.Flags & TVQ_INVENTORY_FLAG_PRODUCT_ID) != 0;
  inventory.HasSlotNumber = (inventory.Flags & TVQ_INVENTORY_FLAG_SLOT_NUMBER) != 0;
  inventory.ProductId = smbios::Read16(blob.Data() + OFFSET_OF(TVQ_INVENTORY_BLOB, ProductID));
  inventory.SlotNumber = blob[OFFSET_OF(TVQ_INVENTORY_BLOB, SlotNumber)];
  inventory.Wwn = ReadReference(blob, OFFSET_OF(TVQ_INVENTORY_BLOB, wwnOffset));
  inventory.MarketingName = ReadReference(blob, OFFSET_OF(TVQ_INVENTORY_BLOB, MktnameOffset));
  inventory.FirmwareVersion = ReadReference(blob, OFFSET_OF(TVQ_INVENTORY_BLOB, FwVerOffset));
  inventory.ComponentId = ReadReference(blob, OFFSET_OF(TVQ_INVENTORY_BLOB, CompIDOffset));
  return inventory;
}

Bytes BytesOf(Bytes inventory, Reference reference) {
  return reference.IsPresent ? inventory.From(kStringArea).From(reference.Start) : Bytes();
}

}  // namespace tvq::blobs
