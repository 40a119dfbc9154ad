/*
 * The devices that a table describes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/session/table_devices.h"

#include "host/firmware/edk2.h"

#include <TvqCpp.h>
#include <Protocol/TvqRecord.h>
#include <IndustryStandard/SmbiosTvq.h>

#include "TvqPlatformPkg/src/smbios/devices.h"
#include "TvqPlatformPkg/src/smbios/table.h"

namespace tvq::session {
namespace {

using tvqplatform::TableStructure;
using tvqplatform::TableText;
using tvqplatform::TableWalk;

constexpr size_t kKeySize = sizeof(TVQ_DEVICE_PATH::Data);
// Size of a memory device (SMBIOS 7.18); 0 for an empty slot.
constexpr UINTN kMemorySize = 0x0C;

tvqplatform::Bytes ViewOf(const Table& table) {
  return {table.structures.data(), table.structures.size()};
}

std::string TextOf(const uint8_t* bytes, size_t size) {
  return std::string(reinterpret_cast<const char*>(bytes), size);
}

void SetProcessorKey(const TableStructure& structure, TableDevice& device) {
  const tvqplatform::ProcessorKey key = tvqplatform::KeyOfProcessor(structure);
  device.key[0] = TVQ_DEVICE_TYPE_CPU;
  device.key[1] = key.Exists ? key.Number() : 0;
  device.keyText = key.Exists ? TextOf(&key.Character, 1) : "";
}

// The driver widens characters with their sign.
void SetModuleKey(const Table& table, const TableStructure& structure, TableDevice& device) {
  const tvqplatform::ModuleKey key = tvqplatform::KeyOfModule(ViewOf(table), structure);
  device.key[0] = TVQ_DEVICE_TYPE_DIMM;
  size_t at = 1;
  for (const uint8_t character : key.Characters) {
    device.key[at++] = character;
    device.key[at++] = character > 0x7F ? 0xFF : 0;
    if (character != 0) {
      device.keyText += TextOf(&character, 1);
    }
  }
}

DeviceKind KindOf(const TableStructure& structure) {
  if (tvqplatform::IsProcessorStructure(structure)) {
    return tvqplatform::IsProcessor(structure) ? DeviceKind::kProcessor : DeviceKind::kEmptySocket;
  }
  if (tvqplatform::IsModule(structure)) {
    return DeviceKind::kModule;
  }
  return tvqplatform::IsHbm(structure)      ? DeviceKind::kHbm
         : structure.Word(kMemorySize) == 0 ? DeviceKind::kEmptySlot
                                            : DeviceKind::kLogicalModule;
}

TableDevice ToDevice(const Table& table, const TableStructure& structure) {
  TableDevice device;
  device.kind = KindOf(structure);
  device.type = structure.Type();
  device.handle = structure.Handle();
  device.key.resize(kKeySize);
  const bool isProcessor = tvqplatform::IsProcessorStructure(structure);
  const TableText text = structure.StringAt(isProcessor ? tvqplatform::kProcessorDesignation
                                                        : tvqplatform::kModuleLocator);
  if (text.Data != nullptr) {
    device.designation = TextOf(text.Data, text.Length);
  }
  if (isProcessor) {
    SetProcessorKey(structure, device);
  } else {
    SetModuleKey(table, structure, device);
  }
  return device;
}

}  // namespace

std::vector<TableDevice> DevicesOf(const Table& table) {
  std::vector<TableDevice> devices;
  TableWalk walk(ViewOf(table));
  for (TableStructure structure; walk.Next(structure);) {
    if (tvqplatform::IsProcessorStructure(structure) || tvqplatform::IsMemoryStructure(structure)) {
      devices.push_back(ToDevice(table, structure));
    }
  }
  return devices;
}

std::string WhyNoNames(const Table& table) {
  size_t count = 0;
  TableWalk walk(ViewOf(table));
  for (TableStructure structure; walk.Next(structure);) {
    if (structure.Type() != SMBIOS_TYPE_TVQ_FQDD_MAP) {
      continue;
    }
    ++count;
    if (structure.Byte(OFFSET_OF(SMBIOS_TABLE_TYPE225, Format)) != SMBIOS_TVQ_FQDD_MAP_FORMAT) {
      return "a structure of type 225, which names the devices, has another format than 1";
    }
  }
  return count == 0 ? "there is no structure of type 225, which names the devices" : "";
}

size_t CountStructures(const Table& table, unsigned type) {
  size_t count = 0;
  TableWalk walk(ViewOf(table));
  for (TableStructure structure; walk.Next(structure);) {
    count += structure.Type() == type ? 1 : 0;
  }
  return count;
}

Bytes KeyOf(const Record& record) {
  if (!record.devicePath || record.devicePath->size() != sizeof(TVQ_DEVICE_PATH)) {
    return {};
  }
  const auto start = record.devicePath->begin() + OFFSET_OF(TVQ_DEVICE_PATH, Data);
  return Bytes(start, start + kKeySize);
}

}  // namespace tvq::session
