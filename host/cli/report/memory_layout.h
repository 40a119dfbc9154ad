/*
 * Where the memory slots of a machine are, as far as its table states it: the processor and the channel that their
 * labels, or the names of their banks, tell.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REPORT_MEMORY_LAYOUT_H_
#define TVQ_HOST_CLI_REPORT_MEMORY_LAYOUT_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "host/facts/machine.h"

namespace tvq::cli {

// Slots that belong together, in the order of the table.
struct MemoryRow {
  std::string
      name;  // "Channel 0"; "A" where the labels have that letter alone; empty where nothing is said
  std::vector<std::size_t> modules;  // of the machine
};

struct MemoryGroup {
  std::string name;  // empty where a processor's
  std::optional<std::size_t> processor;
  std::vector<MemoryRow> rows;
};

// Every slot is in one group. A group is a processor's only where the table prints the same number at slots
// and sockets.
std::vector<MemoryGroup> GroupMemory(const facts::Machine& machine);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_MEMORY_LAYOUT_H_
