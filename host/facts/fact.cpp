/*
 * What a table says of the parts of a machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/facts/fact.h"

#include <algorithm>

namespace tvq::facts {

const Value& Part::Find(std::string_view name) const {
  static const Value kNone;
  const auto found = std::find_if(facts.begin(), facts.end(),
                                  [name](const Fact& fact) { return fact.name == name; });
  return found == facts.end() ? kNone : found->value;
}

std::string_view Part::TextOf(std::string_view name) const {
  const auto* const text = std::get_if<std::string>(&Find(name));
  return text == nullptr ? std::string_view() : *text;
}

std::uint64_t Part::NumberOf(std::string_view name) const {
  const auto* const number = std::get_if<std::uint64_t>(&Find(name));
  return number == nullptr ? 0 : *number;
}

}  // namespace tvq::facts
