/*
 * Names stay with their slots: machines of many makes, in which parts are taken out and put in.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <cctype>
#include <map>
#include <random>
#include <set>
#include <type_traits>

#include "tests/unit/platform/platform_fixture.h"

namespace tvq::test {
namespace {

using ConformPopulation = AgentTest;
using tvqplatform::ConformResult;

// The text with each "{}" replaced by the next number or letter.
std::string Print(const std::string& text) {
  return text;
}
template <typename First, typename... Others>
std::string Print(const std::string& text, First first, Others... others) {
  const size_t at = text.find("{}");
  const std::string value = std::is_same_v<First, char> ? std::string(1, static_cast<char>(first))
                                                        : std::to_string(first);
  return text.substr(0, at) + value + Print(text.substr(at + 2), others...);
}

struct Socket {
  std::string designation;
  bool isPopulated = true;
};

struct MemorySlot {
  std::string locator;
  std::string bank;
  bool isPopulated = true;
};

// A machine, as its firmware prints it.
struct Shape {
  std::vector<Socket> sockets;
  std::vector<MemorySlot> slots;
};

// How makers print the place of a slot: processor, channel and slot counted from 0.
struct Place {
  int processor;
  int channel;
  int slot;
  int slotsPerChannel;
  int channels;

  char Letter() const { return static_cast<char>('A' + channel); }
  // Over the channels of the processor, from 0.
  int InProcessor() const { return channel * slotsPerChannel + slot; }
  int InMachine() const { return processor * channels * slotsPerChannel + InProcessor(); }
};

struct Style {
  std::string (*socket)(int processor);
  std::string (*locator)(const Place&);
  std::string (*bank)(const Place&);
  bool areTextsUnique;  // no two slots of a machine with several processors have the same texts
};

std::string NoBank(const Place&) {
  return "Not Specified";
}

const Style kStyles[] = {
    {[](int p) { return Print("CPU{}", p + 1); },
     [](const Place& at) {
       return Print("P{}-DIMM{}{}", at.processor + 1, at.Letter(), at.slot + 1);
     },
     [](const Place& at) {
       return Print("P{}_Node0_Channel{}_Dimm{}", at.processor, at.channel, at.slot);
     },
     true},
    {[](int p) { return Print("Proc {}", p + 1); },
     [](const Place& at) {
       return Print("PROC  {} DIMM {} ", at.processor + 1, at.InProcessor() + 1);
     },
     NoBank, true},
    {[](int) { return std::string("U3E1"); },
     [](const Place& at) {
       return Print("{}{}", static_cast<char>('A' + at.processor), at.InProcessor() + 1);
     },
     NoBank, true},
    {[](int p) { return Print("SOCKET {}", p); },
     [](const Place& at) { return Print("DIMM {}", at.slot); },
     [](const Place& at) { return Print("P{} CHANNEL {}", at.processor, at.Letter()); }, true},
    {[](int) { return std::string("CPU"); },
     [](const Place& at) { return Print("DIMM_{}{}", at.Letter(), at.slot + 1); },
     [](const Place& at) { return Print("NODE {}", at.processor + 1); }, true},
    {[](int p) { return Print("CPU {}", p); },
     [](const Place& at) { return Print("CPU{}_C{}D{}", at.processor, at.channel, at.slot); },
     [](const Place& at) { return Print("NODE {}", at.processor); }, true},
    {[](int) { return std::string("Socket-R 2011"); },
     [](const Place& at) { return Print("D{}", at.InProcessor()); },
     [](const Place& at) { return Print("/SYS/MB/P{}", at.processor); }, true},
    {[](int p) { return Print("P{}", p); },
     [](const Place& at) { return Print("DIMM{}{}{}", at.processor, at.channel, at.slot); },
     [](const Place& at) {
       return Print("_Node{}_Channel{}_Dimm{}", at.processor, at.channel, at.slot);
     },
     true},
    {[](int p) { return Print("Node 1 Socket {}", p + 1); },
     [](const Place& at) { return Print("DIMM {}", at.InProcessor() + 1); },
     [](const Place& at) { return Print("CPU {}", at.processor + 1); }, true},
    {[](int) { return std::string("CPU 1"); },
     [](const Place& at) { return Print("DIMM{}", at.InProcessor()); },
     [](const Place& at) { return Print("BANK{}", at.InProcessor()); }, false},
    {[](int) { return std::string(); },
     [](const Place& at) { return Print("RAM slot #{}", at.InMachine()); },
     [](const Place& at) { return Print("RAM slot #{}", at.InMachine()); }, true},
    {[](int p) { return Print("CPU{}-Socket 940", p); },
     [](const Place&) { return std::string("NO DIMM"); },
     [](const Place&) { return std::string("NO DIMM"); }, false},
};

Shape MakeShape(const Style& style, std::mt19937& random, unsigned maxProcessors = 4) {
  const int processors = static_cast<int>(1 + random() % maxProcessors);
  const int channels = static_cast<int>(1 + random() % 8);
  const int perChannel = static_cast<int>(1 + random() % 3);
  Shape shape;
  for (int p = 0; p < processors; ++p) {
    shape.sockets.push_back({style.socket(p), random() % 4 != 0});
    for (int i = 0; i < channels * perChannel; ++i) {
      const Place place = {p, i / perChannel, i % perChannel, perChannel, channels};
      shape.slots.push_back({style.locator(place), style.bank(place), random() % 2 == 0});
    }
  }
  // What is soldered beside the slots.
  if (random() % 3 == 0) {
    shape.slots.push_back({"BIOS", "ROM0", true});
  }
  return shape;
}

// Strings of no length end the strings of a structure.
Text TextOrNone(const std::string& text) {
  return text.empty() ? std::nullopt : Text(text);
}

// Device handles count up, and stay when the structures of empty slots are left out.
Bytes TableOf(const Shape& shape, bool hasEmptySlots = true) {
  Table table;
  uint16_t handle = 0x400;
  for (const Socket& socket : shape.sockets) {
    table.Add(Processor{.handle = handle++,
                        .designation = TextOrNone(socket.designation),
                        .status = static_cast<uint8_t>(socket.isPopulated ? 0x41 : 0x00)});
  }
  handle = 0x1100;
  for (const MemorySlot& slot : shape.slots) {
    if (slot.isPopulated || hasEmptySlots) {
      table.Add(MemoryDevice{.handle = handle,
                             .size = static_cast<uint16_t>(slot.isPopulated ? 0x4000 : 0),
                             .locator = TextOrNone(slot.locator),
                             .bankLocator = TextOrNone(slot.bank)});
    }
    ++handle;
  }
  table.Add(End{});
  return table.Bytes();
}

// The FQDD of each device with a part in it, by its handle.
std::map<uint16_t, std::string> FqddsOf(const Shape& shape, bool hasEmptySlots = true) {
  const Conformed conformed = Conform(TableOf(shape, hasEmptySlots));
  EXPECT_EQ(conformed.result, ConformResult::kChanged);
  std::map<uint16_t, std::string> fqdds;
  for (const FoundStructure& map : OfType(Parse(conformed.table), 225)) {
    for (size_t at = 5; at + 4 <= map.formatted.size(); at += 4) {
      const auto handle =
          static_cast<uint16_t>(map.formatted[at + 1] | (map.formatted[at + 2] << 8));
      fqdds[handle] = map.StringAt(at);
    }
  }
  return fqdds;
}

size_t CountParts(const Shape& shape) {
  return static_cast<size_t>(
      std::count_if(shape.sockets.begin(), shape.sockets.end(),
                    [](const Socket& socket) { return socket.isPopulated; }) +
      std::count_if(shape.slots.begin(), shape.slots.end(),
                    [](const MemorySlot& slot) { return slot.isPopulated; }));
}

// What the driver tells devices apart by, as its records have it.
void ExpectNamesOfTheirOwn(const Shape& shape, const std::map<uint16_t, std::string>& fqdds) {
  EXPECT_EQ(fqdds.size(), CountParts(shape));
  std::set<std::string> seen;
  for (const auto& [handle, fqdd] : fqdds) {
    std::string capitals;
    for (const char character : fqdd) {
      EXPECT_TRUE(std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '.' ||
                  character == '-' || character == '_')
          << fqdd;
      capitals += static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    }
    EXPECT_TRUE(seen.insert(capitals).second) << fqdd;
    EXPECT_LE(fqdd.size(), 15u);
  }
  std::set<std::string> keys;
  for (const FoundStructure& found : Parse(Conform(TableOf(shape)).table)) {
    const size_t name = found.type == 4 ? 0x04 : 0x10;
    if (found.type != 4 && found.type != 17) {
      continue;
    }
    std::string text = found.StringAt(name);
    text = found.type == 4                           ? text.substr(3, 1)
           : text.find("DIMM_") != std::string::npos ? text.substr(5, 3)
                                                     : text.substr(0, 3);
    EXPECT_TRUE(keys.insert(std::to_string(found.type) + text).second) << text;
  }
}

void ExpectUntouchedDevicesKeepTheirNames(const std::map<uint16_t, std::string>& before,
                                          const std::map<uint16_t, std::string>& after) {
  for (const auto& [handle, fqdd] : before) {
    if (const auto now = after.find(handle); now != after.end()) {
      EXPECT_EQ(now->second, fqdd) << "handle " << handle;
    }
  }
}

void Repopulate(Shape& shape, std::mt19937& random) {
  for (MemorySlot& slot : shape.slots) {
    slot.isPopulated = random() % 3 == 0;
  }
  for (Socket& socket : shape.sockets) {
    socket.isPopulated = random() % 3 != 0;
  }
}

TEST_F(ConformPopulation, EveryDeviceHasANameOfItsOwnThatStaysWhateverIsPutInAndTakenOut) {
  std::mt19937 random(7);
  for (const Style& style : kStyles) {
    for (int machine = 0; machine < 12; ++machine) {
      Shape shape = MakeShape(style, random);
      SCOPED_TRACE(shape.slots.front().locator + " in " + shape.slots.front().bank);
      std::map<uint16_t, std::string> names = FqddsOf(shape);
      ExpectNamesOfTheirOwn(shape, names);
      for (int change = 0; change < 4; ++change) {
        Repopulate(shape, random);
        const std::map<uint16_t, std::string> now = FqddsOf(shape);
        ExpectUntouchedDevicesKeepTheirNames(names, now);
        names.insert(now.begin(), now.end());
      }
    }
  }
}

// Where the firmware leaves the structures of empty slots out, a name can stay only where the slot's
// own texts give it.
TEST_F(ConformPopulation, NamesStayAlsoWithoutTheStructuresOfEmptySlots) {
  std::mt19937 random(11);
  for (const Style& style : kStyles) {
    for (int machine = 0; machine < 12 && style.areTextsUnique; ++machine) {
      // Slots of several processors whose locators are the same would take computed names.
      Shape shape = MakeShape(style, random, 1);
      SCOPED_TRACE(shape.slots.front().locator + " in " + shape.slots.front().bank);
      const std::map<uint16_t, std::string> names = FqddsOf(shape, false);
      Repopulate(shape, random);
      shape.slots.front().isPopulated = true;
      shape.sockets.front().isPopulated = true;
      ExpectUntouchedDevicesKeepTheirNames(names, FqddsOf(shape, false));
    }
  }
}

TEST_F(ConformPopulation, AConformedMachineNeedsNothingMore) {
  std::mt19937 random(13);
  for (const Style& style : kStyles) {
    const Conformed conformed = Conform(TableOf(MakeShape(style, random)));
    EXPECT_EQ(Conform(conformed.table).result, ConformResult::kUnchanged);
  }
}

// Texts of what firmware uses for texts, put together at random.
TEST_F(ConformPopulation, HoldsForTextsOfAnyKind) {
  const char* const kWords[] = {
      "DIMM", "DIMM_", "CPU", "PROC ", "P", "CHANNEL", "Channel", "BANK", "NODE", "A",     "B",
      "C",    "D",     "J",   "_",     "-", " ",       "0",       "1",    "12",   "007",   "/SYS/",
      "MC",   "dimm",  "a",   "(",     "#", "NVD",     "\xE9",    "-3F",  "_ZZ",  "Socket"};
  std::mt19937 random(17);
  const auto text = [&] {
    std::string made;
    for (size_t words = random() % 5; words != 0; --words) {
      made += kWords[random() % std::size(kWords)];
    }
    return made;
  };
  for (int round = 0; round < 150; ++round) {
    Shape shape;
    for (size_t i = 1 + random() % 4; i != 0; --i) {
      shape.sockets.push_back({text(), true});
    }
    for (size_t i = 1 + random() % 12; i != 0; --i) {
      shape.slots.push_back({text(), text(), true});
    }
    const std::map<uint16_t, std::string> names = FqddsOf(shape);
    ExpectNamesOfTheirOwn(shape, names);
    const Conformed first = Conform(TableOf(shape));
    const Conformed second = Conform(first.table);
    EXPECT_EQ(second.result, ConformResult::kUnchanged)
        << testing::PrintToString(first.changes) << testing::PrintToString(second.changes);
    Repopulate(shape, random);
    ExpectUntouchedDevicesKeepTheirNames(names, FqddsOf(shape));
  }
}

}  // namespace
}  // namespace tvq::test
