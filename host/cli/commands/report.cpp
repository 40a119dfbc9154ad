/*
 * `tvq report`: a page about a machine, to look at and to send on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "host/cli/commands/lint_subject.h"
#include "host/cli/compare/comparison_output.h"
#include "host/cli/compare/sides.h"
#include "host/cli/input/input.h"
#include "host/cli/output/output_file.h"
#include "host/cli/report/report.h"
#include "host/lint/lint.h"

namespace tvq::cli {
namespace {

constexpr CommandText kText = {
    "report", "Writes a page about a machine, to look at and to send on",
    "One HTML file that needs no network and no scripts: what the machine is, what `tvq lint` "
    "finds\n"
    "in its table, sockets, channels and slots as a picture, as far as the table states them, and\n"
    "all that it says. With --against, what changed since: a table, a state, the folder of `tvq "
    "save`\n"
    "or an agent's stick. Serial numbers and the like are masked unless --show-serials asks for "
    "them.\n"
    "Without FILE, the table of this machine is read, which takes root rights.",
    "  sudo tvq report -o server.html\n"
    "  tvq report dump.bin -o server.html\n"
    "  tvq report after.bin --against before.bin -o changes.html\n"
    "  sudo tvq report --against /var/lib/tvq -o changes.html\n",
    "0 nothing is to be looked at; 1 `tvq lint` finds something, a device has no record or\n"
    "something changed since; 2 there is no table that can be used, or the page cannot be "
    "written;\n"
    "3 no state was saved yet."};

struct ReportOptions {
  TableOptions table;
  std::string output;
  std::string earlier;
  bool showsSerials = false;
};

// The bytes of a table, and as the page shows them.
struct Source {
  TableBytes plain;
  TableBytes shown;
  std::optional<Masker> masker;
};

Source ReadSource(const ReportOptions& options, const Console& console) {
  TableOptions plain = options.table;
  plain.redact.isWanted = false;
  Source source;
  source.plain = ReadTableBytes(plain, console);
  source.shown = source.plain;
  if (!options.showsSerials) {
    source.masker = MakePageMasker(options.table.redact);
    source.shown = Redacted(source.plain, options.table, *source.masker, console);
  }
  return source;
}

Side SideOf(run::DriverRun& driver, const ReportOptions& options, const Source& source,
            const Side& before, const Console& console) {
  Side side;
  side.name = NameOf(options.table);
  side.isAsIs = !options.table.conform;
  // A state that was saved redacted knows masks alone.
  side.origin.isRedacted = before.origin.isRedacted && source.masker;
  side.table =
      TableOf(driver, side.origin.isRedacted ? source.shown : source.plain, options.table, console);
  return side;
}

Earlier CompareWith(const ReportOptions& options, const Source& source, const Console& console) {
  Side before;
  {
    run::DriverRun driver;
    before = LoadSide(driver, options.earlier, options.table.conform, console);
    MakeState(driver, before, console);
  }
  run::DriverRun driver;
  Side after = SideOf(driver, options, source, before, console);
  run::CompareOptions how;
  if (source.masker && !after.origin.isRedacted) {
    how.mask = [&](std::vector<run::FieldChange>& changes) {
      MaskSides(before, after, *source.masker, changes);
    };
  }
  return {options.earlier, CompareSides(driver, before, after, how, console)};
}

Report MakeReport(const ReportOptions& options, const Console& console) {
  const Source source = ReadSource(options, console);
  Report report;
  report.name = NameOf(options.table);
  report.isRedacted = source.masker.has_value();
  report.overview = MakeOverview(source.shown, options.table, console, Documents::kDropped);
  report.findings = lint::Examine(ReadSubject(source.shown, options.table, console),
                                  lint::Selection(lint::kBoth));
  if (!options.earlier.empty()) {
    report.earlier = CompareWith(options, source, console);
  }
  report.memory = GroupMemory(report.overview.machine);
  report.marks = MarkMemory(report.overview.machine, report.memory);
  return report;
}

ExitStatus StatusOfReport(const Report& report) {
  if (!report.findings.empty() || !report.overview.missing.empty()) {
    return kExitFound;
  }
  return report.earlier ? StatusOf(report.earlier->comparison) : kExitNothingFound;
}

ExitStatus WriteReport(const ReportOptions& options, Console& console) {
  if (options.output.empty() && !console.terminal.isPipe) {
    throw InputError("a page is not for a terminal",
                     "name a file with -o report.html; `-o -` prints it all the same");
  }
  const Report report = MakeReport(options, console);
  WriteOutput(options.output, ReportPage(report), console);
  return StatusOfReport(report);
}

}  // namespace

void AddReport(Commands& commands) {
  const auto options = std::make_shared<ReportOptions>();
  CLI::App& app =
      commands.Add(kText, [options](Console& console) { return WriteReport(*options, console); });
  AddTableOptions(app, options->table);
  AddTableFile(app, options->table);
  AddConform(app, options->table);
  app.add_option("-o,--output", options->output, "The file that the page is written to")
      ->type_name("FILE");
  app.add_option("--against", options->earlier,
                 "Show what changed since: a table, a state, or a folder with states")
      ->type_name("BEFORE");
  app.add_flag("--show-serials", options->showsSerials,
               "Serial numbers, tags, UUIDs and OEM strings as they are")
      ->excludes(app.get_option("--redact"));
}

}  // namespace tvq::cli
