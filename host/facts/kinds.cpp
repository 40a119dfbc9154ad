/*
 * The kinds of parts: the type of their structures, and their facts.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/facts/kinds.h"

#include <IndustryStandard/SmbiosFields.h>

#include "host/facts/computed.h"

namespace tvq::facts {
namespace {

constexpr FactField kFirmwareFields[] = {
    TextField("vendor", SMBIOS_FIELD(0, Vendor)),
    TextField("version", SMBIOS_FIELD(0, BiosVersion)),
    TextField("date", SMBIOS_FIELD(0, BiosReleaseDate)),
    ComputedField("release", FirmwareRelease),
    ComputedField("controllerRelease", ControllerRelease),
    ComputedField("romSizeInBytes", RomSizeInBytes),
};

constexpr FactField kSystemFields[] = {
    TextField("manufacturer", SMBIOS_FIELD(1, Manufacturer)),
    TextField("product", SMBIOS_FIELD(1, ProductName)),
    TextField("version", SMBIOS_FIELD(1, Version)),
    TextField("serial", SMBIOS_FIELD(1, SerialNumber)),
    TextField("sku", SMBIOS_FIELD(1, SKUNumber)),
    TextField("family", SMBIOS_FIELD(1, Family)),
    ComputedField("uuid", Uuid),
};

constexpr FactField kBoardFields[] = {
    TextField("manufacturer", SMBIOS_FIELD(2, Manufacturer)),
    TextField("product", SMBIOS_FIELD(2, ProductName)),
    TextField("version", SMBIOS_FIELD(2, Version)),
    TextField("serial", SMBIOS_FIELD(2, SerialNumber)),
    TextField("assetTag", SMBIOS_FIELD(2, AssetTag)),
    TextField("location", SMBIOS_FIELD(2, LocationInChassis)),
    WordField("type", SMBIOS_FIELD(2, BoardType), kBoardTypes),
};

constexpr FactField kChassisFields[] = {
    TextField("manufacturer", SMBIOS_FIELD(3, Manufacturer)),
    ComputedField("type", ChassisType),
    TextField("version", SMBIOS_FIELD(3, Version)),
    TextField("serial", SMBIOS_FIELD(3, SerialNumber)),
    TextField("assetTag", SMBIOS_FIELD(3, AssetTag)),
    ComputedField("sku", ChassisSku),
    ComputedField("heightInUnits", HeightInUnits),
};

constexpr FactField kProcessorFields[] = {
    TextField("label", SMBIOS_FIELD(4, Socket)),
    ComputedField("isPopulated", IsSocketPopulated),
    TextField("version", SMBIOS_FIELD(4, ProcessorVersion)),
    TextField("manufacturer", SMBIOS_FIELD(4, ProcessorManufacturer)),
    ComputedField("coreCount", CoreCount),
    ComputedField("enabledCoreCount", EnabledCoreCount),
    ComputedField("threadCount", ThreadCount),
    NumberField("currentSpeedInMHz", SMBIOS_FIELD(4, CurrentSpeed)),
    NumberField("maximumSpeedInMHz", SMBIOS_FIELD(4, MaxSpeed)),
    TextField("serial", SMBIOS_FIELD(4, SerialNumber)),
    TextField("assetTag", SMBIOS_FIELD(4, AssetTag)),
    TextField("partNumber", SMBIOS_FIELD(4, PartNumber)),
};

constexpr FactField kMemoryArrayFields[] = {
    WordField("use", SMBIOS_FIELD(16, Use), kMemoryArrayUses),
    WordField("location", SMBIOS_FIELD(16, Location), kMemoryArrayLocations),
    WordField("errorCorrection", SMBIOS_FIELD(16, MemoryErrorCorrection), kMemoryErrorCorrections),
    ComputedField("capacityInBytes", CapacityInBytes),
    NumberField("deviceCount", SMBIOS_FIELD(16, NumberOfMemoryDevices)),
};

constexpr FactField kModuleFields[] = {
    TextField("label", SMBIOS_FIELD(17, DeviceLocator)),
    TextField("bank", SMBIOS_FIELD(17, BankLocator)),
    ComputedField("sizeInBytes", ModuleSizeInBytes),
    WordField("type", SMBIOS_FIELD(17, MemoryType), kMemoryTypes),
    WordField("formFactor", SMBIOS_FIELD(17, FormFactor), kMemoryFormFactors),
    WordField("technology", SMBIOS_FIELD(17, MemoryTechnology), kMemoryTechnologies),
    TextField("manufacturer", SMBIOS_FIELD(17, Manufacturer)),
    TextField("partNumber", SMBIOS_FIELD(17, PartNumber)),
    TextField("serial", SMBIOS_FIELD(17, SerialNumber)),
    TextField("assetTag", SMBIOS_FIELD(17, AssetTag)),
    ComputedField("ratedSpeedInMTs", RatedSpeed),
    ComputedField("configuredSpeedInMTs", ConfiguredSpeed),
    ComputedField("rank", Rank),
    NumberField("totalWidthInBits", SMBIOS_FIELD(17, TotalWidth)),
    NumberField("dataWidthInBits", SMBIOS_FIELD(17, DataWidth)),
    NumberField("configuredVoltageInMillivolts", SMBIOS_FIELD(17, ConfiguredVoltage)),
    TextField("firmwareVersion", SMBIOS_FIELD(17, FirmwareVersion)),
};

constexpr FactField kSlotFields[] = {
    TextField("label", SMBIOS_FIELD(9, SlotDesignation)),
    WordField("type", SMBIOS_FIELD(9, SlotType), kSlotTypes),
    WordField("width", SMBIOS_FIELD(9, SlotDataBusWidth), kSlotWidths),
    WordField("usage", SMBIOS_FIELD(9, CurrentUsage), kSlotUsages),
    WordField("length", SMBIOS_FIELD(9, SlotLength), kSlotLengths),
    ComputedField("id", SlotId),
    ComputedField("address", SlotAddress),
    ComputedField("isHotPlug", IsHotPlug),
};

constexpr FactField kOnboardDeviceFields[] = {
    TextField("label", SMBIOS_FIELD(41, ReferenceDesignation)),
    ComputedField("type", OnboardType),
    ComputedField("isEnabled", IsOnboardEnabled),
    ComputedField("address", OnboardAddress),
};

constexpr FactField kPowerSupplyFields[] = {
    TextField("location", SMBIOS_FIELD(39, Location)),
    TextField("name", SMBIOS_FIELD(39, DeviceName)),
    TextField("manufacturer", SMBIOS_FIELD(39, Manufacturer)),
    TextField("serial", SMBIOS_FIELD(39, SerialNumber)),
    TextField("assetTag", SMBIOS_FIELD(39, AssetTagNumber)),
    TextField("partNumber", SMBIOS_FIELD(39, ModelPartNumber)),
    TextField("revision", SMBIOS_FIELD(39, RevisionLevel)),
    ComputedField("maximumPowerInWatts", MaximumPowerInWatts),
    ComputedField("isPresent", IsSupplyPresent),
};

template <std::size_t N>
constexpr KindFields Fields(Kind kind, std::uint8_t type, const FactField (&fields)[N]) {
  return {kind, type, fields, N};
}

constexpr KindFields kKinds[] = {
    Fields(Kind::kFirmware, 0, kFirmwareFields),
    Fields(Kind::kSystem, 1, kSystemFields),
    Fields(Kind::kBoard, 2, kBoardFields),
    Fields(Kind::kChassis, 3, kChassisFields),
    Fields(Kind::kProcessor, 4, kProcessorFields),
    Fields(Kind::kSlot, 9, kSlotFields),
    Fields(Kind::kMemoryArray, 16, kMemoryArrayFields),
    Fields(Kind::kModule, 17, kModuleFields),
    Fields(Kind::kPowerSupply, 39, kPowerSupplyFields),
    Fields(Kind::kOnboardDevice, 41, kOnboardDeviceFields),
};
static_assert(std::size(kKinds) == kKindCount, "every kind has fields");

}  // namespace

const KindFields* FindKind(std::uint8_t type) {
  for (const KindFields& kind : kKinds) {
    if (kind.type == type) {
      return &kind;
    }
  }
  return nullptr;
}

}  // namespace tvq::facts
