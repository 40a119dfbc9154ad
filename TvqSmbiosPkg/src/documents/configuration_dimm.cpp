/** @file
  The configuration document: a memory module's properties.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "configuration.h"

namespace tvq {

namespace {

/// Trims the record's part number in place and writes what stands before its first blank.
[[nodiscard]] EFI_STATUS WritePartNumber(XmlWriter& xml, CHAR8* partNumber) {
  if (partNumber == nullptr) {
    xml.Empty("PartNumber");
    return EFI_SUCCESS;
  }
  ZvAsciiStrTrim(partNumber, ' ');
  UINTN length = 0;
  while (partNumber[length] != '\0' && partNumber[length] != ' ') {
    length++;
  }
  PoolPtr<CHAR8> word(static_cast<CHAR8*>(ZvAllocateZero(length + 1)));
  if (!word) {
    return EFI_OUT_OF_RESOURCES;
  }
  CopyMem(word.Get(), partNumber, length);
  xml.Element("PartNumber", word.Get());
  return EFI_SUCCESS;
}

}  // namespace

EFI_STATUS WriteDimmData(XmlWriter& xml, const TVQ_DIMM& dimm) {
  xml.Open("dimmData");
  xml.Decimal("Speed", dimm.Speed);
  const EFI_STATUS status = WritePartNumber(xml, dimm.PartNumber);
  if (EFI_ERROR(status)) {
    return status;
  }
  xml.Element("Manufacturer", dimm.Manufacturer);
  xml.Element("BankLocator", dimm.BankLocator);
  xml.Element("AssetTag", dimm.AssetTag);
  xml.Decimal("Size", dimm.Size);
  xml.Decimal("MemoryType", dimm.MemoryType);
  xml.Decimal("TypeDetail", dimm.TypeDetail);
  xml.Decimal("TotalWidth", dimm.TotalWidth);
  xml.Decimal("DataWidth", dimm.DataWidth);
  xml.Decimal("FormFactor", dimm.FormFactor);
  xml.Decimal("DeviceSet", dimm.DeviceSet);
  xml.Decimal("Handle", dimm.Handle);
  xml.Decimal("ExtendedSize", dimm.ExtendedSize);
  xml.Decimal("Attributes", dimm.Attributes);
  xml.Decimal("ConfiguredMemClockSpeed", dimm.ConfiguredMemClockSpeed);
  xml.Decimal("MemTechnology", dimm.MemTechnology);
  xml.Decimal("MemOpModeCap", dimm.MemOpModeCap);
  xml.Decimal("ModuleMID", dimm.ModuleMID);
  xml.Decimal("ModulePID", dimm.ModulePID);
  xml.Decimal("MemSubMID", dimm.MemSubMID);
  xml.Decimal("MemSubPID", dimm.MemSubPID);
  // Deliberate: the agent expects the first two names misspelt here, unlike those of a processor's
  // high-bandwidth memory.
  xml.LongDecimal("NonVolatizeSize", dimm.NonVolatileSize);
  xml.LongDecimal("VolatizeSize", dimm.VolatileSize);
  xml.LongDecimal("CacheSize", dimm.CacheSize);
  xml.LongDecimal("LogicalSize", dimm.LogicalSize);
  xml.Close("dimmData");
  return EFI_SUCCESS;
}

}  // namespace tvq
