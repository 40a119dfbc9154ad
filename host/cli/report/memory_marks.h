/*
 * What is to be seen at a glance of memory modules: empty slots, modules that run below their rated speed, and
 * modules of other kinds than most.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REPORT_MEMORY_MARKS_H_
#define TVQ_HOST_CLI_REPORT_MEMORY_MARKS_H_

#include <string>
#include <vector>

#include "host/cli/report/memory_layout.h"

namespace tvq::cli {

struct MemoryMarks {
  bool isEmpty = false;
  bool isSlow = false;
  std::string others;  // what most of its group are, where it is something else: "32 GB DDR5"
};

// Of every module, in the order of the machine.
std::vector<MemoryMarks> MarkMemory(const facts::Machine& machine,
                                    const std::vector<MemoryGroup>& groups);

// The same of all modules together, a sentence for each thing.
std::vector<std::string> DescribeMemory(const facts::Machine& machine,
                                        const std::vector<MemoryMarks>& marks);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_MEMORY_MARKS_H_
