/*
 * What the sections of the page have in common.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include "host/cli/report/page_sections.h"

namespace tvq::cli {

using facts::Kind;

bool IsPictured(Kind kind) {
  return kind == Kind::kProcessor || kind == Kind::kModule || kind == Kind::kSlot;
}

std::string RowId(PartPlace place) {
  return fmt::format("{}-{}", NameOf(place.kind).one, place.index + 1);
}

std::string BoxId(PartPlace place) {
  return "at-" + RowId(place);
}

std::string ChangeId(std::size_t change) {
  return fmt::format("change-{}", change + 1);
}

std::string StructureId(std::size_t structure) {
  return fmt::format("structure-{}", structure + 1);
}

std::string FindingId(std::size_t finding) {
  return fmt::format("finding-{}", finding + 1);
}

void WritePartLink(const Page& page, PartPlace place) {
  page.html.Link('#' + (IsPictured(place.kind) ? BoxId(place) : RowId(place)), page.names.Of(place),
                 "part");
}

HtmlAttributes SectionNamed(const std::string& id) {
  return {{"id", id}, {"aria-labelledby", id + "-heading"}};
}

void WriteHeading(const Page& page, const std::string& id, std::string_view text) {
  page.html.Add("h2", {{"id", id + "-heading"}}, text);
}

void WriteBadge(const Page& page, std::string_view kind, std::string_view text) {
  page.html.Add("span", {{"class", fmt::format("badge {}", kind)}}, text);
}

const char* VerdictOf(const StructureChange& change) {
  return change.isAdded ? "added" : change.isRemoved ? "gone" : "changed";
}

void WriteChangeMarks(const Page& page, PartPlace place) {
  const std::vector<std::size_t>& changes = page.notes.ChangesOf(place);
  for (const std::size_t i : changes) {
    page.html.Link('#' + ChangeId(i), page.report.earlier->comparison.findings[i].verdict,
                   "badge changed");
  }
  if (!changes.empty()) {
    return;
  }
  for (const std::size_t i : page.notes.StructuresOf(place)) {
    page.html.Link('#' + StructureId(i), VerdictOf(page.report.earlier->structures[i]),
                   "badge changed");
  }
}

}  // namespace tvq::cli
