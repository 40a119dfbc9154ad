/*
 * An SMBIOS table in memory that ends at an inaccessible page, or begins at one.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "tests/fuzz/guarded_table.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "tests/unit/shared/entry_point.h"

namespace tvq::fuzz {
namespace {

UINT8* PlaceFor(size_t size, host::Guard guard) {
  static const host::LowMapping behind = host::MapBelow4G(kMaxTableSize, host::Guard::kBehind);
  static const host::LowMapping before = host::MapBelow4G(kMaxTableSize, host::Guard::kBefore);
  return guard == host::Guard::kBefore ? before.Data() : behind.Data() + kMaxTableSize - size;
}

}  // namespace

GuardedTable::GuardedTable(Table table, host::Guard guard) : mTable(std::move(table)) {
  const Bytes& structures = mTable.structures;
  if (structures.size() > kMaxTableSize) {
    throw std::length_error("a 32-bit entry point cannot state the length of this table");
  }
  mData = PlaceFor(structures.size(), guard);
  std::copy(structures.begin(), structures.end(), mData);
  test::EntryPointBytes::Of32Bits({.major = mTable.major,
                                   .minor = mTable.minor,
                                   .length = structures.size(),
                                   .count = mTable.structureCount,
                                   .address = reinterpret_cast<uintptr_t>(mData)})
      .PlaceAt(&mEntryPoint);
}

bool GuardedTable::IsAsItWas() const {
  return std::equal(mTable.structures.begin(), mTable.structures.end(), mData);
}

}  // namespace tvq::fuzz
