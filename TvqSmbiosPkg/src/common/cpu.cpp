/** @file
  Builds the records of the processors.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "builders.h"

#include <IndustryStandard/SmbiosFields.h>
#include <Library/TvqDeviceLib.h>
#include <Library/ZorvLib.h>

#include "../log.h"
#include "../smbios/fqdd.h"
#include "../smbios/structure.h"
#include "../text.h"
#include "cpu_memory.h"
#include "publish.h"
#include "record.h"

namespace tvq {

namespace {

/// The handles of the three levels stand one behind the other.
constexpr auto kCacheHandle = SMBIOS_FIELD(4, L1CacheHandle);
static_assert(SMBIOS_FIELD(4, L3CacheHandle).Offset ==
                  kCacheHandle.In((TVQ_CACHE_LEVELS - 1) * sizeof(UINT16)).Offset,
              "one behind the other");

constexpr auto kStatus = SMBIOS_FIELD(4, Status);

using devices::kPpinLength;
using devices::kPpinSearchStart;
using devices::kPpinTag;

constexpr UINTN kPpinTagLength = sizeof(kPpinTag) - 1;

constexpr UINT32 kVariableAttributes =
    EFI_VARIABLE_NON_VOLATILE | EFI_VARIABLE_BOOTSERVICE_ACCESS | EFI_VARIABLE_RUNTIME_ACCESS;

constexpr Logger kLog("MakeCPUs");

/// Frees what hangs on a processor's record, newest first.
void FreeCpuContents(smTVQ* record) {
  const TVQ_CPU& cpu = record->device.cpu;
  FreeBlock(cpu.PPIN);
  for (UINTN level = TVQ_CACHE_LEVELS; level-- != 0;) {
    FreeBlock(cpu.CacheInfo[level]);
  }
  for (UINTN stack = TVQ_HBM_STACKS; stack-- != 0;) {
    FreeBlock(cpu.HBMInfo[stack]);
  }
  FreeBlock(cpu.ProcessorVersion);
  FreeBlock(cpu.ProcessorManufacturer);
  FreeBlock(cpu.FQDD);
  FreeBlock(cpu.Generic.MarketingName);
}

/// One run over the processors.
class CpuBuilder {
 public:
  [[nodiscard]] EFI_STATUS Run();

 private:
  void CollectOthers();
  void FindFirstPpin();
  void TakeMemoryCensus();
  [[nodiscard]] EFI_STATUS BuildRecord(UINT16 index);
  Outcome FillRecord(smTVQ* record, const Structure& processor, UINT16 index);
  Outcome FillIdentity(smTVQ* record, const Structure& processor, UINT16 index);
  Outcome FillFqdd(smTVQ* record, const Structure& processor);
  void WriteFamilyVariable(UINT8 family);
  Outcome FillProperties(smTVQ* record, const Structure& processor);
  void FillHbm(smTVQ* record, UINT16 index);
  void FillHbmArray(smTVQ* record);
  void FillCaches(smTVQ* record, const Structure& processor);
  Outcome FillPpin(smTVQ* record);
  void LogCoreCount() const { kLog("smTVQ->device.cpu.CoreCount: %d\n", mCoreCount); }

  StructureList mProcessors;
  StructureList mCaches;
  StructureList mOemStrings;
  StructureList mDevices;
  StructureList mArrays;
  UINT8* mPpinCursor = nullptr;
  UINT16 mModules = 0;
  bool mHbmPresent = false;
  UINT8 mCoreCount = 0;  ///< Of the record built last.
};

/// Collects structures that need not be there. Deliberate: what an empty collection allocated
/// stays in the pool.
[[nodiscard]] bool CollectOptional(StructureList& list, UINT8 type) {
  if (EFI_ERROR(list.Collect(type)) || !list.Any()) {
    list.Leave();
    return false;
  }
  return true;
}

void CpuBuilder::CollectOthers() {
  if (!CollectOptional(mCaches, SMBIOS_TYPE_CACHE_INFORMATION)) {
    kLog("Did not find any CACHE SMBIOS structures\n");
  }
  kLog("Found %d CACHE SMBIOS structures\n", mCaches.Count());
  if (!CollectOptional(mOemStrings, SMBIOS_TYPE_OEM_STRINGS)) {
    kLog("Did not find any OEM SMBIOS structures\n");
  }
  if (!CollectOptional(mDevices, SMBIOS_TYPE_MEMORY_DEVICE)) {
    kLog.Error("Did not find any DIMM SMBIOS structures\n");
  }
  if (!CollectOptional(mArrays, SMBIOS_TYPE_PHYSICAL_MEMORY_ARRAY)) {
    kLog.Error("Did not find any PMA SMBIOS structures\n");
  }
}

/// The text at the cursor; empty where no text ends inside the table.
const CHAR8* TextAtCursor(UINT8* cursor) {
  const CHAR8* text = SmbiosTextAt(cursor);
  return text == nullptr ? "" : text;
}

/// The cursor behind the text's terminator.
UINT8* PastText(UINT8* cursor, const CHAR8* text) {
  return cursor + ZvAsciiStrLen(text) + 1;
}

void CpuBuilder::FindFirstPpin() {
  if (!mOemStrings.Any()) {
    return;
  }
  // Deliberate: the second value is the address of the sizes, not a length.
  kLog("Found %d OEM SMBIOS structures of len = %d\n", mOemStrings.Count(), mOemStrings.Sizes());
  mPpinCursor = mOemStrings[0].Address() + kPpinSearchStart;
  const CHAR8* text = TextAtCursor(mPpinCursor);
  kLog("First oem string: %s\n", Widened(text).Text());
  while (text[0] != '\0' && ZvAsciiStrStr(text, kPpinTag) == nullptr) {
    mPpinCursor = PastText(mPpinCursor, text);
    text = TextAtCursor(mPpinCursor);
  }
  kLog("Tag17 str: =%s\n", Widened(text).Text());
}

void CpuBuilder::TakeMemoryCensus() {
  for (UINT16 i = 0; mDevices.Any() && i < mDevices.Count(); i++) {
    const Structure device = mDevices[i];
    const UINT8 formFactor = device.Get(SMBIOS_FIELD(17, FormFactor));
    if (device.Get(SMBIOS_FIELD(17, Size)) != 0 && formFactor != MemoryFormFactorDie) {
      mModules++;
    }
    kLog("DIMM%d Form Factor = %d\n", i, formFactor);
    if (devices::IsHbm(device.Get(SMBIOS_FIELD(17, MemoryType)))) {
      mHbmPresent = true;
    }
  }
  kLog("DIMM count = %d, HBM Presence = %d\n", mModules, mHbmPresent ? 1 : 0);
}

/// Name, core count and socket.
Outcome CpuBuilder::FillIdentity(smTVQ* record, const Structure& processor, UINT16 index) {
  const CHAR8* version = processor.GetString(SMBIOS_FIELD(4, ProcessorVersion));
  TVQ_TRY_COPY(record->device.generic.MarketingName, CopyText(version == nullptr ? "" : version));
  if (version != nullptr) {
    ZvStrTrim(record->device.generic.MarketingName, u' ');
  }

  mCoreCount = processor.Get(SMBIOS_FIELD(4, CoreCount));
  kLog("tables[%d].Type4->CoreCount: %d\n", index, mCoreCount);
  record->device.cpu.CoreCount = mCoreCount;
  LogCoreCount();

  const CHAR8* designation = processor.GetString(SMBIOS_FIELD(4, Socket));
  if (designation != nullptr) {
    const auto* digit = reinterpret_cast<const UINT8*>(designation) + devices::kSocketDigit;
    record->device.cpu.Socket = static_cast<UINT8>(SmbiosByteAt(digit) - '0');
  }
  return Outcome::Done();
}

Outcome CpuBuilder::FillFqdd(smTVQ* record, const Structure& processor) {
  if (gFqddMapValid != 0) {
    const FQDD_MAP_ENTRY* entry = FindFqdd(processor.OwnHandle());
    TVQ_TRY_COPY(record->device.cpu.FQDD, CopyText(entry == nullptr ? nullptr : FqddText(*entry)));
  }
  return Outcome::Done();
}

/// Deliberate: the last populated socket's family remains. Nothing depends on the variable, so its
/// status does not matter.
void CpuBuilder::WriteFamilyVariable(UINT8 family) {
  (void)gZV->RT->SetVariable(Ucs2(TVQ_PROCESSOR_FAMILY_VARIABLE_NAME), &gZvServicesTableGuid,
                             kVariableAttributes, sizeof(family), &family);
}

Outcome CpuBuilder::FillProperties(smTVQ* record, const Structure& processor) {
  TVQ_CPU& cpu = record->device.cpu;
  cpu.CurrentSpeed = processor.Get(SMBIOS_FIELD(4, CurrentSpeed));
  cpu.MaxSpeed = processor.Get(SMBIOS_FIELD(4, MaxSpeed));
  cpu.ExternalClock = processor.Get(SMBIOS_FIELD(4, ExternalClock));
  cpu.Status = processor.Get(kStatus);
  cpu.ThreadCount = processor.Get(SMBIOS_FIELD(4, ThreadCount));
  cpu.EnabledCoreCount = processor.Get(SMBIOS_FIELD(4, EnabledCoreCount));
  cpu.Voltage = processor.Get(SMBIOS_FIELD(4, Voltage).As<UINT8>());
  cpu.ProcessorCharacteristics = processor.Get(SMBIOS_FIELD(4, ProcessorCharacteristics));
  cpu.ProcessorID = processor.Get(SMBIOS_FIELD(4, ProcessorId).As<UINT64>());

  TVQ_TRY_COPY(cpu.ProcessorManufacturer,
               CopyText(processor.GetString(SMBIOS_FIELD(4, ProcessorManufacturer))));
  TVQ_TRY_COPY(cpu.ProcessorVersion,
               CopyText(processor.GetString(SMBIOS_FIELD(4, ProcessorVersion))));
  return Outcome::Done();
}

/// What the memory array that holds the first high-bandwidth memory says.
void CpuBuilder::FillHbmArray(smTVQ* record) {
  UINT16 first = 0;
  while (!devices::IsHbm(mDevices[first].Get(SMBIOS_FIELD(17, MemoryType)))) {
    if (++first == mDevices.Count()) {
      return;
    }
  }
  const UINT16 handle = mDevices[first].GetHandle(SMBIOS_FIELD(17, MemoryArrayHandle));
  for (UINT16 i = 0; mArrays.Any() && i < mArrays.Count(); i++) {
    const Structure array = mArrays[i];
    if (array.OwnHandle() == handle) {
      TVQ_CPU& cpu = record->device.cpu;
      cpu.HBMMaxCapacity = array.Get(SMBIOS_FIELD(16, MaximumCapacity));
      cpu.HBMLocation = array.Get(SMBIOS_FIELD(16, Location));
      cpu.HBMErrorCorrectionType = array.Get(SMBIOS_FIELD(16, MemoryErrorCorrection));
      kLog(" HBM max Capacity = %x, HBM location = %x, HBM correction type = %x\n",
           cpu.HBMMaxCapacity, cpu.HBMLocation, cpu.HBMErrorCorrectionType);
      return;
    }
  }
}

void CpuBuilder::FillHbm(smTVQ* record, UINT16 index) {
  if (!mHbmPresent) {
    record->device.cpu.HBMPresence = 0;
    return;
  }
  record->device.cpu.HBMPresence = 1;
  record->device.cpu.HBMOnlyMode = mModules == 0 ? 1 : 0;
  kLog("HBM only mode = %d\n", record->device.cpu.HBMOnlyMode);
  FillHbmArray(record);
  for (UINT8 stack = 0; stack < TVQ_HBM_STACKS; stack++) {
    if (EFI_ERROR(GetHbmInfo(record, mDevices.Records(), mDevices.Count(),
                             static_cast<UINT8>(index), stack))) {
      kLog("Failed to get HBM%d Information for cpu%d", stack, index);
    }
  }
}

void CpuBuilder::FillCaches(smTVQ* record, const Structure& processor) {
  if (!mCaches.Any()) {
    return;
  }
  constexpr LogFormat kFailures[TVQ_CACHE_LEVELS] = {
      "Failed to get L1 Cache Information",
      "Failed to get L2 Cache Information",
      "Failed to get L3 Cache Information",
  };
  for (UINT8 level = 0; level < TVQ_CACHE_LEVELS; level++) {
    if (EFI_ERROR(GetCacheInfo(record, mCaches.Records(), mCaches.Count(),
                               processor.GetHandle(kCacheHandle.In(level * sizeof(UINT16))),
                               level))) {
      kLog(kFailures[level]);
    }
  }
}

/// Takes the next PPIN text. Deliberate: one that has no tag stays at the cursor, so that no later
/// socket gets one either.
Outcome CpuBuilder::FillPpin(smTVQ* record) {
  const CHAR8* text = mPpinCursor == nullptr ? "" : TextAtCursor(mPpinCursor);
  if (text[0] == '\0') {
    return Outcome::Done();
  }
  const CHAR8* match = ZvAsciiStrStr(text, kPpinTag);
  if (match == nullptr) {
    kLog("Couldnot find PPIN in Type11 SMBIOS structure\n");
    return Outcome::Done();
  }
  kLog("tag17=%c%c", match[0], match[1]);
  auto ppin = PoolPtr<CHAR16>::Zeroed(kPpinLength + 1);
  if (!ppin) {
    return Outcome::NoMemory();
  }
  const auto* digits = reinterpret_cast<const UINT8*>(match) + kPpinTagLength;
  for (UINTN i = 0; i < kPpinLength; i++) {
    ppin[i] = WidenByte(static_cast<CHAR8>(SmbiosByteAt(digits + i)));
  }
  kLog("PPIN=%s", ppin.Get());
  record->device.cpu.PPIN = ppin.Release();
  mPpinCursor = PastText(mPpinCursor, text);
  return Outcome::Done();
}

Outcome CpuBuilder::FillRecord(smTVQ* record, const Structure& processor, UINT16 index) {
  TVQ_TRY_STEP(FillIdentity(record, processor, index));
  TVQ_TRY_STEP(FillFqdd(record, processor));
  const UINT8 family = processor.Get(SMBIOS_FIELD(4, ProcessorFamily));
  record->device.cpu.ProcessorFamily = family;
  WriteFamilyVariable(family);
  TVQ_TRY_STEP(FillProperties(record, processor));
  LogCoreCount();
  FillHbm(record, index);
  FillCaches(record, processor);
  TVQ_TRY_STEP(FillPpin(record));
  FillOperations(record);
  LogCoreCount();
  const UINT8 instance[] = {record->device.cpu.Socket};
  TVQ_TRY_STEP(AttachDevicePath(record, instance));
  LogCoreCount();
  return Outcome::Done();
}

EFI_STATUS CpuBuilder::BuildRecord(UINT16 index) {
  RecordOwner record(TVQ_DEVICE_TYPE_CPU, FreeCpuContents);
  if (!record) {
    // Deliberate: a record that cannot be had leaves these two lists in the pool.
    mCaches.Leave();
    mOemStrings.Leave();
    return EFI_OUT_OF_RESOURCES;
  }
  if (FillRecord(record.Get(), mProcessors[index], index).Failed()) {
    return EFI_OUT_OF_RESOURCES;
  }
  // From here on a failure leaves the record, its device path and its entry in the pool.
  return PublishRecord(record.Leave());
}

EFI_STATUS CpuBuilder::Run() {
  kLog("Entry MakeCPUs\n");
  if (EFI_ERROR(mProcessors.Collect(SMBIOS_TYPE_PROCESSOR_INFORMATION)) || !mProcessors.Any()) {
    return EFI_NOT_FOUND;
  }
  CollectOthers();
  FindFirstPpin();
  TakeMemoryCensus();
  for (UINT16 i = 0; i < mProcessors.Count(); i++) {
    if (devices::IsSocketPopulated(mProcessors[i].Get(kStatus))) {
      const EFI_STATUS status = BuildRecord(i);
      if (EFI_ERROR(status)) {
        return status;
      }
    }
    LogCoreCount();  // Deliberate: for an empty socket, the cores of the last record.
  }
  return EFI_SUCCESS;
}

}  // namespace

EFI_STATUS MakeCPUs() {
  EFI_STATUS status;
  {
    CpuBuilder builder;
    status = builder.Run();
  }
  if (!EFI_ERROR(status)) {
    kLog("Leaving MakeCPUs\n");
  }
  return status;
}

}  // namespace tvq
