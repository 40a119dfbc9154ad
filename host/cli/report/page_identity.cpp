/*
 * The head of the page: what the machine is.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>

#include "host/cli/device/inventory.h"
#include "host/cli/machine/fact_text.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"
#include "host/cli/report/page_sections.h"
#include "host/cli/report/part_notes.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using facts::Part;

// The first part of a kind; none of a machine without.
const Part* FirstOf(const Report& report, Kind kind) {
  const std::vector<Part>& parts = report.overview.machine.Of(kind);
  return parts.empty() ? nullptr : &parts.front();
}

// Empty where nothing is known.
std::string TextOf(const Part* part, const char* fact) {
  const std::string text = part == nullptr ? kNothing : ValueText(*part, fact, {});
  return text == kNothing ? "" : text;
}

std::string Joined(std::initializer_list<std::string> texts, std::string_view between) {
  std::string joined;
  for (const std::string& text : texts) {
    if (!text.empty()) {
      joined += (joined.empty() ? "" : std::string(between)) + text;
    }
  }
  return joined;
}

std::string Before(const char* word, const std::string& text) {
  return text.empty() ? "" : word + text;
}

std::size_t PopulatedCount(const Report& report, Kind kind) {
  const std::vector<Part>& parts = report.overview.machine.Of(kind);
  return static_cast<std::size_t>(std::count_if(parts.begin(), parts.end(), facts::IsPopulated));
}

std::uint64_t Sum(const Report& report, Kind kind, const char* fact) {
  std::uint64_t sum = 0;
  for (const Part& part : report.overview.machine.Of(kind)) {
    sum += facts::IsPopulated(part) ? part.NumberOf(fact) : 0;
  }
  return sum;
}

std::size_t SlotsInUse(const Report& report) {
  const std::vector<Part>& slots = report.overview.machine.Of(Kind::kSlot);
  return static_cast<std::size_t>(std::count_if(slots.begin(), slots.end(), [](const Part& slot) {
    return slot.TextOf("usage") == "In Use";
  }));
}

std::string OutOf(std::size_t some, std::size_t all) {
  return fmt::format("{} of {}", some, all);
}

// A figure, what it counts, and more about it.
void WriteFigure(const Page& page, const std::string& figure, const std::string& what,
                 const std::string& more) {
  if (figure.empty()) {
    return;
  }
  const auto item = page.html.Open("div");
  page.html.Add("dt", {}, what);
  const auto value = page.html.Open("dd");
  page.html.Add("strong", {}, figure);
  if (!more.empty()) {
    page.html.Add("span", {}, more);
  }
}

void WriteFigures(const Page& page) {
  const Report& report = page.report;
  const facts::Machine& machine = report.overview.machine;
  const auto list = page.html.Open("dl", {{"class", "figures"}});
  const std::size_t sockets = machine.Of(Kind::kProcessor).size();
  const std::uint64_t cores = Sum(report, Kind::kProcessor, "coreCount");
  WriteFigure(page, sockets == 0 ? "" : OutOf(PopulatedCount(report, Kind::kProcessor), sockets),
              "processor sockets in use", cores == 0 ? "" : Counted(cores, "core"));
  const std::size_t slots = machine.Of(Kind::kModule).size();
  WriteFigure(page, slots == 0 ? "" : SizeInWords(Sum(report, Kind::kModule, "sizeInBytes")),
              "memory", OutOf(PopulatedCount(report, Kind::kModule), slots) + " slots in use");
  const std::size_t cards = machine.Of(Kind::kSlot).size();
  WriteFigure(page, cards == 0 ? "" : OutOf(SlotsInUse(report), cards), "expansion slots in use",
              "");
  const Part* const firmware = FirstOf(report, Kind::kFirmware);
  const std::string version = TextOf(firmware, "version");
  WriteFigure(page, version, "firmware",
              Joined({TextOf(firmware, "vendor"), TextOf(firmware, "date")}, ", "));
  const run::Table& table = report.overview.table;
  WriteFigure(page, fmt::format("{}.{}", table.major, table.minor), "SMBIOS",
              Counted(table.structureCount, "structure"));
}

}  // namespace

void WriteIdentity(const Page& page) {
  const Part* const system = FirstOf(page.report, Kind::kSystem);
  const Part* const chassis = FirstOf(page.report, Kind::kChassis);
  const std::string product = TextOf(system, "product");
  page.html.Add("p", {{"class", "kicker"}}, "Machine report");
  page.html.Add("h1", {}, product.empty() ? "A machine without a name" : product);
  const std::string maker =
      Joined({TextOf(system, "manufacturer"),
              Joined({TextOf(chassis, "heightInUnits"), TextOf(chassis, "type")}, " ")},
             " \xC2\xB7 ");
  if (!maker.empty()) {
    page.html.Add("p", {{"class", "maker"}}, maker);
  }
  const std::string numbers =
      Joined({Before("Serial ", TextOf(system, "serial")), Before("UUID ", TextOf(system, "uuid"))},
             " \xC2\xB7 ");
  if (!numbers.empty()) {
    const auto line = page.html.Open("p", {{"class", "numbers"}});
    page.html.Add("span", {{"class", "code"}}, numbers);
    if (page.report.isRedacted || page.report.wasRedacted) {
      WriteBadge(page, "quiet", "masked");
    }
  }
  WriteFigures(page);
}

ReportSummary Summarize(const Report& report) {
  const Part* const system = FirstOf(report, Kind::kSystem);
  ReportSummary summary;
  summary.machine = Joined({TextOf(system, "manufacturer"), TextOf(system, "product")}, " ");
  summary.serial = TextOf(system, "serial");
  const std::size_t processors = PopulatedCount(report, Kind::kProcessor);
  const std::uint64_t cores = Sum(report, Kind::kProcessor, "coreCount");
  summary.processors =
      Joined({std::to_string(processors), cores == 0 ? "" : Counted(cores, "core")}, ", ");
  summary.memoryInBytes = Sum(report, Kind::kModule, "sizeInBytes");
  summary.modules = OutOf(PopulatedCount(report, Kind::kModule),
                          report.overview.machine.Of(Kind::kModule).size());
  summary.firmware = TextOf(FirstOf(report, Kind::kFirmware), "version");
  for (const lint::Finding& finding : report.findings) {
    summary.errors += SeverityOf(finding) == lint::Severity::kError ? 1 : 0;
    summary.warnings += SeverityOf(finding) == lint::Severity::kWarning ? 1 : 0;
  }
  if (report.earlier && !report.earlier->comparison.hasOtherOptions) {
    summary.changes = PartNotes(report).CountToLookAt();
  }
  return summary;
}

}  // namespace tvq::cli
