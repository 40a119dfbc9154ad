/** @file
  Checks of the driver itself: loaded, and ready to be started.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

extern "C" {
#include <Protocol/LoadedImage.h>
}

#include <Protocol/TvqStartRequest.h>

#include "check.h"

namespace tvqtest {

namespace {

VOID* FindRequest() {
  return Locate(gTvqStartRequestProtocolGuid);
}

bool HasStartCode() {
  return static_cast<TVQ_START_REQUEST*>(FindRequest())->StartCode == TVQ_START_CODE;
}

/// An unloaded driver leaves its start request behind, which must not be called any more.
bool StandsOnALoadedImage() {
  UINTN size = sizeof(EFI_HANDLE);
  EFI_HANDLE handle = nullptr;
  VOID* image = nullptr;
  (void)gBS->LocateHandle(ByProtocol, &gTvqStartRequestProtocolGuid, nullptr, &size, &handle);
  return handle != nullptr &&
         !EFI_ERROR(gBS->HandleProtocol(handle, &gEfiLoadedImageProtocolGuid, &image));
}

constexpr Check kDriverChecks[] = {
    {"the start request has its code and its function", OFFSET_OF(TVQ_START_REQUEST, Start),
     HasStartCode},
    {"the start request is the only one, and stands on a loaded image", kNoFunction,
     StandsOnALoadedImage},
};

}  // namespace

const Group kDriver = {
    "Driver TVQSMBIOS",
    FindRequest,
    "it is not loaded yet, or its entry point ended with an error because something above was not "
    "there when it was dispatched. It is not tried again in this boot.",
    "load the driver once, and call the start request of a handle that carries a loaded image.",
    true,
    kDriverChecks};

}  // namespace tvqtest
