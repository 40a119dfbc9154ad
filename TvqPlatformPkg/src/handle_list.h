/** @file
  The handles that carry a protocol, for a range-based for loop.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_HANDLE_LIST_H_
#define TVQ_PLATFORM_HANDLE_LIST_H_

#include <TvqCpp.h>

namespace tvqplatform {

/// The interface of a protocol on a handle, or null.
template <typename Interface>
Interface* InterfaceOn(EFI_HANDLE handle, EFI_GUID& guid) {
  VOID* found = nullptr;
  const EFI_STATUS status = gBS->HandleProtocol(handle, &guid, &found);
  return EFI_ERROR(status) ? nullptr : static_cast<Interface*>(found);
}

/// The handles that carried the protocol when the list was made, oldest first.
class HandleList {
 public:
  explicit HandleList(EFI_GUID& guid) {
    EFI_HANDLE* handles = nullptr;
    mStatus = gBS->LocateHandleBuffer(ByProtocol, &guid, nullptr, &mCount, &handles);
    if (EFI_ERROR(mStatus)) {
      mCount = 0;
    } else {
      mHandles.Reset(handles);
    }
  }

  /// EFI_SUCCESS, also where there is no such handle; else why they could not be listed.
  [[nodiscard]] EFI_STATUS Status() const {
    return mStatus == EFI_NOT_FOUND ? EFI_SUCCESS : mStatus;
  }

  UINTN Size() const { return mCount; }
  const EFI_HANDLE* begin() const { return mHandles.Get(); }
  const EFI_HANDLE* end() const { return mHandles.Get() + mCount; }

 private:
  tvq::PoolPtr<EFI_HANDLE> mHandles;
  UINTN mCount = 0;
  EFI_STATUS mStatus;
};

}  // namespace tvqplatform

#endif
