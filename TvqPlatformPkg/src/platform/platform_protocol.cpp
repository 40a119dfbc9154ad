/** @file
  The platform protocol: shows what the platform keeps.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "platform_protocol.h"

#include <Library/SmbiosTableLib.h>
#include <Library/TvqManagementLib.h>
#include <Library/TvqStartLib.h>

#include "../log/debug_log.h"
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
  return This == nullptr ? EFI_INVALID_PARAMETER : TvqAnnounceStoredData(Buffer, Length);
}

EFI_STATUS EFIAPI ForgetStoredData(TVQ_PLATFORM_PROTOCOL* This, const VOID* Buffer) {
  return This == nullptr ? EFI_INVALID_PARAMETER : TvqForgetStoredData(Buffer);
}

EFI_STATUS EFIAPI GetStartedTable(TVQ_PLATFORM_PROTOCOL* This, TVQ_STARTED_TABLE* Table) {
  if (This == nullptr || Table == nullptr) {
    return EFI_INVALID_PARAMETER;
  }
  const auto* entryPoint = static_cast<const UINT8*>(TvqStartedOn());
  if (entryPoint == nullptr) {
    return EFI_NOT_FOUND;
  }
  const tvq::smbios::EntryPoint entry =
      tvq::smbios::ReadEntryPoint({entryPoint, tvq::smbios::kEntryPoint32.Size});
  Table->EntryPoint = entryPoint;
  Table->Structures = reinterpret_cast<const VOID*>(static_cast<UINTN>(entry.TableAddress));
  Table->Length = entry.TableLength;
  return EFI_SUCCESS;
}

}  // namespace

TVQ_PLATFORM_PROTOCOL gPlatformProtocol = {TVQ_PLATFORM_PROTOCOL_REVISION,
                                           GetAttribute,
                                           SetAttribute,
                                           GetStoredValue,
                                           GetLogLine,
                                           CountLostLines,
                                           AnnounceStoredData,
                                           ForgetStoredData,
                                           GetStartedTable};

}  // namespace tvqplatform
