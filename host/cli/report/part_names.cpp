/*
 * How the page names the parts of a machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/part_names.h"

#include <fmt/format.h>

#include <map>
#include <string>
#include <utility>

#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

// "-" where nothing is printed.
std::string PrintedAt(const facts::Part& part) {
  const std::string_view label = part.TextOf("label");
  return LabelText(label.empty() ? part.TextOf("location") : label);
}

using LabelAndBank = std::pair<std::string, std::string>;

LabelAndBank WithBank(const facts::Part& part) {
  return {PrintedAt(part), LabelText(part.TextOf("bank"))};
}

// What tells a part from others with its label.
std::string Distinction(const MachineView& view, PartPlace place, bool isOnlyOfBank) {
  const facts::Part& part = view.At(place);
  std::string fqdd = Printable(view.FqddOf(place));
  if (!fqdd.empty()) {
    return fqdd;
  }
  const std::string bank = LabelText(part.TextOf("bank"));
  return isOnlyOfBank && bank != "-" ? bank : fmt::format("0x{:04X}", part.handle);
}

}  // namespace

PartNames::PartNames(const MachineView& view) {
  for (const facts::KindName& kind : facts::kKindNames) {
    const std::vector<facts::Part>& parts = view.machine.Of(kind.kind);
    std::map<std::string, int> counts;
    std::map<LabelAndBank, int> countsOfBanks;
    for (const facts::Part& part : parts) {
      ++counts[PrintedAt(part)];
      ++countsOfBanks[WithBank(part)];
    }
    std::vector<std::string>& names = mNames[static_cast<std::size_t>(kind.kind)];
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const PartPlace place = {kind.kind, i};
      const std::string printed = PrintedAt(parts[i]);
      const bool isOnlyOfBank = countsOfBanks[WithBank(parts[i])] == 1;
      names.push_back(printed == "-"         ? NameOf(view, place)
                      : counts[printed] == 1 ? printed
                                             : fmt::format("{} ({})", printed,
                                                           Distinction(view, place, isOnlyOfBank)));
    }
  }
}

}  // namespace tvq::cli
