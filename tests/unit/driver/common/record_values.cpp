/*
 * Records as values.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/unit/driver/common/record_values.h"

#include <algorithm>
#include <cstdio>
#include <type_traits>

#include "tests/unit/shared/text.h"

namespace tvq::test::record {
namespace {

void Read(std::optional<std::string>& to, const CHAR16* from) {
  if (from != nullptr) {
    to = Utf8(from);
  }
}

void Read(std::optional<std::string>& to, const CHAR8* from) {
  if (from != nullptr) {
    to = from;
  }
}

template <typename Part, typename Raw>
void Read(std::optional<Part>& to, const Raw* from) {
  if (from != nullptr) {
    to = Decode(*from);
  }
}

template <typename Part, typename Raw>
void ReadList(std::vector<std::optional<Part>>& to, Raw* const* from, size_t count) {
  for (size_t i = 0; from != nullptr && i < count; ++i) {
    Read(to.emplace_back(), from[i]);
  }
}

template <typename T>
std::string Print(const T& value) {
  if constexpr (std::is_integral_v<T>) {
    char text[48];
    std::snprintf(text, sizeof(text), "%llu (%llXh)", static_cast<unsigned long long>(value),
                  static_cast<unsigned long long>(value));
    return text;
  } else {
    return testing::PrintToString(value);
  }
}

template <typename T>
void PrintFields(const T& record, std::ostream& out) {
  const Fields none = FieldsOf(T());
  const Fields fields = FieldsOf(record);
  out << "{";
  for (size_t i = 0; i < fields.size(); ++i) {
    if (fields[i] != none[i]) {
      out << " ." << fields[i].first << " = " << fields[i].second << ",";
    }
  }
  out << " }";
}

}  // namespace

// clang-format off
#define RECORD(name, raw) name Decode(const raw& from) { name to;
#define NUMBER(field) to.field = from.field;
#define TEXT(field) Read(to.field, from.field);
#define GENERIC_NUMBER(field) to.field = from.Generic.field;
#define GENERIC_TEXT(field) Read(to.field, from.Generic.field);
#define PART(type, field) Read(to.field, from.field);
#define SLOTS(type, field, count) \
  for (size_t i = 0; i < (count); ++i) { Read(to.field[i], from.field[i]); }
#define LIST(type, field, count) ReadList(to.field, from.field, from.count);
#define BYTES(field) std::copy(std::begin(from.field), std::end(from.field), to.field.begin());
#define END return to; }
#include "tests/unit/driver/common/record_values.def"

#define RECORD(name, raw)                                                               \
  void PrintTo(const name& record, std::ostream* out) { PrintFields(record, *out); }    \
  Fields FieldsOf(const name& record) { return {
#define NUMBER(field) {#field, Print(record.field)},
#define TEXT(field) NUMBER(field)
#define GENERIC_NUMBER(field) NUMBER(field)
#define GENERIC_TEXT(field) NUMBER(field)
#define PART(type, field) NUMBER(field)
#define SLOTS(type, field, count) NUMBER(field)
#define LIST(type, field, count) NUMBER(field)
#define BYTES(field) NUMBER(field)
#define END }; }
#include "tests/unit/driver/common/record_values.def"
// clang-format on

std::string Differences(const Fields& actual, const Fields& expected) {
  std::string lines;
  for (size_t i = 0; i < actual.size(); ++i) {
    if (actual[i] != expected[i]) {
      lines +=
          "\n  ." + actual[i].first + " is " + actual[i].second + ", not " + expected[i].second;
    }
  }
  return lines;
}

}  // namespace tvq::test::record
