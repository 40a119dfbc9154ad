/** @file
  Publishes an SMBIOS table: below 4 GiB, behind a 32-bit entry point in the configuration table.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "publication.h"

extern "C" {
#include <Guid/SmBios.h>
}

namespace tvqplatform {

namespace {

constexpr EFI_PHYSICAL_ADDRESS kLastAddress32 = MAX_UINT32;

/// The table follows the entry point on the next paragraph.
constexpr UINTN kTableOffset = 0x20;
static_assert(kTableOffset >= smbios::kEntryPoint32.Size, "the entry point has room");

/// Writes a 32-bit entry point for the table, which stands behind it.
void WriteEntryPointOf(const SmbiosTable& table, UINT8* memory) {
  smbios::EntryPoint entry;
  entry.Kind = smbios::EntryPointKind::k32Bit;
  entry.Major = table.Major;
  entry.Minor = table.Minor;
  entry.MaximumStructureSize = static_cast<UINT16>(smbios::Summarize(table.Structures).LargestSize);
  entry.StructureCount = table.StructureCount;
  entry.TableLength = static_cast<UINT32>(table.Structures.Size());
  entry.TableAddress = reinterpret_cast<UINTN>(memory + kTableOffset);
  (void)smbios::WriteEntryPoint(entry, {memory, kTableOffset});
}

}  // namespace

VOID* FindConfigurationTable(const EFI_GUID& guid) {
  for (UINTN i = 0; i < gST->NumberOfTableEntries; i++) {
    if (CompareGuid(&gST->ConfigurationTable[i].VendorGuid, &guid)) {
      return gST->ConfigurationTable[i].VendorTable;
    }
  }
  return nullptr;
}

Publication::~Publication() {
  Restore();
}

EFI_STATUS Publication::Publish(const SmbiosTable& table) {
  if (table.Structures.Size() > kMaximumTableSize) {
    return EFI_BAD_BUFFER_SIZE;
  }
  Restore();
  const UINTN pages = EFI_SIZE_TO_PAGES(kTableOffset + table.Structures.Size());
  EFI_PHYSICAL_ADDRESS address = kLastAddress32;
  EFI_STATUS status = gBS->AllocatePages(AllocateMaxAddress, EfiBootServicesData, pages, &address);
  if (EFI_ERROR(status)) {
    return status;
  }

  UINT8* memory = reinterpret_cast<UINT8*>(static_cast<UINTN>(address));
  WriteEntryPointOf(table, memory);
  CopyMem(memory + kTableOffset, table.Structures.Data(), table.Structures.Size());

  VOID* former = FindConfigurationTable(gEfiSmbiosTableGuid);
  status = gBS->InstallConfigurationTable(&gEfiSmbiosTableGuid, memory);
  if (EFI_ERROR(status)) {
    (void)gBS->FreePages(address, pages);
    return status;
  }
  mPublished = {memory, former};
  return EFI_SUCCESS;
}

void Publication::Restore() {
  const TVQ_PUBLISHED_TABLE published = Release();
  if (published.EntryPoint != nullptr &&
      FindConfigurationTable(gEfiSmbiosTableGuid) == published.EntryPoint) {
    (void)gBS->InstallConfigurationTable(&gEfiSmbiosTableGuid, published.Former);
  }
}

TVQ_PUBLISHED_TABLE Publication::Release() {
  const TVQ_PUBLISHED_TABLE published = mPublished;
  mPublished = {};
  return published;
}

Bytes TableBehind(const VOID* entryPoint) {
  const smbios::EntryPoint entry =
      smbios::ReadEntryPoint({static_cast<const UINT8*>(entryPoint), smbios::kEntryPoint32.Size});
  return {reinterpret_cast<const UINT8*>(static_cast<UINTN>(entry.TableAddress)),
          entry.TableLength};
}

}  // namespace tvqplatform
