/*
 * The fields in which two tables differ.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMPARE_DIFF_FIELDS_H_
#define TVQ_HOST_CLI_COMPARE_DIFF_FIELDS_H_

#include <string>
#include <vector>

#include "host/run/driver_run.h"

namespace tvq::cli {

// A structure that is in one table alone, or differs.
struct StructureChange {
  std::string structure;  // "type 17, handle 0x1100 (memory-device)"
  unsigned type = 0;
  unsigned handle = 0;
  bool isAdded = false;
  bool isRemoved = false;
  std::vector<run::FieldChange> fields;
};

// Structures of equal type and handle are the same structure.
std::vector<StructureChange> DiffTables(const run::Table& before, const run::Table& after);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMPARE_DIFF_FIELDS_H_
