/*
 * The tables that the arguments of a command name.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MANY_TABLE_LIST_H_
#define TVQ_HOST_CLI_MANY_TABLE_LIST_H_

#include <string>
#include <vector>

namespace tvq::cli {

// Whether the arguments ask for more than one table: several of them, or a
// folder. One with states in it stands for a single table.
bool AreMany(const std::vector<std::string>& arguments);

// A table, or what stands in its place and cannot be read.
struct TableFile {
  std::string path;
  std::string trouble = {};  // why it cannot be read; empty where nothing is known against it
};

// The files in the order of the arguments. A folder stands for all files in it and below, in the order of
// their names; hidden ones are left out, and links to folders are not followed. An agent's stick stands
// for its machines alone. Throws an InputError for a folder that was named and cannot be read, and a
// UsageError where standard input is named twice.
std::vector<TableFile> ListTables(const std::vector<std::string>& arguments);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MANY_TABLE_LIST_H_
