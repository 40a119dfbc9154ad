/** @file
  The configuration document: the system's identifier and properties.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "configuration.h"

#include "../log.h"

namespace tvq {

namespace {

/// Bit of Slot Characteristics 2 that says that the slot can be hot-plugged (SMBIOS 7.10.7).
constexpr UINT8 kSlotHotPlug = BIT1;

/// The entries of an array that are there; a null array has none.
template <typename Entry, typename Write>
void ForEachEntry(UINT8 count, Entry** entries, Write write) {
  for (UINTN i = 0; entries != nullptr && i < count; i++) {
    if (entries[i] != nullptr) {
      write(*entries[i]);
    }
  }
}

void WriteChassis(XmlWriter& xml, const CHASSIS_INFO& chassis) {
  xml.Open("ChassisInformation");
  xml.Element("Manufacturer", chassis.Manufacturer);
  xml.Element("ServiceTag", chassis.ServiceTag);
  xml.Element("AssetTag", chassis.AssetTag);
  xml.Decimal("BootUpState", chassis.BootUpState);
  xml.Decimal("PowerSupplyState", chassis.PowerSupplyState);
  xml.Decimal("ThermalState", chassis.ThermalState);
  xml.Decimal("SecurityStatus", chassis.SecurityStatus);
  xml.Decimal("Height", chassis.Height);
  xml.Close("ChassisInformation");
}

UINT8 HotPlugOf(const PCI_SLOT_INFO& slot) {
  return (slot.HotPlug & kSlotHotPlug) != 0 ? 1 : 0;
}

void WriteSlot(XmlWriter& xml, const PCI_SLOT_INFO& slot) {
  xml.Open("PCISlotInfo");
  xml.Element("Desig", slot.Desig);
  xml.Hexadecimal("Type", slot.Type);
  xml.Hexadecimal("Width", slot.Width);
  xml.Hexadecimal("Usage", slot.Usage);
  xml.Hexadecimal("Len", slot.Len);
  xml.Hexadecimal("ID", slot.ID);
  xml.Hexadecimal("BDF", slot.Bus * 256 + slot.DevFn);
  xml.Hexadecimal("HotPlug", HotPlugOf(slot));
  xml.Close("PCISlotInfo");
}

/// 32 lower-case digits, in stored order.
void WriteUuid(XmlWriter& xml, const UINT8 (&uuid)[16]) {
  constexpr char kDigits[] = "0123456789abcdef";
  CHAR8 text[2 * sizeof(uuid) + 1];
  for (UINTN i = 0; i < sizeof(uuid); i++) {
    text[2 * i] = kDigits[uuid[i] >> 4];
    text[2 * i + 1] = kDigits[uuid[i] & 0xF];
  }
  text[2 * sizeof(uuid)] = '\0';
  xml.Element("UUID", text);
}

/// Each memory array deliberately repeats the system's UUID.
void WritePma(XmlWriter& xml, const PMA_INFO& pma, const UINT8 (&uuid)[16]) {
  xml.Open("PMAData");
  xml.Element("Name", pma.Name);
  xml.Decimal("Location", pma.Location);
  xml.Decimal("Use", pma.Use);
  WriteUuid(xml, uuid);
  xml.Decimal("MemoryErrorCorrection", pma.MemoryErrorCorrection);
  xml.Printed("MaximumCapacity", "%lld", pma.MaximumCapacity);
  xml.Decimal("MemoryErrorInfoHandle", pma.MemoryErrorInfoHandle);
  xml.Decimal("NumberOfMemoryDevices", pma.NumberOfMemoryDevices);
  xml.Printed("ExtendedMaximumCapacity", "%lld", pma.ExtendedMaximumCapacity);
  xml.Close("PMAData");
}

}  // namespace

void WriteSystemIdentifier(XmlWriter& xml, const TVQ_SYSTEM& system) {
  xml.Open("SystemInformation");
  xml.Element("ProductName", system.ProductName);
  xml.Element("Manufacturer", system.Manufacturer);
  xml.Element("ServiceTag", system.ServiceTag);
  xml.Close("SystemInformation");
  ForEachEntry(system.NumChassis, system.ChassisInfo,
               [&](const CHASSIS_INFO& chassis) { WriteChassis(xml, chassis); });
  ForEachEntry(system.NumBaseBoards, system.BaseBoardInfo, [&](const BASE_BOARD_INFO& board) {
    xml.Open("BaseBoardInformation");
    xml.Element("LocationInChassis", board.LocationInChassis);
    xml.Close("BaseBoardInformation");
  });
  Logger("getConfigBlob")("tvq->device.system.NumPCISlots : %d\n", system.NumPCISlots);
  ForEachEntry(system.NumPCISlots, system.PCISlotInfo,
               [&](const PCI_SLOT_INFO& slot) { WriteSlot(xml, slot); });
}

void SettleHotPlug(const TVQ_SYSTEM& system) {
  ForEachEntry(system.NumPCISlots, system.PCISlotInfo,
               [](PCI_SLOT_INFO& slot) { slot.HotPlug = HotPlugOf(slot); });
}

void WriteSystemData(XmlWriter& xml, const TVQ_SYSTEM& system) {
  ForEachEntry(system.NumPMA, system.PMAInfo,
               [&](const PMA_INFO& pma) { WritePma(xml, pma, system.UUID); });
  if (system.BIOSInfo != nullptr) {
    xml.Open("BIOSData");
    xml.Element("BIOSVersion", system.BIOSInfo->BIOSVersion);
    xml.Element("BIOSReleaseDate", system.BIOSInfo->BIOSReleaseDate);
    xml.Close("BIOSData");
  }
}

}  // namespace tvq
