/** @file
  What the builders share: records under construction and their device paths.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_RECORD_BUILD_H_
#define TVQ_RECORD_BUILD_H_

#include <TvqCpp.h>
#include <Library/ZorvLib.h>
#include <Protocol/TvqRecord.h>

#include "steps.h"

namespace tvq {

/// The device path that was built last; each record keeps its own pointer.
extern EFI_DEVICE_PATH_PROTOCOL* gTvqDevicePath;

/// Owns a record under construction, with everything that hangs on it, until it is published.
class RecordOwner {
 public:
  /// Frees what hangs on a record, newest first, but not the record itself.
  using FreeContents = void (*)(smTVQ* record);

  /// Allocates a zeroed record with signature and device type.
  RecordOwner(UINT8 deviceType, FreeContents freeContents);
  ~RecordOwner() { Free(); }
  RecordOwner(const RecordOwner&) = delete;
  RecordOwner& operator=(const RecordOwner&) = delete;

  smTVQ* Get() const { return mRecord; }
  smTVQ* operator->() const { return mRecord; }
  explicit operator bool() const { return mRecord != nullptr; }

  /// Frees the record and what hangs on it now.
  void Free();
  /// From here on the record stays allocated, whatever happens.
  smTVQ* Leave();

 private:
  smTVQ* mRecord;
  FreeContents mFreeContents;
};

/// Builds the record's device path. Data[0] becomes the device type, `instance` the bytes behind
/// it.
Outcome AttachDevicePath(smTVQ* record, Span<const UINT8> instance);

}  // namespace tvq

#endif
