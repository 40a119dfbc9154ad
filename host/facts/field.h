/*
 * How the facts of a part are read from its structure.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FACTS_FIELD_H_
#define TVQ_HOST_FACTS_FIELD_H_

#include "host/facts/fact.h"
#include "host/facts/words.h"
#include "host/table/structure.h"
#include "host/table/table.h"

namespace tvq::facts {

// What a fact is read from.
struct Source {
  const table::Structure& structure;
  table::Version version;  // of the table
};

// One fact of a kind of part. What the structure is too short for is not known.
struct FactField {
  enum class Kind {
    kText,    // the string whose number stands there
    kNumber,  // 0 and all ones stand for "not known"
    kWord,    // no list has one for 0
    kComputed,
  };

  const char* name;
  Kind kind;
  smbios::SizeType offset = 0;
  smbios::SizeType width = 0;
  const Words* words = nullptr;
  Value (*compute)(const Source&) = nullptr;

  Value Read(const Source& source) const;
};

constexpr FactField TextField(const char* name, smbios::Field<smbios::U8> field) {
  return {name, FactField::Kind::kText, field.Offset, 1};
}
template <typename Number>
constexpr FactField NumberField(const char* name, smbios::Field<Number> field) {
  return {name, FactField::Kind::kNumber, field.Offset, sizeof(Number)};
}
constexpr FactField WordField(const char* name, smbios::Field<smbios::U8> field,
                              const Words& words) {
  return {name, FactField::Kind::kWord, field.Offset, 1, &words};
}
constexpr FactField ComputedField(const char* name, Value (*compute)(const Source&)) {
  return {name, FactField::Kind::kComputed, 0, 0, nullptr, compute};
}

// A text of a table as a value: without the blanks around it, and not known where nothing is left.
Value TextValue(std::string_view text);

}  // namespace tvq::facts

#endif  // TVQ_HOST_FACTS_FIELD_H_
