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

/// Whether the UUID tells the machine from others: there is one, and somebody made it for the machine.
bool HasUsableUuid(const MachineIdentity& machine);

/// Whether a serial number tells one part from others of its model.
bool IsUsableNumber(smbios::Text serial);

}  // namespace tvqplatform

#endif
