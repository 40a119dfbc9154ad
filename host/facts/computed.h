/*
 * Facts that take more than reading one field.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FACTS_COMPUTED_H_
#define TVQ_HOST_FACTS_COMPUTED_H_

#include "host/facts/field.h"

namespace tvq::facts {

// Firmware (SMBIOS 7.1)
Value FirmwareRelease(const Source& source);
Value ControllerRelease(const Source& source);
Value RomSizeInBytes(const Source& source);

// System (7.2): as the kernel prints it, the first three fields as little-endian numbers from
// version 2.6 of the standard on. Not known where all bytes are 00h or FFh.
Value Uuid(const Source& source);

// Chassis (7.4)
Value ChassisType(const Source& source);
Value ChassisSku(const Source& source);
Value HeightInUnits(const Source& source);

// Processor (7.5)
Value IsSocketPopulated(const Source& source);
Value CoreCount(const Source& source);
Value EnabledCoreCount(const Source& source);
Value ThreadCount(const Source& source);

// Slot (7.10) and onboard device (7.42): "0000:3b:00.0", not known where it has none.
Value SlotId(const Source& source);
Value SlotAddress(const Source& source);
Value IsHotPlug(const Source& source);
Value OnboardType(const Source& source);
Value IsOnboardEnabled(const Source& source);
Value OnboardAddress(const Source& source);

// Memory array (7.17)
Value CapacityInBytes(const Source& source);

// Memory device (7.18): 0 bytes for an empty slot.
Value ModuleSizeInBytes(const Source& source);
Value RatedSpeed(const Source& source);
Value ConfiguredSpeed(const Source& source);
Value Rank(const Source& source);

// Power supply (7.40)
Value MaximumPowerInWatts(const Source& source);
Value IsSupplyPresent(const Source& source);

}  // namespace tvq::facts

#endif  // TVQ_HOST_FACTS_COMPUTED_H_
