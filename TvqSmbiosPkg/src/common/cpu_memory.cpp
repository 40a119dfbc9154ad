/** @file
  Caches and high-bandwidth memory of a processor.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "cpu_memory.h"

#include <IndustryStandard/SmbiosFields.h>
#include <Library/ZorvLib.h>

#include "../log.h"
#include "../smbios/structure.h"
#include "../smbios/table_index.h"

namespace tvq {

namespace {

constexpr Logger kHbmLog("GetHbmInfo");

void FillCache(CACHE_INFO* info, const Structure& cache) {
  const UINT16 configuration = cache.Get(SMBIOS_FIELD(7, CacheConfiguration));
  info->CacheLevel = configuration & 0x7;
  info->CacheConfiguration = configuration;
  info->CacheLocation = configuration & 0x60;
  info->MaximumSize = cache.Get(SMBIOS_FIELD(7, MaximumCacheSize));
  info->InstalledSize = cache.Get(SMBIOS_FIELD(7, InstalledSize));
  info->CurrentSRAMType = cache.Get(SMBIOS_FIELD(7, CurrentSRAMType).As<UINT16>());
  info->CacheSpeed = cache.Get(SMBIOS_FIELD(7, CacheSpeed));
  info->ErrorCorrectionType = cache.Get(SMBIOS_FIELD(7, ErrorCorrectionType));
  info->SystemCacheType = cache.Get(SMBIOS_FIELD(7, SystemCacheType));
  info->Associativity = cache.Get(SMBIOS_FIELD(7, Associativity));
}

/// The first of the cache structures with the handle, or null.
UINT8* FindCache(UINT8** caches, UINT16 count, UINT16 handle) {
  if (const TableIndex* index = TableIndex::Current()) {
    const UINT16 entry = index->FindHandle(handle, SMBIOS_TYPE_CACHE_INFORMATION);
    return entry == TableIndex::kNone ? nullptr : index->Address(entry);
  }
  for (UINT16 i = 0; i < count; i++) {
    if (Structure(&caches[i]).OwnHandle() == handle) {
      return caches[i];
    }
  }
  return nullptr;
}

/// Part of a memory device's locator that names the stack.
struct HbmPattern {
  HbmPattern(UINT8 cpuIndex, UINT8 hbmIndex) {
    ZeroMem(Text, sizeof(Text));
    ZvAsciiSPrint(Text, sizeof(Text), "CPU%d_HBMIO%d", cpuIndex, hbmIndex);
    // Deliberate: from the eleventh processor on, the cut takes the number of the stack.
    Text[11] = '\0';
  }
  CHAR8 Text[128];
};

/// The first memory device whose locator contains the pattern, deliberately of any type; or null.
UINT8** FindStack(UINT8** devices, UINT16 count, const CHAR8* pattern) {
  for (UINT16 i = 0; i < count; i++) {
    const CHAR8* locator = Structure(&devices[i]).GetString(SMBIOS_FIELD(17, DeviceLocator));
    if (locator != nullptr && ZvAsciiStrStr(locator, pattern) != nullptr) {
      return &devices[i];
    }
  }
  return nullptr;
}

/// Deliberate: unlike those of a module, the late sizes are read where the structure has them.
void FillStack(HBM_INFO* info, const Structure& device, UINT8 hbmIndex) {
  info->Size = device.Get(SMBIOS_FIELD(17, Size));
  info->MemoryType = device.Get(SMBIOS_FIELD(17, MemoryType));
  info->Speed = device.Get(SMBIOS_FIELD(17, Speed));
  info->NonVolatileSize = device.Get(SMBIOS_FIELD(17, NonVolatileSize));
  info->VolatileSize = device.Get(SMBIOS_FIELD(17, VolatileSize));
  info->CacheSize = device.Get(SMBIOS_FIELD(17, CacheSize));
  kHbmLog("HBM%d Size = %x\n", hbmIndex, info->Size);
  kHbmLog("HBM%d Type = %x\n", hbmIndex, info->MemoryType);
  kHbmLog("HBM%d Speed = %x\n", hbmIndex, info->Speed);
  kHbmLog("HBM%d NVSize = %llu\n", hbmIndex, info->NonVolatileSize);
  kHbmLog("HBM%d VSize = %llu\n", hbmIndex, info->VolatileSize);
  kHbmLog("HBM%d CSize = %llu\n", hbmIndex, info->CacheSize);
}

}  // namespace

EFI_STATUS GetCacheInfo(smTVQ* Record, UINT8** Type7Array, UINT16 Type7Count, UINT16 CacheHandle,
                        UINT8 LevelIndex) {
  if (Record == nullptr || Type7Array == nullptr || LevelIndex >= TVQ_CACHE_LEVELS) {
    return EFI_INVALID_PARAMETER;
  }
  Record->device.cpu.CacheInfo[LevelIndex] = nullptr;
  if (CacheHandle == kSmbiosNoHandle) {
    return EFI_INVALID_PARAMETER;
  }
  UINT8* cache = FindCache(Type7Array, Type7Count, CacheHandle);
  if (cache == nullptr) {
    return EFI_NOT_FOUND;
  }
  auto info = PoolPtr<CACHE_INFO>::Zeroed();
  if (!info) {
    return EFI_OUT_OF_RESOURCES;
  }
  FillCache(info.Get(), Structure(&cache));
  Record->device.cpu.CacheInfo[LevelIndex] = info.Release();
  return EFI_SUCCESS;
}

EFI_STATUS GetHbmInfo(smTVQ* Record, UINT8** Type17Array, UINT16 Type17Count, UINT8 CpuIndex,
                      UINT8 HbmIndex) {
  if (Record == nullptr || Type17Array == nullptr || HbmIndex >= TVQ_HBM_STACKS) {
    return EFI_INVALID_PARAMETER;
  }
  Record->device.cpu.HBMInfo[HbmIndex] = nullptr;
  const HbmPattern pattern(CpuIndex, HbmIndex);
  kHbmLog("HBM Locator = %s\n", Widened(pattern.Text).Text());

  UINT8** stack = FindStack(Type17Array, Type17Count, pattern.Text);
  if (stack == nullptr) {
    kHbmLog.Error("Error: No HBM entries found in table 17");
    return EFI_NOT_FOUND;
  }
  auto info = PoolPtr<HBM_INFO>::Zeroed();
  if (!info) {
    return EFI_OUT_OF_RESOURCES;
  }
  FillStack(info.Get(), Structure(stack), HbmIndex);
  Record->device.cpu.HBMInfo[HbmIndex] = info.Release();
  return EFI_SUCCESS;
}

}  // namespace tvq
