/*
 * Tables in files: what `dmidecode --dump-bin` writes, bare structure tables, and the text of
 * `dmidecode -u`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_DUMP_H_
#define TVQ_HOST_TABLE_DUMP_H_

#include <string_view>

#include "host/table/result.h"
#include "host/table/table.h"

namespace tvq::table {

// How many bytes lie before the structures.
std::size_t EntryPointArea(EntryPoint kind);

// The dump of a table: its entry point, with checksums, counts and sizes that fit the structures,
// then its patches, then the structures. A table without an entry point is its structures alone.
Result<Bytes> WriteDump(const Table& table);

// The table of a dump. WriteDump makes the same dump of it. A file without an entry point is a bare
// table.
Result<Table> ReadDump(const Bytes& file);

// Whether the file is text that `dmidecode -u` may have written.
bool IsHexText(const Bytes& file);
// The table that the text spells out.
Result<Table> ReadHexText(std::string_view text);

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_DUMP_H_
