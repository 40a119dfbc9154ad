/*
 * SMBIOS tables for tests.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/shared/table.h"

#include <algorithm>

namespace tvq::test {
namespace {

constexpr size_t kHeaderSize = 4;

Structure Begin(uint8_t type, std::optional<uint16_t> handle) {
  Structure structure;
  structure.type = type;
  structure.handle = handle;
  return structure;
}

}  // namespace

Structure& Structure::Byte(uint8_t value) {
  body.push_back(value);
  return *this;
}

Structure& Structure::Word(uint16_t value) {
  return Byte(static_cast<uint8_t>(value)).Byte(static_cast<uint8_t>(value >> 8));
}

Structure& Structure::Dword(uint32_t value) {
  return Word(static_cast<uint16_t>(value)).Word(static_cast<uint16_t>(value >> 16));
}

Structure& Structure::Qword(uint64_t value) {
  return Dword(static_cast<uint32_t>(value)).Dword(static_cast<uint32_t>(value >> 32));
}

Structure& Structure::String(const Text& text) {
  if (!text) {
    return Byte(0);
  }
  strings.push_back(*text);
  return Byte(static_cast<uint8_t>(strings.size()));
}

Structure& Structure::SetByte(size_t offset, uint8_t value) {
  body.at(offset - kHeaderSize) = value;
  return *this;
}

Structure& Structure::SetWord(size_t offset, uint16_t value) {
  return SetByte(offset, static_cast<uint8_t>(value))
      .SetByte(offset + 1, static_cast<uint8_t>(value >> 8));
}

Structure& Structure::CutTo(uint8_t length) {
  body.resize(std::min(body.size(), length - kHeaderSize));
  return *this;
}

Bytes Structure::Encode() const {
  const uint16_t number = handle.value_or(0);
  Bytes bytes = {type, static_cast<uint8_t>(kHeaderSize + body.size()),
                 static_cast<uint8_t>(number), static_cast<uint8_t>(number >> 8)};
  bytes.insert(bytes.end(), body.begin(), body.end());
  const Bytes area = EncodeStrings(strings);
  bytes.insert(bytes.end(), area.begin(), area.end());
  return bytes;
}

Bytes EncodeStrings(const std::vector<std::string>& strings) {
  Bytes bytes;
  for (const std::string& text : strings) {
    bytes.insert(bytes.end(), text.begin(), text.end());
    bytes.push_back(0);
  }
  bytes.insert(bytes.end(), strings.empty() ? 2 : 1, 0);
  return bytes;
}

Structure Bios::Build() const {
  Structure s = Begin(0, handle);
  s.String(vendor).String(version).Word(startingSegment).String(releaseDate).Byte(romSize);
  s.Qword(characteristics).Word(0).Byte(majorRelease).Byte(minorRelease).Byte(0xFF).Byte(0xFF);
  return s.Word(0x0020);
}

Structure System::Build() const {
  Structure s = Begin(1, handle);
  s.String(manufacturer).String(product).String(version).String(serial);
  s.body.insert(s.body.end(), uuid.begin(), uuid.end());
  return s.Byte(wakeUpType).String(sku).String(family);
}

Structure BaseBoard::Build() const {
  Structure s = Begin(2, handle);
  s.String(manufacturer).String(product).String(version).String(serial).String(assetTag);
  return s.Byte(features).String(location).Word(chassisHandle).Byte(boardType).Byte(0);
}

Structure Chassis::Build() const {
  Structure s = Begin(3, handle);
  s.String(manufacturer).Byte(chassisType).String(version).String(serial).String(assetTag);
  s.Byte(bootUpState).Byte(powerSupplyState).Byte(thermalState).Byte(securityStatus);
  return s.Dword(oemDefined).Byte(height).Byte(powerCords).Byte(0).Byte(0).String(sku);
}

Structure Processor::Build() const {
  Structure s = Begin(4, handle);
  s.String(designation).Byte(processorType).Byte(family).String(manufacturer).Qword(processorId);
  s.String(version).Byte(voltage).Word(externalClock).Word(maxSpeed).Word(currentSpeed);
  s.Byte(status).Byte(upgrade).Word(l1).Word(l2).Word(l3);
  s.String(serial).String(assetTag).String(partNumber);
  s.Byte(coreCount).Byte(coreEnabled).Byte(threadCount).Word(characteristics).Word(family2);
  return s.Word(coreCount2).Word(coreEnabled2).Word(threadCount2);
}

Structure Cache::Build() const {
  Structure s = Begin(7, handle);
  s.String(designation).Word(configuration).Word(maximumSize).Word(installedSize);
  s.Word(supportedSram).Word(currentSram).Byte(speed).Byte(errorCorrection);
  return s.Byte(systemType).Byte(associativity).Dword(maximumSize2).Dword(installedSize2);
}

Structure Slot::Build() const {
  Structure s = Begin(9, handle);
  s.String(designation).Byte(slotType).Byte(width).Byte(usage).Byte(slotLength).Word(id);
  s.Byte(characteristics1).Byte(characteristics2).Word(segment).Byte(bus).Byte(devFn);
  return s.Byte(dataBusWidth).Byte(peerCount);
}

Structure OemStrings::Build() const {
  Structure s = Begin(11, handle);
  s.Byte(static_cast<uint8_t>(texts.size()));
  s.strings = texts;
  return s;
}

Structure MemoryArray::Build() const {
  Structure s = Begin(16, handle);
  s.Byte(location).Byte(use).Byte(errorCorrection).Dword(maximumCapacity).Word(errorHandle);
  return s.Word(deviceCount).Qword(extendedMaximumCapacity);
}

Structure MemoryDevice::Build() const {
  Structure s = Begin(17, handle);
  s.Word(arrayHandle).Word(errorHandle).Word(totalWidth).Word(dataWidth).Word(size);
  s.Byte(formFactor).Byte(set).String(locator).String(bankLocator).Byte(memoryType);
  s.Word(typeDetail).Word(speed).String(manufacturer).String(serial).String(assetTag);
  s.String(partNumber).Byte(attributes).Dword(extendedSize).Word(configuredSpeed);
  s.Word(minimumVoltage).Word(maximumVoltage).Word(configuredVoltage).Byte(technology);
  s.Word(operatingModes).String(firmwareVersion).Word(moduleManufacturerId);
  s.Word(moduleProductId).Word(controllerManufacturerId).Word(controllerProductId);
  s.Qword(nonVolatileSize).Qword(volatileSize).Qword(cacheSize).Qword(logicalSize);
  return s.Dword(extendedSpeed).Dword(extendedConfiguredSpeed);
}

Structure OnboardDevice::Build() const {
  Structure s = Begin(41, handle);
  s.String(designation).Byte(deviceType).Byte(instance).Word(segment).Byte(bus);
  return s.Byte(devFn);
}

Structure End::Build() const {
  return Begin(127, handle);
}

Structure FqddMap::Build() const {
  Structure s = Begin(225, handle);
  s.Byte(format);
  for (const Group& group : groups) {
    s.String(group.fqdd).Word(group.handle).Byte(group.opaque);
  }
  return s;
}

Structure DimmExtension::Build() const {
  Structure s = Begin(226, handle);
  return s.Word(deviceHandle).String(firmwareVersion).Dword(componentId).Word(productId);
}

uint16_t Table::Add(Structure structure) {
  if (!structure.handle) {
    structure.handle = mNextHandle++;
  }
  mOffsets.push_back(mBytes.size());
  Add(Raw{structure.Encode()});
  return *structure.handle;
}

void Table::Add(const Raw& raw) {
  mBytes.insert(mBytes.end(), raw.bytes.begin(), raw.bytes.end());
}

void Table::Add(const Table& table) {
  for (const size_t offset : table.mOffsets) {
    mOffsets.push_back(mBytes.size() + offset);
  }
  Add(Raw{table.mBytes});
  mNextHandle = std::max(mNextHandle, table.mNextHandle);
}

Table MinimalServer() {
  return Table::Of(
      Bios{.handle = 0x000}, System{.handle = 0x100}, Chassis{.handle = 0x300},
      Processor{.handle = 0x400, .l1 = 0x700}, Cache{.handle = 0x700},
      MemoryArray{.handle = 0x1000}, MemoryDevice{.handle = 0x1100, .arrayHandle = 0x1000},
      FqddMap{.handle = 0xE100, .groups = {{"CPU.Socket.1", 0x400}, {"DIMM.Socket.A1", 0x1100}}},
      End{.handle = 0x7F00});
}

}  // namespace tvq::test
