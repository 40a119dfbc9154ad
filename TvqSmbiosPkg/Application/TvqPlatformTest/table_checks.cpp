/** @file
  Checks of the SMBIOS table that the driver will read.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

extern "C" {
#include <Guid/SmBios.h>
}

#include <IndustryStandard/SmbiosTvq.h>
#include <Library/SmbiosTableLib.h>
#include <Library/TvqDeviceLib.h>

#include "check.h"

namespace tvqtest {

namespace smbios = tvq::smbios;

namespace {

constexpr smbios::EntryPointLayout kEntry = smbios::kEntryPoint32;

/// The driver takes the first entry that has one.
VOID* FindEntryPoint() {
  for (UINTN i = 0; i < gST->NumberOfTableEntries; i++) {
    const EFI_CONFIGURATION_TABLE& entry = gST->ConfigurationTable[i];
    if (entry.VendorTable != nullptr && CompareGuid(&entry.VendorGuid, &gEfiSmbiosTableGuid)) {
      return entry.VendorTable;
    }
  }
  return nullptr;
}

/// The driver reads the fields of whatever is there, anchor or not.
const UINT8* EntryPoint() {
  return static_cast<const UINT8*>(FindEntryPoint());
}

smbios::Bytes Table() {
  const UINT8* entry = EntryPoint();
  const UINTN address = smbios::Read32(entry + kEntry.TableAddress);
  return {reinterpret_cast<const UINT8*>(address), smbios::Read16(entry + kEntry.TableLength)};
}

bool HasAnchor() {
  const UINT8* entry = EntryPoint();
  const UINTN size = MAX(entry[kEntry.Length], kEntry.Size);
  const smbios::EntryPoint values = smbios::ReadEntryPoint({entry, size});
  return values.Kind == smbios::EntryPointKind::k32Bit && values.Length >= kEntry.Size &&
         !values.Has(smbios::EntryPointDefect::kChecksum);
}

bool HasTable() {
  return Table().Data() != nullptr && Table().Size() >= smbios::kHeaderSize;
}

bool CountIsRight() {
  return HasTable() && smbios::Summarize(Table(), smbios::Reading::kStrict).Count ==
                           smbios::Read16(EntryPoint() + kEntry.StructureCount);
}

bool NamesDevices() {
  return HasTable() && tvq::devices::FindFqddMap(Table()) == tvq::devices::FqddMap::kUsable;
}

bool IsDevice(UINT16 handle) {
  for (const smbios::Structure& structure : smbios::Walk(Table())) {
    if (structure.Handle() == handle &&
        tvq::devices::KindOf(structure) != tvq::devices::Kind::kNone) {
      return true;
    }
  }
  return false;
}

bool AreGroupsOfDevices(const smbios::Structure& map) {
  constexpr UINTN kGroupSize = sizeof(SMBIOS_TVQ_FQDD_GROUP);
  for (UINTN group = tvq::devices::kFqddGroups; map.Has(group, kGroupSize); group += kGroupSize) {
    if (map.String(map.Byte(group + OFFSET_OF(SMBIOS_TVQ_FQDD_GROUP, StringNumber))).Length() ==
            0 ||
        !IsDevice(map.Word(group + OFFSET_OF(SMBIOS_TVQ_FQDD_GROUP, Handle)))) {
      return false;
    }
  }
  return true;
}

/// Another maker's structure of the same type and format passes for a map of the driver's, and no
/// device has an FQDD of it.
bool NamesOnlyDevices() {
  if (!HasTable()) {
    return false;
  }
  for (const smbios::Structure& structure : smbios::Walk(Table())) {
    if (structure.Type() == SMBIOS_TYPE_TVQ_FQDD_MAP && !AreGroupsOfDevices(structure)) {
      return false;
    }
  }
  return true;
}

constexpr Check kTableChecks[] = {
    {"the 32-bit entry point has its anchor and checksum", kNoFunction, HasAnchor},
    {"the entry point states where the table is", kNoFunction, HasTable},
    {"the table has as many structures as the entry point states", kNoFunction, CountIsRight},
    {"a structure of type 225, format 1, names the devices", kNoFunction, NamesDevices},
    {"each group of type 225 has a string and a device", kNoFunction, NamesOnlyDevices},
};

}  // namespace

const Group kTable = {
    "SMBIOS table",
    FindEntryPoint,
    "the start answers EFI_NOT_FOUND. Install a 32-bit entry point under gEfiSmbiosTableGuid; a "
    "64-bit one is not looked at.",
    "see IndustryStandard/SmbiosTvq.h for type 225, without which the start answers EFI_NOT_FOUND, "
    "and the SMBIOS specification for the entry point.",
    false,
    kTableChecks};

}  // namespace tvqtest
