/** @file
  FQDD map.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "fqdd.h"

#include <IndustryStandard/SmbiosFields.h>
#include <Library/TvqDeviceLib.h>
#include <Library/ZorvLib.h>

#include "../log.h"
#include "structure.h"
#include "table_index.h"

namespace tvq {

UINT8** gType225Records;
UINT16 gType225Count;
FQDD_MAP_ENTRY* gFqddMap;
UINT16 gFqddMapCount;
UINT8 gFqddMapValid;

namespace {

constexpr auto kFormat = SMBIOS_FIELD(225, Format);
constexpr UINTN kGroupSize = sizeof(SMBIOS_TVQ_FQDD_GROUP);

/// The number of groups that the structure's length byte promises, in 16-bit arithmetic.
UINT16 GroupCount(const Structure& structure) {
  return static_cast<UINT16>(static_cast<UINT16>(structure.StatedLength() - devices::kFqddGroups) >>
                             2);
}

[[nodiscard]] EFI_STATUS CountGroups() {
  for (UINT16 i = 0; i < gType225Count; i++) {
    const Structure structure(&gType225Records[i]);
    if (structure.Get(kFormat) != SMBIOS_TVQ_FQDD_MAP_FORMAT) {
      return EFI_NOT_FOUND;
    }
    gFqddMapCount = static_cast<UINT16>(gFqddMapCount + GroupCount(structure));
  }
  return EFI_SUCCESS;
}

FQDD_MAP_ENTRY ReadGroup(const Structure& structure, UINTN offset, UINT16 index) {
  FQDD_MAP_ENTRY entry;
  entry.StringNumber =
      structure.Get(SMBIOS_GROUP_FIELD(225, SMBIOS_TVQ_FQDD_GROUP, StringNumber).In(offset));
  entry.Handle =
      structure.GetHandle(SMBIOS_GROUP_FIELD(225, SMBIOS_TVQ_FQDD_GROUP, Handle).In(offset));
  entry.Opaque = structure.Get(SMBIOS_GROUP_FIELD(225, SMBIOS_TVQ_FQDD_GROUP, Opaque).In(offset));
  entry.StructureIndex = static_cast<UINT8>(index);
  return entry;
}

[[nodiscard]] EFI_STATUS FillMap() {
  UINT16 filled = 0;
  for (UINT16 i = 0; i < gType225Count && filled < gFqddMapCount; i++) {
    const Structure structure(&gType225Records[i]);
    UINTN offset = devices::kFqddGroups;
    for (UINT16 left = GroupCount(structure); left != 0 && filled < gFqddMapCount; left--) {
      if (offset >= structure.Length()) {
        return EFI_NOT_FOUND;
      }
      gFqddMap[filled] = ReadGroup(structure, offset, i);
      offset += kGroupSize;
      filled++;
    }
  }
  return EFI_SUCCESS;
}

/// Notes in the index which entry of the map is the first one for a structure.
void NoteInIndex() {
  TableIndex* index = TableIndex::Current();
  for (UINT16 position = gFqddMapCount; index != nullptr && position-- != 0;) {
    const UINT16 entry = index->FindHandle(gFqddMap[position].Handle);
    if (entry != TableIndex::kNone) {
      index->MapPosition(entry) = position;
    }
  }
}

/// The position of the first entry with the handle; the number of entries when there is none.
UINT16 FindPosition(UINT16 handle) {
  if (TableIndex* index = TableIndex::Current()) {
    const UINT16 entry = index->FindHandle(handle);
    if (entry != TableIndex::kNone) {
      return MIN(index->MapPosition(entry), gFqddMapCount);
    }
  }
  UINT16 position = 0;
  while (position < gFqddMapCount && gFqddMap[position].Handle != handle) {
    position++;
  }
  return position;
}

[[nodiscard]] EFI_STATUS CollectAndFill() {
  StructureList structures;
  if (EFI_ERROR(structures.Collect(SMBIOS_TYPE_TVQ_FQDD_MAP))) {
    return EFI_NOT_FOUND;  // What an earlier start collected is still the driver's to free.
  }
  gType225Records = structures.Records();
  gType225Count = structures.Count();
  structures.Leave();  // The map reads the records for good; the sizes deliberately stay too.
  if (gType225Count == 0) {
    return EFI_NOT_FOUND;
  }

  EFI_STATUS status = CountGroups();
  if (EFI_ERROR(status)) {
    return status;
  }
  gFqddMap = static_cast<FQDD_MAP_ENTRY*>(AllocateZeroPool(gFqddMapCount * sizeof(FQDD_MAP_ENTRY)));
  // A pool may have no block for no bytes.
  if (gFqddMap == nullptr && gFqddMapCount != 0) {
    return EFI_OUT_OF_RESOURCES;
  }
  return FillMap();
}

template <typename Block>
void FreeAndClear(Block*& block) {
  if (block != nullptr) {
    ZvFreePool(block);
    block = nullptr;
  }
}

}  // namespace

EFI_STATUS BuildFqddMap() {
  gFqddMapCount = 0;
  const EFI_STATUS status = CollectAndFill();
  if (EFI_ERROR(status)) {
    gFqddMapValid = 0;
    gFqddMapCount = 0;
    return status;
  }
  gFqddMapValid = 1;
  NoteInIndex();
  return EFI_SUCCESS;
}

FQDD_MAP_ENTRY* FindFqdd(UINT16 Handle) {
  if (gFqddMap != nullptr) {
    const UINT16 position = FindPosition(Handle);
    if (position < gFqddMapCount) {
      return &gFqddMap[position];
    }
  }
  Logger("FindFqdd")("Handle 0x%X not found\n", Handle);
  return nullptr;
}

CHAR8* FqddText(const FQDD_MAP_ENTRY& entry) {
  if (gType225Records == nullptr) {
    return nullptr;
  }
  return SmbiosGetString(&gType225Records[entry.StructureIndex], entry.StringNumber);
}

EFI_STATUS ReleaseSmbiosState() {
  gSmbiosEntryPoint = nullptr;
  FreeAndClear(gType225Records);
  FreeAndClear(gFqddMap);
  return EFI_SUCCESS;
}

}  // namespace tvq
