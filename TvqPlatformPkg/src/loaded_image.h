/** @file
  Which images are loaded: the firmware forgets an image that is unloaded, but not the pointers into
  it that others hold.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_LOADED_IMAGE_H_
#define TVQ_PLATFORM_LOADED_IMAGE_H_

#include <TvqCpp.h>

extern "C" {
#include <Protocol/LoadedImage.h>
}

#include <Protocol/TvqStartRequest.h>

#include "handle_list.h"

namespace tvqplatform {

/// What the handle of a loaded image carries, or null.
inline const EFI_LOADED_IMAGE_PROTOCOL* LoadedImageOn(EFI_HANDLE handle) {
  return InterfaceOn<EFI_LOADED_IMAGE_PROTOCOL>(handle, gEfiLoadedImageProtocolGuid);
}

/// True while the handle is that of a loaded image which the code belongs to.
inline bool IsCodeOf(EFI_HANDLE handle, const VOID* code) {
  const EFI_LOADED_IMAGE_PROTOCOL* image = LoadedImageOn(handle);
  return image != nullptr &&
         reinterpret_cast<UINTN>(code) - reinterpret_cast<UINTN>(image->ImageBase) <
             image->ImageSize;
}

/// The handle of the loaded image that the code belongs to, or null.
inline EFI_HANDLE FindImageOf(const VOID* code) {
  for (EFI_HANDLE handle : HandleList(gEfiLoadedImageProtocolGuid)) {
    if (IsCodeOf(handle, code)) {
      return handle;
    }
  }
  return nullptr;
}

/// The driver, when it is loaded. Unloading it leaves its start request on the handle, which is then
/// no loaded image any more; such a one is passed over.
struct LoadedDriver {
  EFI_STATUS Status;  ///< EFI_NOT_FOUND when it is not loaded; others than success: not known.
  EFI_HANDLE Image;
  TVQ_START_REQUEST* Request;  ///< Null unless Status is EFI_SUCCESS.
};

inline LoadedDriver FindLoadedDriver() {
  const HandleList handles(gTvqStartRequestProtocolGuid);
  for (EFI_HANDLE handle : handles) {
    if (LoadedImageOn(handle) != nullptr) {
      return {EFI_SUCCESS, handle,
              InterfaceOn<TVQ_START_REQUEST>(handle, gTvqStartRequestProtocolGuid)};
    }
  }
  return {EFI_ERROR(handles.Status()) ? handles.Status() : EFI_NOT_FOUND, nullptr, nullptr};
}

}  // namespace tvqplatform

#endif
