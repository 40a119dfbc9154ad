/** @file
  What the names of processors and memory modules must have so that TVQSMBIOS can tell the devices
  apart.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "devices.h"

namespace tvqplatform {

namespace {

// Processor information (SMBIOS 7.5).
constexpr UINTN kProcessorStatus = 0x18;
constexpr UINT8 kSocketPopulated = BIT6;

// Memory device (SMBIOS 7.18).
constexpr UINTN kMemorySize = 0x0C;
constexpr UINTN kMemoryType = 0x12;
constexpr UINT8 kMemoryTypeLogical = 0x1F;
constexpr UINT8 kMemoryTypeHbm = 0x20;
constexpr UINT8 kMemoryTypeHbm2 = 0x21;

constexpr UINT8 kPrefix[] = {'D', 'I', 'M', 'M', '_'};

bool ContainsPrefix(const TableText& text) {
  for (UINTN start = 0; start + sizeof(kPrefix) <= text.Length; start++) {
    if (CompareMem(text.Data + start, kPrefix, sizeof(kPrefix)) == 0) {
      return true;
    }
  }
  return false;
}

}  // namespace

bool IsProcessor(const TableStructure& structure) {
  return IsProcessorStructure(structure) &&
         (structure.Byte(kProcessorStatus) & kSocketPopulated) != 0;
}

bool IsHbm(const TableStructure& structure) {
  const UINT8 type = structure.Byte(kMemoryType);
  return IsMemoryStructure(structure) && (type == kMemoryTypeHbm || type == kMemoryTypeHbm2);
}

bool IsModule(const TableStructure& structure) {
  return IsMemoryStructure(structure) && !IsHbm(structure) &&
         structure.Byte(kMemoryType) != kMemoryTypeLogical && structure.Word(kMemorySize) != 0;
}

ProcessorKey KeyOfProcessor(const TableStructure& structure) {
  const TableText designation = structure.StringAt(kProcessorDesignation);
  if (designation.Data == nullptr || designation.Length < 4) {
    return {false, 0};
  }
  return {true, designation.Data[3]};
}

ModuleKey KeyOfModule(Bytes table, const TableStructure& structure) {
  ModuleKey key = {false, {0, 0, 0}};
  const TableText locator = structure.StringAt(kModuleLocator);
  if (locator.Data == nullptr) {
    return key;
  }
  key.Exists = true;
  const UINT8* character = locator.Data + (ContainsPrefix(locator) ? sizeof(kPrefix) : 0);
  for (UINT8& slot : key.Characters) {
    slot = character < table.end() ? *character : 0;
    character++;
  }
  return key;
}

}  // namespace tvqplatform
