/*
 * The model of MakeSYSTEM.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <string>

#include "tests/unit/driver/model/firmware.h"

namespace tvq::test::model {
namespace {

const std::string kSystem = "MakeSYSTEM";

class System {
 public:
  explicit System(Firmware& firmware) : m(firmware) {}

  EFI_STATUS Make();

 private:
  EFI_STATUS MakeRecord(const View& system);
  bool FillIdentity(const View& system);
  void FillSections();
  void FillChassis();
  void FillArrays();
  void FillBios();
  void FillBoards();
  void FillSlots();
  Collection CollectSection(uint8_t type, const char* missing, const char* found);
  // Takes a block for the record under construction.
  bool Hold();
  bool HoldText(const Text& text, const char* name);
  // Takes a block for the entry of a section under construction; a failure gives the entry back.
  bool HoldInEntry();
  bool HoldTextInEntry(const Text& text, const char* name);
  void KeepEntry();
  void FreeAll();

  Firmware& m;
  std::vector<Collection> mCollections;
  std::vector<BlockId> mHeld;
  std::vector<BlockId> mEntry;
};

EFI_STATUS System::Make() {
  m.Log(kSystem, "Entry MakeSYSTEM\n");
  const Collection systems = CollectSection(
      1, "Did not find or found too many SYSTEM SMBIOS structures", "SYSTEM SMBIOS structures");
  if (!systems.Any()) {
    FreeAll();
    return EFI_NOT_FOUND;
  }
  if (systems.structures[0].String(5)) {
    if (const EFI_STATUS status = MakeRecord(systems.structures[0]); EFI_ERROR(status)) {
      return status;
    }
  }
  FreeAll();
  m.Log(kSystem, "Leaving MakeSYSTEM\n");
  return EFI_SUCCESS;
}

void System::FreeAll() {
  for (const Collection& collection : mCollections) {
    m.Free(collection);
  }
}

bool System::Hold() {
  const BlockId block = m.Take(kSystem);
  if (block != 0) {
    mHeld.push_back(block);
  }
  return block != 0;
}

bool System::HoldText(const Text& text, const char* name) {
  if (!text) {
    return true;
  }
  if (!Hold()) {
    return false;
  }
  m.Log(kSystem, "%s in smTVQ struct: %s\n", name, text->c_str());
  return true;
}

EFI_STATUS System::MakeRecord(const View& system) {
  m.Log(kSystem, "Product Name String exists\n");
  bool complete = FillIdentity(system);
  if (complete) {
    FillSections();
    complete = Hold();  // the device path
  }
  if (!complete) {
    m.Free(mHeld);
    FreeAll();
    return EFI_OUT_OF_RESOURCES;
  }
  m.Take("MakeSYSTEMZVEP");
  const EFI_STATUS status = m.Install({4, 1, 0, 0, 0, 0, 0});
  if (EFI_ERROR(status)) {
    FreeAll();
  }
  return status;
}

bool System::FillIdentity(const View& system) {
  if (!Hold() || !Hold() || !HoldText(system.String(5), "Product Name")) {
    return false;
  }
  m.Log(kSystem, "Socket in smTVQ struct: 1\n");
  if (!HoldText(system.String(4), "Manufacturer")) {
    return false;
  }
  for (size_t i = 0; i < 16; ++i) {
    m.Log(kSystem, "UUID in smTVQ struct: %d\n", system.Byte(8 + i));
  }
  return HoldText(system.String(7), "Serial Number");
}

void System::FillSections() {
  FillChassis();
  FillArrays();
  FillBios();
  FillBoards();
  FillSlots();
}

Collection System::CollectSection(uint8_t type, const char* missing, const char* found) {
  const Collection collection = m.Collect(type, kSystem);
  const bool isSingle = type == 0 || type == 1;
  const bool usable = isSingle ? collection.structures.size() == 1 : collection.Any();
  if (!usable) {
    m.Log(kSystem, "%s\n", missing);
  }
  m.Log(kSystem, "Found %zu %s\n", collection.count, found);
  mCollections.push_back(collection);
  Collection result = collection;
  if (!usable) {
    result.structures.clear();
  }
  return result;
}

bool System::HoldInEntry() {
  const BlockId block = m.Take(kSystem);
  if (block != 0) {
    mEntry.push_back(block);
    return true;
  }
  m.Free(mEntry);
  mEntry.clear();
  return false;
}

bool System::HoldTextInEntry(const Text& text, const char* name) {
  if (!text) {
    return true;
  }
  if (!HoldInEntry()) {
    return false;
  }
  if (name != nullptr) {
    m.Log(kSystem, "%s in smTVQ struct: %s\n", name, text->c_str());
  }
  return true;
}

void System::KeepEntry() {
  mHeld.insert(mHeld.end(), mEntry.begin(), mEntry.end());
  mEntry.clear();
}

void System::FillChassis() {
  const Collection chassis =
      CollectSection(3, "Did not find any CHASSIS SMBIOS structures", "CHASSIS SMBIOS structures");
  if (!chassis.Any() || !Hold()) {
    return;
  }
  for (const View& structure : chassis.structures) {
    if (!HoldInEntry() || !HoldTextInEntry(structure.String(4), "Chassis Manufacturer") ||
        !HoldTextInEntry(structure.String(7), nullptr) ||
        !HoldTextInEntry(structure.String(8), nullptr)) {
      return;
    }
    KeepEntry();
  }
}

void System::FillArrays() {
  static const char* const kNames[] = {"",
                                       "Other",
                                       "Unknown",
                                       "System Memory",
                                       "Video Memory",
                                       "Flash Memory",
                                       "Non-Volatile RAM",
                                       "Cache Memory"};
  const Collection arrays =
      CollectSection(16, "Did not find any PMA SMBIOS structures", "PMA SMBIOS structures");
  if (!arrays.Any() || !Hold()) {
    return;
  }
  for (const View& structure : arrays.structures) {
    const uint8_t use = structure.Byte(5);
    if (!HoldInEntry() || !HoldTextInEntry(use < 8 ? kNames[use] : "", "PMA Name")) {
      return;
    }
    KeepEntry();
  }
}

void System::FillBios() {
  const Collection bios = CollectSection(
      0, "Did not find or found way too many BIOS SMBIOS structures", "BIOS SMBIOS structures");
  if (!bios.Any() || !HoldInEntry() ||
      !HoldTextInEntry(bios.structures[0].String(5), "BIOS Version") ||
      !HoldTextInEntry(bios.structures[0].String(8), "BIOS Release Date")) {
    return;
  }
  KeepEntry();
}

void System::FillBoards() {
  const Collection boards =
      CollectSection(2, "Did not find any Base Board SMBIOS structures", "Base Board structures");
  if (!boards.Any() || !Hold()) {
    return;
  }
  for (const View& structure : boards.structures) {
    if (!HoldInEntry() ||
        !HoldTextInEntry(structure.String(0x0A), "Base board location in chassis")) {
      return;
    }
    m.Log(kSystem, "Base board Chassis Handle in smTVQ struct: %X\n", structure.Word(0x0B));
    KeepEntry();
  }
}

void System::FillSlots() {
  const Collection slots =
      CollectSection(9, "Did not find any PCI Slot SMBIOS structures", "PCI Slot structures");
  if (!slots.Any() || !Hold()) {
    return;
  }
  const size_t others = mHeld.size();
  for (const View& structure : slots.structures) {
    if (!HoldInEntry()) {
      // A slot for which there is no entry takes all earlier ones with it.
      m.Free(std::vector<BlockId>(mHeld.begin() + others, mHeld.end()));
      mHeld.resize(others);
      return;
    }
    if (!HoldTextInEntry(structure.String(4), "PCI Slot designation")) {
      return;
    }
    m.Log(kSystem, "PCI SLot ID in smTVQ struct: %X\n", structure.Word(9));
    KeepEntry();
  }
}

}  // namespace

EFI_STATUS MakeSystem(Firmware& firmware) {
  return System(firmware).Make();
}

}  // namespace tvq::test::model
