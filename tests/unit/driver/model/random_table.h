/*
 * Random tables of servers: well-formed, with every type that the driver looks at, in any order and
 * number, of any length that a formatted part may have.
 *
 *     RandomTables tables(20210314);
 *     const Table table = tables.Next();   // the same tables for the same seed
 *
 * Handles do not repeat and string numbers are in range. Names may clash.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_MODEL_RANDOM_TABLE_H_
#define TVQ_TESTS_UNIT_DRIVER_MODEL_RANDOM_TABLE_H_

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "tests/unit/shared/table.h"

namespace tvq::test {

class RandomTables {
 public:
  explicit RandomTables(uint32_t seed) : mGenerator(seed) {}

  Table Next();

  unsigned Number(unsigned from, unsigned to) {
    return std::uniform_int_distribution<unsigned>(from, to)(mGenerator);
  }
  // True once in `n` times.
  bool Once(unsigned n) { return Number(1, n) == 1; }

 private:
  uint8_t AnyByte() { return static_cast<uint8_t>(Number(0, 0xFF)); }
  uint16_t AnyWord() { return static_cast<uint16_t>(Number(0, 0xFFFF)); }
  uint16_t NewHandle();
  uint16_t OneOf(const std::vector<uint16_t>& handles);
  // Printable ASCII; none once in eight times.
  Text AnyText(unsigned shortest = 1, unsigned longest = 16);

  void Add(Structure structure);
  // Other values in the bytes of the formatted part, which are no string numbers.
  void Scramble(Structure& structure, size_t from, size_t to);
  // Cuts the formatted part of some as an older firmware would write it.
  void CutSome(Structure& structure, uint8_t shortest);

  void AddSystems();
  void AddCaches();
  void AddProcessors();
  void AddOemStrings();
  void AddArrays();
  void AddModules();
  void AddSlots();
  void AddExtensions();
  void AddFqddMaps();

  std::mt19937 mGenerator;
  std::vector<Structure> mStructures;
  std::set<uint16_t> mUsed;
  std::vector<uint16_t> mProcessors, mCaches, mArrays, mModules;
};

// How many tables a differential test tries: `usual`, or what TVQ_DIFFERENTIAL_TABLES in the
// environment says.
unsigned TablesToTry(unsigned usual);

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_MODEL_RANDOM_TABLE_H_
