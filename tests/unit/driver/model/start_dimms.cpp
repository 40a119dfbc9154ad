/*
 * The model of MakeDIMMs and of the extension list.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <string>

#include "tests/unit/driver/model/firmware.h"

namespace tvq::test::model {
namespace {

const std::string kDimms = "MakeDIMMs";

struct Extension {
  uint16_t handle;
  uint16_t deviceHandle;
  uint32_t componentId;
  uint16_t productId;
  std::string firmwareVersion;  // empty where it could not be copied
  BlockId node;
  BlockId text;
};

class Dimms {
 public:
  explicit Dimms(Firmware& firmware) : m(firmware) {}

  EFI_STATUS Make();

 private:
  void CollectExtensions();
  void AddExtension(const View& structure);
  const Extension* FindExtension(uint16_t deviceHandle);
  void ReleaseExtensions();
  bool Skips(const View& device, size_t index);
  EFI_STATUS MakeOne(const View& device);
  bool FillRecord(const View& device);
  bool FillLocator(const View& device);
  void FillExtension(const View& device);
  void LogLateFields(const View& device);
  // Takes a block for the record, or frees all that the record holds and logs.
  bool Hold(const char* failure);
  bool HoldText(const Text& text, const char* failure) { return !text || Hold(failure); }

  Firmware& m;
  Collection mDevices;
  std::vector<Extension> mExtensions;
  std::vector<BlockId> mHeld;
  Bytes mPath;
};

EFI_STATUS Dimms::Make() {
  m.Log(kDimms, "Entry MakeDIMMs\n");
  CollectExtensions();
  mDevices = m.Collect(17, kDimms);
  if (!mDevices.Any()) {
    m.Log(kDimms, "Did not find any DIMM SMBIOS structures\n");
    m.Free(mDevices);
    return EFI_NOT_FOUND;
  }
  for (size_t i = 0; i < mDevices.structures.size(); ++i) {
    const View& device = mDevices.structures[i];
    if (Skips(device, i)) {
      continue;
    }
    if (const EFI_STATUS status = MakeOne(device); EFI_ERROR(status)) {
      return status;
    }
  }
  m.Free(mDevices);
  ReleaseExtensions();
  m.Log(kDimms, "Leaving MakeDIMMs\n");
  return EFI_SUCCESS;
}

void Dimms::CollectExtensions() {
  const Collection structures = m.Collect(226, kDimms);
  if (!structures.Any()) {
    m.Log(kDimms, "Could not Found 0xE2 (226)\n");
    return;
  }
  m.Log(kDimms, "Found %zu E2\n", structures.count);
  for (const View& structure : structures.structures) {
    AddExtension(structure);
  }
  m.Free(structures);
}

void Dimms::AddExtension(const View& structure) {
  Extension extension = {};
  extension.handle = static_cast<uint16_t>(structure.Stored(2, 2));
  extension.deviceHandle = structure.Word(4);
  extension.componentId = static_cast<uint32_t>(structure.Number(7, 4));
  extension.productId = structure.Word(0x0B);
  m.Log(kDimms, "Handle = 0x%X 17Handle 0x%X \n", extension.handle, extension.deviceHandle);
  m.Log(kDimms, "CMPID = %d PRID = 0x%X\n", static_cast<int>(extension.componentId),
        extension.productId);
  const Text version = structure.String(6);
  if (!version) {
    return;
  }
  extension.node = m.Take(kDimms);
  if (extension.node == 0) {
    return;
  }
  extension.text = m.Take(kDimms);
  if (extension.text != 0) {
    extension.firmwareVersion = *version;
    m.Log(kDimms, "FirmwareVersion: %s\n", version->c_str());
  }
  m.Log("AddTypeE2toList", "Entry\n");
  m.Log("AddTypeE2toList", mExtensions.empty() ? "Adding First Entry to pE2ListRoot\n"
                                               : "Traversing the pE2ListRoot\n");
  m.Log("AddTypeE2toList", "Exit\n");
  mExtensions.push_back(extension);
}

const Extension* Dimms::FindExtension(uint16_t deviceHandle) {
  const std::string routine = "GetTypeE2FromList";
  m.Log(routine, "Entry\n");
  if (mExtensions.empty()) {
    m.Log(routine, "NULL List\n");
    return nullptr;
  }
  const Extension* found = nullptr;
  for (const Extension& extension : mExtensions) {
    m.Log(routine, "Type17TableHandle from List= 0x%X\n\n", extension.deviceHandle);
    if (extension.deviceHandle == deviceHandle) {
      m.Log(routine, "Found Match\n");
      found = &extension;
      break;
    }
  }
  m.Log(routine, "Exit\n");
  return found;
}

void Dimms::ReleaseExtensions() {
  const std::string routine = "ReleaseE2List";
  m.Log(routine, "Entry\n");
  for (const Extension& extension : mExtensions) {
    if (extension.text != 0) {
      m.Log(routine, "Free FirmwareVersion\n");
      m.Free(extension.text);
    }
    m.Log(routine, "Free Node\n");
    m.Free(extension.node);
  }
  m.Log(routine, "Exit\n");
}

bool Dimms::Skips(const View& device, size_t index) {
  const uint8_t memoryType = device.Byte(0x12);
  if (memoryType == 0x1F) {
    m.Log(kDimms, "Skipping Logical NVDIMM at i=%zu", index);
    return true;
  }
  if (memoryType == 0x20 || memoryType == 0x21) {
    m.Log(kDimms, "Skipping HBM devices at i=%zu", index);
    return true;
  }
  return device.Word(0x0C) == 0;
}

bool Dimms::Hold(const char* failure) {
  const BlockId block = m.Take(kDimms);
  if (block != 0) {
    mHeld.push_back(block);
    return true;
  }
  m.Free(mHeld);
  m.Free(mDevices);
  m.Log(kDimms, "%s", failure);
  return false;
}

EFI_STATUS Dimms::MakeOne(const View& device) {
  mHeld.clear();
  mPath = {3, 0, 0, 0, 0, 0, 0};
  if (!FillRecord(device)) {
    return EFI_OUT_OF_RESOURCES;
  }
  mHeld.clear();  // from here on everything stays
  if (!Hold("Memory allocation failed for DIMM VendorDevicePath\n")) {
    return EFI_OUT_OF_RESOURCES;
  }
  m.Take("MakeDIMMZVEP");
  const EFI_STATUS status = m.Install(mPath);
  if (EFI_ERROR(status)) {
    m.Free(mDevices);
    m.Log(kDimms, "InstallMultipleProtocolInterfaces failed with status = %s\n",
          StatusText(status).c_str());
  }
  return status;
}

bool Dimms::FillRecord(const View& device) {
  if (!Hold("Memory allocation failed for smTVQ\n") ||
      !Hold("Memory allocation failed for DIMM Gerneric Name\n")) {
    return false;
  }
  const uint16_t handle = static_cast<uint16_t>(device.Stored(2, 2));
  Text fqdd;
  if (!m.FindFqdd(handle, &fqdd)) {
    m.Log(kDimms, "NO FQDD for handle=0x%X\n", handle);
  } else if (!HoldText(fqdd, "Memory allocation failed for DIMM FQDDD\n")) {
    return false;
  }
  if (fqdd) {
    mHeld.pop_back();  // deliberate: no failure frees it
  }
  if (!HoldText(device.String(0x18), "Memory allocation failed for DIMM WWN\n") ||
      !FillLocator(device)) {
    return false;
  }
  const struct {
    size_t field;
    const char* line;
    const char* failure;
  } kTexts[] = {
      {0x17, "Manufacturer in smTVQ struct: %s\n",
       "Memory allocation for Manufacturer in smTVQ failed, Clearing and exiting\n"},
      {0x11, "Bank Locator in smTVQ struct: %s\n",
       "Memory allocation failed for DIMM BankLocator\n"},
      {0x19, "Asset tag in smTVQ struct: %s\n", "Memory allocation failed for DIMM Asset Tag\n"},
  };
  for (const auto& text : kTexts) {
    const Text value = device.String(text.field);
    if (!HoldText(value, text.failure)) {
      return false;
    }
    if (value) {
      std::string line = text.line;
      m.Log(kDimms, "%s", line.replace(line.find("%s"), 2, *value).c_str());
    }
  }
  if (!HoldText(device.String(0x1A), "Memory allocation failed for DIMM PartNumber\n")) {
    return false;
  }
  if (m.Version() >= 0x0207 && device.Stored(1, 1) > 0x1C) {
    m.Log(kDimms, "Adding Extended Size here\n");
  }
  FillExtension(device);
  LogLateFields(device);
  return true;
}

bool Dimms::FillLocator(const View& device) {
  const Text locator = device.String(0x10);
  if (!locator) {
    return true;
  }
  if (!Hold("Memory allocation failed for DIMM Socket\n")) {
    return false;
  }
  const size_t start = locator->find("DIMM_") == std::string::npos ? 0 : 5;
  const std::string slot = locator->substr(start, 3);
  for (size_t i = 0; i < slot.size(); ++i) {
    mPath[1 + 2 * i] = static_cast<uint8_t>(slot[i]);
  }
  m.Log(kDimms, "Socket = %s \n", slot.c_str());
  return true;
}

void Dimms::FillExtension(const View& device) {
  const Extension* const found = FindExtension(static_cast<uint16_t>(device.Stored(2, 2)));
  if (found == nullptr) {
    return;
  }
  m.Log(kDimms, "E2Handle = 0x%X Type17Handle 0x%X \n", found->handle, found->deviceHandle);
  m.Log(kDimms, "CID = %d PRID = 0x%X FW=%s\n", static_cast<int>(found->componentId),
        found->productId, found->firmwareVersion.c_str());
  m.Log(kDimms, "FWVerLen = %zu \n", found->firmwareVersion.size());
  m.Take(kDimms);  // without it the record has no firmware version
}

void Dimms::LogLateFields(const View& device) {
  m.Log(kDimms, "sizeof type17 structure = %d \n", static_cast<int>(device.Stored(1, 1)));
  if (device.Stored(1, 1) <= 0x33) {
    return;
  }
  const struct {
    const char* name;
    size_t field;
    size_t width;
  } kFields[] = {
      {"MemTechnology", 0x28, 1},   {"MemOpModeCap", 0x29, 2}, {"ModuleMID", 0x2C, 2},
      {"ModulePID", 0x2E, 2},       {"MemSubMID", 0x30, 2},    {"MemSubPID", 0x32, 2},
      {"NonVolatizeSize", 0x34, 8}, {"VolatizeSize", 0x3C, 8}, {"CacheSize", 0x44, 8},
      {"LogicalSize", 0x4C, 8},
  };
  for (const auto& field : kFields) {
    m.Log(kDimms, "%s = %lu \n", field.name, device.Stored(field.field, field.width));
  }
}

}  // namespace

EFI_STATUS MakeDimms(Firmware& firmware) {
  return Dimms(firmware).Make();
}

}  // namespace tvq::test::model
