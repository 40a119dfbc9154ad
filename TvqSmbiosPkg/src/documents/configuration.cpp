/** @file
  The configuration document: its frame and the inventory section.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "configuration.h"

#include <Library/TvqDeviceLib.h>

#include "../log.h"

namespace tvq {

namespace {

/// Characters of a module's firmware version that the document keeps.
constexpr UINTN kFirmwareVersionLength = 31;

void WriteDimmIdentity(XmlWriter& xml, const TVQ_DIMM& dimm) {
  xml.Limited("WWN", dimm.Generic.WWN, devices::kSerialLength);
  if (dimm.ComponentID != 0) {
    xml.Decimal("ComponentID", dimm.ComponentID);
  } else {
    xml.Empty("ComponentID");
  }
  xml.Limited("FirmwareVersion", dimm.FirmwareVersion, kFirmwareVersionLength);
  if (dimm.ProductID != 0) {
    xml.Printed("ProductID", "0x%X", dimm.ProductID);
  } else {
    xml.Empty("ProductID");
  }
}

/// "CPU" and one character, which may be no digit, and ends the text when it is NUL.
void WriteCpuLocation(XmlWriter& xml, const TVQ_CPU& cpu) {
  CHAR8 location[10] = {};
  (void)ZvAsciiStrCpyS(location, sizeof(location), "CPU0");
  location[3] = static_cast<CHAR8>(static_cast<UINT8>('0' + cpu.Socket));
  xml.Element("CPULocation", location);
}

void WriteInventory(XmlWriter& xml, const TVQ_DEVICE& device) {
  xml.Open("Inventory");
  xml.Element("MarketingName", device.generic.MarketingName);
  if (device.generic.DeviceType == TVQ_DEVICE_TYPE_DIMM) {
    WriteDimmIdentity(xml, device.dimm);
  }
  xml.Open("Identifier");
  switch (device.generic.DeviceType) {
    case TVQ_DEVICE_TYPE_CPU:
      WriteCpuLocation(xml, device.cpu);
      break;
    case TVQ_DEVICE_TYPE_DIMM:
      xml.Element("DIMMLocation", device.dimm.DeviceLocator);
      break;
    case TVQ_DEVICE_TYPE_SYSTEM:
      WriteSystemIdentifier(xml, device.system);
      break;
    default:
      break;
  }
  xml.Close("Identifier");
  xml.Close("Inventory");
}

[[nodiscard]] EFI_STATUS WriteConfiguration(XmlWriter& xml, const TVQ_DEVICE& device) {
  EFI_STATUS status = EFI_SUCCESS;
  xml.Open("Configuration");
  switch (device.generic.DeviceType) {
    case TVQ_DEVICE_TYPE_CPU:
      WriteCpuData(xml, device.cpu);
      break;
    case TVQ_DEVICE_TYPE_DIMM:
      status = WriteDimmData(xml, device.dimm);
      break;
    case TVQ_DEVICE_TYPE_SYSTEM:
      WriteSystemData(xml, device.system);
      break;
    default:
      break;
  }
  xml.Close("Configuration");
  return status;
}

}  // namespace

EFI_STATUS WriteDocument(XmlWriter& xml, smTVQ* record) {
  xml.Append("<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
  xml.Append(
      "<tvqComponent xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
      "xsi:noNamespaceSchemaLocation=\"Inventory.xsd\">");
  WriteInventory(xml, record->device);
  const EFI_STATUS status = WriteConfiguration(xml, record->device);
  xml.Close("tvqComponent");
  if (EFI_ERROR(status)) {
    return status;
  }
  if (xml.Failed()) {
    Logger("getConfigBlob").Error("Failed to allocate memory for xml \n");
    return EFI_OUT_OF_RESOURCES;
  }
  return EFI_SUCCESS;
}

}  // namespace tvq
