/** @file
  Builds the records of the memory modules.

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
#include "dimm_extension.h"
#include "publish.h"
#include "record.h"

namespace tvq {

namespace {

/// Deliberate: one test gates all late fields, although only the first of them end here.
constexpr smbios::SizeType kLateFieldsFrom =
    SMBIOS_FIELD(17, MemorySubsystemControllerProductID).End();

using devices::kLocatorLength;

constexpr UINTN kGenericNameSize = 20;

constexpr Logger kLog("MakeDIMMs");

/// Frees what a failed allocation gives back, newest first. Deliberate: the FQDD is not among it.
void FreeDimmContents(smTVQ* record) {
  const TVQ_DIMM& dimm = record->device.dimm;
  FreeBlock(dimm.AssetTag);
  FreeBlock(dimm.BankLocator);
  FreeBlock(dimm.Manufacturer);
  FreeBlock(dimm.DeviceLocator);
  FreeBlock(dimm.Generic.WWN);
  FreeBlock(dimm.Generic.MarketingName);
}

struct Word {
  UINT8 Value;
  char Text[5];
};

constexpr Word kTypeWords[] = {{MemoryTypeDdr3, "DDR3"},
                               {MemoryTypeDdr4, "DDR4"},
                               {MemoryTypeDdr5, "DDR5"},
                               {MemoryTypeDram, "DRAM"}};
constexpr Word kFormWords[] = {{MemoryFormFactorDimm, "DIMM"}, {MemoryFormFactorChip, "Chip"}};

const char* FindWord(Span<const Word> words, UINT8 value) {
  for (const Word& word : words) {
    if (word.Value == value) {
      return word.Text;
    }
  }
  return nullptr;
}

/// "DDR4DIMM" and the like, in a buffer of kGenericNameSize characters.
void WriteGenericName(CHAR16* name, UINT8 memoryType, UINT8 formFactor) {
  const char* type = FindWord(kTypeWords, memoryType);
  const char* form = FindWord(kFormWords, formFactor);
  WideText text(name, kGenericNameSize);
  text.Append(type == nullptr ? "Unknown" : type);
  if (type != nullptr || form != nullptr) {
    text.Append(form == nullptr ? "Memory" : form);
  }
}

/// One run over the memory devices.
class DimmBuilder {
 public:
  [[nodiscard]] EFI_STATUS Run();

 private:
  [[nodiscard]] EFI_STATUS BuildRecord(UINT16 index);
  [[nodiscard]] EFI_STATUS Abandon(RecordOwner& record, LogFormat message);
  [[nodiscard]] EFI_STATUS Publish(RecordOwner& record);
  Outcome FillTexts(smTVQ* record, const Structure& device);
  Outcome FillGenericName(smTVQ* record, const Structure& device);
  Outcome FillFqdd(smTVQ* record, const Structure& device);
  Outcome FillLocator(smTVQ* record, const Structure& device);
  Outcome FillMakerTexts(smTVQ* record, const Structure& device);
  Outcome FillPartNumber(smTVQ* record, const Structure& device);
  void FillExtension(smTVQ* record);

  TYPE_E2_NODE* pE2ListRoot = nullptr;  ///< Deliberately left in the pool unless the walk finishes.
  StructureList mDevices;
};

Outcome DimmBuilder::FillGenericName(smTVQ* record, const Structure& device) {
  auto name = PoolPtr<CHAR16>::Zeroed(kGenericNameSize);
  if (!name) {
    return Outcome::NoMemory("Memory allocation failed for DIMM Gerneric Name\n");
  }
  WriteGenericName(name.Get(), device.Get(SMBIOS_FIELD(17, MemoryType)),
                   device.Get(SMBIOS_FIELD(17, FormFactor)));
  record->device.generic.MarketingName = name.Release();
  return Outcome::Done();
}

Outcome DimmBuilder::FillFqdd(smTVQ* record, const Structure& device) {
  if (gFqddMapValid == 0) {
    return Outcome::Done();
  }
  const UINT16 handle = device.OwnHandle();
  const FQDD_MAP_ENTRY* entry = FindFqdd(handle);
  if (entry == nullptr) {
    kLog("NO FQDD for handle=0x%X\n", handle);
    return Outcome::Done();
  }
  TVQ_TRY_COPY(record->device.dimm.FQDD, CopyText(FqddText(*entry)),
               "Memory allocation failed for DIMM FQDDD\n");
  return Outcome::Done();
}

/// Deliberate: a locator with "DIMM_" anywhere loses its first five characters, and three bytes
/// are taken from there as they stand, whatever the length of the text.
Outcome DimmBuilder::FillLocator(smTVQ* record, const Structure& device) {
  const CHAR8* locator = device.GetString(SMBIOS_FIELD(17, DeviceLocator));
  if (locator == nullptr) {
    return Outcome::Done();
  }
  auto text = PoolPtr<CHAR16>::Zeroed(kLocatorLength + 1);
  if (!text) {
    return Outcome::NoMemory("Memory allocation failed for DIMM Socket\n");
  }
  const auto* start = reinterpret_cast<const UINT8*>(locator);
  if (ZvAsciiStrStr(locator, devices::kLocatorPrefix) != nullptr) {
    start += devices::kLocatorPrefixLength;
  }
  for (UINTN i = 0; i < kLocatorLength; i++) {
    text[i] = WidenByte(static_cast<CHAR8>(SmbiosByteAt(start + i)));
  }
  kLog("Socket = %s \n", text.Get());
  record->device.dimm.DeviceLocator = text.Release();
  return Outcome::Done();
}

Outcome DimmBuilder::FillMakerTexts(smTVQ* record, const Structure& device) {
  TVQ_DIMM& dimm = record->device.dimm;
  const TextCopy manufacturer = CopyLogged(kLog, "Manufacturer in smTVQ struct: %s\n",
                                           device.GetString(SMBIOS_FIELD(17, Manufacturer)));
  if (manufacturer.Failed) {
    // Unlike the others, this line comes before anything is given back.
    kLog("Memory allocation for Manufacturer in smTVQ failed, Clearing and exiting\n");
    return Outcome::NoMemory();
  }
  dimm.Manufacturer = manufacturer.Text;
  TVQ_TRY_COPY(dimm.BankLocator,
               CopyLogged(kLog, "Bank Locator in smTVQ struct: %s\n",
                          device.GetString(SMBIOS_FIELD(17, BankLocator))),
               "Memory allocation failed for DIMM BankLocator\n");
  TVQ_TRY_COPY(dimm.AssetTag,
               CopyLogged(kLog, "Asset tag in smTVQ struct: %s\n",
                          device.GetString(SMBIOS_FIELD(17, AssetTag))),
               "Memory allocation failed for DIMM Asset Tag\n");
  return Outcome::Done();
}

/// Stays ASCII, deliberately in a buffer of twice the size that it needs.
Outcome DimmBuilder::FillPartNumber(smTVQ* record, const Structure& device) {
  const CHAR8* part = device.GetString(SMBIOS_FIELD(17, PartNumber));
  if (part == nullptr) {
    return Outcome::Done();
  }
  const UINTN length = ZvAsciiStrLen(part);
  auto* copy = static_cast<CHAR8*>(AllocateZeroPool((length + 1) * sizeof(CHAR16)));
  if (copy == nullptr) {
    return Outcome::NoMemory("Memory allocation failed for DIMM PartNumber\n");
  }
  CopyMem(copy, part, length);
  record->device.dimm.PartNumber = copy;
  return Outcome::Done();
}

/// All texts and, between them, the fields in the order in which they are read: a string number
/// past the last string makes the later ones those of the structure that follows.
Outcome DimmBuilder::FillTexts(smTVQ* record, const Structure& device) {
  TVQ_TRY_STEP(FillGenericName(record, device));
  TVQ_TRY_STEP(FillFqdd(record, device));
  TVQ_TRY_COPY(record->device.generic.WWN,
               CopyText(device.GetString(SMBIOS_FIELD(17, SerialNumber))),
               "Memory allocation failed for DIMM WWN\n");
  TVQ_TRY_STEP(FillLocator(record, device));
  TVQ_TRY_STEP(FillMakerTexts(record, device));
  TVQ_DIMM& dimm = record->device.dimm;
  dimm.Size = device.Get(SMBIOS_FIELD(17, Size));
  dimm.Speed = device.Get(SMBIOS_FIELD(17, Speed));
  dimm.MemoryType = device.Get(SMBIOS_FIELD(17, MemoryType));
  dimm.TypeDetail = device.Get(SMBIOS_FIELD(17, TypeDetail).As<UINT16>());
  return FillPartNumber(record, device);
}

bool HasSmbios27() {
  const UINT8 major = SmbiosMajorVersion();
  return major > 2 || (major == 2 && SmbiosMinorVersion() > 6);
}

void FillNumbers(smTVQ* record, const Structure& device) {
  TVQ_DIMM& dimm = record->device.dimm;
  dimm.TotalWidth = device.Get(SMBIOS_FIELD(17, TotalWidth));
  dimm.DataWidth = device.Get(SMBIOS_FIELD(17, DataWidth));
  dimm.FormFactor = device.Get(SMBIOS_FIELD(17, FormFactor));
  dimm.DeviceSet = device.Get(SMBIOS_FIELD(17, DeviceSet));
  if (HasSmbios27()) {
    constexpr auto kAttributes = SMBIOS_FIELD(17, Attributes);
    constexpr auto kExtendedSize = SMBIOS_FIELD(17, ExtendedSize);
    const UINT8 length = device.StatedLength();
    if (length > kAttributes.Offset) {
      dimm.Attributes = device.Get(kAttributes);
    }
    // Deliberate: the first byte decides that the field is there; cut short, it reads as 0.
    if (length > kExtendedSize.Offset) {
      kLog("Adding Extended Size here\n");
      dimm.ExtendedSize = device.Get(kExtendedSize);
    }
  }
  // Deliberately without a test of the length.
  dimm.ConfiguredMemClockSpeed = device.Peek(SMBIOS_FIELD(17, ConfiguredMemoryClockSpeed));
  dimm.Handle = device.OwnHandle();
}

/// The fields of SMBIOS 3.2, read as they stand.
void FillLateNumbers(smTVQ* record, const Structure& device) {
  const UINT8 length = device.StatedLength();
  kLog("sizeof type17 structure = %d \n", length);
  if (length < kLateFieldsFrom) {
    return;
  }
  TVQ_DIMM& dimm = record->device.dimm;
  dimm.MemTechnology = device.Peek(SMBIOS_FIELD(17, MemoryTechnology));
  dimm.MemOpModeCap = device.Peek(SMBIOS_FIELD(17, MemoryOperatingModeCapability).As<UINT16>());
  dimm.ModuleMID = device.Peek(SMBIOS_FIELD(17, ModuleManufacturerID));
  dimm.ModulePID = device.Peek(SMBIOS_FIELD(17, ModuleProductID));
  dimm.MemSubMID = device.Peek(SMBIOS_FIELD(17, MemorySubsystemControllerManufacturerID));
  dimm.MemSubPID = device.Peek(SMBIOS_FIELD(17, MemorySubsystemControllerProductID));
  dimm.NonVolatileSize = device.Peek(SMBIOS_FIELD(17, NonVolatileSize));
  dimm.VolatileSize = device.Peek(SMBIOS_FIELD(17, VolatileSize));
  dimm.CacheSize = device.Peek(SMBIOS_FIELD(17, CacheSize));
  dimm.LogicalSize = device.Peek(SMBIOS_FIELD(17, LogicalSize));
  kLog("MemTechnology = %d \n", dimm.MemTechnology);
  kLog("MemOpModeCap = %d \n", dimm.MemOpModeCap);
  kLog("ModuleMID = %d \n", dimm.ModuleMID);
  kLog("ModulePID = %d \n", dimm.ModulePID);
  kLog("MemSubMID = %d \n", dimm.MemSubMID);
  kLog("MemSubPID = %d \n", dimm.MemSubPID);
  kLog("NonVolatizeSize = %llu \n", dimm.NonVolatileSize);
  kLog("VolatizeSize = %llu \n", dimm.VolatileSize);
  kLog("CacheSize = %llu \n", dimm.CacheSize);
  kLog("LogicalSize = %llu \n", dimm.LogicalSize);
}

void DimmBuilder::FillExtension(smTVQ* record) {
  TVQ_DIMM& dimm = record->device.dimm;
  const TYPE_E2_NODE* node = GetTypeE2FromList(dimm.Handle, pE2ListRoot);
  if (node == nullptr) {
    return;
  }
  const CHAR8* version = node->FirmwareVersion == nullptr ? "" : node->FirmwareVersion;
  kLog("E2Handle = 0x%X Type17Handle 0x%X \n", node->E2Handle, node->Type17Handle);
  kLog("CID = %d PRID = 0x%X FW=%a\n", node->ComponentID, node->ProductID, version);
  kLog("FWVerLen = %d \n", ZvAsciiStrLen(version));
  dimm.ComponentID = node->ComponentID;
  dimm.ProductID = node->ProductID;
  // Deliberate: without memory for it the module goes without.
  dimm.FirmwareVersion = CopyText(version).Text;
}

/// Ends the walk: frees the record under construction and the memory devices.
EFI_STATUS DimmBuilder::Abandon(RecordOwner& record, LogFormat message) {
  record.Free();
  mDevices.Free();
  kLog.IfAny(message);
  return EFI_OUT_OF_RESOURCES;
}

EFI_STATUS DimmBuilder::Publish(RecordOwner& record) {
  // Deliberate: from here on a failure leaves the record and its texts in the pool, also without
  // memory for the device path.
  smTVQ* built = record.Leave();
  UINT8 instance[kLocatorLength * sizeof(CHAR16)] = {};
  if (built->device.dimm.DeviceLocator != nullptr) {
    CopyMem(instance, built->device.dimm.DeviceLocator, sizeof(instance));
  }
  if (AttachDevicePath(built, instance).Failed()) {
    return Abandon(record, "Memory allocation failed for DIMM VendorDevicePath\n");
  }
  const EFI_STATUS status = PublishRecord(built);
  if (EFI_ERROR(status)) {
    mDevices.Free();
    kLog("InstallMultipleProtocolInterfaces failed with status = %r\n", status);
  }
  return status;
}

EFI_STATUS DimmBuilder::BuildRecord(UINT16 index) {
  const Structure device = mDevices[index];
  const UINT8 memoryType = device.Get(SMBIOS_FIELD(17, MemoryType));
  if (devices::IsLogical(memoryType)) {
    kLog("Skipping Logical NVDIMM at i=%d", index);
    return EFI_SUCCESS;
  }
  if (devices::IsHbm(memoryType)) {
    kLog("Skipping HBM devices at i=%d", index);
    return EFI_SUCCESS;
  }
  if (device.Get(SMBIOS_FIELD(17, Size)) == 0) {
    return EFI_SUCCESS;
  }

  RecordOwner record(TVQ_DEVICE_TYPE_DIMM, FreeDimmContents);
  if (!record) {
    return Abandon(record, "Memory allocation failed for smTVQ\n");
  }
  if (const Outcome texts = FillTexts(record.Get(), device); texts.Failed()) {
    return Abandon(record, texts.Message());
  }
  FillNumbers(record.Get(), device);
  FillExtension(record.Get());
  FillLateNumbers(record.Get(), device);
  FillOperations(record.Get());
  return Publish(record);
}

EFI_STATUS DimmBuilder::Run() {
  kLog("Entry MakeDIMMs\n");
  pE2ListRoot = CollectE2List();
  if (EFI_ERROR(mDevices.Collect(SMBIOS_TYPE_MEMORY_DEVICE)) || !mDevices.Any()) {
    kLog("Did not find any DIMM SMBIOS structures\n");
    return EFI_NOT_FOUND;
  }
  for (UINT16 i = 0; i < mDevices.Count(); i++) {
    const EFI_STATUS status = BuildRecord(i);
    if (EFI_ERROR(status)) {
      return status;
    }
  }
  mDevices.Free();
  ReleaseE2List(pE2ListRoot);
  kLog("Leaving MakeDIMMs\n");
  return EFI_SUCCESS;
}

}  // namespace

EFI_STATUS MakeDIMMs() {
  return DimmBuilder().Run();
}

}  // namespace tvq
