/*
 * The picture: sockets with their memory, and slots.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <optional>

#include "host/cli/device/inventory.h"
#include "host/cli/machine/fact_text.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/report/page_sections.h"
#include "host/lint/text.h"
#include "host/table/text.h"

namespace tvq::cli {
namespace {

using facts::Kind;
using facts::Part;

// A row of more slots than this goes across the page.
constexpr std::size_t kSlotsOfColumn = 4;
constexpr std::uint64_t kMostLanes = 16;

// Empty where nothing is known.
std::string TextOf(const Part& part, const char* fact) {
  const std::string text = ValueText(part, fact, {});
  return text == kNothing ? "" : text;
}

void WriteLine(const Page& page, const char* classes, const std::string& text) {
  if (!text.empty()) {
    page.html.Add("span", {{"class", classes}}, text);
  }
}

// How many findings there are against the standard, or for the driver alone, which is no alarm.
void WriteFindingsNote(const Page& page, const std::vector<std::size_t>& findings,
                       bool areStandard) {
  std::vector<std::size_t> counted;
  lint::Severity gravest = lint::Severity::kNote;
  for (const std::size_t i : findings) {
    const lint::Finding& finding = page.report.findings[i];
    if (IsAboutStandard(*finding.rule) == areStandard) {
      counted.push_back(i);
      gravest = std::max(gravest, SeverityOf(finding));
    }
  }
  if (!counted.empty()) {
    page.html.Link('#' + FindingId(counted.front()),
                   (areStandard ? "" : "driver: ") + Counted(counted.size(), "finding"),
                   fmt::format("badge {}", areStandard ? NameOf(gravest) : "quiet"));
  }
}

// What became of the part, and what is wrong with it, as links to where it is told.
void WriteNotes(const Page& page, PartPlace place) {
  WriteChangeMarks(page, place);
  WriteFindingsNote(page, page.notes.FindingsOf(place), true);
  WriteFindingsNote(page, page.notes.FindingsOf(place), false);
}

// The name of a box, which leads to the part's row.
void WriteName(const Page& page, PartPlace place) {
  page.html.Link('#' + RowId(place), page.names.Of(place), "name");
}

// ---- Memory ----

std::string SpeedText(const Part& module, const MemoryMarks& marks) {
  const std::string runs = TextOf(module, "configuredSpeedInMTs");
  const std::string rated = TextOf(module, "ratedSpeedInMTs");
  if (marks.isSlow) {
    return fmt::format("{} of {}", module.NumberOf("configuredSpeedInMTs"), rated);
  }
  return runs.empty() ? rated : runs;
}

// A bar of the size beside the largest of the machine: the number stands in the text.
void WriteBar(const Page& page, std::uint64_t size, std::uint64_t largest) {
  if (largest != 0) {
    const auto bar = page.html.Open("span", {{"class", "bar"}, {"aria-hidden", "true"}});
    page.html.Add("span",
                  {{"style", fmt::format("width:{:.0f}%", 100.0 * static_cast<double>(size) /
                                                              static_cast<double>(largest))}},
                  "");
  }
}

void WriteModule(const Page& page, std::size_t index) {
  const PartPlace place = {Kind::kModule, index};
  const Part& module = page.View().At(place);
  const MemoryMarks& marks = page.report.marks[index];
  const auto item = page.html.Open(
      "li", {{"id", BoxId(place)}, {"class", marks.isEmpty ? "box module empty" : "box module"}});
  WriteName(page, place);
  if (marks.isEmpty) {
    WriteLine(page, "size", "empty");
  } else {
    const std::string size = TextOf(module, "sizeInBytes");
    WriteLine(page, "size", size.empty() ? "size unknown" : size);
    WriteLine(page, "kind", TextOf(module, "type"));
    WriteLine(page, "kind", SpeedText(module, marks));
    WriteBar(page, module.NumberOf("sizeInBytes"), page.largestModule);
  }
  if (marks.isSlow) {
    WriteBadge(page, "slow", "slow");
  }
  if (!marks.others.empty()) {
    WriteBadge(page, "mixed", "mixed");
    WriteLine(page, "why", "most here: " + marks.others);
  }
  WriteNotes(page, place);
}

void WriteModules(const Page& page, const std::vector<std::size_t>& modules, const char* classes) {
  const auto list = page.html.Open("ul", {{"class", classes}});
  for (const std::size_t index : modules) {
    WriteModule(page, index);
  }
}

void WriteRows(const Page& page, const MemoryGroup& group) {
  const bool areColumns =
      std::all_of(group.rows.begin(), group.rows.end(), [](const MemoryRow& row) {
        return !row.name.empty() && row.modules.size() <= kSlotsOfColumn;
      });
  const auto rows = page.html.Open("div", {{"class", areColumns ? "channels" : "rows"}});
  for (const MemoryRow& row : group.rows) {
    const auto channel = page.html.Open("div", {{"class", "channel"}});
    if (!row.name.empty()) {
      page.html.Add("h4", {}, row.name);
    }
    WriteModules(page, row.modules, areColumns ? "stack" : "boxes");
  }
}

// ---- Processors ----

void WriteProcessorLines(const Page& page, const Part& processor) {
  if (!facts::IsPopulated(processor)) {
    WriteLine(page, "size", "empty");
    return;
  }
  WriteLine(page, "what", TextOf(processor, "version"));
  std::string counts;
  for (const char* const fact : {"coreCount", "threadCount", "currentSpeedInMHz"}) {
    const std::string text = TextOf(processor, fact);
    counts += (counts.empty() || text.empty() ? "" : ", ") + text;
  }
  WriteLine(page, "kind", counts);
}

// Everything that the table puts at a socket.
void WriteSocket(const Page& page, std::size_t index) {
  const PartPlace place = {Kind::kProcessor, index};
  const auto article = page.html.Open("article", {{"class", "socket"}});
  {
    const auto title = page.html.Open("h3", {{"id", BoxId(place)}});
    WriteName(page, place);
    WriteProcessorLines(page, page.View().At(place));
    WriteNotes(page, place);
  }
  for (const MemoryGroup& group : page.report.memory) {
    if (group.processor == index) {
      WriteRows(page, group);
    }
  }
}

bool HasMemory(const Page& page, std::size_t processor) {
  return std::any_of(page.report.memory.begin(), page.report.memory.end(),
                     [&](const MemoryGroup& group) { return group.processor == processor; });
}

void WriteSockets(const Page& page) {
  const std::size_t count = page.report.overview.machine.Of(Kind::kProcessor).size();
  std::vector<std::size_t> alone;
  for (std::size_t i = 0; i < count; ++i) {
    if (HasMemory(page, i)) {
      WriteSocket(page, i);
    } else {
      alone.push_back(i);
    }
  }
  if (alone.empty()) {
    return;
  }
  const auto article = page.html.Open("article", {{"class", "socket"}});
  page.html.Add("h3", {}, alone.size() == count ? "Processors" : "Other processors");
  const auto list = page.html.Open("ul", {{"class", "boxes wide"}});
  for (const std::size_t index : alone) {
    const PartPlace place = {Kind::kProcessor, index};
    const Part& processor = page.View().At(place);
    const auto item = page.html.Open(
        "li",
        {{"id", BoxId(place)}, {"class", facts::IsPopulated(processor) ? "box" : "box empty"}});
    WriteName(page, place);
    WriteProcessorLines(page, processor);
    WriteNotes(page, place);
  }
}

void WriteOtherMemory(const Page& page) {
  for (const MemoryGroup& group : page.report.memory) {
    if (!group.processor) {
      const auto article = page.html.Open("article", {{"class", "socket"}});
      page.html.Add("h3", {}, group.name);
      WriteRows(page, group);
    }
  }
}

// ---- Slots ----

// The number in "x16".
std::optional<std::uint64_t> LanesOf(const Part& slot) {
  const std::string_view width = slot.TextOf("width");
  return width.substr(0, 1) == "x" ? table::ParseNumber(width.substr(1)) : std::nullopt;
}

// Lanes as marks, as many as sixteen: the number stands in the text.
void WriteLanes(const Page& page, std::optional<std::uint64_t> lanes) {
  if (lanes) {
    const auto bar = page.html.Open("span", {{"class", "lanes"}, {"aria-hidden", "true"}});
    page.html.Add("span",
                  {{"style", fmt::format("width:{:.2f}%",
                                         100.0 * static_cast<double>(std::min(*lanes, kMostLanes)) /
                                             kMostLanes)}},
                  "");
  }
}

void WriteSlot(const Page& page, std::size_t index) {
  const PartPlace place = {Kind::kSlot, index};
  const Part& slot = page.View().At(place);
  const bool isFree = slot.TextOf("usage") == "Available";
  const auto item = page.html.Open(
      "li", {{"id", BoxId(place)}, {"class", isFree ? "box slot empty" : "box slot"}});
  WriteName(page, place);
  const std::string usage = TextOf(slot, "usage");
  WriteLine(page, "size",
            isFree              ? "empty"
            : usage == "In Use" ? "in use"
            : usage.empty()     ? "use unknown"
                                : "use: " + usage);
  const std::string width = TextOf(slot, "width");
  const std::string type = TextOf(slot, "type");
  const bool saysWidth = !width.empty() && type.find(width) != std::string::npos;
  WriteLine(page, "kind", type + (saysWidth || width.empty() ? "" : ", " + width));
  WriteLanes(page, LanesOf(slot));
  WriteLine(page, "kind", TextOf(slot, "address"));
  WriteNotes(page, place);
}

}  // namespace

void WritePicture(const Page& page) {
  const facts::Machine& machine = page.report.overview.machine;
  const auto section = page.html.Open("section", SectionNamed("picture"));
  WriteHeading(page, "picture", "The machine");
  page.html.Add("p", {{"class", "legend"}},
                "A box is a socket or a slot, by the label that is printed there; a broken frame "
                "is an empty one. "
                "Where the table does not state where a slot is, it stands in a list.");
  {
    const auto sockets = page.html.Open("div", {{"class", "sockets"}});
    WriteSockets(page);
    WriteOtherMemory(page);
  }
  const std::size_t slots = machine.Of(Kind::kSlot).size();
  if (slots != 0) {
    const auto article = page.html.Open("article", {{"class", "socket"}});
    page.html.Add("h3", {}, "Expansion slots");
    const auto list = page.html.Open("ul", {{"class", "boxes wide"}});
    for (std::size_t i = 0; i < slots; ++i) {
      WriteSlot(page, i);
    }
  }
}

}  // namespace tvq::cli
