/*
 * The bytes of one structure, from its block in the source form.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_TABLE_STRUCTURE_BUILDER_H_
#define TVQ_HOST_TABLE_STRUCTURE_BUILDER_H_

#include <map>
#include <string>

#include "host/table/document.h"
#include "host/table/result.h"
#include "host/table/table.h"

namespace tvq::table {

using Labels = std::map<std::string, std::uint16_t>;

Result<Bytes> BuildStructure(const Block& block, std::uint16_t handle, Version version,
                             const Labels& labels);

// The patch that an item `bytes OFFSET = ...` stands for. It has to end at `limit` or before.
Result<Patch> BuildPatch(const Item& item, std::size_t limit);

}  // namespace tvq::table

#endif  // TVQ_HOST_TABLE_STRUCTURE_BUILDER_H_
