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
};

struct Report {
  std::string name;  // of the table
  bool isRedacted = true;
  Overview overview;
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
  std::size_t changes = 0;
};
ReportSummary Summarize(const Report& report);

// One HTML document that needs nothing else.
std::string ReportPage(const Report& report);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_REPORT_H_
