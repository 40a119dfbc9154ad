/** @file
  The platform protocol: shows what the platform keeps.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "platform_protocol.h"

#include "../log/debug_log.h"
#include "../management/stored_data.h"
#include "../services/services_table.h"

namespace tvqplatform {

namespace {

EFI_STATUS EFIAPI GetAttribute(TVQ_PLATFORM_PROTOCOL* This, CHAR16* Namespace, CHAR16* Name,
                               UINT64* Value) {
  return This == nullptr ? EFI_INVALID_PARAMETER : gAttributeStore.Ask(Namespace, Name, Value);
}

EFI_STATUS EFIAPI SetAttribute(TVQ_PLATFORM_PROTOCOL* This, CHAR16* Namespace, CHAR16* Name,
                               UINT64 Value) {
  return This == nullptr ? EFI_INVALID_PARAMETER : gAttributeStore.Change(Namespace, Name, Value);
}

EFI_STATUS EFIAPI GetStoredValue(TVQ_PLATFORM_PROTOCOL* This, UINTN Index,
                                 TVQ_STORED_VALUE* Value) {
  if (This == nullptr || Value == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Index >= gAttributeStore.ValueCount()) {
    return EFI_NOT_FOUND;
  }
  *Value = gAttributeStore.ValueAt(Index);
  return EFI_SUCCESS;
}

EFI_STATUS EFIAPI GetLogLine(TVQ_PLATFORM_PROTOCOL* This, UINTN Index, TVQ_LOG_LINE* Line) {
  if (This == nullptr || Line == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  if (Index >= gDebugLogStore.LineCount()) {
    return EFI_NOT_FOUND;
  }
  *Line = gDebugLogStore.LineAt(Index);
  return EFI_SUCCESS;
}

UINTN EFIAPI CountLostLines(TVQ_PLATFORM_PROTOCOL* This) {
  return This == nullptr ? 0 : gDebugLogStore.LostLines();
}

EFI_STATUS EFIAPI AnnounceStoredData(TVQ_PLATFORM_PROTOCOL* This, const VOID* Buffer,
                                     UINTN Length) {
  if (This == nullptr || Buffer == nullptr || Length == 0) {
    return EFI_INVALID_PARAMETER;
  }
  return gStoredData.Announce(Buffer, Length) ? EFI_SUCCESS : EFI_OUT_OF_RESOURCES;
}

EFI_STATUS EFIAPI ForgetStoredData(TVQ_PLATFORM_PROTOCOL* This, const VOID* Buffer) {
  if (This == nullptr || Buffer == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  return gStoredData.Forget(Buffer) ? EFI_SUCCESS : EFI_NOT_FOUND;
}

}  // namespace

TVQ_PLATFORM_PROTOCOL gPlatformProtocol = {TVQ_PLATFORM_PROTOCOL_REVISION,
                                           GetAttribute,
                                           SetAttribute,
                                           GetStoredValue,
                                           GetLogLine,
                                           CountLostLines,
                                           AnnounceStoredData,
                                           ForgetStoredData};

}  // namespace tvqplatform
