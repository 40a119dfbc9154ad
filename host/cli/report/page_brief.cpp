/*
 * What is wrong with the machine, or changed: in short, then each thing.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
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

std::string Listing(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) {
    list += (list.empty() ? "" : ", ") + text;
  }
  return list;
}

// Of the whole system: what of it is another part, which has a mark of its own.
std::string WitnessesOf(const run::Finding& change) {
  const bool isTold = change.kind == "system" && !change.witnesses.empty();
  return isTold ? fmt::format(" ({})", Listing(change.witnesses)) : "";
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
      WriteLine(page, "changed", change.verdict,
                fmt::format("{}{}: {}", name, WitnessesOf(change), change.toDo), ChangeId(i));
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

// ---- Changes ----

std::string ValueOf(const std::optional<std::string>& text) {
  return !text ? "(none)" : text->empty() ? "(empty)" : Printable(*text);
}

// A field as the page shows it.
struct ShownChange {
  std::string field;
  std::string before;
  std::string after;
};

std::vector<ShownChange> ShownOf(const std::vector<run::FieldChange>& fields) {
  std::vector<ShownChange> shown;
  for (const run::FieldChange& field : fields) {
    shown.push_back({Printable(field.field), ValueOf(field.before), ValueOf(field.after)});
  }
  return shown;
}

void WriteValues(const Page& page, const std::vector<ShownChange>& fields) {
  if (fields.empty()) {
    return;
  }
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
  for (const ShownChange& field : fields) {
    const auto row = page.html.Open("tr");
    page.html.Add("th", {{"scope", "row"}}, field.field);
    page.html.Add("td", {}, field.before);
    page.html.Add("td", {}, field.after);
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

void WriteToDo(const Page& page, const std::string& text) {
  const auto line = page.html.Open("p", {{"class", "todo"}});
  page.html.Add("strong", {}, "What to do:");
  page.html.Add("span", {}, text);
}

// The part as it was; null where it was not there.
const facts::Part* FormerPart(const Page& page, PartPlace place) {
  const std::vector<facts::Part>& parts = page.report.earlier->machine.Of(place.kind);
  const auto found = std::find_if(parts.begin(), parts.end(), [&](const facts::Part& part) {
    return part.handle == page.View().At(place).handle;
  });
  return found == parts.end() ? nullptr : &*found;
}

// "assettag", of the field "asset-tag" and of the fact "assetTag"; "size" of "sizeInBytes".
std::string PlainName(std::string_view name) {
  std::string plain;
  for (const char character : name.substr(0, name.find("In"))) {
    if (character != '-') {
      plain += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
  }
  return plain;
}

std::string OrNone(const std::string& text) {
  return text.empty() ? "(none)" : text;
}

// The facts of the part that are others than before.
std::vector<ShownChange> ChangedFacts(const facts::Part& before, const facts::Part& after,
                                      std::set<std::string>& names) {
  std::vector<ShownChange> changes;
  for (const facts::Fact& fact : after.facts) {
    const std::string then = FactText(before, fact.name);
    const std::string now = FactText(after, fact.name);
    if (then != now) {
      changes.push_back({FactTitle(fact.name), OrNone(then), OrNone(now)});
      names.insert(PlainName(fact.name));
    }
  }
  return changes;
}

// What the fields of a part mean, and as they stand in the table where no fact tells.
std::vector<ShownChange> ChangesInWords(const Page& page, const StructureChange& change) {
  const auto place = page.notes.PlaceOf(change);
  const facts::Part* const before = place ? FormerPart(page, *place) : nullptr;
  std::vector<ShownChange> shown;
  std::set<std::string> told;
  if (before != nullptr) {
    shown = ChangedFacts(*before, page.View().At(*place), told);
  }
  for (ShownChange& field : ShownOf(change.fields)) {
    if (told.count(PlainName(field.field)) == 0) {
      shown.push_back(std::move(field));
    }
  }
  return shown;
}

// What its structure says otherwise than before, but for what the document says as well.
void WriteBesideDocument(const Page& page, const StructureChange& structure,
                         const std::vector<run::FieldChange>& fields) {
  const std::vector<ShownChange> told = ShownOf(fields);
  std::vector<ShownChange> changes = ChangesInWords(page, structure);
  const auto isTold = [&](const ShownChange& change) {
    return std::any_of(told.begin(), told.end(), [&](const ShownChange& other) {
      return Unquoted(change.before) == other.before && Unquoted(change.after) == other.after;
    });
  };
  changes.erase(std::remove_if(changes.begin(), changes.end(), isTold), changes.end());
  if (!changes.empty()) {
    WriteSentence(page, "In the table, " + structure.structure + ":");
    WriteValues(page, changes);
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
  WriteValues(page, ShownOf(change.fields));
  if (const StructureChange* const structure = page.notes.StructureOf(change)) {
    WriteBesideDocument(page, *structure, change.fields);
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
  WriteValues(page, ChangesInWords(page, change));
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
