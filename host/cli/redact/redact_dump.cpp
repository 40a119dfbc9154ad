/*
 * --redact for a captured file: the entry point, the structures, and what lies behind them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>

#include "host/cli/redact/redact.h"
#include "host/table/dump.h"
#include "host/table/structure.h"

namespace tvq::cli {
namespace {

using table::Bytes;
using table::EntryPoint;

// Zeros `size` bytes of the dump, and makes up for them in the byte at `checksum`, unless that is 0.
void ZeroOut(Bytes& dump, std::size_t start, std::size_t size, std::size_t checksum) {
  for (std::size_t at = start; at < start + size; ++at) {
    if (checksum != 0) {
      dump[checksum] = static_cast<uint8_t>(dump[checksum] + dump[at]);
    }
    dump[at] = 0;
  }
}

}  // namespace

// What means nothing in the entry point, and what stands behind it. A checksum stays as right or
// wrong as it was.
void RedactEntryPoint(Bytes& dump, EntryPoint kind) {
  if (kind != EntryPoint::k32Bit && kind != EntryPoint::k64Bit) {
    return;
  }
  const smbios::EntryPointLayout layout =
      kind == EntryPoint::k32Bit ? smbios::kEntryPoint32 : smbios::kEntryPoint64;
  ZeroOut(dump, layout.Reserved, layout.ReservedSize, layout.Checksum);
  ZeroOut(dump, layout.Size, smbios::kDumpedTableOffset - layout.Size, 0);
}

// All of the file is taken for the table, also what the entry point does not count.
table::Result<std::size_t> RedactDump(Bytes& file, const Masker& masker, SecretList& secrets) {
  const auto table = table::ReadDump(file);
  if (!table) {
    return table.Failure();
  }
  const auto start =
      file.begin() + static_cast<std::ptrdiff_t>(table::EntryPointArea(table->entryPoint));
  Bytes structures(start, file.end());
  const std::size_t blanked = RedactTogether({&structures}, {}, masker, secrets);
  std::copy(structures.begin(), structures.end(), start);
  RedactEntryPoint(file, table->entryPoint);
  return blanked;
}

void SayBlanked(std::size_t size, const Console& console) {
  if (size != 0) {
    console.Warning(fmt::format(
        "what follows the last whole structure is blanked, not to give it away ({} {}): "
        "what a reader would make of it is missing",
        size, size == 1 ? "byte" : "bytes"));
  }
}

}  // namespace tvq::cli
