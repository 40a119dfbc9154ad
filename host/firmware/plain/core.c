/*
 * What is a handle: a block of the pool with the mark of one. The core's own way is to look through the
 * list of all handles, in every call that is given one.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "DxeMain.h"
#include "Hand/Handle.h"

#include "host/firmware/host_interface.h"

EFI_STATUS CoreValidateHandle(IN EFI_HANDLE UserHandle) {
  const IHANDLE* Handle = UserHandle;

  if (!TvqHostIsBlock(Handle) || Handle->Signature != EFI_HANDLE_SIGNATURE) {
    return EFI_INVALID_PARAMETER;
  }
  return EFI_SUCCESS;
}
