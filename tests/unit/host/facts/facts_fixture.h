/*
 * The parts of tables that tests put together.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_FACTS_FACTS_FIXTURE_H_
#define TVQ_TESTS_UNIT_HOST_FACTS_FACTS_FIXTURE_H_

#include <gtest/gtest.h>

#include "host/facts/machine.h"
#include "tests/unit/shared/table.h"

namespace tvq::facts {

inline Machine Read(const test::Table& table, table::Version version = {3, 3}) {
  return ReadMachine(table.Bytes(), version, table.Count());
}

// The only part of its kind in a table of these structures.
template <typename... Structures>
Part Only(Kind kind, const Structures&... structures) {
  const Machine machine = Read(test::Table::Of(structures...));
  EXPECT_EQ(machine.Of(kind).size(), 1u);
  return machine.Of(kind).empty() ? Part() : machine.Of(kind).front();
}

inline const Value kUnknown = {};
inline Value Number(std::uint64_t number) {
  return number;
}
inline Value Text(const char* text) {
  return std::string(text);
}

}  // namespace tvq::facts

#endif  // TVQ_TESTS_UNIT_HOST_FACTS_FACTS_FIXTURE_H_
