/*
 * The readable names of fields are those of the members of EDK II's structures, at the same place
 * and as wide.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/layout.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/firmware/edk2.h"

#include <IndustryStandard/SmbiosFields.h>

namespace tvq::table {
namespace {

struct Pinned {
  std::string_view name;
  std::uint8_t type;
  std::size_t offset;
  std::size_t width;
};

template <typename Value>
constexpr Pinned Pin(std::string_view name, smbios::Field<Value> field) {
  return {name, field.Type, field.Offset, field.Width()};
}

// What follows a part whose size a count tells stands where that part would, without one.
constexpr smbios::Field<std::uint8_t> kSku = {3, SMBIOS_FIELD(3, ContainedElements).Offset};
constexpr std::size_t kPeers = SMBIOS_FIELD(9, PeerGroups).Offset;
#define BEHIND_PEERS(Member) SMBIOS_GROUP_FIELD(9, SMBIOS_TABLE_TYPE9_EXTENDED, Member).In(kPeers)

constexpr Pinned kPinned[] = {
    Pin("vendor", SMBIOS_FIELD(0, Vendor)),
    Pin("version", SMBIOS_FIELD(0, BiosVersion)),
    Pin("segment", SMBIOS_FIELD(0, BiosSegment)),
    Pin("release-date", SMBIOS_FIELD(0, BiosReleaseDate)),
    Pin("rom-size", SMBIOS_FIELD(0, BiosSize)),
    Pin("characteristics", SMBIOS_FIELD(0, BiosCharacteristics)),
    Pin("extension1", SMBIOS_FIELD(0, BIOSCharacteristicsExtensionBytes[0])),
    Pin("extension2", SMBIOS_FIELD(0, BIOSCharacteristicsExtensionBytes[1])),
    Pin("major-release", SMBIOS_FIELD(0, SystemBiosMajorRelease)),
    Pin("minor-release", SMBIOS_FIELD(0, SystemBiosMinorRelease)),
    Pin("controller-major-release", SMBIOS_FIELD(0, EmbeddedControllerFirmwareMajorRelease)),
    Pin("controller-minor-release", SMBIOS_FIELD(0, EmbeddedControllerFirmwareMinorRelease)),
    Pin("extended-rom-size", SMBIOS_FIELD(0, ExtendedBiosSize)),
    Pin("manufacturer", SMBIOS_FIELD(1, Manufacturer)),
    Pin("product", SMBIOS_FIELD(1, ProductName)),
    Pin("version", SMBIOS_FIELD(1, Version)),
    Pin("serial", SMBIOS_FIELD(1, SerialNumber)),
    Pin("uuid", SMBIOS_FIELD(1, Uuid)),
    Pin("wake-up", SMBIOS_FIELD(1, WakeUpType)),
    Pin("sku", SMBIOS_FIELD(1, SKUNumber)),
    Pin("family", SMBIOS_FIELD(1, Family)),
    Pin("manufacturer", SMBIOS_FIELD(2, Manufacturer)),
    Pin("product", SMBIOS_FIELD(2, ProductName)),
    Pin("version", SMBIOS_FIELD(2, Version)),
    Pin("serial", SMBIOS_FIELD(2, SerialNumber)),
    Pin("asset-tag", SMBIOS_FIELD(2, AssetTag)),
    Pin("features", SMBIOS_FIELD(2, FeatureFlag)),
    Pin("location", SMBIOS_FIELD(2, LocationInChassis)),
    Pin("chassis", SMBIOS_FIELD(2, ChassisHandle)),
    Pin("board-type", SMBIOS_FIELD(2, BoardType)),
    Pin("contained-count", SMBIOS_FIELD(2, NumberOfContainedObjectHandles)),
    Pin("manufacturer", SMBIOS_FIELD(3, Manufacturer)),
    Pin("chassis-type", SMBIOS_FIELD(3, Type)),
    Pin("version", SMBIOS_FIELD(3, Version)),
    Pin("serial", SMBIOS_FIELD(3, SerialNumber)),
    Pin("asset-tag", SMBIOS_FIELD(3, AssetTag)),
    Pin("boot-up-state", SMBIOS_FIELD(3, BootupState)),
    Pin("power-supply-state", SMBIOS_FIELD(3, PowerSupplyState)),
    Pin("thermal-state", SMBIOS_FIELD(3, ThermalState)),
    Pin("security-status", SMBIOS_FIELD(3, SecurityStatus)),
    Pin("oem", SMBIOS_FIELD(3, OemDefined)),
    Pin("height", SMBIOS_FIELD(3, Height)),
    Pin("power-cords", SMBIOS_FIELD(3, NumberofPowerCords)),
    Pin("element-count", SMBIOS_FIELD(3, ContainedElementCount)),
    Pin("element-size", SMBIOS_FIELD(3, ContainedElementRecordLength)),
    Pin("sku", kSku),
    Pin("socket", SMBIOS_FIELD(4, Socket)),
    Pin("processor-type", SMBIOS_FIELD(4, ProcessorType)),
    Pin("family", SMBIOS_FIELD(4, ProcessorFamily)),
    Pin("manufacturer", SMBIOS_FIELD(4, ProcessorManufacturer)),
    Pin("id", SMBIOS_FIELD(4, ProcessorId)),
    Pin("version", SMBIOS_FIELD(4, ProcessorVersion)),
    Pin("voltage", SMBIOS_FIELD(4, Voltage)),
    Pin("external-clock", SMBIOS_FIELD(4, ExternalClock)),
    Pin("max-speed", SMBIOS_FIELD(4, MaxSpeed)),
    Pin("current-speed", SMBIOS_FIELD(4, CurrentSpeed)),
    Pin("status", SMBIOS_FIELD(4, Status)),
    Pin("upgrade", SMBIOS_FIELD(4, ProcessorUpgrade)),
    Pin("l1-cache", SMBIOS_FIELD(4, L1CacheHandle)),
    Pin("l2-cache", SMBIOS_FIELD(4, L2CacheHandle)),
    Pin("l3-cache", SMBIOS_FIELD(4, L3CacheHandle)),
    Pin("serial", SMBIOS_FIELD(4, SerialNumber)),
    Pin("asset-tag", SMBIOS_FIELD(4, AssetTag)),
    Pin("part-number", SMBIOS_FIELD(4, PartNumber)),
    Pin("core-count", SMBIOS_FIELD(4, CoreCount)),
    Pin("core-enabled", SMBIOS_FIELD(4, EnabledCoreCount)),
    Pin("thread-count", SMBIOS_FIELD(4, ThreadCount)),
    Pin("characteristics", SMBIOS_FIELD(4, ProcessorCharacteristics)),
    Pin("family2", SMBIOS_FIELD(4, ProcessorFamily2)),
    Pin("core-count2", SMBIOS_FIELD(4, CoreCount2)),
    Pin("core-enabled2", SMBIOS_FIELD(4, EnabledCoreCount2)),
    Pin("thread-count2", SMBIOS_FIELD(4, ThreadCount2)),
    Pin("thread-enabled", SMBIOS_FIELD(4, ThreadEnabled)),
    Pin("socket", SMBIOS_FIELD(7, SocketDesignation)),
    Pin("configuration", SMBIOS_FIELD(7, CacheConfiguration)),
    Pin("maximum-size", SMBIOS_FIELD(7, MaximumCacheSize)),
    Pin("installed-size", SMBIOS_FIELD(7, InstalledSize)),
    Pin("supported-sram", SMBIOS_FIELD(7, SupportedSRAMType)),
    Pin("current-sram", SMBIOS_FIELD(7, CurrentSRAMType)),
    Pin("speed", SMBIOS_FIELD(7, CacheSpeed)),
    Pin("error-correction", SMBIOS_FIELD(7, ErrorCorrectionType)),
    Pin("system-cache-type", SMBIOS_FIELD(7, SystemCacheType)),
    Pin("associativity", SMBIOS_FIELD(7, Associativity)),
    Pin("maximum-size2", SMBIOS_FIELD(7, MaximumCacheSize2)),
    Pin("installed-size2", SMBIOS_FIELD(7, InstalledSize2)),
    Pin("internal", SMBIOS_FIELD(8, InternalReferenceDesignator)),
    Pin("internal-type", SMBIOS_FIELD(8, InternalConnectorType)),
    Pin("external", SMBIOS_FIELD(8, ExternalReferenceDesignator)),
    Pin("external-type", SMBIOS_FIELD(8, ExternalConnectorType)),
    Pin("port-type", SMBIOS_FIELD(8, PortType)),
    Pin("designation", SMBIOS_FIELD(9, SlotDesignation)),
    Pin("slot-type", SMBIOS_FIELD(9, SlotType)),
    Pin("data-bus-width", SMBIOS_FIELD(9, SlotDataBusWidth)),
    Pin("usage", SMBIOS_FIELD(9, CurrentUsage)),
    Pin("slot-length", SMBIOS_FIELD(9, SlotLength)),
    Pin("id", SMBIOS_FIELD(9, SlotID)),
    Pin("characteristics1", SMBIOS_FIELD(9, SlotCharacteristics1)),
    Pin("characteristics2", SMBIOS_FIELD(9, SlotCharacteristics2)),
    Pin("segment", SMBIOS_FIELD(9, SegmentGroupNum)),
    Pin("bus", SMBIOS_FIELD(9, BusNum)),
    Pin("device-function", SMBIOS_FIELD(9, DevFuncNum)),
    Pin("base-width", SMBIOS_FIELD(9, DataBusWidth)),
    Pin("peer-count", SMBIOS_FIELD(9, PeerGroupingCount)),
    Pin("slot-information", BEHIND_PEERS(SlotInformation)),
    Pin("physical-width", BEHIND_PEERS(SlotPhysicalWidth)),
    Pin("pitch", BEHIND_PEERS(SlotPitch)),
    Pin("height", BEHIND_PEERS(SlotHeight)),
    Pin("count", SMBIOS_FIELD(11, StringCount)),
    Pin("count", SMBIOS_FIELD(12, StringCount)),
    Pin("count", SMBIOS_FIELD(13, InstallableLanguages)),
    Pin("flags", SMBIOS_FIELD(13, Flags)),
    Pin("current", SMBIOS_FIELD(13, CurrentLanguages)),
    Pin("name", SMBIOS_FIELD(14, GroupName)),
    Pin("location", SMBIOS_FIELD(16, Location)),
    Pin("use", SMBIOS_FIELD(16, Use)),
    Pin("error-correction", SMBIOS_FIELD(16, MemoryErrorCorrection)),
    Pin("maximum-capacity", SMBIOS_FIELD(16, MaximumCapacity)),
    Pin("error-handle", SMBIOS_FIELD(16, MemoryErrorInformationHandle)),
    Pin("device-count", SMBIOS_FIELD(16, NumberOfMemoryDevices)),
    Pin("extended-maximum-capacity", SMBIOS_FIELD(16, ExtendedMaximumCapacity)),
    Pin("array", SMBIOS_FIELD(17, MemoryArrayHandle)),
    Pin("error-handle", SMBIOS_FIELD(17, MemoryErrorInformationHandle)),
    Pin("total-width", SMBIOS_FIELD(17, TotalWidth)),
    Pin("data-width", SMBIOS_FIELD(17, DataWidth)),
    Pin("size", SMBIOS_FIELD(17, Size)),
    Pin("form-factor", SMBIOS_FIELD(17, FormFactor)),
    Pin("device-set", SMBIOS_FIELD(17, DeviceSet)),
    Pin("locator", SMBIOS_FIELD(17, DeviceLocator)),
    Pin("bank", SMBIOS_FIELD(17, BankLocator)),
    Pin("memory-type", SMBIOS_FIELD(17, MemoryType)),
    Pin("type-detail", SMBIOS_FIELD(17, TypeDetail)),
    Pin("speed", SMBIOS_FIELD(17, Speed)),
    Pin("manufacturer", SMBIOS_FIELD(17, Manufacturer)),
    Pin("serial", SMBIOS_FIELD(17, SerialNumber)),
    Pin("asset-tag", SMBIOS_FIELD(17, AssetTag)),
    Pin("part-number", SMBIOS_FIELD(17, PartNumber)),
    Pin("attributes", SMBIOS_FIELD(17, Attributes)),
    Pin("extended-size", SMBIOS_FIELD(17, ExtendedSize)),
    Pin("configured-speed", SMBIOS_FIELD(17, ConfiguredMemoryClockSpeed)),
    Pin("minimum-voltage", SMBIOS_FIELD(17, MinimumVoltage)),
    Pin("maximum-voltage", SMBIOS_FIELD(17, MaximumVoltage)),
    Pin("configured-voltage", SMBIOS_FIELD(17, ConfiguredVoltage)),
    Pin("technology", SMBIOS_FIELD(17, MemoryTechnology)),
    Pin("operating-modes", SMBIOS_FIELD(17, MemoryOperatingModeCapability)),
    Pin("firmware-version", SMBIOS_FIELD(17, FirmwareVersion)),
    Pin("module-manufacturer-id", SMBIOS_FIELD(17, ModuleManufacturerID)),
    Pin("module-product-id", SMBIOS_FIELD(17, ModuleProductID)),
    Pin("controller-manufacturer-id", SMBIOS_FIELD(17, MemorySubsystemControllerManufacturerID)),
    Pin("controller-product-id", SMBIOS_FIELD(17, MemorySubsystemControllerProductID)),
    Pin("non-volatile-size", SMBIOS_FIELD(17, NonVolatileSize)),
    Pin("volatile-size", SMBIOS_FIELD(17, VolatileSize)),
    Pin("cache-size", SMBIOS_FIELD(17, CacheSize)),
    Pin("logical-size", SMBIOS_FIELD(17, LogicalSize)),
    Pin("extended-speed", SMBIOS_FIELD(17, ExtendedSpeed)),
    Pin("extended-configured-speed", SMBIOS_FIELD(17, ExtendedConfiguredMemorySpeed)),
    Pin("pmic-manufacturer-id", smbios::kPmic0ManufacturerId),
    Pin("pmic-revision", smbios::kPmic0RevisionNumber),
    Pin("rcd-manufacturer-id", smbios::kRcdManufacturerId),
    Pin("rcd-revision", smbios::kRcdRevisionNumber),
    Pin("start", SMBIOS_FIELD(19, StartingAddress)),
    Pin("end", SMBIOS_FIELD(19, EndingAddress)),
    Pin("array", SMBIOS_FIELD(19, MemoryArrayHandle)),
    Pin("partition-width", SMBIOS_FIELD(19, PartitionWidth)),
    Pin("extended-start", SMBIOS_FIELD(19, ExtendedStartingAddress)),
    Pin("extended-end", SMBIOS_FIELD(19, ExtendedEndingAddress)),
    Pin("start", SMBIOS_FIELD(20, StartingAddress)),
    Pin("end", SMBIOS_FIELD(20, EndingAddress)),
    Pin("device", SMBIOS_FIELD(20, MemoryDeviceHandle)),
    Pin("array-address", SMBIOS_FIELD(20, MemoryArrayMappedAddressHandle)),
    Pin("partition-row", SMBIOS_FIELD(20, PartitionRowPosition)),
    Pin("interleave-position", SMBIOS_FIELD(20, InterleavePosition)),
    Pin("interleave-depth", SMBIOS_FIELD(20, InterleavedDataDepth)),
    Pin("extended-start", SMBIOS_FIELD(20, ExtendedStartingAddress)),
    Pin("extended-end", SMBIOS_FIELD(20, ExtendedEndingAddress)),
    Pin("status", SMBIOS_FIELD(32, BootStatus)),
    Pin("interface", SMBIOS_FIELD(38, InterfaceType)),
    Pin("revision", SMBIOS_FIELD(38, IPMISpecificationRevision)),
    Pin("slave-address", SMBIOS_FIELD(38, I2CSlaveAddress)),
    Pin("storage-address", SMBIOS_FIELD(38, NVStorageDeviceAddress)),
    Pin("base-address", SMBIOS_FIELD(38, BaseAddress)),
    Pin("base-modifier", SMBIOS_FIELD(38, BaseAddressModifier_InterruptInfo)),
    Pin("interrupt", SMBIOS_FIELD(38, InterruptNumber)),
    Pin("group", SMBIOS_FIELD(39, PowerUnitGroup)),
    Pin("location", SMBIOS_FIELD(39, Location)),
    Pin("name", SMBIOS_FIELD(39, DeviceName)),
    Pin("manufacturer", SMBIOS_FIELD(39, Manufacturer)),
    Pin("serial", SMBIOS_FIELD(39, SerialNumber)),
    Pin("asset-tag", SMBIOS_FIELD(39, AssetTagNumber)),
    Pin("part-number", SMBIOS_FIELD(39, ModelPartNumber)),
    Pin("revision", SMBIOS_FIELD(39, RevisionLevel)),
    Pin("max-power", SMBIOS_FIELD(39, MaxPowerCapacity)),
    Pin("characteristics", SMBIOS_FIELD(39, PowerSupplyCharacteristics)),
    Pin("voltage-probe", SMBIOS_FIELD(39, InputVoltageProbeHandle)),
    Pin("cooling-device", SMBIOS_FIELD(39, CoolingDeviceHandle)),
    Pin("current-probe", SMBIOS_FIELD(39, InputCurrentProbeHandle)),
    Pin("designation", SMBIOS_FIELD(41, ReferenceDesignation)),
    Pin("device-type", SMBIOS_FIELD(41, DeviceType)),
    Pin("instance", SMBIOS_FIELD(41, DeviceTypeInstance)),
    Pin("segment", SMBIOS_FIELD(41, SegmentGroupNum)),
    Pin("bus", SMBIOS_FIELD(41, BusNum)),
    Pin("device-function", SMBIOS_FIELD(41, DevFuncNum)),
    Pin("format", SMBIOS_FIELD(225, Format)),
    Pin("device", SMBIOS_FIELD(226, Type17Handle)),
    Pin("firmware-version", SMBIOS_FIELD(226, FirmwareVersion)),
    Pin("component-id", SMBIOS_FIELD(226, ComponentID)),
    Pin("product-id", SMBIOS_FIELD(226, ProductID)),
};

const Pinned* FindPinned(std::uint8_t type, std::string_view name) {
  for (const Pinned& pinned : kPinned) {
    if (pinned.type == type && pinned.name == name) {
      return &pinned;
    }
  }
  return nullptr;
}

TEST(TableLayouts, AreThoseOfTheMembersOfEdk2) {
  std::size_t count = 0;
  for (const Layout& layout : Layouts()) {
    for (const Field& field : layout.fields) {
      const std::string name = std::string(layout.name) + "." + std::string(field.name);
      const Pinned* const pinned = FindPinned(layout.type, field.name);
      ASSERT_NE(pinned, nullptr) << name;
      EXPECT_EQ(field.offset, pinned->offset) << name;
      EXPECT_EQ(WidthOf(field.kind), pinned->width) << name;
      ++count;
    }
  }
  EXPECT_EQ(count, std::size(kPinned)) << "a pinned name is that of no field";
}

TEST(TableLayouts, HaveGroupsWhereEdk2HasThem) {
  const Group& contained = LayoutOf(2).group;
  EXPECT_EQ(contained.offset, SMBIOS_FIELD(2, ContainedObjectHandles[0]).Offset);
  EXPECT_EQ(contained.Width(), SMBIOS_FIELD(2, ContainedObjectHandles[0]).Width());
  const Group& items = LayoutOf(14).group;
  EXPECT_EQ(items.offset, SMBIOS_FIELD(14, Group[0]).Offset);
  EXPECT_EQ(items.Width(), SMBIOS_FIELD(14, Group[0]).Width());
  const Group& fqdds = LayoutOf(225).group;
  EXPECT_EQ(fqdds.offset, SMBIOS_FIELD(225, Format).End());
  EXPECT_EQ(fqdds.Width(), sizeof(SMBIOS_TVQ_FQDD_GROUP));
}

TEST(TableLayouts, MoveWhatFollowsAPartOfUnknownSize) {
  const MovableTail chassis = LayoutOf(3).tail;
  EXPECT_EQ(chassis.countOffset, SMBIOS_FIELD(3, ContainedElementCount).Offset);
  EXPECT_EQ(chassis.offset, kSku.Offset);
  const MovableTail slot = LayoutOf(9).tail;
  EXPECT_EQ(slot.countOffset, SMBIOS_FIELD(9, PeerGroupingCount).Offset);
  EXPECT_EQ(slot.offset, kPeers);
}

}  // namespace
}  // namespace tvq::table
