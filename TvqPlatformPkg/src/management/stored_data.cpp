/** @file
  The stored data that the agent announced, and the blobs in it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "stored_data.h"

#include <Library/TvqBlobLib.h>

namespace tvqplatform {

StoredDataRegistry gStoredData;

EFI_STATUS FindBlob(tvq::Span<const UINT8> data, UINT32 type, UINTN index, const UINT8** blob) {
  tvq::blobs::Bytes found;
  switch (tvq::blobs::FindBlob(data, type, index, found)) {
    case tvq::blobs::Search::kFound:
      *blob = found.Data();
      return EFI_SUCCESS;
    case tvq::blobs::Search::kNotFound:
      return EFI_NOT_FOUND;
    case tvq::blobs::Search::kDamaged:
      break;
  }
  return EFI_VOLUME_CORRUPTED;
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
