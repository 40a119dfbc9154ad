/*
 * What is wrong with the machine, or changed, in a line each.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <utility>

#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"
#include "host/cli/report/page_sections.h"
#include "host/lint/text.h"

namespace tvq::cli {
namespace {

constexpr std::size_t kStructuresShown = 8;

// A line of the summary: a word, what it is about, and a link to more.
void WriteLine(const Page& page, std::string_view kind, std::string_view word,
               const std::string& text, const std::string& target) {
  const auto item = page.html.Open("li");
  WriteBadge(page, kind, word);
  if (target.empty()) {
    page.html.Add("span", {}, text);
  } else {
    page.html.Link('#' + target, text);
  }
}

// Of the whole system: what of it is another part, which has a mark of its own.
std::string WitnessesOf(const run::Finding& change) {
  const bool isTold = change.kind == "system" && !change.witnesses.empty();
  return isTold ? fmt::format(" ({})", fmt::join(change.witnesses, ", ")) : "";
}

std::string NameOf(const Page& page, const StructureChange& change) {
  const auto place = page.notes.PlaceOf(change);
  return place ? page.names.Of(*place) : change.structure;
}

// ": asset-tag, usage"
std::string FieldsOf(const StructureChange& change) {
  std::string fields;
  for (const run::FieldChange& field : change.fields) {
    fields += (fields.empty() ? ": " : ", ") + Printable(field.field);
  }
  return fields;
}

void BriefStructures(const Page& page) {
  const Earlier& earlier = *page.report.earlier;
  const std::vector<std::size_t>& structures = page.notes.Structures();
  const std::size_t shown = earlier.comparison.firmware ? 0 : kStructuresShown;
  for (std::size_t i = 0; i < std::min(structures.size(), shown); ++i) {
    const StructureChange& change = earlier.structures[structures[i]];
    WriteLine(page, "changed", VerdictOf(change), NameOf(page, change) + FieldsOf(change),
              StructureId(structures[i]));
  }
  if (structures.size() > shown) {
    WriteLine(page, shown == 0 ? "quiet" : "changed", "changed",
              Counted(structures.size() - shown, "structure") + " of the table" +
                  (shown == 0 ? ", which may come of the firmware" : ", too"),
              StructureId(structures[shown]));
  }
}

void BriefChanges(const Page& page) {
  if (!page.report.earlier) {
    return;
  }
  const Earlier& earlier = *page.report.earlier;
  for (const std::string& remark : earlier.remarks) {
    WriteLine(page, "warning", "compared", remark, "changes");
  }
  if (earlier.comparison.hasOtherOptions) {
    WriteLine(page, "warning", "not compared", "Made with other options: " + earlier.name,
              "changes");
    return;
  }
  if (earlier.comparison.firmware) {
    WriteLine(page, "changed", "firmware update", earlier.comparison.firmware->toDo, "changes");
  }
  for (const std::size_t i : page.notes.Changes()) {
    const run::Finding& change = earlier.comparison.findings[i];
    if (change.isToLookAt) {
      const std::string name = DeviceName(page, change);
      WriteLine(page, "changed", change.verdict,
                fmt::format("{}{}: {}", name, WitnessesOf(change), change.toDo), ChangeId(i));
    }
  }
  BriefStructures(page);
  if (page.notes.CountToLookAt() == 0) {
    WriteLine(page, "fine", earlier.comparison.firmware ? "nothing to do" : "unchanged",
              Printable(earlier.comparison.summary), "changes");
  }
}

// Of one rule, as often as it is broken.
void BriefRule(const Page& page, std::size_t first) {
  const std::vector<lint::Finding>& findings = page.report.findings;
  const lint::Finding& finding = findings[first];
  const auto count = std::count_if(findings.begin(), findings.end(), [&](const auto& other) {
    return other.rule == finding.rule && SeverityOf(other) == SeverityOf(finding);
  });
  const std::string_view severity = NameOf(SeverityOf(finding));
  WriteLine(page, severity, severity,
            fmt::format("{}{}{}", finding.rule->summary,
                        count == 1 ? "" : fmt::format(" ({} times)", count),
                        IsAboutStandard(*finding.rule) ? "" : " (matters to the driver alone)"),
            FindingId(first));
}

void BriefFindings(const Page& page) {
  std::set<std::pair<const lint::Rule*, lint::Severity>> told;
  for (std::size_t i = 0; i < page.report.findings.size(); ++i) {
    const lint::Finding& finding = page.report.findings[i];
    if (told.insert({finding.rule, SeverityOf(finding)}).second) {
      BriefRule(page, i);
    }
  }
}

void BriefMachine(const Page& page) {
  for (const std::string& sentence :
       DescribeMemory(page.report.overview.machine, page.report.marks)) {
    WriteLine(page, "warning", "memory", sentence, "picture");
  }
  std::size_t missing = 0;
  for (const Missing& one : page.report.overview.missing) {
    missing += std::max<std::size_t>(one.handles.size(), 1);
  }
  if (missing != 0) {
    WriteLine(page, "warning", "driver", Counted(missing, "device") + " without a record",
              "driver");
  }
}

}  // namespace

void WriteBrief(const Page& page) {
  const auto section = page.html.Open("section", SectionNamed("brief"));
  WriteHeading(page, "brief", "In short");
  const auto list = page.html.Open("ul", {{"class", "brief"}});
  BriefChanges(page);
  BriefFindings(page);
  BriefMachine(page);
  if (page.report.findings.empty()) {
    WriteLine(page, "fine", "table", "The rules of tvq lint find nothing in the table", "");
  }
}

}  // namespace tvq::cli
