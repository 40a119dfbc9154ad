/*
 * The FQDD map and the named attributes, written down step by step over the literal walk: what the
 * driver's own are compared with.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_MODEL_REFERENCE_ATTRIBUTES_H_
#define TVQ_TESTS_UNIT_DRIVER_MODEL_REFERENCE_ATTRIBUTES_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/firmware/edk2.h"
#include "tests/unit/driver/model/reference_walk.h"
#include "tests/unit/shared/table.h"

#include <Guid/TvqAttributes.h>

namespace tvq::test {

// Offsets of texts stand for their addresses.
class ReferenceAttributes {
 public:
  explicit ReferenceAttributes(const Bytes& table) : mTable(table), mWalk(table) {}

  // --- The FQDD map ---

  struct MapEntry {
    uint8_t stringNumber;
    uint16_t handle;
    uint8_t opaque;
    uint8_t structure;
  };

  EFI_STATUS BuildMap();
  const std::vector<MapEntry>& Map() const { return mMap; }
  // The position of the first entry with the handle.
  std::optional<size_t> Find(uint16_t handle) const;
  // The text that an entry names. A number past the last string moves the structure's slot for
  // good.
  std::optional<size_t> MapText(const MapEntry& entry);
  // Where the slots of the structures stand now.
  const std::vector<size_t>& MapSlots() const { return mSlots; }

  // --- The attributes ---

  struct TextAnswer {
    EFI_STATUS status;
    std::optional<size_t> text;
  };
  TextAnswer ServiceTag() const { return SystemText(7); }
  TextAnswer SystemName() const;

  struct BiosAnswer {
    EFI_STATUS status;
    std::optional<size_t> serviceTag, biosVersion, productName;
  };
  BiosAnswer Bios() const;

  // Completes the query.
  EFI_STATUS Slot(bool byId, unsigned structureCount, SMBIOS_SLOT_QUERY& query) const;

 private:
  uint8_t Byte(size_t structure, size_t field) const;
  uint16_t Word(size_t structure, size_t field) const;
  bool Has(size_t structure, size_t field) const { return field < mTable[structure + 1]; }
  std::vector<size_t> Slots(uint8_t type) const;
  TextAnswer SystemText(size_t field) const;
  std::optional<size_t> FirstText(std::vector<size_t>& slots, size_t field) const;

  const Bytes& mTable;
  ReferenceWalk mWalk;
  std::vector<size_t> mSlots;
  std::vector<MapEntry> mMap;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_MODEL_REFERENCE_ATTRIBUTES_H_
