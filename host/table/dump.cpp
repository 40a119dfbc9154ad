/*
 * Dumps: the entry point at offset 0, the structures behind it. Entry points are those of the
 * SMBIOS standard (DSP0134), section 5.2.
 *
 * Finding the table is kept to what this needs; the driver's platform has the reader that copes
 * with more.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/dump.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "host/table/structure_view.h"
#include "host/table/text.h"

namespace tvq::table {
namespace {

constexpr std::size_t kDumpArea = 0x20;  // before the structures of a dump
constexpr std::size_t kSize32 = 0x1F;
constexpr std::size_t kIntermediate = 0x10;  // where the second part of a 32-bit entry point begins
constexpr std::size_t kSize64 = 0x18;
constexpr std::size_t kWindowsSize = 8;

void PutText(Bytes& bytes, std::size_t at, std::string_view text) {
  std::copy(text.begin(), text.end(), bytes.begin() + at);
}

void PutNumber(Bytes& bytes, std::size_t at, std::uint64_t value, std::size_t width) {
  for (std::size_t i = 0; i < width; ++i, value >>= 8) {
    bytes[at + i] = static_cast<std::uint8_t>(value);
  }
}

std::uint64_t GetNumber(const Bytes& bytes, std::size_t at, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = width; i-- > 0;) {
    value = value << 8 | bytes[at + i];
  }
  return value;
}

// Makes the bytes [start, end) add up to 0, by the one at `at`.
void PutChecksum(Bytes& bytes, std::size_t at, std::size_t start, std::size_t end) {
  bytes[at] = 0;
  const int sum = std::accumulate(bytes.begin() + start, bytes.begin() + end, 0);
  bytes[at] = static_cast<std::uint8_t>(-sum);
}

Bytes MakeEntryPoint32(const Table& table) {
  const std::vector<StructureView> structures = SplitTable(table.structures);
  std::size_t largest = 0;
  for (const StructureView& structure : structures) {
    largest = std::max(largest, structure.totalSize);
  }
  const Version version = table.version;
  Bytes entry(kDumpArea, 0);
  PutText(entry, 0x00, "_SM_");
  PutNumber(entry, 0x05, kSize32, 1);
  PutNumber(entry, 0x06, version.majorNumber, 1);
  PutNumber(entry, 0x07, version.minorNumber, 1);
  PutNumber(entry, 0x08, largest, 2);
  PutText(entry, kIntermediate, "_DMI_");
  PutNumber(entry, 0x16, table.structures.size(), 2);
  PutNumber(entry, 0x18, kDumpArea, 4);
  PutNumber(entry, 0x1C, structures.size(), 2);
  PutNumber(entry, 0x1E, (version.majorNumber & 0xFu) << 4 | (version.minorNumber & 0xFu), 1);
  PutChecksum(entry, 0x15, kIntermediate, kSize32);
  PutChecksum(entry, 0x04, 0, kSize32);
  return entry;
}

Bytes MakeEntryPoint64(const Table& table) {
  Bytes entry(kDumpArea, 0);
  PutText(entry, 0x00, "_SM3_");
  PutNumber(entry, 0x06, kSize64, 1);
  PutNumber(entry, 0x07, table.version.majorNumber, 1);
  PutNumber(entry, 0x08, table.version.minorNumber, 1);
  PutNumber(entry, 0x0A, 1, 1);  // the revision of the entry point
  PutNumber(entry, 0x0C, table.structures.size(), 4);
  PutNumber(entry, 0x10, kDumpArea, 8);
  PutChecksum(entry, 0x05, 0, kSize64);
  return entry;
}

Bytes MakeWindowsHeader(const Table& table) {
  Bytes header(kWindowsSize, 0);
  PutNumber(header, 0x01, table.version.majorNumber, 1);
  PutNumber(header, 0x02, table.version.minorNumber, 1);
  PutNumber(header, 0x04, table.structures.size(), 4);
  return header;
}

// Empty for a table without one.
Bytes MakeEntryPoint(const Table& table) {
  switch (table.entryPoint) {
    case EntryPoint::k32Bit:
      return MakeEntryPoint32(table);
    case EntryPoint::k64Bit:
      return MakeEntryPoint64(table);
    case EntryPoint::kWindows:
      return MakeWindowsHeader(table);
    case EntryPoint::kNone:
      break;
  }
  return {};
}

// The runs of bytes in which `actual` differs.
std::vector<Patch> Differences(const Bytes& expected, const Bytes& actual) {
  std::vector<Patch> patches;
  for (std::size_t at = 0; at < expected.size(); ++at) {
    if (expected[at] == actual[at]) {
      continue;
    }
    if (patches.empty() || patches.back().offset + patches.back().bytes.size() != at) {
      patches.push_back({at, {}});
    }
    patches.back().bytes.push_back(actual[at]);
  }
  return patches;
}

bool StartsWith(const Bytes& file, std::string_view anchor) {
  return file.size() >= anchor.size() && std::equal(anchor.begin(), anchor.end(), file.begin());
}

// Where the entry point says what.
struct EntryFields {
  EntryPoint kind;
  std::size_t version;
  std::size_t length;
  std::size_t lengthWidth;
  std::size_t address;
  std::size_t addressWidth;
};

Result<Table> ReadTableBehind(const Bytes& file, const EntryFields& fields) {
  if (file.size() < kDumpArea) {
    return Error{"the file ends inside the entry point",
                 "capture the table again with dmidecode --dump-bin"};
  }
  const std::uint64_t address = GetNumber(file, fields.address, fields.addressWidth);
  if (address != kDumpArea) {
    return Error{"the entry point names address " + HexNumber(address, 8) +
                     ", but in a dump the table begins at 0x20",
                 "capture the table again with dmidecode --dump-bin"};
  }
  const std::uint64_t length = GetNumber(file, fields.length, fields.lengthWidth);
  const std::size_t held = file.size() - kDumpArea;
  const auto start = file.begin() + kDumpArea;
  Table table;
  table.version = {file[fields.version], file[fields.version + 1]};
  table.entryPoint = fields.kind;
  table.structures.assign(start, start + std::min<std::uint64_t>(length, held));
  table.entryPointPatches = Differences(MakeEntryPoint(table), file);
  return table;
}

// The header states the version and how many bytes follow.
bool HasWindowsHeader(const Bytes& file) {
  return file.size() > kWindowsSize && GetNumber(file, 0x04, 4) == file.size() - kWindowsSize;
}

}  // namespace

std::size_t EntryPointArea(EntryPoint kind) {
  if (kind == EntryPoint::kWindows) {
    return kWindowsSize;
  }
  return kind == EntryPoint::kNone ? 0 : kDumpArea;
}

Result<Bytes> WriteDump(const Table& table) {
  const std::uint64_t limit = table.entryPoint == EntryPoint::k32Bit ? 0xFFFF : 0xFFFFFFFF;
  if (table.entryPoint != EntryPoint::kNone && table.structures.size() > limit) {
    return Error{"the table has " + std::to_string(table.structures.size()) +
                     " bytes, more than its entry point can say",
                 "state entry-point = 64 or none"};
  }
  Bytes dump = MakeEntryPoint(table);
  for (const Patch& patch : table.entryPointPatches) {
    if (patch.offset > dump.size() || patch.bytes.size() > dump.size() - patch.offset) {
      return Error{"a change of the entry point lies outside of it", ""};
    }
    std::copy(patch.bytes.begin(), patch.bytes.end(), dump.begin() + patch.offset);
  }
  dump.insert(dump.end(), table.structures.begin(), table.structures.end());
  return dump;
}

Result<Table> ReadDump(const Bytes& file) {
  if (StartsWith(file, "_SM_")) {
    return ReadTableBehind(file, {EntryPoint::k32Bit, 0x06, 0x16, 2, 0x18, 4});
  }
  if (StartsWith(file, "_SM3_")) {
    return ReadTableBehind(file, {EntryPoint::k64Bit, 0x07, 0x0C, 4, 0x10, 8});
  }
  Table table;
  table.entryPoint = HasWindowsHeader(file) ? EntryPoint::kWindows : EntryPoint::kNone;
  const std::size_t area = EntryPointArea(table.entryPoint);
  table.structures.assign(file.begin() + area, file.end());
  if (table.entryPoint == EntryPoint::kWindows) {
    table.version = {file[1], file[2]};
    table.entryPointPatches = Differences(MakeEntryPoint(table), file);
  }
  return table;
}

}  // namespace tvq::table
