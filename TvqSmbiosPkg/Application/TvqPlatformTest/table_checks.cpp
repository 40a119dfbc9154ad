/** @file
  Checks of the SMBIOS table that the driver will read.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

extern "C" {
#include <Guid/SmBios.h>
#include <IndustryStandard/SmBios.h>
}

#include <IndustryStandard/SmbiosTvq.h>

#include "check.h"

namespace tvqtest {

namespace {

VOID* FindEntryPoint() {
  return LastConfigurationTable(gEfiSmbiosTableGuid);
}

const SMBIOS_TABLE_ENTRY_POINT* EntryPoint() {
  return static_cast<const SMBIOS_TABLE_ENTRY_POINT*>(FindEntryPoint());
}

tvq::Span<const UINT8> Table() {
  const SMBIOS_TABLE_ENTRY_POINT* entry = EntryPoint();
  return {reinterpret_cast<const UINT8*>(static_cast<UINTN>(entry->TableAddress)),
          entry->TableLength};
}

/// The structure behind the one at `offset`, its strings included; the table's end when it is cut.
UINTN NextStructure(tvq::Span<const UINT8> table, UINTN offset) {
  UINTN end = offset + table[offset + 1];
  while (end + 1 < table.Size() && (table[end] != 0 || table[end + 1] != 0)) {
    end++;
  }
  return MIN(end + 2, table.Size());
}

/// Calls visit(structure, its type, its length) until it returns true or the table ends.
template <typename Visit>
bool AnyStructure(Visit visit) {
  const tvq::Span<const UINT8> table = Table();
  UINTN offset = 0;
  while (table.Size() - offset >= sizeof(SMBIOS_STRUCTURE) &&
         table[offset + 1] >= sizeof(SMBIOS_STRUCTURE)) {
    const UINTN length = MIN(table[offset + 1], table.Size() - offset);
    if (visit(tvq::Span<const UINT8>(table.Data() + offset, length))) {
      return true;
    }
    offset = NextStructure(table, offset);
  }
  return false;
}

bool HasAnchor() {
  const SMBIOS_TABLE_ENTRY_POINT* entry = EntryPoint();
  return CompareMem(entry->AnchorString, "_SM_", 4) == 0 &&
         entry->EntryPointLength >= sizeof(SMBIOS_TABLE_ENTRY_POINT) &&
         CalculateSum8(reinterpret_cast<const UINT8*>(entry), entry->EntryPointLength) == 0;
}

bool HasTable() {
  return EntryPoint()->TableAddress != 0 && Table().Size() >= sizeof(SMBIOS_STRUCTURE);
}

bool CountIsRight() {
  if (!HasTable()) {
    return false;
  }
  UINTN count = 0;
  AnyStructure([&count](tvq::Span<const UINT8>) {
    count++;
    return false;
  });
  return count == EntryPoint()->NumberOfSmbiosStructures;
}

bool NamesDevices() {
  return HasTable() && AnyStructure([](tvq::Span<const UINT8> structure) {
           return structure[0] == SMBIOS_TYPE_TVQ_FQDD_MAP &&
                  structure.Size() >= sizeof(SMBIOS_TABLE_TYPE225) &&
                  structure[OFFSET_OF(SMBIOS_TABLE_TYPE225, Format)] == SMBIOS_TVQ_FQDD_MAP_FORMAT;
         });
}

constexpr Check kTableChecks[] = {
    {"the 32-bit entry point has its anchor and checksum", kNoFunction, HasAnchor},
    {"the entry point states where the table is", kNoFunction, HasTable},
    {"the table has as many structures as the entry point states", kNoFunction, CountIsRight},
    {"a structure of type 225, format 1, names the devices", kNoFunction, NamesDevices},
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
