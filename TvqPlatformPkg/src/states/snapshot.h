/** @file
  What a machine was at one time: its table, what it says of itself, and every device with its blobs.

  The machine of this boot is one, and a saved state is read as one, so that whatever compares two of
  them does not ask where they come from.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_STATES_SNAPSHOT_H_
#define TVQ_PLATFORM_STATES_SNAPSHOT_H_

#include <TvqCpp.h>

#include "../growing_array.h"
#include "../smbios/table.h"

namespace tvqplatform {

/// Longest FQDD that a device-list entry returns, and a terminator.
inline constexpr UINTN kSnapshotFqddSize = 32;

/// Why a device of the table has no record.
enum class WhyNoRecord : UINT8 {
  kHasRecord = 0,
  kClash = 1,        ///< Another device before it has the same device path.
  kRefused = 2,      ///< Nothing in the table tells why.
  kBehind = 3,       ///< The driver ended building this kind before it.
  kBehindTable = 4,  ///< The table ends before it, for the driver.
  kNotStarted = 5,   ///< The driver's start ended without records.
};

/// One device: a populated processor, a module, or the system.
struct SnapshotDevice {
  CHAR16 Fqdd[kSnapshotFqddSize];  ///< Empty for a device that has none.
  UINT32 ComponentClass;           ///< TVQ_CLASS_*.
  UINT16 Handle;                   ///< Of its structure in Table; kNoHandle where that is unknown.
  WhyNoRecord Why;
  tvq::Span<const UINT8> Blobs;  ///< One behind the other; empty where they could not be built.
};

/// What the blobs and names depend on beside the machine.
enum SnapshotOptions : UINT32 {
  kSnapshotAsIs = 1,      ///< The driver read the table as it stands, without it being conformed.
  kSnapshotRedacted = 2,  ///< Serial numbers and whatever else tells a machine are masked.
};

/// Where the rules are the same, an unchanged machine has the same FQDDs.
inline constexpr UINT32 kNamingRules = 2;
/// Of states that were saved before these rules had a number.
inline constexpr UINT32 kNamingRulesUnknown = 0;

/// What the machine says of itself. Texts are as the table has them, also placeholders; empty where
/// it has none.
struct MachineIdentity {
  bool HasUuid;
  UINT8 Uuid[16];  ///< As it stands in the table.
  smbios::Text SystemSerial;
  smbios::Text BoardSerial;
  smbios::Text ChassisSerial;
};

/// Owns its list; the bytes and texts that it refers to have to stay.
struct Snapshot {
  Snapshot();
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;
  ~Snapshot();

  /// Appends to Devices. False: there is no memory.
  [[nodiscard]] bool Add(const SnapshotDevice& device);

  SmbiosTable Table;  ///< As the machine published it; empty where it was not kept.
  MachineIdentity Machine = {};
  UINT32 Options = 0;                        ///< SnapshotOptions.
  UINT32 NamingRules = kNamingRulesUnknown;  ///< kNamingRules where this version made the names.
  UINT64 Time = 0;                           ///< Seconds since 1970, UTC; 0 where it is unknown.
  smbios::Text Program;                      ///< Version of the program that took it.
  OwnedArray<SnapshotDevice> Devices;        ///< Those with a record in their order, then others.
};

}  // namespace tvqplatform

#endif
