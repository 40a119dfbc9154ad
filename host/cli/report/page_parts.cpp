/*
 * What the sections of the page have in common.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <Library/TvqDeviceLib.h>
#include <fmt/format.h>

#include <algorithm>
#include <cctype>

#include "host/cli/machine/fact_text.h"
#include "host/cli/output/text.h"
#include "host/cli/report/page_sections.h"

namespace tvq::cli {

using facts::Kind;
using facts::Part;

namespace {

bool NamesPart(const std::optional<std::string>& serial) {
  const std::string text = Unquoted(serial.value_or(""));
  return !devices::IsPlaceholder(
      smbios::Text(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

// Whether the number that tells parts apart is another one.
bool HasAnotherSerial(const StructureChange& change) {
  return std::any_of(change.fields.begin(), change.fields.end(), [](const run::FieldChange& field) {
    return field.field == "serial" && NamesPart(field.before) && NamesPart(field.after);
  });
}

}  // namespace

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

std::string FactTitle(std::string_view fact) {
  for (const char* const name : {"UUID", "SKU", "PPIN", "ID"}) {
    const std::string_view shown = name;
    const bool isName = std::equal(fact.begin(), fact.end(), shown.begin(), shown.end(),
                                   [](char left, char right) { return left - 'a' + 'A' == right; });
    if (isName) {
      return name;
    }
  }
  std::string title = TitleOf(WithoutUnit(fact));
  if (!title.empty()) {
    title[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(title[0])));
  }
  return title;
}

std::string FactText(const Part& part, std::string_view fact) {
  const facts::Value& value = part.Find(fact);
  if (const bool* const flag = std::get_if<bool>(&value)) {
    return *flag ? "yes" : "no";
  }
  const std::string text = ValueText(part, fact, {});
  return text == kNothing ? "" : text;
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
  return change.isAdded             ? "added"
         : change.isRemoved         ? "gone"
         : HasAnotherSerial(change) ? "replaced"
                                    : "changed";
}

std::string Unquoted(const std::string& text) {
  const bool isQuoted = text.size() > 1 && text.front() == '"' && text.back() == '"';
  return isQuoted ? text.substr(1, text.size() - 2) : text;
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

std::string DeviceName(const Page& page, const run::Finding& change) {
  if (const auto place = page.notes.PlaceOf(change)) {
    return page.names.Of(*place);
  }
  const std::string label = LabelText(change.label);
  return label == "-" ? change.kind : label;
}

void WriteToDo(const Page& page, const std::string& text) {
  const auto line = page.html.Open("p", {{"class", "todo"}});
  page.html.Add("strong", {}, "What to do:");
  page.html.Add("span", {}, text);
}

}  // namespace tvq::cli
