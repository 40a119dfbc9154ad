/*
 * Facts that take more than reading one field.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/facts/computed.h"

#include <IndustryStandard/SmbiosFields.h>
#include <fmt/format.h>

namespace tvq::facts {
namespace {

using smbios::Field;
using smbios::U16;
using smbios::U32;
using smbios::U64;
using smbios::U8;

// The fields behind the contained elements of a chassis move with them.
constexpr smbios::SizeType kElementsOfChassis = 0x15;
constexpr smbios::SizeType kUuidSize = 16;

// Two numbers of which FFh stands for "none".
Value Release(const Source& source, Field<U8> majorField, Field<U8> minorField) {
  const table::Structure& structure = source.structure;
  const U8 major = structure.Get(majorField);
  const U8 minor = structure.Get(minorField);
  if (!structure.Has(minorField) || major == 0xFF || minor == 0xFF) {
    return {};
  }
  return fmt::format("{}.{}", major, minor);
}

// A count in a byte, and behind FFh in a word where the structure has one.
Value CountOf(const Source& source, Field<U8> small, Field<U16> large) {
  const table::Structure& structure = source.structure;
  const bool isLarge = structure.Get(small) == 0xFF && structure.Has(large);
  const U64 count = isLarge ? structure.Get(large) : structure.Get(small);
  return count == 0 || count == 0xFFFF ? Value() : count;
}

// A speed in a word, and behind FFFFh in 31 bits where the structure has them.
Value SpeedOf(const Source& source, Field<U16> small, Field<U32> large) {
  const table::Structure& structure = source.structure;
  U64 speed = structure.Get(small);
  if (speed == 0xFFFF) {
    speed = structure.Has(large) ? structure.Get(large) & 0x7FFFFFFF : 0;
  }
  return speed == 0 ? Value() : speed;
}

// All ones stand for "none"; so do all of bus and device, whatever the segment is.
Value AddressOf(const Source& source, Field<U16> segment, Field<U8> bus, Field<U8> devFn) {
  const table::Structure& structure = source.structure;
  const U8 busNumber = structure.Get(bus);
  const U8 packed = structure.Get(devFn);
  if (!structure.Has(devFn) || (busNumber == 0xFF && packed == 0xFF)) {
    return {};
  }
  return fmt::format("{:04x}:{:02x}:{:02x}.{}", structure.Get(segment), busNumber, packed >> 3,
                     packed & 7);
}

Value FlagOf(const Source& source, Field<U8> field, U8 mask) {
  return source.structure.Has(field) ? Value((source.structure.Get(field) & mask) != 0) : Value();
}

}  // namespace

Value FirmwareRelease(const Source& source) {
  return Release(source, SMBIOS_FIELD(0, SystemBiosMajorRelease),
                 SMBIOS_FIELD(0, SystemBiosMinorRelease));
}

Value ControllerRelease(const Source& source) {
  return Release(source, SMBIOS_FIELD(0, EmbeddedControllerFirmwareMajorRelease),
                 SMBIOS_FIELD(0, EmbeddedControllerFirmwareMinorRelease));
}

Value RomSizeInBytes(const Source& source) {
  constexpr auto kSize = SMBIOS_FIELD(0, BiosSize);
  constexpr Field<U16> kExtended = SMBIOS_FIELD(0, ExtendedBiosSize).As<U16>();
  const table::Structure& structure = source.structure;
  if (!structure.Has(kSize)) {
    return {};
  }
  const U8 size = structure.Get(kSize);
  if (size != 0xFF || !structure.Has(kExtended)) {
    return (U64{size} + 1) << 16;
  }
  const U16 extended = structure.Get(kExtended);
  const U64 number = extended & 0x3FFF;
  switch (extended >> 14) {
    case 0:
      return number << 20;
    case 1:
      return number << 30;
    default:
      return {};
  }
}

Value Uuid(const Source& source) {
  constexpr smbios::SizeType kOffset = OFFSET_OF(SMBIOS_TABLE_TYPE1, Uuid);
  const table::Structure& structure = source.structure;
  if (!structure.Has(kOffset, kUuidSize)) {
    return {};
  }
  const U8* const bytes = structure.Formatted().Data() + kOffset;
  bool isSame = bytes[0] == 0 || bytes[0] == 0xFF;
  for (smbios::SizeType i = 1; i < kUuidSize; ++i) {
    isSame = isSame && bytes[i] == bytes[0];
  }
  if (isSame) {
    return {};
  }
  // Where each byte of the text stands.
  constexpr U8 kSwapped[] = {3, 2, 1, 0, 5, 4, 7, 6};
  const bool isSwapped = table::Version{2, 6} <= source.version;
  std::string text;
  for (smbios::SizeType i = 0; i < kUuidSize; ++i) {
    const bool isGroup = i == 4 || i == 6 || i == 8 || i == 10;
    const U8 byte = bytes[isSwapped && i < sizeof(kSwapped) ? kSwapped[i] : i];
    text += fmt::format("{}{:02x}", isGroup ? "-" : "", byte);
  }
  return text;
}

Value ChassisType(const Source& source) {
  constexpr auto kType = SMBIOS_FIELD(3, Type);
  // The highest bit says that there is a lock.
  return source.structure.Has(kType) ? Value(kChassisTypes.Of(source.structure.Get(kType) & 0x7F))
                                     : Value();
}

Value ChassisSku(const Source& source) {
  const table::Structure& structure = source.structure;
  const smbios::SizeType elements =
      smbios::SizeType{structure.Get(SMBIOS_FIELD(3, ContainedElementCount))} *
      structure.Get(SMBIOS_FIELD(3, ContainedElementRecordLength));
  const Field<U8> sku = {3, kElementsOfChassis + elements};
  return structure.Has(sku) ? TextValue(structure.TextOrEmpty(sku)) : Value();
}

Value HeightInUnits(const Source& source) {
  const U64 height = source.structure.Get(SMBIOS_FIELD(3, Height));
  return height == 0 ? Value() : height;
}

Value IsSocketPopulated(const Source& source) {
  return FlagOf(source, SMBIOS_FIELD(4, Status), 0x40);
}

Value CoreCount(const Source& source) {
  return CountOf(source, SMBIOS_FIELD(4, CoreCount), SMBIOS_FIELD(4, CoreCount2));
}

Value EnabledCoreCount(const Source& source) {
  return CountOf(source, SMBIOS_FIELD(4, EnabledCoreCount), SMBIOS_FIELD(4, EnabledCoreCount2));
}

Value ThreadCount(const Source& source) {
  return CountOf(source, SMBIOS_FIELD(4, ThreadCount), SMBIOS_FIELD(4, ThreadCount2));
}

Value SlotId(const Source& source) {
  constexpr auto kId = SMBIOS_FIELD(9, SlotID);
  return source.structure.Has(kId) ? Value(U64{source.structure.Get(kId)}) : Value();
}

Value SlotAddress(const Source& source) {
  return AddressOf(source, SMBIOS_FIELD(9, SegmentGroupNum), SMBIOS_FIELD(9, BusNum),
                   SMBIOS_FIELD(9, DevFuncNum));
}

Value IsHotPlug(const Source& source) {
  return FlagOf(source, SMBIOS_FIELD(9, SlotCharacteristics2).As<U8>(), 0x02);
}

Value OnboardType(const Source& source) {
  constexpr auto kType = SMBIOS_FIELD(41, DeviceType);
  return source.structure.Has(kType)
             ? Value(kOnboardDeviceTypes.Of(source.structure.Get(kType) & 0x7F))
             : Value();
}

Value IsOnboardEnabled(const Source& source) {
  return FlagOf(source, SMBIOS_FIELD(41, DeviceType), 0x80);
}

Value OnboardAddress(const Source& source) {
  return AddressOf(source, SMBIOS_FIELD(41, SegmentGroupNum), SMBIOS_FIELD(41, BusNum),
                   SMBIOS_FIELD(41, DevFuncNum));
}

Value CapacityInBytes(const Source& source) {
  constexpr auto kCapacity = SMBIOS_FIELD(16, MaximumCapacity);
  constexpr auto kExtended = SMBIOS_FIELD(16, ExtendedMaximumCapacity);
  const table::Structure& structure = source.structure;
  if (!structure.Has(kCapacity)) {
    return {};
  }
  const U64 kilobytes = structure.Get(kCapacity);
  const bool isExtended = kilobytes == 0x80000000;
  const U64 bytes = isExtended ? structure.Get(kExtended) : kilobytes << 10;
  return bytes == 0 ? Value() : bytes;
}

Value ModuleSizeInBytes(const Source& source) {
  constexpr auto kSize = SMBIOS_FIELD(17, Size);
  constexpr auto kExtended = SMBIOS_FIELD(17, ExtendedSize);
  const table::Structure& structure = source.structure;
  const U64 size = structure.Get(kSize);
  if (!structure.Has(kSize) || size == 0xFFFF) {
    return {};
  }
  if (size == 0x7FFF && structure.Has(kExtended)) {
    return U64{structure.Get(kExtended) & 0x7FFFFFFF} << 20;
  }
  return (size & 0x8000) != 0 ? (size & 0x7FFF) << 10 : size << 20;
}

Value RatedSpeed(const Source& source) {
  return SpeedOf(source, SMBIOS_FIELD(17, Speed), SMBIOS_FIELD(17, ExtendedSpeed));
}

Value ConfiguredSpeed(const Source& source) {
  return SpeedOf(source, SMBIOS_FIELD(17, ConfiguredMemoryClockSpeed),
                 SMBIOS_FIELD(17, ExtendedConfiguredMemorySpeed));
}

Value Rank(const Source& source) {
  const U64 rank = source.structure.Get(SMBIOS_FIELD(17, Attributes)) & 0x0F;
  return rank == 0 ? Value() : rank;
}

Value MaximumPowerInWatts(const Source& source) {
  const U64 watts = source.structure.Get(SMBIOS_FIELD(39, MaxPowerCapacity));
  return watts == 0 || watts == 0x8000 ? Value() : watts;
}

Value IsSupplyPresent(const Source& source) {
  constexpr auto kCharacteristics = SMBIOS_FIELD(39, PowerSupplyCharacteristics).As<U16>();
  return source.structure.Has(kCharacteristics)
             ? Value((source.structure.Get(kCharacteristics) & 0x02) != 0)
             : Value();
}

}  // namespace tvq::facts
