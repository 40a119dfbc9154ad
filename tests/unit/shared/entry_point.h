/*
 * Entry points of SMBIOS tables, byte by byte: right in everything, until a test makes one wrong.
 *
 *     EntryPointBytes::Of32Bits(table).FileWith(table)         what dmidecode would write
 *     EntryPointBytes::Of32Bits(table).Set(kTableLength, 2, 0)  states no length, and is summed up again
 *     EntryPointBytes::Of64Bits(table).Spoil(kChecksum64)       has a wrong checksum
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_SHARED_ENTRY_POINT_H_
#define TVQ_TESTS_UNIT_SHARED_ENTRY_POINT_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <string>

#include "tests/unit/shared/table.h"

namespace tvq::test {

// SMBIOS 5.2.1
enum EntryPoint32Offset : size_t {
  kChecksum = 0x04,
  kEntryPointLength = 0x05,
  kMajorVersion = 0x06,
  kMinorVersion = 0x07,
  kMaximumStructureSize = 0x08,
  kIntermediateAnchor = 0x10,
  kIntermediateChecksum = 0x15,
  kTableLength = 0x16,
  kTableAddress = 0x18,
  kStructureCount = 0x1C,
  kSizeOf32BitEntryPoint = 0x1F,
};

// SMBIOS 5.2.2
enum EntryPoint64Offset : size_t {
  kChecksum64 = 0x05,
  kEntryPointLength64 = 0x06,
  kMajorVersion64 = 0x07,
  kMinorVersion64 = 0x08,
  kMaximumTableSize64 = 0x0C,
  kTableAddress64 = 0x10,
  kSizeOf64BitEntryPoint = 0x18,
};

// Where the table lies in a file behind its entry point.
constexpr size_t kTableInFile = 0x20;

inline void PutNumber(Bytes& bytes, size_t offset, size_t width, uint64_t value) {
  for (size_t i = 0; i < width; ++i) {
    bytes.at(offset + i) = static_cast<uint8_t>(value >> (8 * i));
  }
}

// Makes bytes sum up to 0 by the one at `checksum`, which is one of them.
inline void FitChecksum(uint8_t* bytes, size_t first, size_t end, size_t checksum) {
  bytes[checksum] = 0;
  bytes[checksum] = static_cast<uint8_t>(-std::accumulate(bytes + first, bytes + end, 0));
}

// Makes the checksums of an entry point right.
inline void FitChecksums(uint8_t* entry) {
  if (entry[3] == '3') {
    FitChecksum(entry, 0, kSizeOf64BitEntryPoint, kChecksum64);
    return;
  }
  FitChecksum(entry, kIntermediateAnchor, kSizeOf32BitEntryPoint, kIntermediateChecksum);
  FitChecksum(entry, 0, kSizeOf32BitEntryPoint, kChecksum);
}

class EntryPointBytes {
 public:
  // What it says of its table.
  struct Statement {
    uint8_t major = 3;
    uint8_t minor = 3;
    size_t length = 0;
    size_t count = 0;
    uint64_t address = kTableInFile;
  };

  static EntryPointBytes Of32Bits(const Statement& statement) {
    EntryPointBytes entry(kSizeOf32BitEntryPoint, "_SM_");
    entry.PutText(kIntermediateAnchor, "_DMI_");
    entry.Put(kEntryPointLength, 1, kSizeOf32BitEntryPoint);
    entry.Put(kMajorVersion, 1, statement.major).Put(kMinorVersion, 1, statement.minor);
    entry.Put(kTableLength, 2, statement.length).Put(kTableAddress, 4, statement.address);
    return entry.Put(kStructureCount, 2, statement.count).Sum();
  }
  static EntryPointBytes Of64Bits(const Statement& statement) {
    EntryPointBytes entry(kSizeOf64BitEntryPoint, "_SM3_");
    entry.Put(kEntryPointLength64, 1, kSizeOf64BitEntryPoint);
    entry.Put(kMajorVersion64, 1, statement.major).Put(kMinorVersion64, 1, statement.minor);
    entry.Put(kMaximumTableSize64, 4, statement.length);
    return entry.Put(kTableAddress64, 8, statement.address).Sum();
  }
  static EntryPointBytes Of32Bits(const Table& table, uint64_t address = kTableInFile) {
    return Of32Bits(StatementOf(table, address));
  }
  static EntryPointBytes Of64Bits(const Table& table, uint64_t address = kTableInFile) {
    return Of64Bits(StatementOf(table, address));
  }

  // Writes a number of that many bytes; the checksums are right again.
  EntryPointBytes& Set(size_t offset, size_t width, uint64_t value) {
    return Put(offset, width, value).Sum();
  }
  // Changes a byte, and leaves the checksums as they are.
  EntryPointBytes& Spoil(size_t offset) {
    mBytes.at(offset) ^= 0xFF;
    return *this;
  }
  // The same in the inner part of a 32-bit entry point, with the outer checksum right again.
  EntryPointBytes& SpoilInside(size_t offset) {
    Spoil(offset);
    FitChecksum(mBytes.data(), 0, kSizeOf32BitEntryPoint, kChecksum);
    return *this;
  }

  const tvq::test::Bytes& Bytes() const { return mBytes; }
  // Places it in memory; returns where, as what the standard's header calls it.
  template <typename Entry>
  Entry* PlaceAt(Entry* place) const {
    static_assert(sizeof(Entry) == kSizeOf32BitEntryPoint ||
                  sizeof(Entry) == kSizeOf64BitEntryPoint);
    std::memcpy(place, mBytes.data(), std::min(sizeof(Entry), mBytes.size()));
    return place;
  }
  // A file with the table behind it.
  tvq::test::Bytes FileWith(const Table& table) const {
    tvq::test::Bytes file = mBytes;
    file.resize(kTableInFile);
    file.insert(file.end(), table.Bytes().begin(), table.Bytes().end());
    return file;
  }

 private:
  EntryPointBytes(size_t size, const std::string& anchor) : mBytes(size) { PutText(0, anchor); }

  static Statement StatementOf(const Table& table, uint64_t address) {
    return {table.majorVersion, table.minorVersion, table.statedLength.value_or(table.Size()),
            table.statedCount.value_or(table.Count()), address};
  }
  void PutText(size_t offset, const std::string& text) {
    for (size_t i = 0; i < text.size(); ++i) {
      mBytes.at(offset + i) = static_cast<uint8_t>(text[i]);
    }
  }
  EntryPointBytes& Put(size_t offset, size_t width, uint64_t value) {
    PutNumber(mBytes, offset, width, value);
    return *this;
  }
  EntryPointBytes& Sum() {
    FitChecksums(mBytes.data());
    return *this;
  }

  tvq::test::Bytes mBytes;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_SHARED_ENTRY_POINT_H_
