/*
 * The structures of a table, in types of the standard library.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/structure.h"

namespace tvq::table {

Structure::Structure(const smbios::Structure& structure) : smbios::Structure(structure) {
  for (const smbios::Text text : smbios::Structure::Strings()) {
    mStrings.push_back(ToView(text));
  }
}

std::optional<std::string_view> Structure::String(std::size_t number) const {
  const smbios::Text text = smbios::Structure::String(static_cast<std::uint16_t>(number));
  return text ? std::optional(ToView(text)) : std::nullopt;
}

std::vector<Structure> SplitTable(const Bytes& table, smbios::Reading reading) {
  std::vector<Structure> structures;
  for (const smbios::Structure& structure : smbios::Walk(ViewOf(table), reading)) {
    structures.emplace_back(structure);
  }
  return structures;
}

}  // namespace tvq::table
