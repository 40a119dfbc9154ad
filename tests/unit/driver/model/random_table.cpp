/*
 * Random tables of servers.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/model/random_table.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace tvq::test {

Table RandomTables::Next() {
  mStructures.clear();
  mUsed.clear();
  for (std::vector<uint16_t>* handles : {&mProcessors, &mCaches, &mArrays, &mModules}) {
    handles->clear();
  }
  AddSystems();
  AddCaches();
  AddProcessors();
  AddOemStrings();
  AddArrays();
  AddModules();
  AddSlots();
  AddExtensions();
  AddFqddMaps();
  std::shuffle(mStructures.begin(), mStructures.end(), mGenerator);

  Table table = Table::Of(mStructures, End{.handle = NewHandle()});
  table.majorVersion = static_cast<uint8_t>(Number(2, 3));
  table.minorVersion = static_cast<uint8_t>(Number(0, 8));
  return table;
}

uint16_t RandomTables::NewHandle() {
  uint16_t handle;
  do {
    handle = static_cast<uint16_t>(Number(0, 0xFFFE));
  } while (!mUsed.insert(handle).second);
  return handle;
}

uint16_t RandomTables::OneOf(const std::vector<uint16_t>& handles) {
  if (handles.empty() || Once(6)) {
    return Once(2) ? kNoHandle : AnyWord();
  }
  return handles[Number(0, static_cast<unsigned>(handles.size()) - 1)];
}

Text RandomTables::AnyText(unsigned shortest, unsigned longest) {
  if (Once(8)) {
    return std::nullopt;
  }
  std::string text(Number(shortest, longest), ' ');
  std::generate(text.begin(), text.end(), [&] { return static_cast<char>(Number(' ', '~')); });
  return text;
}

void RandomTables::Add(Structure structure) {
  mStructures.push_back(std::move(structure));
}

void RandomTables::Scramble(Structure& structure, size_t from, size_t to) {
  for (size_t offset = from; offset < to; ++offset) {
    structure.SetByte(offset, AnyByte());
  }
}

void RandomTables::CutSome(Structure& structure, uint8_t shortest) {
  const auto length = static_cast<unsigned>(4 + structure.body.size());
  if (Once(4) && length > shortest) {
    structure.CutTo(static_cast<uint8_t>(Number(shortest, length)));
  }
}

void RandomTables::AddSystems() {
  for (unsigned n = Once(4) ? Number(0, 2) : 1; n != 0; --n) {
    Add(Bios{NewHandle(), AnyText(), AnyText(), AnyText()}.Build());
  }
  for (unsigned n = Once(4) ? Number(0, 2) : 1; n != 0; --n) {
    Structure system = System{NewHandle(), AnyText(), AnyText(), AnyText(), AnyText()}.Build();
    Scramble(system, 0x08, 0x18);
    CutSome(system, 0x08);
    Add(system);
  }
  for (unsigned n = Number(0, 3); n != 0; --n) {
    Add(BaseBoard{NewHandle(), AnyText(), AnyText(), AnyText(), AnyText(), AnyText()}.Build());
  }
  for (unsigned n = Number(0, 3); n != 0; --n) {
    Add(Chassis{.handle = NewHandle(), .manufacturer = AnyText(), .serial = AnyText()}.Build());
  }
}

void RandomTables::AddCaches() {
  for (unsigned n = Number(0, 6); n != 0; --n) {
    mCaches.push_back(NewHandle());
    Structure cache = Cache{.handle = mCaches.back(), .designation = AnyText()}.Build();
    Scramble(cache, 0x05, 0x13);
    CutSome(cache, 0x08);
    Add(cache);
  }
}

void RandomTables::AddProcessors() {
  for (unsigned n = Number(0, 4); n != 0; --n) {
    mProcessors.push_back(NewHandle());
    Processor processor;
    processor.handle = mProcessors.back();
    // The fourth character tells processors apart.
    processor.designation = AnyText(3);
    processor.manufacturer = AnyText();
    processor.version = AnyText();
    processor.status = Once(4) ? AnyByte() : 0x41;
    processor.l1 = OneOf(mCaches);
    processor.l2 = OneOf(mCaches);
    processor.l3 = OneOf(mCaches);
    processor.coreCount = AnyByte();
    Structure structure = processor.Build();
    Scramble(structure, 0x08, 0x10);
    CutSome(structure, 0x1A);
    Add(structure);
  }
}

void RandomTables::AddOemStrings() {
  for (unsigned n = Number(0, 2); n != 0; --n) {
    // Texts are looked for from the 20th character on.
    OemStrings oemStrings{.handle = NewHandle(), .texts = {"9 twenty characters."}};
    for (unsigned i = Number(0, 4); i != 0; --i) {
      std::string text = AnyText().value_or("9 or another digit");
      oemStrings.texts.push_back(Once(2) ? text : text + "17[" + AnyText(16).value_or("]"));
    }
    Add(oemStrings.Build());
  }
}

void RandomTables::AddArrays() {
  for (unsigned n = Number(0, 3); n != 0; --n) {
    mArrays.push_back(NewHandle());
    Structure array = MemoryArray{.handle = mArrays.back()}.Build();
    Scramble(array, 0x04, 0x0F);
    CutSome(array, 0x0B);
    Add(array);
  }
}

void RandomTables::AddModules() {
  const bool hasStacks = Once(4);
  for (unsigned n = Number(0, 7); n != 0; --n) {
    mModules.push_back(NewHandle());
    MemoryDevice device;
    device.handle = mModules.back();
    device.arrayHandle = OneOf(mArrays);
    device.size = Once(4) ? 0 : AnyWord();
    device.formFactor = Once(4) ? 0x10 : 9;
    device.memoryType = hasStacks && Once(2) ? static_cast<uint8_t>(Number(0x1F, 0x21)) : 0x22;
    device.locator = AnyText(3);
    if (device.locator && Once(2)) {
      *device.locator = hasStacks && Once(2) ? "CPU" + std::to_string(Number(0, 2)) + "_HBMIO" +
                                                   std::to_string(Number(0, 4))
                                             : "DIMM_" + *device.locator;
    }
    device.bankLocator = AnyText();
    device.manufacturer = AnyText();
    device.serial = AnyText();
    device.assetTag = AnyText();
    device.partNumber = AnyText();
    Structure structure = device.Build();
    Scramble(structure, 0x1B, 0x2B);
    CutSome(structure, 0x15);
    Add(structure);
  }
}

void RandomTables::AddSlots() {
  // Few buses and functions, so that queries find something.
  for (unsigned n = Number(0, 4); n != 0; --n) {
    Slot slot;
    slot.handle = NewHandle();
    slot.designation = AnyText();
    slot.slotType = AnyByte();
    slot.width = AnyByte();
    slot.slotLength = AnyByte();
    slot.id = Once(4) ? 0xFFFF : AnyWord();
    slot.bus = static_cast<uint8_t>(Number(0, 2));
    slot.devFn = static_cast<uint8_t>(Number(0, 7));
    Structure structure = slot.Build();
    CutSome(structure, 0x0C);
    Add(structure);
  }
  for (unsigned n = Number(0, 2); n != 0; --n) {
    Add(OnboardDevice{.handle = NewHandle(),
                      .designation = AnyText(),
                      .bus = static_cast<uint8_t>(Number(0, 2)),
                      .devFn = static_cast<uint8_t>(Number(0, 7))}
            .Build());
  }
}

void RandomTables::AddExtensions() {
  for (unsigned n = Once(2) ? Number(0, 6) : 0; n != 0; --n) {
    Add(DimmExtension{.handle = NewHandle(),
                      .deviceHandle = OneOf(mModules),
                      .firmwareVersion = AnyText(),
                      .componentId = Number(0, 0x7FFFFFFF),
                      .productId = AnyWord()}
            .Build());
  }
}

void RandomTables::AddFqddMaps() {
  for (unsigned n = Once(16) ? 0 : Number(1, 3); n != 0; --n) {
    FqddMap map{.handle = NewHandle()};
    for (unsigned group = Number(0, 8); group != 0; --group) {
      map.groups.push_back({AnyText(), OneOf(Once(2) ? mProcessors : mModules), AnyByte()});
    }
    Add(map.Build());
  }
}

unsigned TablesToTry(unsigned usual) {
  const char* const wanted = std::getenv("TVQ_DIFFERENTIAL_TABLES");
  return wanted == nullptr ? usual : static_cast<unsigned>(std::strtoul(wanted, nullptr, 10));
}

}  // namespace tvq::test
