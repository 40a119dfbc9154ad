/*
 * What a table says of the parts of a machine: names and plain values.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FACTS_FACT_H_
#define TVQ_HOST_FACTS_FACT_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace tvq::facts {

// Nothing where the table does not say. A text has the 8-bit characters of the table, without the
// blanks around it.
using Value = std::variant<std::monostate, std::string, std::uint64_t, bool>;

inline bool IsKnown(const Value& value) {
  return !std::holds_alternative<std::monostate>(value);
}

// The name of a number that has a unit ends in it: "sizeInBytes".
struct Fact {
  std::string_view name;
  Value value;
};

// One structure of the table.
struct Part {
  std::uint16_t handle = 0;
  std::vector<Fact> facts;  // all that its kind has, in their order, known or not

  // Not known where the kind has no such fact.
  const Value& Find(std::string_view name) const;
  // Empty where it is not known, or no text.
  std::string_view TextOf(std::string_view name) const;
  // 0 where it is not known, or no number.
  std::uint64_t NumberOf(std::string_view name) const;
};

}  // namespace tvq::facts

#endif  // TVQ_HOST_FACTS_FACT_H_
