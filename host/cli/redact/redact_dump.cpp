/*
 * --redact for a captured file: the entry point, the structures, and what lies behind them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>

#include "host/cli/redact/redact.h"
#include "host/table/dump.h"

namespace tvq::cli {
namespace {

using table::Bytes;
using table::EntryPoint;

// Bytes of an entry point that mean nothing (SMBIOS 5.2), and those behind it.
struct Reserved {
  EntryPoint kind;
  std::size_t offset;
  std::size_t size;
  std::size_t checksum;  // the byte that makes up for them; 0: none
};
constexpr Reserved kReserved[] = {{EntryPoint::k32Bit, 0x0B, 5, 0x04},
                                  {EntryPoint::k32Bit, 0x1F, 1, 0},
                                  {EntryPoint::k64Bit, 0x0B, 1, 0x05},
                                  {EntryPoint::k64Bit, 0x18, 8, 0}};

}  // namespace

// A checksum stays as right or wrong as it was.
void RedactEntryPoint(Bytes& dump, EntryPoint kind) {
  for (const Reserved& reserved : kReserved) {
    for (std::size_t at = reserved.offset; at < reserved.offset + reserved.size; ++at) {
      if (reserved.kind != kind) {
        continue;
      }
      if (reserved.checksum != 0) {
        dump[reserved.checksum] = static_cast<uint8_t>(dump[reserved.checksum] + dump[at]);
      }
      dump[at] = 0;
    }
  }
}

// All of the file is taken for the table, also what the entry point does not count.
table::Result<std::size_t> RedactDump(Bytes& file, const Masker& masker) {
  const auto table = table::ReadDump(file);
  if (!table) {
    return table.Failure();
  }
  const auto start =
      file.begin() + static_cast<std::ptrdiff_t>(table::EntryPointArea(table->entryPoint));
  Bytes structures(start, file.end());
  const std::size_t blanked = RedactTable(structures, masker);
  std::copy(structures.begin(), structures.end(), start);
  RedactEntryPoint(file, table->entryPoint);
  return blanked;
}

void SayBlanked(std::size_t size, const Console& console) {
  if (size != 0) {
    console.Warning(
        fmt::format("--redact blanked what follows the last whole structure ({} {}): what a reader "
                    "would make of it is missing",
                    size, size == 1 ? "byte" : "bytes"));
  }
}

}  // namespace tvq::cli
