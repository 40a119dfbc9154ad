/*
 * The walk of an SMBIOS table, written down step by step and slowly: what the driver's own walk is
 * compared with.
 *
 * A table is its bytes; a position in it is an offset. Where bytes are missing, the end of the
 * table ends a string and a structure.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_MODEL_REFERENCE_WALK_H_
#define TVQ_TESTS_UNIT_DRIVER_MODEL_REFERENCE_WALK_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tvq::test {

class ReferenceWalk {
 public:
  explicit ReferenceWalk(const std::vector<uint8_t>& table) : mTable(table) {}

  // The string's offset; nothing when there is none, and then the cursor stands on the structure
  // that follows.
  std::optional<size_t> GetString(size_t& cursor, unsigned index) const {
    if (index == 0) {
      return std::nullopt;
    }
    if (cursor + 1 >= mTable.size()) {
      cursor = mTable.size();
      return std::nullopt;
    }
    size_t p = cursor + mTable[cursor + 1];
    for (unsigned i = 1; i <= index; ++i) {
      const std::optional<size_t> nul = NulFrom(p);
      if (!nul) {
        cursor = mTable.size();
        return std::nullopt;
      }
      if (i == index) {
        return p;
      }
      p = *nul + 1;
      if (p >= mTable.size()) {
        cursor = mTable.size();
        return std::nullopt;
      }
      if (mTable[p] == 0) {
        cursor = p + 1;
        return std::nullopt;
      }
    }
    return std::nullopt;
  }

  struct Next {
    bool found = false;
    uint16_t handle = 0xFFFF;
    size_t record = 0;
    uint16_t size = 0;
  };

  Next GetNext(uint16_t handle) const {
    if (handle == 0xFFFF && IsStructure(0)) {
      handle = HandleAt(0);
    }
    for (size_t current = 0; IsStructure(current); current = Following(current)) {
      if (HandleAt(current) == handle) {
        const size_t next = Following(current);
        return {true, IsStructure(next) ? HandleAt(next) : uint16_t{0xFFFF}, current,
                static_cast<uint16_t>(next - current)};
      }
    }
    return {};
  }

  struct Found {
    size_t record;
    uint16_t size;
  };

  // Each structure once, by position; one with handle FFFFh ends the table, unless it is the first.
  std::vector<Found> ByType(uint8_t type) const {
    std::vector<Found> found;
    for (size_t current = 0; IsStructure(current) && (current == 0 || HandleAt(current) != 0xFFFF);
         current = Following(current)) {
      if (mTable[current] == type) {
        found.push_back({current, static_cast<uint16_t>(Following(current) - current)});
      }
    }
    return found;
  }

  bool IsStructure(size_t offset) const { return offset + 4 <= mTable.size(); }

 private:
  uint16_t HandleAt(size_t offset) const {
    return static_cast<uint16_t>(mTable[offset + 2] | (mTable[offset + 3] << 8));
  }

  std::optional<size_t> NulFrom(size_t offset) const {
    for (; offset < mTable.size(); ++offset) {
      if (mTable[offset] == 0) {
        return offset;
      }
    }
    return std::nullopt;
  }

  size_t Following(size_t structure) const {
    GetString(structure, 0xFFFF);
    return structure;
  }

  const std::vector<uint8_t>& mTable;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_MODEL_REFERENCE_WALK_H_
