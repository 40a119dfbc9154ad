/*
 * What the known types of structures consist of: the names, offsets and kinds of their fields.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_LAYOUT_H_
#define TVQ_HOST_TABLE_LAYOUT_H_

#include <string>
#include <string_view>
#include <vector>

#include <Library/SmbiosTableLib.h>

#include "host/table/table.h"

namespace tvq::table {

// Numbers are named for their width and the base that they are printed in.
enum class FieldKind {
  kDec8,
  kDec16,
  kDec32,
  kHex8,
  kHex16,
  kHex32,
  kHex64,
  kHandle,       // a word: the handle of another structure
  kString,       // a byte: the number of one of the structure's strings
  kUuid,         // 16 bytes
  kStringCount,  // a byte: how many strings there are, where nothing else is said
  kGroupCount,   // a byte: how many groups there are, where nothing else is said
};

std::size_t WidthOf(FieldKind kind);
std::string_view NameOf(FieldKind kind);

struct Field {
  std::string_view name;
  std::uint8_t offset;
  FieldKind kind;
  Version since = {2, 0};  // of the SMBIOS standard

  constexpr Field(std::string_view fieldName, std::uint8_t fieldOffset, FieldKind fieldKind)
      : name(fieldName), offset(fieldOffset), kind(fieldKind) {}
  constexpr Field(std::string_view fieldName, std::uint8_t fieldOffset, FieldKind fieldKind,
                  Version fieldSince)
      : name(fieldName), offset(fieldOffset), kind(fieldKind), since(fieldSince) {}

  std::size_t End() const { return offset + WidthOf(kind); }
};

// Values that repeat up to the end of the formatted part.
struct Group {
  std::string_view name;  // empty: the type has none
  std::uint8_t offset = 0;
  std::vector<FieldKind> parts;

  std::size_t Width() const;
};

// Fields that stand in their place only while the count before them is 0.
struct MovableTail {
  std::uint8_t countOffset = 0;  // 0: the type has none
  std::uint8_t offset = 0;
};

struct Layout {
  std::uint8_t type = 0;
  std::string_view name;  // empty for a type without named fields
  std::vector<Field> fields;
  Group group = {};
  MovableTail tail = {};

  const Field* Find(std::string_view fieldName) const;
  // How long the formatted part is in tables of this version.
  std::size_t StandardSize(Version version) const;
  // Whether the field lies behind something whose size is not known, and so somewhere else.
  bool IsMoved(const Field& field, smbios::Bytes body) const;
};

// A value of a structure that has a name; offsets count from the header.
struct NamedValue {
  std::string_view name;
  std::size_t offset;
  FieldKind kind;
};

// The values that the structure is long enough for: the fields that are in their place, then the
// groups.
std::vector<NamedValue> NamedValues(const smbios::Structure& structure);

// Every type that has named fields, in the order of their numbers.
const std::vector<Layout>& Layouts();
// The layout of any type; one without fields for those that have no names.
const Layout& LayoutOf(std::uint8_t type);
// Null when no type has this name.
const Layout* FindLayout(std::string_view name);

// How a block's heading names the type.
std::string TitleOf(std::uint8_t type);

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_LAYOUT_H_
