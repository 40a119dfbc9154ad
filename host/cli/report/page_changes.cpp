/*
 * What changed since: each device, and what the table says otherwise beside.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <set>

#include "host/cli/machine/fact_text.h"
#include "host/cli/output/text.h"
#include "host/cli/report/page_sections.h"

namespace tvq::cli {
namespace {

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
  shown.reserve(fields.size());
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
  const std::string name = DeviceName(page, change);
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
  for (const char character : WithoutUnit(name)) {
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
    WriteSentence(page, fmt::format("Another part than was here, says {}.",
                                    fmt::join(change.witnesses, ", ")));
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

}  // namespace

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

}  // namespace tvq::cli
