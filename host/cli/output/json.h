/*
 * What the driver made of a table, as JSON.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_OUTPUT_JSON_H_
#define TVQ_HOST_CLI_OUTPUT_JSON_H_

#include <nlohmann/json.hpp>

#include "host/cli/output/console.h"
#include "host/run/driver_run.h"

namespace tvq::cli {

// The beginning of every document: the name of its schema in docs/schema, and the version of that.
nlohmann::ordered_json SchemaJson(const char* name);

// Prints a document. What the terminal cannot show is spelled out as JSON does it: "\u00e9".
void PrintJson(const nlohmann::ordered_json& document, const Console& console);
// The same on one line with its end, of which a program reads many.
std::string JsonLine(const nlohmann::ordered_json& document, const Terminal& terminal);

nlohmann::ordered_json SmbiosJson(const run::Table& table);
nlohmann::ordered_json AttributesJson(const std::vector<run::Attribute>& attributes);

// Prints the document of `tvq export`.
void PrintExport(const run::Table& table, const run::Results& results, const Console& console);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_OUTPUT_JSON_H_
