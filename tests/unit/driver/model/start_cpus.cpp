/*
 * The model of MakeCPUs.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <string>

#include "tests/unit/driver/model/firmware.h"

namespace tvq::test::model {
namespace {

const std::string kCpus = "MakeCPUs";

bool IsHbmStructure(const View& device) {
  return device.Byte(0x12) == 0x20 || device.Byte(0x12) == 0x21;
}

class Cpus {
 public:
  explicit Cpus(Firmware& firmware) : m(firmware) {}

  EFI_STATUS Make();

 private:
  void CollectOptional();
  void FindFirstPpin();
  void TakeCensus();
  EFI_STATUS MakeAll();
  EFI_STATUS MakeOne(size_t index);
  bool FillRecord(size_t index);
  // Takes a block for the record under construction.
  bool Hold(const std::string& routine = kCpus);
  bool HoldText(const Text& text) { return !text || Hold(); }
  bool FillFqdd(const View& processor);
  void FillHbm(size_t index);
  void LogHbmArray();
  void FillHbmStack(size_t index, int stack);
  void FillCaches(const View& processor);
  bool FillPpin();
  std::string OemTextAtCursor() const;
  void LogCoreCount() { m.Log(kCpus, "smTVQ->device.cpu.CoreCount: %d\n", mCoreCount); }
  void FreeCollections();

  Firmware& m;
  Collection mProcessors, mCaches, mOemStrings, mDevices, mArrays;
  size_t mPpin = 0;
  int mModules = 0;
  bool mHbm = false;
  int mCoreCount = 0;
  std::vector<BlockId> mHeld;
  Bytes mPath;
};

EFI_STATUS Cpus::Make() {
  m.Log(kCpus, "Entry MakeCPUs\n");
  mProcessors = m.Collect(4, kCpus);
  if (!mProcessors.Any()) {
    m.Free(mProcessors);
    return EFI_NOT_FOUND;
  }
  CollectOptional();
  FindFirstPpin();
  TakeCensus();
  const EFI_STATUS status = MakeAll();
  if (!EFI_ERROR(status)) {
    FreeCollections();
    m.Log(kCpus, "Leaving MakeCPUs\n");
  }
  return status;
}

void Cpus::CollectOptional() {
  mCaches = m.Collect(7, kCpus);
  if (!mCaches.Any()) {
    m.Log(kCpus, "Did not find any CACHE SMBIOS structures\n");
  }
  m.Log(kCpus, "Found %zu CACHE SMBIOS structures\n", mCaches.count);
  mOemStrings = m.Collect(11, kCpus);
  if (!mOemStrings.Any()) {
    m.Log(kCpus, "Did not find any OEM SMBIOS structures\n");
  }
  mDevices = m.Collect(17, kCpus);
  if (!mDevices.Any()) {
    m.LogError(kCpus, "Did not find any DIMM SMBIOS structures\n");
  }
  mArrays = m.Collect(16, kCpus);
  if (!mArrays.Any()) {
    m.LogError(kCpus, "Did not find any PMA SMBIOS structures\n");
  }
}

// An optional type without structures keeps its two empty arrays for good.
void Cpus::FreeCollections() {
  for (const Collection* optional : {&mCaches, &mOemStrings, &mDevices, &mArrays}) {
    if (optional->Any()) {
      m.Free(*optional);
    }
  }
  m.Free(mProcessors);
}

std::string Cpus::OemTextAtCursor() const {
  return reinterpret_cast<const char*>(m.Data().data() + mPpin);
}

void Cpus::FindFirstPpin() {
  if (!mOemStrings.Any()) {
    return;
  }
  m.Log(kCpus, "Found %zu OEM SMBIOS structures of len = *\n", mOemStrings.count);
  mPpin = mOemStrings.structures[0].Offset() + 25;
  m.Log(kCpus, "First oem string: %s\n", OemTextAtCursor().c_str());
  while (!OemTextAtCursor().empty() && OemTextAtCursor().find("17[") == std::string::npos) {
    mPpin += OemTextAtCursor().size() + 1;
  }
  m.Log(kCpus, "Tag17 str: =%s\n", OemTextAtCursor().c_str());
}

void Cpus::TakeCensus() {
  for (size_t i = 0; i < mDevices.structures.size(); ++i) {
    const View& device = mDevices.structures[i];
    mModules += device.Word(0x0C) != 0 && device.Byte(0x0E) != 0x10;
    m.Log(kCpus, "DIMM%zu Form Factor = %d\n", i, device.Byte(0x0E));
    mHbm = mHbm || IsHbmStructure(device);
  }
  m.Log(kCpus, "DIMM count = %d, HBM Presence = %d\n", mModules, mHbm);
}

EFI_STATUS Cpus::MakeAll() {
  for (size_t i = 0; i < mProcessors.structures.size(); ++i) {
    if ((mProcessors.structures[i].Byte(0x18) & 0x40) != 0) {
      if (const EFI_STATUS status = MakeOne(i); EFI_ERROR(status)) {
        return status;
      }
    }
    LogCoreCount();
  }
  return EFI_SUCCESS;
}

EFI_STATUS Cpus::MakeOne(size_t index) {
  mHeld.clear();
  if (!Hold()) {
    // Deliberate: caches and OEM strings stay.
    for (const Collection* freed : {&mProcessors, &mDevices, &mArrays}) {
      m.Free(*freed);
    }
    return EFI_OUT_OF_RESOURCES;
  }
  if (!FillRecord(index)) {
    m.Free(mHeld);
    FreeCollections();
    return EFI_OUT_OF_RESOURCES;
  }
  // From here on the record stays, with or without an entry, installed or not.
  if (m.Take("MakeCPUZVEP") != 0) {
    m.Log("MakeCPUZVEP", "CPU Info: Socket %d MaxSpeed %d CoreCount %d\n", mPath[1],
          mProcessors.structures[index].Word(0x14), mCoreCount);
  }
  const EFI_STATUS status = m.Install(mPath);
  if (EFI_ERROR(status)) {
    FreeCollections();
  }
  return status;
}

bool Cpus::Hold(const std::string& routine) {
  const BlockId block = m.Take(routine);
  if (block != 0) {
    mHeld.push_back(block);
  }
  return block != 0;
}

bool Cpus::FillRecord(size_t index) {
  const View& processor = mProcessors.structures[index];
  if (!Hold()) {  // the marketing name, empty without a version
    return false;
  }
  mCoreCount = processor.Byte(0x23);
  m.Log(kCpus, "tables[%zu].Type4->CoreCount: %d\n", index, mCoreCount);
  LogCoreCount();
  const Text designation = processor.String(4);
  const uint8_t socket = designation ? static_cast<uint8_t>(designation->c_str()[3] - '0') : 0;
  if (!FillFqdd(processor) || !HoldText(processor.String(7)) || !HoldText(processor.String(0x10))) {
    return false;
  }
  LogCoreCount();
  FillHbm(index);
  FillCaches(processor);
  if (!FillPpin()) {
    return false;
  }
  LogCoreCount();
  if (!Hold()) {  // the device path
    return false;
  }
  mPath = {2, socket, 0, 0, 0, 0, 0};
  LogCoreCount();
  return true;
}

bool Cpus::FillFqdd(const View& processor) {
  Text fqdd;
  return !m.FindFqdd(static_cast<uint16_t>(processor.Stored(2, 2)), &fqdd) || HoldText(fqdd);
}

void Cpus::FillHbm(size_t index) {
  if (!mHbm) {
    return;
  }
  m.Log(kCpus, "HBM only mode = %d\n", mModules == 0);
  LogHbmArray();
  for (int stack = 0; stack < 4; ++stack) {
    FillHbmStack(index, stack);
  }
}

void Cpus::LogHbmArray() {
  const auto first =
      std::find_if(mDevices.structures.begin(), mDevices.structures.end(), IsHbmStructure);
  const auto array =
      std::find_if(mArrays.structures.begin(), mArrays.structures.end(),
                   [&](const View& candidate) { return candidate.Stored(2, 2) == first->Word(4); });
  if (array != mArrays.structures.end()) {
    m.Log(kCpus, " HBM max Capacity = %X, HBM location = %X, HBM correction type = %X\n",
          static_cast<unsigned>(array->Number(7, 4)), array->Byte(4), array->Byte(6));
  }
}

void Cpus::FillHbmStack(size_t index, int stack) {
  const std::string routine = "GetHbmInfo";
  std::string pattern = "CPU" + std::to_string(index & 0xFF) + "_HBMIO" + std::to_string(stack);
  pattern.resize(std::min<size_t>(pattern.size(), 11));
  m.Log(routine, "HBM Locator = %s\n", pattern.c_str());
  const auto device = std::find_if(mDevices.structures.begin(), mDevices.structures.end(),
                                   [&](const View& candidate) {
                                     const Text locator = candidate.String(0x10);
                                     return locator && locator->find(pattern) != std::string::npos;
                                   });
  if (device != mDevices.structures.end() && Hold(routine)) {
    m.Log(routine, "HBM%d Size = %X\n", stack, device->Word(0x0C));
    m.Log(routine, "HBM%d Type = %X\n", stack, device->Byte(0x12));
    m.Log(routine, "HBM%d Speed = %X\n", stack, device->Word(0x15));
    m.Log(routine, "HBM%d NVSize = %lu\n", stack, device->Number(0x34, 8));
    m.Log(routine, "HBM%d VSize = %lu\n", stack, device->Number(0x3C, 8));
    m.Log(routine, "HBM%d CSize = %lu\n", stack, device->Number(0x44, 8));
    return;
  }
  if (device == mDevices.structures.end()) {
    m.LogError(routine, "Error: No HBM entries found in table 17");
  }
  m.Log(kCpus, "Failed to get HBM%d Information for cpu%zu", stack, index);
}

void Cpus::FillCaches(const View& processor) {
  if (!mCaches.Any()) {
    return;
  }
  for (int level = 1; level <= 3; ++level) {
    const uint16_t handle = processor.Word(0x18 + 2 * level);
    const bool found = std::any_of(mCaches.structures.begin(), mCaches.structures.end(),
                                   [&](const View& cache) { return cache.Stored(2, 2) == handle; });
    if (handle == kNoHandle || !found || !Hold("GetCacheInfo")) {
      m.Log(kCpus, "Failed to get L%d Cache Information", level);
    }
  }
}

bool Cpus::FillPpin() {
  if (!mOemStrings.Any() || OemTextAtCursor().empty()) {
    return true;
  }
  const std::string text = OemTextAtCursor();
  const size_t tag = text.find("17[");
  if (tag == std::string::npos) {
    m.Log(kCpus, "Couldnot find PPIN in Type11 SMBIOS structure\n");
    return true;
  }
  m.Log(kCpus, "tag17=%c%c", text[tag], text[tag + 1]);
  if (!Hold()) {
    return false;
  }
  m.Log(kCpus, "PPIN=%s", text.substr(tag + 3, 16).c_str());
  mPpin += text.size() + 1;
  return true;
}

}  // namespace

EFI_STATUS MakeCpus(Firmware& firmware) {
  return Cpus(firmware).Make();
}

}  // namespace tvq::test::model
