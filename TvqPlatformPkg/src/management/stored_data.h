/** @file
  The stored data that the agent announced, and the blobs in it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_STORED_DATA_H_
#define TVQ_PLATFORM_STORED_DATA_H_

#include <TvqCpp.h>
#include <IndustryStandard/TvqBlob.h>

#include "../growing_array.h"

namespace tvqplatform {

/**
  Finds a blob in stored data: blobs one behind the other, at any alignment, up to the end blob or
  to the end of the data.

  @param[in]   data    The stored data.
  @param[in]   type    TVQ_BLOB_TYPE_*.
  @param[in]   index   0 for the first blob of the type.
  @param[out]  blob    Receives its address.

  @retval EFI_SUCCESS            The blob is there, and all headers are sound.
  @retval EFI_NOT_FOUND          There is no such blob.
  @retval EFI_VOLUME_CORRUPTED   A header is wrong or reaches over the end, or a document has no end.
**/
[[nodiscard]] EFI_STATUS FindBlob(tvq::Span<const UINT8> data, UINT32 type, UINTN index,
                                  const UINT8** blob);

/// Remembers where stored data lies and how long it is: deliberately, what was not announced is not
/// looked into. The data stays its owner's.
class StoredDataRegistry {
 public:
  /// Announcing a buffer again replaces its length. False: there is no memory.
  [[nodiscard]] bool Announce(const VOID* buffer, UINTN length);
  /// False: the buffer was not announced.
  [[nodiscard]] bool Forget(const VOID* buffer);
  /// The data that starts at `buffer`; empty when it was not announced.
  tvq::Span<const UINT8> Find(const VOID* buffer) const;
  void Free() { mEntries.Free(); }

 private:
  struct Entry {
    const UINT8* Data;
    UINTN Length;
  };

  Entry* FindEntry(const VOID* buffer) const;

  GrowingArray<Entry> mEntries;
};

extern StoredDataRegistry gStoredData;

}  // namespace tvqplatform

#endif
