/*
 * The page about a machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>

#include "TvqSmbiosPkg/Include/TvqVersion.h"
#include "host/cli/output/text.h"
#include "host/cli/report/page_frame.h"
#include "host/cli/report/page_sections.h"

namespace tvq::cli {
namespace {

std::uint64_t LargestModule(const facts::Machine& machine) {
  std::uint64_t largest = 0;
  for (const facts::Part& module : machine.Of(facts::Kind::kModule)) {
    largest = std::max(largest, module.NumberOf("sizeInBytes"));
  }
  return largest;
}

struct Entry {
  const char* target;
  const char* text;
};

void WriteContents(const Page& page) {
  const auto nav = page.html.Open("nav", {{"aria-label", "Contents"}});
  const auto list = page.html.Open("ul");
  const auto add = [&](const Entry& entry) {
    const auto item = page.html.Open("li");
    page.html.Link(entry.target, entry.text);
  };
  add({"#brief", "In short"});
  if (page.report.earlier) {
    add({"#changes", "Changes"});
  }
  add({"#picture", "Picture"});
  if (!page.report.findings.empty()) {
    add({"#findings", "Findings"});
  }
  add({"#driver", "Driver"});
  add({"#details", "Details"});
}

std::string MaskNote(const Report& report) {
  if (!report.wasRedacted && !report.isRedacted) {
    return "This page has the serial numbers of the machine and its parts as they are.";
  }
  return std::string(
             "Serial numbers, tags, UUIDs and OEM strings are masked: each digit stands for "
             "another digit and each letter for another letter, equal texts for equal ones. ") +
         (report.wasRedacted ? "The state was saved so and has nothing else."
                             : "With --show-serials the page has them as they are.");
}

void WriteFooter(const Page& page) {
  const auto footer = page.html.Open("footer");
  page.html.Add("p", {}, MaskNote(page.report));
  page.html.Add("p", {},
                fmt::format("Made by tvq {} from {}: what the machine's own SMBIOS table states, "
                            "and nothing else. The page needs no network and no scripts.",
                            TVQ_VERSION, page.report.name));
}

std::string TitleOfPage(const Report& report) {
  const auto& systems = report.overview.machine.Of(facts::Kind::kSystem);
  const std::string product = systems.empty() ? "" : Printable(systems[0].TextOf("product"));
  return product.empty() ? report.name : product + " - " + report.name;
}

}  // namespace

std::string ReportPage(const Report& report) {
  HtmlWriter html;
  const PartNotes notes(report);
  const PartNames names(report.View());
  const Page page = {report, notes, names, LargestModule(report.overview.machine), html};
  BeginPage(html, TitleOfPage(report), "");
  {
    const auto header = html.Open("header", {{"class", "top"}});
    WriteIdentity(page);
  }
  WriteContents(page);
  {
    const auto main = html.Open("main", {{"id", "main"}});
    WriteBrief(page);
    WriteChanges(page);
    WritePicture(page);
    WriteFindings(page);
    WriteDriver(page);
    WriteTables(page);
  }
  WriteFooter(page);
  EndPage(html);
  return html.Html();
}

}  // namespace tvq::cli
