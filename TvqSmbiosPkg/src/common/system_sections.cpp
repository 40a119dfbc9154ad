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
#include "record.h"

namespace tvq {

namespace {

constexpr Logger kLog("MakeSYSTEM");

/// Copies a text and logs it where there is one.
TextCopy CopyLogged(const CHAR8* ascii, const char16_t* format) {
  const TextCopy copy = CopyText(ascii);
  if (copy.Text != nullptr) {
    kLog(format, copy.Text);
  }
  return copy;
}

//
// Each kind of entry has Fill, which tells whether there was memory for its texts, and FreeTexts.
//

bool Fill(CHASSIS_INFO* info, const Structure& chassis) {
  const TextCopy manufacturer =
      CopyLogged(chassis.String(0x04), u"Chassis Manufacturer in smTVQ struct: %s\n");
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

/// Names of the Use values of a physical memory array (SMBIOS 7.17.2).
constexpr const char16_t* kPmaNames[] = {
    u"",
    u"Other",
    u"Unknown",
    u"System Memory",
    u"Video Memory",
    u"Flash Memory",
    u"Non-Volatile RAM",
    u"Cache Memory",
};

/// Room for the longest name and its terminator.
constexpr UINTN kPmaNameSize = 17;

bool Fill(PMA_INFO* info, const Structure& array) {
  auto name = PoolPtr<CHAR16>::Zeroed(kPmaNameSize);
  if (!name) {
    return false;
  }
  const UINT8 use = array.Byte(0x05);
  StrCpyS(name.Get(), kPmaNameSize, Ucs2(use < ARRAY_SIZE(kPmaNames) ? kPmaNames[use] : u""));
  kLog(u"PMA Name in smTVQ struct: %s\n", name.Get());
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
  const TextCopy version = CopyLogged(firmware.String(0x05), u"BIOS Version in smTVQ struct: %s\n");
  info->BIOSVersion = version.Text;
  if (version.Failed) {
    return false;
  }
  const TextCopy date =
      CopyLogged(firmware.String(0x08), u"BIOS Release Date in smTVQ struct: %s\n");
  info->BIOSReleaseDate = date.Text;
  return !date.Failed;
}

void FreeTexts(const BIOS_INFO* info) {
  FreeBlock(info->BIOSReleaseDate);
  FreeBlock(info->BIOSVersion);
}

bool Fill(BASE_BOARD_INFO* info, const Structure& board) {
  const TextCopy location =
      CopyLogged(board.String(0x0A), u"Base board location in chassis in smTVQ struct: %s\n");
  info->LocationInChassis = location.Text;
  if (location.Failed) {
    return false;
  }
  info->ChassisHandle = board.Handle(0x0B);
  kLog(u"Base board Chassis Handle in smTVQ struct: %x\n", info->ChassisHandle);
  return true;
}

void FreeTexts(const BASE_BOARD_INFO* info) {
  FreeBlock(info->LocationInChassis);
}

bool Fill(PCI_SLOT_INFO* info, const Structure& slot) {
  const TextCopy designation =
      CopyLogged(slot.String(0x04), u"PCI Slot designation in smTVQ struct: %s\n");
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
  kLog(u"PCI SLot ID in smTVQ struct: %x\n", info->ID);
  return true;
}

void FreeTexts(const PCI_SLOT_INFO* info) {
  FreeBlock(info->Desig);
}

template <typename Entry>
void FreeEntry(Entry* entry) {
  if (entry != nullptr) {
    FreeTexts(entry);
    FreeBlock(entry);
  }
}

/// What became of an entry.
enum class EntryResult {
  kFilled,
  kNoEntry,
  kNoText
};

/// A new entry in `*slot`. An entry whose text could not be had is freed again.
template <typename Entry>
EntryResult NewEntry(Entry** slot, const Structure& structure) {
  auto entry = PoolPtr<Entry>::Zeroed();
  if (!entry) {
    return EntryResult::kNoEntry;
  }
  if (!Fill(entry.Get(), structure)) {
    FreeTexts(entry.Get());
    return EntryResult::kNoText;
  }
  *slot = entry.Release();
  return EntryResult::kFilled;
}

template <typename Entry>
struct EntryArray {
  UINT8 Count;
  Entry** Entries;

  /// Frees the entries, newest first, and leaves their slots null.
  void FreeEntries() const {
    for (UINTN i = Count; Entries != nullptr && i-- != 0;) {
      FreeEntry(Entries[i]);
      Entries[i] = nullptr;
    }
  }
};

enum class OnMissingEntry {
  kKeepOthers,
  kFreeAll
};

/// Collects the structures of a type and builds an entry for each. The record counts in 8 bits, so
/// structures past the 255th get no entry.
template <typename Entry>
EntryArray<Entry> BuildEntries(UINT8 type, const char16_t* none, const char16_t* found,
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
  EntryArray<Entry> array = {count, PoolPtr<Entry*>::Zeroed(count).Release()};
  EntryResult result = EntryResult::kFilled;
  for (UINTN i = 0; array.Entries != nullptr && i < count && result == EntryResult::kFilled; i++) {
    result = NewEntry(&array.Entries[i], structures[i]);
  }
  if (result == EntryResult::kNoEntry && onMissingEntry == OnMissingEntry::kFreeAll) {
    array.FreeEntries();
  }
  return array;
}

template <typename Entry>
void FreeArray(UINT8 count, Entry** entries) {
  EntryArray<Entry>{count, entries}.FreeEntries();
  FreeBlock(entries);
}

}  // namespace

void FillChassisSection(TVQ_SYSTEM* system) {
  const auto array = BuildEntries<CHASSIS_INFO>(SMBIOS_TYPE_SYSTEM_ENCLOSURE,
                                                u"Did not find any CHASSIS SMBIOS structures\n",
                                                u"Found %d CHASSIS SMBIOS structures\n");
  system->NumChassis = array.Count;
  system->ChassisInfo = array.Entries;
}

void FillPmaSection(TVQ_SYSTEM* system) {
  const auto array = BuildEntries<PMA_INFO>(SMBIOS_TYPE_PHYSICAL_MEMORY_ARRAY,
                                            u"Did not find any PMA SMBIOS structures\n",
                                            u"Found %d PMA SMBIOS structures\n");
  system->NumPMA = array.Count;
  system->PMAInfo = array.Entries;
}

/// Unlike the system structure, a firmware structure that is missing or not the only one costs
/// just this section.
void FillBiosSection(TVQ_SYSTEM* system) {
  StructureList structures;
  const bool single =
      !EFI_ERROR(structures.Collect(SMBIOS_TYPE_BIOS_INFORMATION)) && structures.Count() == 1;
  if (!single) {
    kLog(u"Did not find or found way too many BIOS SMBIOS structures\n");
  }
  kLog(u"Found %d BIOS SMBIOS structures\n", structures.Count());
  if (single) {
    BIOS_INFO* info = nullptr;
    NewEntry(&info, structures[0]);
    system->BIOSInfo = info;
  }
}

void FillBaseBoardSection(TVQ_SYSTEM* system) {
  const auto array = BuildEntries<BASE_BOARD_INFO>(
      SMBIOS_TYPE_BASEBOARD_INFORMATION, u"Did not find any Base Board SMBIOS structures\n",
      u"Found %d Base Board structures\n");
  system->NumBaseBoards = array.Count;
  system->BaseBoardInfo = array.Entries;
}

void FillPciSlotSection(TVQ_SYSTEM* system) {
  const auto array = BuildEntries<PCI_SLOT_INFO>(
      SMBIOS_TYPE_SYSTEM_SLOTS, u"Did not find any PCI Slot SMBIOS structures\n",
      u"Found %d PCI Slot structures\n", OnMissingEntry::kFreeAll);
  system->NumPCISlots = array.Count;
  system->PCISlotInfo = array.Entries;
}

void FreeSystemSections(const TVQ_SYSTEM& system) {
  FreeArray<PCI_SLOT_INFO>(system.NumPCISlots, system.PCISlotInfo);
  FreeArray<BASE_BOARD_INFO>(system.NumBaseBoards, system.BaseBoardInfo);
  FreeEntry<BIOS_INFO>(system.BIOSInfo);
  FreeArray<PMA_INFO>(system.NumPMA, system.PMAInfo);
  FreeArray<CHASSIS_INFO>(system.NumChassis, system.ChassisInfo);
}

}  // namespace tvq
