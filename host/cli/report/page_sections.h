/*
 * The sections of the page about a machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REPORT_PAGE_SECTIONS_H_
#define TVQ_HOST_CLI_REPORT_PAGE_SECTIONS_H_

#include <cstdint>
#include <string>

#include "host/cli/report/html_writer.h"
#include "host/cli/report/part_names.h"
#include "host/cli/report/part_notes.h"
#include "host/cli/report/report.h"

namespace tvq::cli {

// What a section is written from, and to.
struct Page {
  const Report& report;
  const PartNotes& notes;
  const PartNames& names;
  std::uint64_t largestModule;  // in bytes
  HtmlWriter& html;

  MachineView View() const { return report.View(); }
};

void WriteIdentity(const Page& page);  // what is this machine
void WriteBrief(const Page& page);     // what is wrong, or changed, in a line each
void WriteChanges(const Page& page);
void WritePicture(const Page& page);
void WriteFindings(const Page& page);
void WriteDriver(const Page& page);
void WriteTables(const Page& page);

// Whether the picture shows parts of this kind.
bool IsPictured(facts::Kind kind);

// The anchors of a part: of its row among the tables, and of its box in the picture.
std::string RowId(PartPlace place);
std::string BoxId(PartPlace place);
std::string ChangeId(std::size_t change);
std::string StructureId(std::size_t structure);
std::string FindingId(std::size_t finding);

// "Asset tag"; "UUID" and the like are written large.
std::string FactTitle(std::string_view fact);
// What the part states, in words; empty where nothing is known.
std::string FactText(const facts::Part& part, std::string_view fact);

// A link to where the part is shown: in the picture, else in the tables.
void WritePartLink(const Page& page, PartPlace place);

// The heading of a section, of that id; the section refers to it.
HtmlAttributes SectionNamed(const std::string& id);
void WriteHeading(const Page& page, const std::string& id, std::string_view text);

// A word in a box: "error", "replaced".
void WriteBadge(const Page& page, std::string_view kind, std::string_view text);

// A value of the source form of tables, where texts stand in quotation marks.
std::string Unquoted(const std::string& value);

// A device that changed, also one that is no part of the machine now: by what was printed there.
std::string DeviceName(const Page& page, const run::Finding& change);
// What somebody is to do about it.
void WriteToDo(const Page& page, const std::string& text);

// What became of a structure, in a word.
const char* VerdictOf(const StructureChange& change);
// What became of the part, as links to where it is told.
void WriteChangeMarks(const Page& page, PartPlace place);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_PAGE_SECTIONS_H_
