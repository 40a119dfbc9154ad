/*
 * Everything that the table says of the parts, and what the driver makes of it.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>

#include "host/cli/machine/fact_text.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"
#include "host/cli/report/page_sections.h"

namespace tvq::cli {
namespace {

using facts::Kind;

// With more, rows are cards on any screen.
constexpr std::size_t kMostColumns = 10;

constexpr std::pair<Kind, const char*> kTitles[] = {
    {Kind::kSystem, "System"},
    {Kind::kBoard, "Boards"},
    {Kind::kChassis, "Chassis"},
    {Kind::kFirmware, "Firmware"},
    {Kind::kProcessor, "Processor sockets"},
    {Kind::kMemoryArray, "Memory arrays"},
    {Kind::kModule, "Memory slots"},
    {Kind::kSlot, "Expansion slots"},
    {Kind::kOnboardDevice, "Onboard devices"},
    {Kind::kPowerSupply, "Power supplies"},
};

// A fact with its values in the rows of a table.
struct Column {
  std::string title;
  std::vector<std::string> values;  // empty where nothing is known

  bool IsUsed() const {
    return std::any_of(values.begin(), values.end(),
                       [](const std::string& value) { return !value.empty(); });
  }
  bool IsSame() const {
    return std::all_of(values.begin(), values.end(),
                       [this](const std::string& value) { return value == values.front(); });
  }
};

// What the parts of a kind have; the label is the name of a row.
std::vector<Column> ColumnsOf(const MachineView& view, const std::vector<PartPlace>& places) {
  Column fqdd = {"FQDD", {}};
  Column handle = {"Handle", {}};
  for (const PartPlace place : places) {
    fqdd.values.push_back(view.FqddOf(place));
    handle.values.push_back(fmt::format("0x{:04X}", view.At(place).handle));
  }
  std::vector<Column> columns = {std::move(fqdd)};
  for (const facts::Fact& fact : view.At(places.front()).facts) {
    if (fact.name == "label") {
      continue;
    }
    Column column = {FactTitle(fact.name), {}};
    for (const PartPlace place : places) {
      column.values.push_back(FactText(view.At(place), fact.name));
    }
    columns.push_back(std::move(column));
  }
  columns.push_back(std::move(handle));
  columns.erase(std::remove_if(columns.begin(), columns.end(),
                               [](const Column& column) { return !column.IsUsed(); }),
                columns.end());
  return columns;
}

// ---- A part alone ----

void WriteList(const Page& page, const std::vector<Column>& columns) {
  const auto list = page.html.Open("dl", {{"class", "facts"}});
  for (const Column& column : columns) {
    const auto pair = page.html.Open("div");
    page.html.Add("dt", {}, column.title);
    page.html.Add("dd", {}, column.values.front());
  }
}

// ---- Several parts ----

// The columns whose value is the same in all rows are said once.
std::vector<Column> TakeShared(std::vector<Column>& columns) {
  std::vector<Column> shared;
  const auto isSame = [](const Column& column) { return column.IsSame(); };
  std::copy_if(columns.begin(), columns.end(), std::back_inserter(shared), isSame);
  columns.erase(std::remove_if(columns.begin(), columns.end(), isSame), columns.end());
  return shared;
}

// Roles are named where styles make something else of a table on small screens.
void WriteHead(const Page& page, const std::vector<Column>& columns) {
  const auto head = page.html.Open("thead", {{"role", "rowgroup"}});
  const auto row = page.html.Open("tr", {{"role", "row"}});
  page.html.Add("th", {{"scope", "col"}, {"role", "columnheader"}}, "Label");
  for (const Column& column : columns) {
    page.html.Add("th", {{"scope", "col"}, {"role", "columnheader"}}, column.title);
  }
}

void WriteRow(const Page& page, PartPlace place, std::size_t number,
              const std::vector<Column>& columns) {
  const auto row = page.html.Open("tr", {{"role", "row"}, {"id", RowId(place)}});
  {
    const auto name = page.html.Open("th", {{"scope", "row"}, {"role", "rowheader"}});
    const std::string& text = page.names.Of(place);
    if (IsPictured(place.kind)) {
      page.html.Link('#' + BoxId(place), text);
    } else {
      page.html.Add("span", {}, text);
      WriteChangeMarks(page, place);
    }
  }
  for (const Column& column : columns) {
    const std::string& value = column.values[number];
    page.html.Add("td",
                  {{"role", "cell"},
                   {"data-title", column.title},
                   {"class", value.empty() ? "none" : "value"}},
                  value.empty() ? "\xE2\x80\x93" : value);
  }
}

void WriteTable(const Page& page, const std::vector<PartPlace>& places, const std::string& title) {
  std::vector<Column> columns = ColumnsOf(page.View(), places);
  const std::vector<Column> shared = TakeShared(columns);
  if (!shared.empty()) {
    page.html.Add("h4", {}, "All of them");
    WriteList(page, shared);
  }
  const bool isWide = columns.size() > kMostColumns;
  const auto table =
      page.html.Open("table", {{"class", isWide ? "parts stacked" : "parts"}, {"role", "table"}});
  page.html.Add("caption", {{"class", "unseen"}}, title);
  WriteHead(page, columns);
  const auto body = page.html.Open("tbody", {{"role", "rowgroup"}});
  for (std::size_t i = 0; i < places.size(); ++i) {
    WriteRow(page, places[i], i, columns);
  }
}

void WriteSingle(const Page& page, PartPlace place, const std::string& title) {
  const auto article = page.html.Open("article", {{"class", "kind"}, {"id", RowId(place)}});
  {
    const auto heading = page.html.Open("h3");
    page.html.Add("span", {}, title);
    if (!IsPictured(place.kind)) {
      WriteChangeMarks(page, place);
    }
  }
  std::vector<Column> columns = ColumnsOf(page.View(), {place});
  const std::string label = FactText(page.View().At(place), "label");
  if (!label.empty()) {
    columns.insert(columns.begin(), {"Label", {label}});
  }
  WriteList(page, columns);
}

void WriteParts(const Page& page, const std::vector<PartPlace>& places, const std::string& title) {
  if (places.size() == 1) {
    WriteSingle(page, places.front(), title);
  } else if (!places.empty()) {
    const auto article = page.html.Open("article", {{"class", "kind"}});
    page.html.Add("h3", {}, fmt::format("{}: {}", title, places.size()));
    WriteTable(page, places, title);
  }
}

// What is in a socket or slot has other facts than an empty one.
void WriteKind(const Page& page, Kind kind, const char* title) {
  std::vector<PartPlace> used;
  std::vector<PartPlace> empty;
  for (std::size_t i = 0; i < page.View().machine.Of(kind).size(); ++i) {
    (facts::IsPopulated(page.View().At({kind, i})) ? used : empty).push_back({kind, i});
  }
  WriteParts(page, used, title);
  WriteParts(page, empty, fmt::format("{}, empty", title));
}

// ---- The driver ----

void WriteMissing(const Page& page, const Overview& overview, const char* title) {
  if (overview.missing.empty()) {
    return;
  }
  page.html.Add("h3", {}, title);
  const auto list = page.html.Open("ul");
  for (const Missing& missing : overview.missing) {
    page.html.Add(
        "li", {},
        fmt::format("{}: {}",
                    missing.handles.size() < 2 ? missing.what
                                               : Counted(missing.handles.size(), missing.what),
                    missing.why));
  }
}

std::string RunInWords(const Overview& overview) {
  std::string text = overview.trouble.empty()
                         ? fmt::format("Start: {}; {}", overview.results.start,
                                       Counted(overview.devices.size(), "record"))
                         : "The driver did not run: " + overview.trouble;
  if (!overview.others.empty()) {
    text += "; without one of their own: " + overview.others;
  }
  return text + '.';
}

// The findings are about the table as it is.
void WriteTableAsItIs(const Page& page) {
  if (!page.report.asIs) {
    return;
  }
  const Overview& asIs = *page.report.asIs;
  page.html.Add("p", {},
                "This is of a copy of the table in which every device has a name that stays with "
                "its slot; the findings are about the table as it is.");
  page.html.Add("p", {}, "The table as it is: " + RunInWords(asIs));
  WriteMissing(page, asIs, "Without a record, of the table as it is");
}

void WriteDifferences(const Page& page) {
  std::vector<std::string> lines;
  for (const Device& device : page.report.overview.devices) {
    for (const Difference& difference : device.differences) {
      lines.push_back(fmt::format("{}: {} \"{}\"", device.fqdd, difference.element,
                                  Printable(difference.document)));
    }
  }
  if (lines.empty()) {
    return;
  }
  page.html.Add("h3", {}, "Other values in the driver's documents than in the table");
  const auto list = page.html.Open("ul");
  for (const std::string& line : lines) {
    page.html.Add("li", {}, line);
  }
}

}  // namespace

void WriteDriver(const Page& page) {
  const Overview& overview = page.report.overview;
  const auto section = page.html.Open("section", SectionNamed("driver"));
  WriteHeading(page, "driver", "What the driver makes of it");
  page.html.Add("p", {}, RunInWords(overview));
  WriteMissing(page, overview, "Without a record");
  WriteTableAsItIs(page);
  WriteDifferences(page);
}

void WriteTables(const Page& page) {
  const auto section = page.html.Open("section", SectionNamed("details"));
  WriteHeading(page, "details", "Everything that the table states");
  for (const auto& [kind, title] : kTitles) {
    WriteKind(page, kind, title);
  }
}

}  // namespace tvq::cli
