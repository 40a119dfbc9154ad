/** @file
  What a machine says of itself, which tells it from others of its model.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_STATES_MACHINE_IDENTITY_H_
#define TVQ_PLATFORM_STATES_MACHINE_IDENTITY_H_

#include "snapshot.h"

namespace tvqplatform {

/// UUID and serial numbers of the first system, board and chassis of a table, which has to stay.
MachineIdentity ReadMachineIdentity(Bytes table);

/// What its maker calls the model; no text where the table does not say.
smbios::Text ReadModel(Bytes table);

/// Whether the UUID tells the machine from others: there is one, and somebody made it for the machine.
bool HasUsableUuid(const MachineIdentity& machine);

/// Whether the UUIDs of the machine's table stand in the usual order: from SMBIOS 2.6 on (7.2.1), the bytes
/// of the first three groups stand with the lowest first. Of a machine whose table was not kept, nobody
/// knows an older one.
bool HasSwappedUuids(const Snapshot& machine);

/// Room for a UUID in its usual form, and its terminator.
inline constexpr UINTN kUuidText = 37;
void PrintUuid(const UINT8* uuid, bool isSwapped, CHAR8 (&text)[kUuidText]);

/// Whether a serial number tells one part from others of its model.
bool IsUsableNumber(smbios::Text serial);

}  // namespace tvqplatform

#endif
