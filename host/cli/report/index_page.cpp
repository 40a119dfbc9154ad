/*
 * The index of many pages.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/report/index_page.h"

#include <fmt/format.h>

#include <algorithm>

#include "TvqSmbiosPkg/Include/TvqVersion.h"
#include "host/cli/device/inventory.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/report/html_writer.h"
#include "host/cli/report/page_frame.h"

namespace tvq::cli {
namespace {

constexpr char kNumber[] = "number";
constexpr char kText[] = "text";

struct Column {
  const char* title;
  const char* kind;  // what the script sorts by
};
constexpr Column kColumns[] = {{"Machine", kText},  {"Serial", kText},    {"Processors", kText},
                               {"Memory", kNumber}, {"Modules", kText},   {"Firmware", kText},
                               {"Errors", kNumber}, {"Warnings", kNumber}};
constexpr Column kChanges = {"Changes", kNumber};

void AddHeading(HtmlWriter& html, const Column& column) {
  html.Add("th", {{"scope", "col"}, {"role", "columnheader"}, {"data-sort", column.kind}},
           column.title);
}

// What is shown, and what a number is sorted by.
void AddCell(HtmlWriter& html, const char* title, const std::string& text,
             const std::string& number = "") {
  HtmlAttributes attributes = {
      {"role", "cell"}, {"data-title", title}, {"class", text.empty() ? "none" : "value"}};
  if (!number.empty()) {
    attributes.push_back({"data-value", number});
  }
  html.Add("td", attributes, text.empty() ? "\xE2\x80\x93" : text);
}

// A count that is something to look at.
void AddCount(HtmlWriter& html, const char* title, std::size_t count, const char* badge) {
  const std::string number = std::to_string(count);
  const auto cell =
      html.Open("td", {{"role", "cell"}, {"data-title", title}, {"data-value", number}});
  html.Add("span", {{"class", count == 0 ? "" : fmt::format("badge {}", badge)}}, number);
}

void AddRow(HtmlWriter& html, const IndexRow& row, bool isCompared) {
  const ReportSummary& summary = row.summary;
  const auto line = html.Open("tr", {{"role", "row"}});
  {
    const auto name = html.Open("th", {{"scope", "row"}, {"role", "rowheader"}});
    if (row.page.empty()) {
      html.Text(row.table);
    } else {
      html.Link(row.page, row.table);
    }
  }
  if (row.page.empty()) {
    html.Add(
        "td",
        {{"role", "cell"}, {"colspan", std::to_string(std::size(kColumns) + (isCompared ? 1 : 0))}},
        "No page: " + row.trouble);
    return;
  }
  AddCell(html, "Machine", summary.machine);
  AddCell(html, "Serial", summary.serial);
  AddCell(html, "Processors", summary.processors);
  AddCell(html, "Memory", SizeInWords(summary.memoryInBytes),
          std::to_string(summary.memoryInBytes));
  AddCell(html, "Modules", summary.modules);
  AddCell(html, "Firmware", summary.firmware);
  AddCount(html, "Errors", summary.errors, "error");
  AddCount(html, "Warnings", summary.warnings, "warning");
  if (isCompared) {
    if (summary.changes) {
      AddCount(html, kChanges.title, *summary.changes, "changed");
    } else {
      AddCell(html, kChanges.title, "", "-1");
    }
  }
}

void AddTable(HtmlWriter& html, const std::vector<IndexRow>& rows, bool isCompared) {
  const auto article = html.Open("article", {{"class", "kind"}});
  const auto table =
      html.Open("table", {{"class", "parts"}, {"role", "table"}, {"id", "machines"}});
  html.Add("caption", {{"class", "unseen"}}, "Machines, with the pages about them");
  {
    const auto head = html.Open("thead", {{"role", "rowgroup"}});
    const auto line = html.Open("tr", {{"role", "row"}});
    AddHeading(html, {"Table", kText});
    for (const Column& column : kColumns) {
      AddHeading(html, column);
    }
    if (isCompared) {
      AddHeading(html, kChanges);
    }
  }
  const auto body = html.Open("tbody", {{"role", "rowgroup"}});
  for (const IndexRow& row : rows) {
    AddRow(html, row, isCompared);
  }
}

}  // namespace

std::string IndexPage(const std::vector<IndexRow>& rows, bool isRedacted, bool isCompared) {
  HtmlWriter html;
  BeginPage(html, "Machines", kIndexScript);
  {
    const auto header = html.Open("header", {{"class", "top"}});
    html.Add("p", {{"class", "kicker"}}, "Machine reports");
    const auto failed = std::count_if(rows.begin(), rows.end(),
                                      [](const IndexRow& row) { return row.page.empty(); });
    const auto count = static_cast<std::size_t>(failed);
    html.Add("h1", {}, Counted(rows.size() - count, "machine"));
    if (count != 0) {
      html.Add("p", {{"class", "maker"}}, Counted(count, "table") + " without a page");
    }
  }
  {
    const auto main = html.Open("main", {{"id", "main"}});
    const auto section = html.Open("section", {{"aria-label", "Machines"}});
    // The script puts what it needs in here, so that nothing stands there in vain without it.
    html.Add("div", {{"id", "tools"}}, "");
    AddTable(html, rows, isCompared);
  }
  {
    const auto footer = html.Open("footer");
    html.Add("p", {},
             isRedacted ? "Serial numbers are masked." : "Serial numbers are as they are.");
    html.Add("p", {},
             "Made by tvq " TVQ_VERSION
             ". The page needs no network; scripts only sort and filter.");
  }
  html.Markup("\n<script>");
  html.Markup(kIndexScript);
  html.Markup("</script>");
  EndPage(html);
  return html.Html();
}

}  // namespace tvq::cli
