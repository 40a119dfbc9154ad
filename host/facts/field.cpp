/*
 * How the facts of a part are read from its structure.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/facts/field.h"

namespace tvq::facts {
namespace {

constexpr std::uint64_t AllOnes(smbios::SizeType width) {
  return ~std::uint64_t{0} >> (64 - 8 * width);
}

}  // namespace

Value TextValue(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) {
    return {};
  }
  return std::string(text.substr(first, text.find_last_not_of(' ') - first + 1));
}

Value FactField::Read(const Source& source) const {
  const table::Structure& structure = source.structure;
  if (kind == Kind::kComputed) {
    return compute(source);
  }
  if (!structure.Has(offset, width)) {
    return {};
  }
  const std::uint64_t number = structure.GetNumber(offset, width, 0);
  switch (kind) {
    case Kind::kText:
      return TextValue(structure.String(number).value_or(""));
    case Kind::kWord:
      return number == 0 ? Value() : words->Of(static_cast<std::uint8_t>(number));
    default:
      return number == 0 || number == AllOnes(width) ? Value() : number;
  }
}

}  // namespace tvq::facts
