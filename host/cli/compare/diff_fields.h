/*
 * The fields in which two documents or two tables differ.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMPARE_DIFF_FIELDS_H_
#define TVQ_HOST_CLI_COMPARE_DIFF_FIELDS_H_

#include <optional>
#include <string>
#include <vector>

#include "host/cli/device/document.h"
#include "host/run/driver_run.h"

namespace tvq::cli {

// No text on the side that does not have the field.
struct FieldChange {
  std::string field;
  std::optional<std::string> before;
  std::optional<std::string> after;
};

std::vector<FieldChange> DiffDocuments(const Element& before, const Element& after);

// A structure that is in one table alone, or differs.
struct StructureChange {
  std::string structure;  // "type 17, handle 0x1100 (memory-device)"
  bool isAdded = false;
  bool isRemoved = false;
  std::vector<FieldChange> fields;
};

// Structures of equal type and handle are the same structure.
std::vector<StructureChange> DiffTables(const run::Table& before, const run::Table& after);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMPARE_DIFF_FIELDS_H_
