/*
 * A command on many tables: each in one of several processes, the output in the order of the arguments.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MANY_MANY_TABLES_H_
#define TVQ_HOST_CLI_MANY_MANY_TABLES_H_

#include <functional>
#include <string>
#include <vector>

#include "host/cli/command.h"
#include "host/cli/input/table_input.h"
#include "host/cli/many/table_list.h"

namespace tvq::cli {

struct ManyOptions {
  std::vector<std::string> arguments;
  bool areLines = false;  // one line of JSON for each table
  bool areRows = false;   // lines that say themselves what they are of
  unsigned workers = 0;   // 0: one for each processor
};

// Adds --ndjson and --jobs.
void AddMany(Parameters parameters, ManyOptions& options);
// Adds FILE...
void AddTableFiles(Parameters parameters, ManyOptions& options);

// What a command does with one table.
using OneTable = std::function<ExitStatus(const std::string& table, Console& console)>;
// Takes what it printed, in the order of the tables. Empty where there is no such table.
using TakeOutput =
    std::function<void(const std::string& table, ExitStatus status, std::string&& out)>;

// Says what could not be done with which table, and goes on. The status over all: 1 wins over 2, 2
// over 3, and 3 over 0.
ExitStatus RunMany(const std::vector<TableFile>& tables, const ManyOptions& options,
                   Console& console, const OneTable& one, const TakeOutput& take);

// What the arguments name. Throws where that is nothing.
std::vector<TableFile> TablesOf(const ManyOptions& options);

// A line of JSON with the name of its table as the first member.
std::string LineOf(const std::string& table, const std::string& json);

// A command that takes FILE...: on each of them, or on the one table that the options name. What is printed of
// several stands below the name of its table; as a line it always has that name.
ExitStatus RunOnTables(TableOptions table, const ManyOptions& many, Console& console,
                       const std::function<ExitStatus(const TableOptions&, Console&)>& one);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MANY_MANY_TABLES_H_
