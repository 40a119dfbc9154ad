/*
 * What a page about one machine tells, and the page.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REPORT_REPORT_H_
#define TVQ_HOST_CLI_REPORT_REPORT_H_

#include <optional>
#include <string>
#include <vector>

#include "host/cli/compare/diff_fields.h"
#include "host/cli/device/overview.h"
#include "host/cli/report/memory_layout.h"
#include "host/cli/report/memory_marks.h"
#include "host/lint/rule.h"
#include "host/run/comparison.h"

namespace tvq::cli {

// What the machine was compared with.
struct Earlier {
  std::string name;
  run::Comparison comparison;
  std::vector<StructureChange> structures;  // of the tables, where both sides have one
  facts::Machine machine;                   // as it was then
  std::vector<std::string> remarks;         // what makes the two hard to compare
};

struct Report {
  std::string name;  // of the table
  bool isRedacted = true;
  bool wasRedacted = false;  // of a state: it was saved with masks, and knows nothing else
  Overview overview;
  std::optional<Overview> asIs;  // where the driver ran on a copy: of the table as it is
  std::vector<lint::Finding> findings;
  std::optional<Earlier> earlier;
  std::vector<MemoryGroup> memory;
  std::vector<MemoryMarks> marks;  // of the modules

  MachineView View() const { return overview.View(); }
};

// What an index of many pages says of one.
struct ReportSummary {
  std::string machine;
  std::string serial;
  std::string processors;
  std::uint64_t memoryInBytes = 0;
  std::string modules;  // "12 of 16"
  std::string firmware;
  std::size_t errors = 0;
  std::size_t warnings = 0;
  std::optional<std::size_t> changes;  // nothing where nothing was compared
};
ReportSummary Summarize(const Report& report);

// One HTML document that needs nothing else.
std::string ReportPage(const Report& report);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_REPORT_H_
