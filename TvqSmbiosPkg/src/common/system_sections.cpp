/** @file
  Sections of the system record.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "system_sections.h"

extern "C" {
#include <IndustryStandard/SmBios.h>
}

#include "../smbios/structure.h"
#include "../support/log.h"
#include "../support/text.h"
#include "record.h"

namespace tvq {

namespace {

constexpr Logger kLog("MakeSYSTEM");

//
// Each kind of entry has Fill, which tells whether there was memory for its texts, and FreeTexts.
//

bool Fill(CHASSIS_INFO* info, const Structure& chassis) {
  const TextCopy manufacturer =
      CopyLogged(kLog, "Chassis Manufacturer in smTVQ struct: %s\n", chassis.String(0x04));
  info->Manufacturer = manufacturer.Text;
  if (manufacturer.Failed) {
    return false;
  }
  const TextCopy serviceTag = CopyText(chassis.String(0x07));
  info->ServiceTag = serviceTag.Text;
  if (serviceTag.Failed) {
    return false;
  }
  const TextCopy assetTag = CopyText(chassis.String(0x08));
  info->AssetTag = assetTag.Text;
  if (assetTag.Failed) {
    return false;
  }
  info->BootUpState = chassis.Byte(0x09);
  info->PowerSupplyState = chassis.Byte(0x0A);
  info->ThermalState = chassis.Byte(0x0B);
  info->SecurityStatus = chassis.Byte(0x0C);
  info->Height = chassis.Byte(0x11);
  return true;
}

void FreeTexts(const CHASSIS_INFO* info) {
  FreeBlock(info->AssetTag);
  FreeBlock(info->ServiceTag);
  FreeBlock(info->Manufacturer);
}

/// Room for the longest name and its terminator.
constexpr UINTN kPmaNameSize = 17;

/// Names of the Use values of a physical memory array (SMBIOS 7.17.2).
constexpr char kPmaNames[][kPmaNameSize] = {
    "",
    "Other",
    "Unknown",
    "System Memory",
    "Video Memory",
    "Flash Memory",
    "Non-Volatile RAM",
    "Cache Memory",
};

bool Fill(PMA_INFO* info, const Structure& array) {
  auto name = PoolPtr<CHAR16>::Zeroed(kPmaNameSize);
  if (!name) {
    return false;
  }
  const UINT8 use = array.Byte(0x05);
  WidenInto(name.Get(), kPmaNameSize, use < ARRAY_SIZE(kPmaNames) ? kPmaNames[use] : "");
  kLog("PMA Name in smTVQ struct: %s\n", name.Get());
  info->Name = name.Release();
  info->Location = array.Byte(0x04);
  info->Use = use;
  info->MemoryErrorCorrection = array.Byte(0x06);
  info->MaximumCapacity = array.Dword(0x07);
  info->MemoryErrorInfoHandle = array.Handle(0x0B);
  info->NumberOfMemoryDevices = array.Word(0x0D);
  info->ExtendedMaximumCapacity = array.Qword(0x0F);
  return true;
}

void FreeTexts(const PMA_INFO* info) {
  FreeBlock(info->Name);
}

bool Fill(BIOS_INFO* info, const Structure& firmware) {
  const TextCopy version =
      CopyLogged(kLog, "BIOS Version in smTVQ struct: %s\n", firmware.String(0x05));
  info->BIOSVersion = version.Text;
  if (version.Failed) {
    return false;
  }
  const TextCopy date =
      CopyLogged(kLog, "BIOS Release Date in smTVQ struct: %s\n", firmware.String(0x08));
  info->BIOSReleaseDate = date.Text;
  return !date.Failed;
}

void FreeTexts(const BIOS_INFO* info) {
  FreeBlock(info->BIOSReleaseDate);
  FreeBlock(info->BIOSVersion);
}

bool Fill(BASE_BOARD_INFO* info, const Structure& board) {
  const TextCopy location =
      CopyLogged(kLog, "Base board location in chassis in smTVQ struct: %s\n", board.String(0x0A));
  info->LocationInChassis = location.Text;
  if (location.Failed) {
    return false;
  }
  info->ChassisHandle = board.Handle(0x0B);
  kLog("Base board Chassis Handle in smTVQ struct: %x\n", info->ChassisHandle);
  return true;
}

void FreeTexts(const BASE_BOARD_INFO* info) {
  FreeBlock(info->LocationInChassis);
}

bool Fill(PCI_SLOT_INFO* info, const Structure& slot) {
  const TextCopy designation =
      CopyLogged(kLog, "PCI Slot designation in smTVQ struct: %s\n", slot.String(0x04));
  info->Desig = designation.Text;
  if (designation.Failed) {
    return false;
  }
  info->Type = slot.Byte(0x05);
  info->Width = slot.Byte(0x06);
  info->Len = slot.Byte(0x08);
  info->ID = slot.Word(0x09);
  info->Usage = slot.Byte(0x07);
  info->Bus = slot.Byte(0x0F);
  info->DevFn = slot.Byte(0x10);
  info->HotPlug = slot.Byte(0x0C);
  kLog("PCI SLot ID in smTVQ struct: %x\n", info->ID);
  return true;
}

void FreeTexts(const PCI_SLOT_INFO* info) {
  FreeBlock(info->Desig);
}

/// The entries of a section, whatever their kind.
struct Entries {
  UINT8 Count;
  VOID** Slots;
};

/// A kind of entry.
struct EntryKind {
  UINTN Size;
  bool (*Fill)(VOID* entry, const Structure& structure);
  void (*FreeTexts)(const VOID* entry);
};

template <typename Entry>
bool FillAs(VOID* entry, const Structure& structure) {
  return Fill(static_cast<Entry*>(entry), structure);
}

template <typename Entry>
void FreeTextsAs(const VOID* entry) {
  FreeTexts(static_cast<const Entry*>(entry));
}

template <typename Entry>
constexpr EntryKind KindOf() {
  return {sizeof(Entry), FillAs<Entry>, FreeTextsAs<Entry>};
}

void FreeEntry(const EntryKind& kind, VOID* entry) {
  if (entry != nullptr) {
    kind.FreeTexts(entry);
    FreeBlock(entry);
  }
}

/// Frees the entries, newest first, and leaves their slots null.
void FreeEntries(const EntryKind& kind, const Entries& entries) {
  for (UINTN i = entries.Count; entries.Slots != nullptr && i-- != 0;) {
    FreeEntry(kind, entries.Slots[i]);
    entries.Slots[i] = nullptr;
  }
}

/// What became of an entry.
enum class EntryResult {
  kFilled,
  kNoEntry,
  kNoText
};

/// A new entry in `*slot`. An entry whose text could not be had is freed again.
EntryResult NewEntry(const EntryKind& kind, VOID** slot, const Structure& structure) {
  VOID* entry = AllocateZeroPool(kind.Size);
  if (entry == nullptr) {
    return EntryResult::kNoEntry;
  }
  if (!kind.Fill(entry, structure)) {
    FreeEntry(kind, entry);
    return EntryResult::kNoText;
  }
  *slot = entry;
  return EntryResult::kFilled;
}

enum class OnMissingEntry {
  kKeepOthers,
  kFreeAll
};

/// Collects the structures of a type and builds an entry for each. The record counts in 8 bits, so
/// structures past the 255th get no entry.
Entries BuildEntries(const EntryKind& kind, UINT8 type, LogFormat none, LogFormat found,
                     OnMissingEntry onMissingEntry = OnMissingEntry::kKeepOthers) {
  StructureList structures;
  const bool any = !EFI_ERROR(structures.Collect(type)) && structures.Any();
  if (!any) {
    kLog(none);
  }
  kLog(found, structures.Count());
  if (!any) {
    return {0, nullptr};
  }

  const UINT8 count = static_cast<UINT8>(MIN(structures.Count(), static_cast<UINT16>(MAX_UINT8)));
  const Entries entries = {count, PoolPtr<VOID*>::Zeroed(count).Release()};
  EntryResult result = EntryResult::kFilled;
  for (UINTN i = 0; entries.Slots != nullptr && i < count && result == EntryResult::kFilled; i++) {
    result = NewEntry(kind, &entries.Slots[i], structures[i]);
  }
  if (result == EntryResult::kNoEntry && onMissingEntry == OnMissingEntry::kFreeAll) {
    FreeEntries(kind, entries);
  }
  return entries;
}

/// The array of a section in the record.
template <typename Entry>
Entry** ArrayOf(const Entries& entries) {
  return reinterpret_cast<Entry**>(entries.Slots);
}

template <typename Entry>
void FreeArray(UINT8 count, Entry** array) {
  FreeEntries(KindOf<Entry>(), {count, reinterpret_cast<VOID**>(array)});
  FreeBlock(array);
}

}  // namespace

void FillChassisSection(TVQ_SYSTEM* system) {
  const Entries entries = BuildEntries(KindOf<CHASSIS_INFO>(), SMBIOS_TYPE_SYSTEM_ENCLOSURE,
                                       "Did not find any CHASSIS SMBIOS structures\n",
                                       "Found %d CHASSIS SMBIOS structures\n");
  system->NumChassis = entries.Count;
  system->ChassisInfo = ArrayOf<CHASSIS_INFO>(entries);
}

void FillPmaSection(TVQ_SYSTEM* system) {
  const Entries entries =
      BuildEntries(KindOf<PMA_INFO>(), SMBIOS_TYPE_PHYSICAL_MEMORY_ARRAY,
                   "Did not find any PMA SMBIOS structures\n", "Found %d PMA SMBIOS structures\n");
  system->NumPMA = entries.Count;
  system->PMAInfo = ArrayOf<PMA_INFO>(entries);
}

/// Unlike the system structure, a firmware structure that is missing or not the only one costs
/// just this section.
void FillBiosSection(TVQ_SYSTEM* system) {
  StructureList structures;
  const bool single =
      !EFI_ERROR(structures.Collect(SMBIOS_TYPE_BIOS_INFORMATION)) && structures.Count() == 1;
  if (!single) {
    kLog("Did not find or found way too many BIOS SMBIOS structures\n");
  }
  kLog("Found %d BIOS SMBIOS structures\n", structures.Count());
  if (single) {
    VOID* info = nullptr;
    NewEntry(KindOf<BIOS_INFO>(), &info, structures[0]);
    system->BIOSInfo = static_cast<BIOS_INFO*>(info);
  }
}

void FillBaseBoardSection(TVQ_SYSTEM* system) {
  const Entries entries = BuildEntries(KindOf<BASE_BOARD_INFO>(), SMBIOS_TYPE_BASEBOARD_INFORMATION,
                                       "Did not find any Base Board SMBIOS structures\n",
                                       "Found %d Base Board structures\n");
  system->NumBaseBoards = entries.Count;
  system->BaseBoardInfo = ArrayOf<BASE_BOARD_INFO>(entries);
}

void FillPciSlotSection(TVQ_SYSTEM* system) {
  const Entries entries = BuildEntries(KindOf<PCI_SLOT_INFO>(), SMBIOS_TYPE_SYSTEM_SLOTS,
                                       "Did not find any PCI Slot SMBIOS structures\n",
                                       "Found %d PCI Slot structures\n", OnMissingEntry::kFreeAll);
  system->NumPCISlots = entries.Count;
  system->PCISlotInfo = ArrayOf<PCI_SLOT_INFO>(entries);
}

void FreeSystemSections(const TVQ_SYSTEM& system) {
  FreeArray<PCI_SLOT_INFO>(system.NumPCISlots, system.PCISlotInfo);
  FreeArray<BASE_BOARD_INFO>(system.NumBaseBoards, system.BaseBoardInfo);
  FreeEntry(KindOf<BIOS_INFO>(), system.BIOSInfo);
  FreeArray<PMA_INFO>(system.NumPMA, system.PMAInfo);
  FreeArray<CHASSIS_INFO>(system.NumChassis, system.ChassisInfo);
}

}  // namespace tvq
