/*
 * The readable source form of an SMBIOS table. samples/README.md describes it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_SOURCE_H_
#define TVQ_HOST_TABLE_SOURCE_H_

#include <string>
#include <string_view>

#include "host/table/result.h"
#include "host/table/table.h"

namespace tvq::table {

// The table that the source stands for. A failure names the line.
Result<Table> ParseSource(std::string_view source);

// The source of any table, malformed or not: ParseSource makes the same table of it.
std::string FormatSource(const Table& table);

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_SOURCE_H_
