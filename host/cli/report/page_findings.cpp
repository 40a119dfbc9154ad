/*
 * What `tvq lint` finds in the table, with links to the parts that it is about.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>

#include "host/cli/report/page_sections.h"
#include "host/lint/text.h"

namespace tvq::cli {
namespace {

constexpr std::size_t kPlacesShown = 12;

// Where a fault shows, as links.
void WritePlaces(const Page& page, const lint::Finding& finding) {
  std::vector<PartPlace> parts;
  const auto add = [&](const lint::Place& place) {
    if (const auto part = page.notes.PlaceOf(place)) {
      parts.push_back(*part);
    }
  };
  add(finding.place);
  for (const lint::Occurrence& occurrence : finding.alike) {
    add(occurrence.place);
  }
  if (parts.empty()) {
    return;
  }
  const auto line = page.html.Open("p", {{"class", "places"}});
  page.html.Add("span", {}, "At");
  for (std::size_t i = 0; i < std::min(parts.size(), kPlacesShown); ++i) {
    WritePartLink(page, parts[i]);
  }
  if (parts.size() > kPlacesShown) {
    page.html.Add("span", {}, fmt::format("and {} more", parts.size() - kPlacesShown));
  }
}

void WriteConsequences(const Page& page, const lint::Finding& finding) {
  if (finding.consequences.empty()) {
    return;
  }
  page.html.Add("p", {}, "It leads to:");
  const auto list = page.html.Open("ul");
  for (const lint::Finding& consequence : finding.consequences) {
    const auto item = page.html.Open("li");
    page.html.Add("p", {}, consequence.message);
    WritePlaces(page, consequence);
    WriteConsequences(page, consequence);
  }
}

// What a finding is about, among others of its rule.
std::string AboutOf(const Page& page, const lint::Finding& finding) {
  const auto part = page.notes.PlaceOf(finding.place);
  return part ? page.names.Of(*part) : StructureName(finding.place);
}

void WriteFinding(const Page& page, std::size_t index) {
  const lint::Finding& finding = page.report.findings[index];
  const std::string_view severity = NameOf(SeverityOf(finding));
  const auto article = page.html.Open("article", {{"id", FindingId(index)}, {"class", "note"}});
  {
    const auto title = page.html.Open("h3");
    WriteBadge(page, severity, severity);
    page.html.Add("span", {}, finding.rule->summary);
    const std::string about = AboutOf(page, finding);
    if (!about.empty()) {
      page.html.Add("span", {{"class", "part"}}, about);
    }
  }
  page.html.Add("p", {}, finding.message);
  WritePlaces(page, finding);
  WriteConsequences(page, finding);
  WriteToDo(page, finding.advice);
  page.html.Add("p", {{"class", "rule"}},
                fmt::format("Rule {}: {}", finding.rule->name,
                            IsAboutStandard(*finding.rule) ? "against the standard"
                                                           : "matters to the driver alone"));
}

}  // namespace

void WriteFindings(const Page& page) {
  if (page.report.findings.empty()) {
    return;
  }
  const auto section = page.html.Open("section", SectionNamed("findings"));
  WriteHeading(page, "findings", "Findings in the table");
  for (std::size_t i = 0; i < page.report.findings.size(); ++i) {
    WriteFinding(page, i);
  }
}

}  // namespace tvq::cli
