/** @file
  Sections of the system record.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "system_sections.h"

#include <IndustryStandard/SmbiosFields.h>

#include "../text.h"
#include "record.h"
#include "system_entries.h"

namespace tvq {

namespace {

constexpr Logger kLog("MakeSYSTEM");

//
// Each kind of entry has Fill, which needs memory for its texts, and FreeTexts.
//

Outcome Fill(CHASSIS_INFO* info, const Structure& chassis) {
  TVQ_TRY_COPY(info->Manufacturer, CopyLogged(kLog, "Chassis Manufacturer in smTVQ struct: %s\n",
                                              chassis.GetString(SMBIOS_FIELD(3, Manufacturer))));
  TVQ_TRY_COPY(info->ServiceTag, CopyText(chassis.GetString(SMBIOS_FIELD(3, SerialNumber))));
  TVQ_TRY_COPY(info->AssetTag, CopyText(chassis.GetString(SMBIOS_FIELD(3, AssetTag))));
  info->BootUpState = chassis.Get(SMBIOS_FIELD(3, BootupState));
  info->PowerSupplyState = chassis.Get(SMBIOS_FIELD(3, PowerSupplyState));
  info->ThermalState = chassis.Get(SMBIOS_FIELD(3, ThermalState));
  info->SecurityStatus = chassis.Get(SMBIOS_FIELD(3, SecurityStatus));
  info->Height = chassis.Get(SMBIOS_FIELD(3, Height));
  return Outcome::Done();
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

Outcome Fill(PMA_INFO* info, const Structure& array) {
  auto name = PoolPtr<CHAR16>::Zeroed(kPmaNameSize);
  if (!name) {
    return Outcome::NoMemory();
  }
  const UINT8 use = array.Get(SMBIOS_FIELD(16, Use));
  WidenInto(name.Get(), kPmaNameSize, use < ARRAY_SIZE(kPmaNames) ? kPmaNames[use] : "");
  kLog("PMA Name in smTVQ struct: %s\n", name.Get());
  info->Name = name.Release();
  info->Location = array.Get(SMBIOS_FIELD(16, Location));
  info->Use = use;
  info->MemoryErrorCorrection = array.Get(SMBIOS_FIELD(16, MemoryErrorCorrection));
  info->MaximumCapacity = array.Get(SMBIOS_FIELD(16, MaximumCapacity));
  info->MemoryErrorInfoHandle = array.GetHandle(SMBIOS_FIELD(16, MemoryErrorInformationHandle));
  info->NumberOfMemoryDevices = array.Get(SMBIOS_FIELD(16, NumberOfMemoryDevices));
  info->ExtendedMaximumCapacity = array.Get(SMBIOS_FIELD(16, ExtendedMaximumCapacity));
  return Outcome::Done();
}

void FreeTexts(const PMA_INFO* info) {
  FreeBlock(info->Name);
}

Outcome Fill(BIOS_INFO* info, const Structure& firmware) {
  TVQ_TRY_COPY(info->BIOSVersion, CopyLogged(kLog, "BIOS Version in smTVQ struct: %s\n",
                                             firmware.GetString(SMBIOS_FIELD(0, BiosVersion))));
  TVQ_TRY_COPY(info->BIOSReleaseDate,
               CopyLogged(kLog, "BIOS Release Date in smTVQ struct: %s\n",
                          firmware.GetString(SMBIOS_FIELD(0, BiosReleaseDate))));
  return Outcome::Done();
}

void FreeTexts(const BIOS_INFO* info) {
  FreeBlock(info->BIOSReleaseDate);
  FreeBlock(info->BIOSVersion);
}

Outcome Fill(BASE_BOARD_INFO* info, const Structure& board) {
  TVQ_TRY_COPY(info->LocationInChassis,
               CopyLogged(kLog, "Base board location in chassis in smTVQ struct: %s\n",
                          board.GetString(SMBIOS_FIELD(2, LocationInChassis))));
  info->ChassisHandle = board.GetHandle(SMBIOS_FIELD(2, ChassisHandle));
  kLog("Base board Chassis Handle in smTVQ struct: %x\n", info->ChassisHandle);
  return Outcome::Done();
}

void FreeTexts(const BASE_BOARD_INFO* info) {
  FreeBlock(info->LocationInChassis);
}

Outcome Fill(PCI_SLOT_INFO* info, const Structure& slot) {
  TVQ_TRY_COPY(info->Desig, CopyLogged(kLog, "PCI Slot designation in smTVQ struct: %s\n",
                                       slot.GetString(SMBIOS_FIELD(9, SlotDesignation))));
  info->Type = slot.Get(SMBIOS_FIELD(9, SlotType));
  info->Width = slot.Get(SMBIOS_FIELD(9, SlotDataBusWidth));
  info->Len = slot.Get(SMBIOS_FIELD(9, SlotLength));
  info->ID = slot.Get(SMBIOS_FIELD(9, SlotID));
  info->Usage = slot.Get(SMBIOS_FIELD(9, CurrentUsage));
  info->Bus = slot.Get(SMBIOS_FIELD(9, BusNum));
  info->DevFn = slot.Get(SMBIOS_FIELD(9, DevFuncNum));
  info->HotPlug = slot.Get(SMBIOS_FIELD(9, SlotCharacteristics2).As<UINT8>());
  kLog("PCI SLot ID in smTVQ struct: %x\n", info->ID);
  return Outcome::Done();
}

void FreeTexts(const PCI_SLOT_INFO* info) {
  FreeBlock(info->Desig);
}

template <typename Entry>
Outcome FillAs(VOID* entry, const Structure& structure) {
  return Fill(static_cast<Entry*>(entry), structure);
}

template <typename Entry>
void FreeTextsAs(const VOID* entry) {
  FreeTexts(static_cast<const Entry*>(entry));
}

template <typename Entry>
constexpr EntryKind KindOf(UINT8 type, LogFormat none, LogFormat found,
                           OnMissingEntry whenMissing = OnMissingEntry::kKeepOthers) {
  return {type, whenMissing, sizeof(Entry), FillAs<Entry>, FreeTextsAs<Entry>, none, found};
}

constexpr EntryKind kChassis = KindOf<CHASSIS_INFO>(SMBIOS_TYPE_SYSTEM_ENCLOSURE,
                                                    "Did not find any CHASSIS SMBIOS structures\n",
                                                    "Found %d CHASSIS SMBIOS structures\n");
constexpr EntryKind kPma =
    KindOf<PMA_INFO>(SMBIOS_TYPE_PHYSICAL_MEMORY_ARRAY, "Did not find any PMA SMBIOS structures\n",
                     "Found %d PMA SMBIOS structures\n");
constexpr EntryKind kBios = KindOf<BIOS_INFO>(
    SMBIOS_TYPE_BIOS_INFORMATION, "Did not find or found way too many BIOS SMBIOS structures\n",
    "Found %d BIOS SMBIOS structures\n");
constexpr EntryKind kBaseBoard = KindOf<BASE_BOARD_INFO>(
    SMBIOS_TYPE_BASEBOARD_INFORMATION, "Did not find any Base Board SMBIOS structures\n",
    "Found %d Base Board structures\n");
/// Deliberate: slots alone are all given up when there is no memory for one of them.
constexpr EntryKind kPciSlot =
    KindOf<PCI_SLOT_INFO>(SMBIOS_TYPE_SYSTEM_SLOTS, "Did not find any PCI Slot SMBIOS structures\n",
                          "Found %d PCI Slot structures\n", OnMissingEntry::kFreeAll);

/// The array of a section in the record.
template <typename Entry>
Entry** ArrayOf(const Entries& entries) {
  return reinterpret_cast<Entry**>(entries.Slots);
}

template <typename Entry>
void FreeArray(const EntryKind& kind, UINT8 count, Entry** array) {
  FreeEntries(kind, {count, reinterpret_cast<VOID**>(array)});
  FreeBlock(array);
}

}  // namespace

void FillChassisSection(TVQ_SYSTEM* system) {
  const Entries entries = BuildEntries(kChassis);
  system->NumChassis = entries.Count;
  system->ChassisInfo = ArrayOf<CHASSIS_INFO>(entries);
}

void FillPmaSection(TVQ_SYSTEM* system) {
  const Entries entries = BuildEntries(kPma);
  system->NumPMA = entries.Count;
  system->PMAInfo = ArrayOf<PMA_INFO>(entries);
}

/// Deliberate: unlike the system structure, a firmware structure that is missing or not the only one
/// costs just this section.
void FillBiosSection(TVQ_SYSTEM* system) {
  StructureList structures;
  const bool single = !EFI_ERROR(structures.Collect(kBios.Type)) && structures.Count() == 1;
  if (!single) {
    kLog(kBios.None);
  }
  kLog(kBios.Found, structures.Count());
  if (single) {
    system->BIOSInfo = static_cast<BIOS_INFO*>(BuildEntry(kBios, structures[0]));
  }
}

void FillBaseBoardSection(TVQ_SYSTEM* system) {
  const Entries entries = BuildEntries(kBaseBoard);
  system->NumBaseBoards = entries.Count;
  system->BaseBoardInfo = ArrayOf<BASE_BOARD_INFO>(entries);
}

void FillPciSlotSection(TVQ_SYSTEM* system) {
  const Entries entries = BuildEntries(kPciSlot);
  system->NumPCISlots = entries.Count;
  system->PCISlotInfo = ArrayOf<PCI_SLOT_INFO>(entries);
}

void FreeSystemSections(const TVQ_SYSTEM& system) {
  FreeArray(kPciSlot, system.NumPCISlots, system.PCISlotInfo);
  FreeArray(kBaseBoard, system.NumBaseBoards, system.BaseBoardInfo);
  FreeEntry(kBios, system.BIOSInfo);
  FreeArray(kPma, system.NumPMA, system.PMAInfo);
  FreeArray(kChassis, system.NumChassis, system.ChassisInfo);
}

}  // namespace tvq
