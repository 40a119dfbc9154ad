/*
 * Where the memory slots of a machine are, as far as its table states it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/memory_layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <map>

#include "host/run/stated_place.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using facts::Part;

// One of the two texts of a slot.
struct SlotText {
  run::StatedPlace place;
  bool saysChannel = false;
};

struct Slot {
  std::size_t module;
  SlotText texts[2];  // label, bank
};

bool NamesChannel(std::string_view text) {
  constexpr std::string_view kWord = "CHAN";
  const auto found =
      std::search(text.begin(), text.end(), kWord.begin(), kWord.end(), [](char left, char right) {
        return std::toupper(static_cast<unsigned char>(left)) == right;
      });
  return found != text.end();
}

SlotText ReadText(const Part& module, const char* fact) {
  const std::string text(module.TextOf(fact));
  const run::StatedPlace place = run::ReadStatedPlace(text);
  return {place, place.channel || (NamesChannel(text) && place.letter != '\0')};
}

// The processors by the numbers that are printed at their sockets, those of several left out.
std::map<unsigned, std::size_t> NumberedSockets(const facts::Machine& machine) {
  std::map<unsigned, std::size_t> sockets;
  std::map<unsigned, int> counts;
  const std::vector<Part>& processors = machine.Of(Kind::kProcessor);
  for (std::size_t i = 0; i < processors.size(); ++i) {
    const auto number = run::ReadSocketNumber(std::string(processors[i].TextOf("label")));
    if (number && ++counts[*number] == 1) {
      sockets[*number] = i;
    } else if (number) {
      sockets.erase(*number);
    }
  }
  return sockets;
}

// The text of the slots for which a condition holds at all of them.
template <typename Condition>
std::optional<int> TextOfAll(const std::vector<Slot>& slots, Condition holds) {
  for (const int text : {0, 1}) {
    if (std::all_of(slots.begin(), slots.end(),
                    [&](const Slot& slot) { return holds(slot.texts[text]); })) {
      return text;
    }
  }
  return std::nullopt;
}

// Divides slots of one kind.
class Divider {
 public:
  Divider(const facts::Machine& machine, std::string name)
      : mSockets(NumberedSockets(machine)), mName(std::move(name)) {}

  void Add(std::size_t index, const Part& module) {
    mSlots.push_back({index, {ReadText(module, "label"), ReadText(module, "bank")}});
  }

  std::vector<MemoryGroup> Divide() const {
    std::vector<MemoryGroup> groups;
    if (mSlots.empty()) {
      return groups;
    }
    const auto ofSocket = TextOfAll(mSlots, [this](const SlotText& text) {
      return text.place.processor && mSockets.count(*text.place.processor) != 0;
    });
    const auto ofNumber =
        ofSocket ? ofSocket
                 : TextOfAll(mSlots, [](const SlotText& text) { return !!text.place.processor; });
    std::map<unsigned, std::vector<Slot>> numbered;
    for (const Slot& slot : mSlots) {
      numbered[ofNumber ? *slot.texts[*ofNumber].place.processor : 0].push_back(slot);
    }
    for (const auto& [number, slots] : numbered) {
      MemoryGroup group;
      if (ofSocket) {
        group.processor = mSockets.at(number);
      }
      group.name = ofSocket   ? ""
                   : ofNumber ? fmt::format("{}, labelled for processor {}", mName, number)
                              : mName;
      group.rows = Rows(slots);
      groups.push_back(std::move(group));
    }
    return groups;
  }

 private:
  // A channel that is named as such, in either text, says more than a letter in the label.
  std::vector<MemoryRow> Rows(const std::vector<Slot>& slots) const {
    const auto text = TextOfAll(mSlots, [](const SlotText& one) { return one.saysChannel; });
    const bool hasLetters = std::all_of(mSlots.begin(), mSlots.end(), [](const Slot& slot) {
      return slot.texts[0].place.letter != '\0';
    });
    std::vector<MemoryRow> rows;
    for (const Slot& slot : slots) {
      const std::string name = text         ? ChannelName(slot.texts[*text].place)
                               : hasLetters ? std::string(1, slot.texts[0].place.letter)
                                            : std::string();
      auto row = std::find_if(rows.begin(), rows.end(),
                              [&](const MemoryRow& one) { return one.name == name; });
      if (row == rows.end()) {
        row = rows.insert(rows.end(), {name, {}});
      }
      row->modules.push_back(slot.module);
    }
    return rows;
  }

  static std::string ChannelName(const run::StatedPlace& place) {
    std::string name = "Channel ";
    if (place.letter != '\0') {
      name += place.letter;
    }
    if (place.channel) {
      name += std::to_string(*place.channel);
    }
    return place.group ? fmt::format("{}, group {}", name, *place.group) : name;
  }

  std::map<unsigned, std::size_t> mSockets;
  std::string mName;
  std::vector<Slot> mSlots;
};

bool IsHighBandwidth(const Part& module) {
  return module.TextOf("type").substr(0, 3) == "HBM";
}

}  // namespace

std::vector<MemoryGroup> GroupMemory(const facts::Machine& machine) {
  Divider usual(machine, "Memory");
  Divider highBandwidth(machine, "High-bandwidth memory");
  const std::vector<Part>& modules = machine.Of(Kind::kModule);
  for (std::size_t i = 0; i < modules.size(); ++i) {
    (IsHighBandwidth(modules[i]) ? highBandwidth : usual).Add(i, modules[i]);
  }
  std::vector<MemoryGroup> groups = usual.Divide();
  for (MemoryGroup& group : highBandwidth.Divide()) {
    groups.push_back(std::move(group));
  }
  return groups;
}

}  // namespace tvq::cli
