/** @file
  The configuration document: a processor's properties.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "configuration.h"

#include "../log.h"

namespace tvq {

namespace {

constexpr Logger kLog("getConfigBlob");

/// What the CPUID signature, the low half of the processor ID, says.
struct Signature {
  explicit Signature(UINT64 processorId)
      : Value(static_cast<UINT32>(processorId)),
        Stepping(Value & 0xF),
        Model(((Value & 0xF0) >> 4) | ((Value & 0xF0000) >> 12)),
        // Deliberate: the extended family is joined by OR, not added.
        Family(((Value & 0xF00) >> 8) | ((Value & 0xFF00000) >> 20)) {}

  UINT32 Value;
  UINT32 Stepping;
  UINT32 Model;
  UINT32 Family;
};

const CHAR8* CacheLevelText(UINT16 level) {
  return level == 0 ? "L1" : level == 1 ? "L2" : "L3";
}

const CHAR8* CacheLocationText(UINT16 location) {
  return location == 0 ? "Internal" : location == 0x20 ? "External" : "Unknown";
}

void WriteCache(XmlWriter& xml, const CACHE_INFO& cache) {
  xml.Open("CacheData");
  xml.Element("CacheLevel", CacheLevelText(cache.CacheLevel));
  xml.Element("CacheLocation", CacheLocationText(cache.CacheLocation));
  xml.Decimal("CacheConfiguration", cache.CacheConfiguration);
  xml.Decimal("MaximumSize", cache.MaximumSize);
  xml.Decimal("InstalledSize", cache.InstalledSize);
  xml.Decimal("CurrentSRAMType", cache.CurrentSRAMType);
  xml.Decimal("CacheSpeed", cache.CacheSpeed);
  xml.Decimal("ErrorCorrectionType", cache.ErrorCorrectionType);
  xml.Decimal("SystemCacheType", cache.SystemCacheType);
  xml.Decimal("Associativity", cache.Associativity);
  xml.Close("CacheData");
}

void WriteHbm(XmlWriter& xml, const HBM_INFO& hbm) {
  xml.Open("HBMData");
  xml.Decimal("Size", hbm.Size);
  xml.Decimal("MemoryType", hbm.MemoryType);
  xml.Decimal("Speed", hbm.Speed);
  xml.LongDecimal("NonVolatileSize", hbm.NonVolatileSize);
  xml.LongDecimal("VolatileSize", hbm.VolatileSize);
  xml.LongDecimal("CacheSize", hbm.CacheSize);
  xml.Close("HBMData");
}

void WriteCoreCount(XmlWriter& xml, UINT8 coreCount) {
  CHAR8 text[6] = {};  // Empty when it cannot be printed.
  kLog("tvq->device.cpu.CoreCount: %d\n", coreCount);
  ZvAsciiSPrint(text, sizeof(text), "%d", coreCount);
  kLog("corecount: %a\n", text);
  xml.Element("CoreCount", text);
}

void WriteHbmSummary(XmlWriter& xml, const TVQ_CPU& cpu) {
  xml.Decimal("HBMOnlyMode", cpu.HBMOnlyMode);
  xml.Printed("HBMMaxCapacity", "%lld", cpu.HBMMaxCapacity);
  xml.Decimal("HBMLocation", cpu.HBMLocation);
  xml.Decimal("HBMErrorCorrectionType", cpu.HBMErrorCorrectionType);
}

}  // namespace

void WriteCpuData(XmlWriter& xml, const TVQ_CPU& cpu) {
  const Signature signature(cpu.ProcessorID);
  const bool hasHbm = cpu.HBMPresence == 1;
  xml.Open("cpuData");
  xml.Printed("ProcessorFamily", "%x", cpu.ProcessorFamily);
  xml.Element("ProcessorManufacturer", cpu.ProcessorManufacturer);
  xml.Printed("ProcessorVersion", "Model %d Stepping %d", signature.Model, signature.Stepping);
  xml.Element("PPIN", cpu.PPIN);
  xml.Decimal("Voltage", cpu.Voltage);
  xml.Decimal("CurrentSpeed", cpu.CurrentSpeed);
  xml.Decimal("MaxSpeed", cpu.MaxSpeed);
  xml.Decimal("ExternalClock", cpu.ExternalClock);
  xml.Decimal("Status", cpu.Status);
  WriteCoreCount(xml, cpu.CoreCount);
  xml.Decimal("EnabledCoreCount", cpu.EnabledCoreCount);
  xml.Decimal("ThreadCount", cpu.ThreadCount);
  xml.Decimal("ProcessorCharacteristics", cpu.ProcessorCharacteristics);
  xml.Printed("IdentificationRegisters", "0x%08X", signature.Value);
  xml.Decimal("ProcessorEffectiveFamily", signature.Family);
  xml.Printed("ProcessorEffectiveModel", "0x%X", signature.Model);
  xml.Decimal("ProcessorStep", signature.Stepping);
  xml.Decimal("HBMPresence", cpu.HBMPresence);
  if (hasHbm) {
    WriteHbmSummary(xml, cpu);
  }
  for (UINTN level = 0; level < TVQ_CACHE_LEVELS; level++) {
    if (cpu.CacheInfo[level] != nullptr) {
      WriteCache(xml, *cpu.CacheInfo[level]);
    }
  }
  for (UINTN stack = 0; hasHbm && stack < TVQ_HBM_STACKS; stack++) {
    if (cpu.HBMInfo[stack] != nullptr) {
      WriteHbm(xml, *cpu.HBMInfo[stack]);
    }
  }
  xml.Close("cpuData");
}

}  // namespace tvq
