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
#include <limits>
#include <string>
#include <vector>

#include "host/table/structure.h"
#include "host/table/text.h"

namespace tvq::table {
namespace {

constexpr std::size_t kDumpArea = smbios::kDumpedTableOffset;  // before the structures of a dump
constexpr std::size_t kWindowsSize = 8;

Bytes MakeSmbiosEntryPoint(const Table& table, smbios::EntryPointKind kind) {
  const smbios::Summary summary =
      smbios::Summarize(ViewOf(table.structures), smbios::Reading::kStrict);
  smbios::EntryPoint entry;
  entry.Kind = kind;
  entry.Major = table.version.majorNumber;
  entry.Minor = table.version.minorNumber;
  entry.MaximumStructureSize = static_cast<std::uint16_t>(summary.LargestSize);
  entry.StructureCount = static_cast<std::uint16_t>(summary.Count);
  entry.TableLength = static_cast<std::uint32_t>(table.structures.size());
  entry.TableAddress = kDumpArea;
  Bytes bytes(kDumpArea, 0);
  (void)smbios::WriteEntryPoint(entry, {bytes.data(), bytes.size()});
  return bytes;
}

Bytes MakeWindowsHeader(const Table& table) {
  Bytes header = {0, table.version.majorNumber, table.version.minorNumber, 0};
  for (std::size_t length = table.structures.size(); header.size() < kWindowsSize; length >>= 8) {
    header.push_back(static_cast<std::uint8_t>(length));
  }
  return header;
}

// Empty for a table without one.
Bytes MakeEntryPoint(const Table& table) {
  switch (table.entryPoint) {
    case EntryPoint::k32Bit:
      return MakeSmbiosEntryPoint(table, smbios::EntryPointKind::k32Bit);
    case EntryPoint::k64Bit:
      return MakeSmbiosEntryPoint(table, smbios::EntryPointKind::k64Bit);
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

Result<Table> ReadTableBehind(const Bytes& file) {
  if (file.size() < kDumpArea) {
    return Error{"the file ends inside the entry point",
                 "capture the table again with dmidecode --dump-bin"};
  }
  const smbios::EntryPoint entry = smbios::ReadEntryPoint(ViewOf(file));
  if (entry.TableAddress != kDumpArea) {
    return Error{"the entry point names address " + HexNumber(entry.TableAddress, 8) +
                     ", but in a dump the table begins at 0x20",
                 "capture the table again with dmidecode --dump-bin"};
  }
  const std::size_t held = file.size() - kDumpArea;
  const auto start = file.begin() + kDumpArea;
  Table table;
  table.version = {entry.Major, entry.Minor};
  table.entryPoint =
      entry.Kind == smbios::EntryPointKind::k64Bit ? EntryPoint::k64Bit : EntryPoint::k32Bit;
  table.structures.assign(start, start + std::min<std::uint64_t>(entry.TableLength, held));
  table.entryPointPatches = Differences(MakeEntryPoint(table), file);
  return table;
}

// The header states the version and how many bytes follow.
bool HasWindowsHeader(const Bytes& file) {
  return file.size() > kWindowsSize && smbios::Read32(&file[0x04]) == file.size() - kWindowsSize;
}

}  // namespace

std::size_t EntryPointArea(EntryPoint kind) {
  if (kind == EntryPoint::kWindows) {
    return kWindowsSize;
  }
  return kind == EntryPoint::kNone ? 0 : kDumpArea;
}

Result<Bytes> WriteDump(const Table& table) {
  const std::uint64_t limit = table.entryPoint == EntryPoint::k32Bit
                                  ? std::numeric_limits<std::uint16_t>::max()
                                  : std::numeric_limits<std::uint32_t>::max();
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
  if (smbios::FindAnchor(ViewOf(file)) != smbios::EntryPointKind::kNone) {
    return ReadTableBehind(file);
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
