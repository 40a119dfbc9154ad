/*
 * The structures of a table, in types of the standard library.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_STRUCTURE_H_
#define TVQ_HOST_TABLE_STRUCTURE_H_

#include <optional>
#include <string_view>
#include <vector>

#include <Library/SmbiosTableLib.h>

#include "host/table/table.h"

namespace tvq::table {

// The bytes have to outlive whatever is made of the view.
inline smbios::Bytes ViewOf(const Bytes& bytes) {
  return {bytes.data(), bytes.size()};
}
smbios::Bytes ViewOf(Bytes&& bytes) = delete;

// Empty for no text.
inline std::string_view ToView(smbios::Text text) {
  return {reinterpret_cast<const char*>(text.Data()), text.Length()};
}

// A structure with its strings. A view: the table has to outlive it.
class Structure : public smbios::Structure {
 public:
  explicit Structure(const smbios::Structure& structure);

  const std::vector<std::string_view>& Strings() const { return mStrings; }
  // The string with this number. Number 1 of a structure without strings is an empty one.
  std::optional<std::string_view> String(std::size_t number) const;
  // The string whose number the field holds.
  std::optional<std::string_view> Text(smbios::Field<std::uint8_t> field) const {
    return String(Get(field));
  }
  // The same, empty where there is none.
  std::string_view TextOrEmpty(smbios::Field<std::uint8_t> field) const {
    return Text(field).value_or("");
  }
  // Where the text begins, from the start of the structure.
  std::size_t PositionOf(std::string_view text) const {
    return static_cast<std::size_t>(reinterpret_cast<const std::uint8_t*>(text.data()) -
                                    ToEndOfTable().Data());
  }

 private:
  std::vector<std::string_view> mStrings;
};

// The structures by position; unless told otherwise, up to the first that is not well formed.
std::vector<Structure> SplitTable(const Bytes& table,
                                  smbios::Reading reading = smbios::Reading::kStrict);
std::vector<Structure> SplitTable(Bytes&& table,
                                  smbios::Reading reading = smbios::Reading::kStrict) = delete;

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_STRUCTURE_H_
