/** @file
  Names for all processors and memory slots of a table, which stay with their sockets and slots
  whatever is put in and taken out.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_NAMES_DEVICE_NAMES_H_
#define TVQ_PLATFORM_SMBIOS_NAMES_DEVICE_NAMES_H_

#include <Library/TvqDeviceLib.h>

#include "../../growing_array.h"
#include "slot_name.h"

namespace tvqplatform {

/// Room for an FQDD that the driver returns whole, and its terminator.
inline constexpr UINTN kFqddSize = 16;

/// Why a device does not have the name that its texts alone would give it.
enum class NameConflict : UINT8 {
  kNone,
  kSameName,   ///< Other texts give the same. Deliberate: neither of the two has it.
  kSameTexts,  ///< A slot before it has the same texts.
};

/// A processor socket or a memory slot, with or without a part in it.
struct NamedDevice {
  smbios::Structure Where;  ///< In the machine's own table.
  bool IsProcessor;
  bool HasRecord;      ///< There is a part in it, and the driver makes a record of it.
  bool CanBeRenamed;   ///< The structure is long enough for a name.
  bool IsWellNamed;    ///< The driver reads the name from the text as it is.
  smbios::Text Label;  ///< The socket designation or the locator, as the machine prints it.
  SlotTexts Texts;

  UINT32 Number;                    ///< Of a processor.
  CHAR8 Name[kSlotNameLength + 1];  ///< Of a slot.
  const CHAR8* Rule;                ///< What gave number or name.
  NameConflict Conflict;
  UINT16 Other;                       ///< Handle of the device that it conflicts with.
  CHAR8 Wanted[kSlotNameLength + 1];  ///< The name or number that both would have.

  CHAR8 Fqdd[kFqddSize];
  smbios::Text TablesFqdd;     ///< What the table's own type 225 says; none where it says nothing.
  UINTN Group;                 ///< Where in the table it says so.
  bool IsFqddKept;             ///< That is the FQDD.
  NamedDevice* RightfulOwner;  ///< Another device, whose name would give it.
};

/// Whether the structure is a socket or slot that gets a name. High-bandwidth memory gets none: the
/// driver finds it by its locator, as a part of a processor.
bool GetsName(const smbios::Structure& structure);

/// Gives the device the FQDD of its number or name.
void TakeFqddOfName(NamedDevice& device);

enum class NamingResult : UINT8 {
  kNamed,
  kTooManyProcessors,
  kTooManyModules,
  kOutOfMemory
};

/// Names all devices of the table; they follow one another as in the table.
[[nodiscard]] NamingResult NameDevices(Bytes table, GrowingArray<NamedDevice>& devices);

}  // namespace tvqplatform

#endif
