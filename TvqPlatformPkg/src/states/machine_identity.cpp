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

bool HasUsableUuid(const MachineIdentity& machine) {
  return machine.HasUuid && !devices::SaysNone(machine.Uuid) && !devices::IsMadeUp(machine.Uuid);
}

bool IsUsableNumber(smbios::Text serial) {
  return serial && !devices::IsDummy(serial);
}

}  // namespace tvqplatform
