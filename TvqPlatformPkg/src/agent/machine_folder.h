/** @file
  The folder of this machine's states: one for each machine, so that one stick serves many.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_MACHINE_FOLDER_H_
#define TVQ_PLATFORM_AGENT_MACHINE_FOLDER_H_

#include "../states/machine_match.h"
#include "state_files.h"

namespace tvqplatform {

/// "\TVQ\machine-ABC1234", of the first number that tells the machine from others; of none,
/// "\TVQ\machine-without-number". From the second on, machines with one name get "-2", "-3", ...
void NameMachineFolder(const MachineIdentity& machine, UINT32 count, CHAR16 (&path)[kPathSize]);

/// Finds the folder whose newest state is of this machine: the one that is named after it, or else any
/// other, because a new board may have brought new numbers. Where there is none, `path` is the
/// folder that a first state goes to.
[[nodiscard]] EFI_STATUS FindMachineFolder(const Volume& volume, const Snapshot& now,
                                           CHAR16 (&path)[kPathSize]);

}  // namespace tvqplatform

#endif
