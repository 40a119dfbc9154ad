/** @file
  The stored data that the agent announced, and the blobs in it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "stored_data.h"

namespace tvqplatform {

StoredDataRegistry gStoredData;

namespace {

struct BlobKind {
  UINT32 Type;
  UINT32 Cookie;
  UINT32 SmallestSize;
};

constexpr BlobKind kKinds[] = {
    {TVQ_BLOB_TYPE_INVENTORY, TVQ_BLOB_COOKIE_INVENTORY, sizeof(TVQ_INVENTORY_BLOB)},
    // The document has at least its terminator.
    {TVQ_BLOB_TYPE_CONFIGURATION, TVQ_BLOB_COOKIE_CONFIGURATION,
     sizeof(TVQ_CONFIGURATION_BLOB) + 1},
    {TVQ_BLOB_TYPE_END, TVQ_BLOB_COOKIE_END, sizeof(TVQ_END_BLOB)},
};

bool IsSoundHeader(const TVQ_BLOB_HEADER& header, UINTN room) {
  for (const BlobKind& kind : kKinds) {
    if (header.type == kind.Type) {
      return header.revision == TVQ_BLOB_REVISION && header.cookie == kind.Cookie &&
             header.sizeInBytes >= kind.SmallestSize && header.sizeInBytes <= room;
    }
  }
  return false;
}

/// Reads the header of the blob at the start of `data`. False: there is no sound blob.
[[nodiscard]] bool ReadHeader(tvq::Span<const UINT8> data, TVQ_BLOB_HEADER* header) {
  if (data.Size() < sizeof(*header)) {
    return false;
  }
  CopyMem(header, data.Data(), sizeof(*header));
  if (!IsSoundHeader(*header, data.Size())) {
    return false;
  }
  return header->type != TVQ_BLOB_TYPE_CONFIGURATION || data[header->sizeInBytes - 1] == '\0';
}

}  // namespace

EFI_STATUS FindBlob(tvq::Span<const UINT8> data, UINT32 type, UINTN index, const UINT8** blob) {
  const UINT8* found = nullptr;
  UINTN matches = 0;
  TVQ_BLOB_HEADER header = {};
  for (UINTN at = 0; at < data.Size() && header.type != TVQ_BLOB_TYPE_END;
       at += header.sizeInBytes) {
    if (!ReadHeader({data.Data() + at, data.Size() - at}, &header)) {
      return EFI_VOLUME_CORRUPTED;
    }
    if (header.type == type && matches++ == index) {
      found = data.Data() + at;
    }
  }
  if (found == nullptr) {
    return EFI_NOT_FOUND;
  }
  *blob = found;
  return EFI_SUCCESS;
}

StoredDataRegistry::Entry* StoredDataRegistry::FindEntry(const VOID* buffer) const {
  for (Entry& entry : mEntries) {
    if (entry.Data == buffer) {
      return &entry;
    }
  }
  return nullptr;
}

bool StoredDataRegistry::Announce(const VOID* buffer, UINTN length) {
  Entry* known = FindEntry(buffer);
  if (known != nullptr) {
    known->Length = length;
    return true;
  }
  return mEntries.Append({static_cast<const UINT8*>(buffer), length});
}

bool StoredDataRegistry::Forget(const VOID* buffer) {
  Entry* entry = FindEntry(buffer);
  if (entry == nullptr) {
    return false;
  }
  *entry = mEntries[mEntries.Size() - 1];
  mEntries.Shrink(mEntries.Size() - 1);
  return true;
}

tvq::Span<const UINT8> StoredDataRegistry::Find(const VOID* buffer) const {
  const Entry* entry = FindEntry(buffer);
  return entry == nullptr ? tvq::Span<const UINT8>()
                          : tvq::Span<const UINT8>(entry->Data, entry->Length);
}

}  // namespace tvqplatform
