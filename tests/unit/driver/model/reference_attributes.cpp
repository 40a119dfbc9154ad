/*
 * The FQDD map and the named attributes, step by step.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/model/reference_attributes.h"

#include <algorithm>

namespace tvq::test {
namespace {

constexpr uint8_t kBios = 0, kSystem = 1, kSlot = 9, kOemStrings = 11, kOnboard = 41, kMap = 225;

}  // namespace

// A field past the formatted part reads as 0.
uint8_t ReferenceAttributes::Byte(size_t structure, size_t field) const {
  return Has(structure, field) ? mTable[structure + field] : 0;
}

uint16_t ReferenceAttributes::Word(size_t structure, size_t field) const {
  return Has(structure, field + 1)
             ? static_cast<uint16_t>(Byte(structure, field) | Byte(structure, field + 1) << 8)
             : uint16_t{0};
}

std::vector<size_t> ReferenceAttributes::Slots(uint8_t type) const {
  std::vector<size_t> slots;
  for (const ReferenceWalk::Found& found : mWalk.ByType(type)) {
    slots.push_back(found.record);
  }
  return slots;
}

EFI_STATUS ReferenceAttributes::BuildMap() {
  mSlots = Slots(kMap);
  mMap.clear();
  for (const size_t structure : mSlots) {
    if (Byte(structure, 4) != 1) {
      return EFI_NOT_FOUND;
    }
  }
  for (size_t i = 0; i < mSlots.size(); ++i) {
    const size_t structure = mSlots[i];
    const unsigned groups = (mTable[structure + 1] - 5u) >> 2;
    for (size_t field = 5; field < 5 + 4 * groups; field += 4) {
      mMap.push_back({Byte(structure, field), Word(structure, field + 1),
                      Byte(structure, field + 3), static_cast<uint8_t>(i)});
    }
  }
  return mSlots.empty() ? EFI_NOT_FOUND : EFI_SUCCESS;
}

std::optional<size_t> ReferenceAttributes::Find(uint16_t handle) const {
  for (size_t i = 0; i < mMap.size(); ++i) {
    if (mMap[i].handle == handle) {
      return i;
    }
  }
  return std::nullopt;
}

std::optional<size_t> ReferenceAttributes::MapText(const MapEntry& entry) {
  return mWalk.GetString(mSlots[entry.structure], entry.stringNumber);
}

ReferenceAttributes::TextAnswer ReferenceAttributes::SystemText(size_t field) const {
  std::vector<size_t> systems = Slots(kSystem);
  if (systems.size() != 1) {
    return {EFI_NOT_FOUND, std::nullopt};
  }
  const uint8_t number = Byte(systems[0], field);
  const std::optional<size_t> text = mWalk.GetString(systems[0], number);
  return {text ? EFI_SUCCESS : EFI_INVALID_PARAMETER, text};
}

// Structure i is asked for its string i + 1. One that begins with '9' stands for "no answer".
ReferenceAttributes::TextAnswer ReferenceAttributes::SystemName() const {
  std::vector<size_t> oemStrings = Slots(kOemStrings);
  for (size_t i = 0; i < oemStrings.size(); ++i) {
    const std::optional<size_t> text = mWalk.GetString(oemStrings[i], static_cast<unsigned>(i + 1));
    if (text && mTable[*text] == '9') {
      return {EFI_INVALID_PARAMETER, std::nullopt};
    }
  }
  return SystemText(5);
}

std::optional<size_t> ReferenceAttributes::FirstText(std::vector<size_t>& slots,
                                                     size_t field) const {
  for (size_t& slot : slots) {
    if (const auto text = mWalk.GetString(slot, Byte(slot, field))) {
      return text;
    }
  }
  return std::nullopt;
}

ReferenceAttributes::BiosAnswer ReferenceAttributes::Bios() const {
  if (!mWalk.IsStructure(0)) {
    return {EFI_NOT_FOUND, std::nullopt, std::nullopt, std::nullopt};
  }
  BiosAnswer answer = {EFI_SUCCESS, std::nullopt, std::nullopt, std::nullopt};
  std::vector<size_t> firmware = Slots(kBios);
  answer.biosVersion = FirstText(firmware, 5);
  // The second search goes on with slots as the first one left them.
  std::vector<size_t> systems = Slots(kSystem);
  answer.serviceTag = FirstText(systems, 7);
  answer.productName = FirstText(systems, 5);
  return answer;
}

EFI_STATUS ReferenceAttributes::Slot(bool byId, unsigned structureCount,
                                     SMBIOS_SLOT_QUERY& query) const {
  const auto devFn = static_cast<uint8_t>((query.Device & 0xFF) << 2 | (query.Function & 3));
  query.OnBoard = 0;
  query.SlotId = 0xFFFF;
  uint16_t handle = 0xFFFF;
  for (unsigned i = 0; i < structureCount; ++i) {
    const ReferenceWalk::Next next = mWalk.GetNext(handle);
    handle = next.handle;
    if (!next.found) {
      continue;
    }
    const size_t s = next.record;
    const uint8_t type = mTable[s];
    if (type == kOnboard && Has(s, 10) && Byte(s, 9) == query.Bus && Byte(s, 10) == devFn) {
      query.SlotId = Byte(s, 4);
      query.OnBoard = 1;
      break;
    }
    if (type == kSlot && byId && Word(s, 9) == query.SlotId) {
      query.SlotType = Byte(s, 5);
      query.SlotDataBusWidth = Byte(s, 8);
      query.SlotLength = Byte(s, 6);
      break;
    }
    if (type == kSlot && !byId && Has(s, 16) && Byte(s, 15) == query.Bus && Byte(s, 16) == devFn) {
      query.SlotId = Word(s, 9);
      query.SlotType = Byte(s, 5);
      query.SlotDataBusWidth = Byte(s, 6);
      query.SlotLength = Byte(s, 8);
      break;
    }
  }
  return query.SlotId == 0xFFFF ? EFI_NOT_FOUND : EFI_SUCCESS;
}

}  // namespace tvq::test
