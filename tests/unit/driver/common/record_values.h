/*
 * Records as values: decoded once, compared as a whole, printed by the names of their fields.
 *
 *     EXPECT_THAT(Decode(record->device.cpu), Is(record::Cpu{.FQDD = "CPU.Socket.1", .Socket = 1}));
 *
 * A text that is missing is std::nullopt. A field that is not named is zero, or missing.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_COMMON_RECORD_VALUES_H_
#define TVQ_TESTS_UNIT_DRIVER_COMMON_RECORD_VALUES_H_

#include <gmock/gmock.h>

#include <array>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "host/firmware/edk2.h"

#include <Protocol/TvqRecord.h>

namespace tvq::test::record {

// The names of a structure's fields, and their values as texts.
using Fields = std::vector<std::pair<std::string, std::string>>;

// NOLINTBEGIN(bugprone-macro-parentheses): names of types and members take no parentheses.
// clang-format off
#define RECORD(name, raw) struct name { using Raw = raw;
#define NUMBER(field) decltype(Raw::field) field = 0;
#define TEXT(field) std::optional<std::string> field = std::nullopt;
#define GENERIC_NUMBER(field) decltype(TVQ_GENERIC::field) field = 0;
#define GENERIC_TEXT(field) TEXT(field)
#define PART(type, field) std::optional<type> field = std::nullopt;
#define SLOTS(type, field, count) std::array<std::optional<type>, count> field = {};
#define LIST(type, field, count) std::vector<std::optional<type>> field = {};
#define BYTES(field) std::array<uint8_t, sizeof(Raw::field)> field = {};
#define END };
#include "tests/unit/driver/common/record_values.def"
// NOLINTEND(bugprone-macro-parentheses)

#define RECORD(name, raw)                                  \
  name Decode(const raw& from);                            \
  Fields FieldsOf(const name& record);                     \
  inline bool operator==(const name& a, const name& b) {   \
    return FieldsOf(a) == FieldsOf(b);                     \
  }                                                        \
  void PrintTo(const name& record, std::ostream* out);
#define NUMBER(field)
#define TEXT(field)
#define GENERIC_NUMBER(field)
#define GENERIC_TEXT(field)
#define PART(type, field)
#define SLOTS(type, field, count)
#define LIST(type, field, count)
#define BYTES(field)
#define END
#include "tests/unit/driver/common/record_values.def"
// clang-format on

// The fields in which two structures differ, each on a line.
std::string Differences(const Fields& actual, const Fields& expected);

// Matches an equal structure, and names the fields that differ.
MATCHER_P(Is, expected, testing::PrintToString(expected)) {
  *result_listener << Differences(FieldsOf(arg), FieldsOf(expected));
  return arg == expected;
}

}  // namespace tvq::test::record

#endif  // TVQ_TESTS_UNIT_DRIVER_COMMON_RECORD_VALUES_H_
