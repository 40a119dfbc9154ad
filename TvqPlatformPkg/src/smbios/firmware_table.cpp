/** @file
  The firmware's own SMBIOS table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "firmware_table.h"

extern "C" {
#include <Guid/SmBios.h>
}

#include "publication.h"

namespace tvqplatform {

namespace {

/// Firmware states where its table is; there is no file around it that could end sooner.
[[nodiscard]] bool ReadBehind(const VOID* entryPoint, UINTN size, Capture& capture) {
  const Bytes entryBytes(static_cast<const UINT8*>(entryPoint), size);
  const smbios::EntryPoint entry = smbios::ReadEntryPoint(entryBytes);
  if (!entry || entry.TableAddress == 0) {
    return false;
  }
  const UINT8* structures = reinterpret_cast<const UINT8*>(static_cast<UINTN>(entry.TableAddress));
  ReadSeparateTable(entryBytes, {structures, entry.TableLength}, capture);
  return capture.Error == CaptureError::kNone;
}

}  // namespace

bool ReadFirmwareTable(Capture& capture) {
  const VOID* entry32 = FindConfigurationTable(gEfiSmbiosTableGuid);
  if (entry32 != nullptr && ReadBehind(entry32, smbios::kEntryPoint32.Size, capture)) {
    return true;
  }
  const VOID* entry64 = FindConfigurationTable(gEfiSmbios3TableGuid);
  return entry64 != nullptr && ReadBehind(entry64, smbios::kEntryPoint64.Size, capture);
}

}  // namespace tvqplatform
