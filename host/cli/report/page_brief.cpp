/*
 * What is wrong with the machine, or changed: in short, then each thing.
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

constexpr std::size_t kPlacesShown = 12;
constexpr std::size_t kStructuresShown = 8;  // in short

// ---- In short ----

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

// Of a device that is no part of the machine now: by what was printed there.
std::string FormerName(const run::Finding& change) {
  const std::string label = LabelText(change.label);
  return label == "-" ? change.kind : label;
}

std::string NameOf(const Page& page, const StructureChange& change) {
  const auto place = page.notes.PlaceOf(change);
  return place ? page.names.Of(*place) : change.structure;
}

void BriefStructures(const Page& page) {
  const Earlier& earlier = *page.report.earlier;
  const std::vector<std::size_t>& structures = page.notes.Structures();
  const std::size_t shown = earlier.comparison.firmware ? 0 : kStructuresShown;
  for (std::size_t i = 0; i < std::min(structures.size(), shown); ++i) {
    const StructureChange& change = earlier.structures[structures[i]];
    WriteLine(page, "changed", VerdictOf(change), NameOf(page, change) + ", in the table",
              StructureId(structures[i]));
  }
  if (structures.size() > shown) {
    WriteLine(page, shown == 0 ? "quiet" : "changed", "changed",
              Counted(structures.size() - shown, "structure") + " of the table" +
                  (shown == 0 ? ", which other firmware describes otherwise" : ", too"),
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
      const auto place = page.notes.PlaceOf(change);
      const std::string name = place ? page.names.Of(*place) : FormerName(change);
      WriteLine(page, "changed", change.verdict, fmt::format("{}: {}", name, change.toDo),
                ChangeId(i));
    }
  }
  BriefStructures(page);
  if (page.notes.CountToLookAt() == 0) {
    const bool isSame = !earlier.comparison.firmware && page.notes.Changes().empty();
    WriteLine(page, "fine", isSame ? "unchanged" : "nothing to do",
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
                        count == 1 ? "" : fmt::format(", {} times", count),
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

// ---- Changes ----

std::string ValueOf(const std::optional<std::string>& text) {
  return !text ? "(none)" : text->empty() ? "(empty)" : Printable(*text);
}

void WriteValues(const Page& page, const std::vector<run::FieldChange>& fields) {
  const auto table = page.html.Open("table", {{"class", "values"}});
  page.html.Add("caption", {{"class", "unseen"}}, "Values before and after");
  {
    const auto head = page.html.Open("thead");
    const auto row = page.html.Open("tr");
    for (const char* const title : {"Field", "Before", "After"}) {
      page.html.Add("th", {{"scope", "col"}}, title);
    }
  }
  const auto body = page.html.Open("tbody");
  for (const run::FieldChange& field : fields) {
    const auto row = page.html.Open("tr");
    page.html.Add("th", {{"scope", "row"}}, Printable(field.field));
    page.html.Add("td", {}, ValueOf(field.before));
    page.html.Add("td", {}, ValueOf(field.after));
  }
}

void WriteChangeTitle(const Page& page, const run::Finding& change) {
  const auto title = page.html.Open("h3");
  const std::string fqdd = Printable(change.fqdd);
  const auto place = page.notes.PlaceOf(change);
  const std::string name = place ? page.names.Of(*place) : FormerName(change);
  if (place) {
    WritePartLink(page, *place);
  } else {
    page.html.Add("span", {{"class", "part"}}, name);
  }
  if (!fqdd.empty() && fqdd != name) {
    page.html.Add("span", {{"class", "code"}}, fqdd);
  }
  WriteBadge(page, "changed", change.verdict);
}

void WriteSentence(const Page& page, const std::string& text) {
  if (!text.empty()) {
    page.html.Add("p", {}, text);
  }
}

std::string Listing(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) {
    list += (list.empty() ? "" : ", ") + text;
  }
  return list;
}

void WriteToDo(const Page& page, const std::string& text) {
  const auto line = page.html.Open("p", {{"class", "todo"}});
  page.html.Add("strong", {}, "What to do:");
  page.html.Add("span", {}, text);
}

// Of a text in the source form of tables, which stands in quotation marks.
std::string Unquoted(const std::optional<std::string>& text) {
  const bool isQuoted = text && text->size() > 1 && text->front() == '"' && text->back() == '"';
  return !text ? "" : isQuoted ? text->substr(1, text->size() - 2) : *text;
}

// The fields of its structure that changed, but for those that the document has as well.
void WriteStructureFields(const Page& page, const StructureChange& structure,
                          const std::vector<run::FieldChange>& told) {
  std::vector<run::FieldChange> fields = structure.fields;
  const auto isTold = [&](const run::FieldChange& field) {
    return std::any_of(told.begin(), told.end(), [&](const run::FieldChange& other) {
      return Unquoted(field.before) == other.before.value_or("") &&
             Unquoted(field.after) == other.after.value_or("");
    });
  };
  fields.erase(std::remove_if(fields.begin(), fields.end(), isTold), fields.end());
  if (!fields.empty()) {
    WriteSentence(page, "In the table, " + structure.structure + ":");
    WriteValues(page, fields);
  }
}

void WriteChange(const Page& page, std::size_t index) {
  const run::Finding& change = page.report.earlier->comparison.findings[index];
  const auto article = page.html.Open("article", {{"id", ChangeId(index)}, {"class", "note"}});
  WriteChangeTitle(page, change);
  if (change.movedFrom) {
    WriteSentence(page, "Moved from " + Printable(*change.movedFrom) + ".");
  }
  WriteSentence(page, Printable(change.reason));
  if (!change.witnesses.empty()) {
    WriteSentence(page, "Another part than was here, says " + Listing(change.witnesses) + ".");
  }
  if (change.verdict == "changed") {
    WriteSentence(
        page, change.isSamePart ? "The same part." : "Nothing says whether it is the same part.");
  }
  if (!change.fields.empty()) {
    WriteValues(page, change.fields);
  }
  if (const StructureChange* const structure = page.notes.StructureOf(change)) {
    WriteStructureFields(page, *structure, change.fields);
  }
  WriteToDo(page, change.toDo);
}

// What a structure says that no document does.
void WriteStructure(const Page& page, std::size_t index) {
  const StructureChange& change = page.report.earlier->structures[index];
  const auto article = page.html.Open("article", {{"id", StructureId(index)}, {"class", "note"}});
  {
    const auto title = page.html.Open("h3");
    if (const auto place = page.notes.PlaceOf(change)) {
      WritePartLink(page, *place);
      page.html.Add("span", {{"class", "code"}}, change.structure);
    } else {
      page.html.Add("span", {{"class", "part"}}, change.structure);
    }
    WriteBadge(page, "changed", VerdictOf(change));
  }
  WriteSentence(page, change.isAdded          ? "The table did not have it before."
                      : change.isRemoved      ? "The table does not have it any more."
                      : change.fields.empty() ? "Bytes changed that no field has."
                                              : "");
  if (!change.fields.empty()) {
    WriteValues(page, change.fields);
  }
}

void WriteFirmwareUpdate(const Page& page, const run::FirmwareUpdate& update) {
  const auto article = page.html.Open("article", {{"class", "note"}});
  {
    const auto title = page.html.Open("h3");
    page.html.Add("span", {{"class", "part"}}, "Firmware");
    WriteBadge(page, "changed", "update");
  }
  WriteSentence(page, ValueOf(update.before) + " \xE2\x86\x92 " + ValueOf(update.after));
  WriteToDo(page, update.toDo);
}

// ---- Findings ----

// Where a fault shows, as links.
void WritePlaces(const Page& page, const lint::Finding& finding) {
  std::vector<lint::Place> places = {finding.place};
  for (const lint::Occurrence& occurrence : finding.alike) {
    places.push_back(occurrence.place);
  }
  std::vector<PartPlace> parts;
  for (const lint::Place& place : places) {
    if (const auto part = page.notes.PlaceOf(place)) {
      parts.push_back(*part);
    }
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
  const lint::Place& at = finding.place;
  if (const auto part = page.notes.PlaceOf(at)) {
    return page.names.Of(*part);
  }
  return at.type && at.handle ? fmt::format("type {}, handle 0x{:04X}", *at.type, *at.handle) : "";
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

void WriteChanges(const Page& page) {
  if (!page.report.earlier) {
    return;
  }
  const Earlier& earlier = *page.report.earlier;
  const auto section = page.html.Open("section", SectionNamed("changes"));
  WriteHeading(page, "changes", "What changed");
  for (const std::string& remark : earlier.remarks) {
    const auto line = page.html.Open("p");
    WriteBadge(page, "warning", "compared");
    page.html.Add("span", {}, remark + ".");
  }
  if (earlier.comparison.hasOtherOptions) {
    for (const std::string& line : earlier.comparison.lines) {
      page.html.Add("p", {}, Printable(line));
    }
    return;
  }
  page.html.Add("p", {},
                fmt::format("Since {}: {}.", earlier.name, Printable(earlier.comparison.summary)));
  if (earlier.comparison.firmware) {
    WriteFirmwareUpdate(page, *earlier.comparison.firmware);
  }
  for (const std::size_t i : page.notes.Changes()) {
    WriteChange(page, i);
  }
  for (const std::size_t i : page.notes.Structures()) {
    WriteStructure(page, i);
  }
}

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
