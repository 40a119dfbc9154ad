/** @file
  What a machine says of itself, which tells it from others of its model.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "machine_identity.h"

#include <IndustryStandard/SmbiosFields.h>
#include <Library/TvqDeviceLib.h>

namespace tvqplatform {

namespace devices = tvq::devices;
using smbios::Field;
using smbios::Structure;

namespace {

Structure FirstOfType(Bytes table, UINT8 type) {
  for (const Structure& structure : smbios::Walk(table)) {
    if (structure.Type() == type) {
      return structure;
    }
  }
  return Structure();
}

/// An empty text is none.
smbios::Text FirstString(Bytes table, Field<UINT8> field) {
  const smbios::Text text = FirstOfType(table, field.Type).GetString(field);
  return text.Length() == 0 ? smbios::Text() : text;
}

}  // namespace

MachineIdentity ReadMachineIdentity(Bytes table) {
  constexpr auto kUuid = SMBIOS_FIELD(1, Uuid);
  MachineIdentity machine = {};
  const Structure system = FirstOfType(table, kUuid.Type);
  machine.HasUuid = system.Has(kUuid.Offset, sizeof(machine.Uuid));
  if (machine.HasUuid) {
    CopyMem(machine.Uuid, system.Formatted().From(kUuid.Offset).Data(), sizeof(machine.Uuid));
  }
  machine.SystemSerial = FirstString(table, SMBIOS_FIELD(1, SerialNumber));
  machine.BoardSerial = FirstString(table, SMBIOS_FIELD(2, SerialNumber));
  machine.ChassisSerial = FirstString(table, SMBIOS_FIELD(3, SerialNumber));
  return machine;
}

smbios::Text ReadModel(Bytes table) {
  return FirstString(table, SMBIOS_FIELD(1, ProductName));
}

bool HasUsableUuid(const MachineIdentity& machine) {
  return machine.HasUuid && !devices::SaysNone(machine.Uuid) && !devices::IsMadeUp(machine.Uuid);
}

bool HasSwappedUuids(const Snapshot& machine) {
  const SmbiosTable& table = machine.Table;
  return table.Structures.Empty() || table.Major > 2 || (table.Major == 2 && table.Minor >= 6);
}

void PrintUuid(const UINT8* uuid, bool isSwapped, CHAR8 (&text)[kUuidText]) {
  constexpr UINT8 kSwapped[devices::kUuidSize] = {3, 2, 1,  0,  5,  4,  7,  6,
                                                  8, 9, 10, 11, 12, 13, 14, 15};
  constexpr CHAR8 kDigits[] = "0123456789abcdef";
  UINTN length = 0;
  for (UINTN i = 0; i < devices::kUuidSize; i++) {
    if (i == 4 || i == 6 || i == 8 || i == 10) {
      text[length++] = '-';
    }
    const UINT8 byte = uuid[isSwapped ? kSwapped[i] : i];
    text[length++] = kDigits[byte >> 4];
    text[length++] = kDigits[byte & 0xF];
  }
  text[length] = '\0';
}

bool IsUsableNumber(smbios::Text serial) {
  return serial && !devices::IsDummy(serial);
}

}  // namespace tvqplatform
