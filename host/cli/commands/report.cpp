/*
 * `tvq report`: a page about a machine, to look at and to send on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <set>

#include "host/cli/commands/lint_subject.h"
#include "host/cli/compare/comparison_output.h"
#include "host/cli/compare/sides.h"
#include "host/cli/input/input.h"
#include "host/cli/input/state_file.h"
#include "host/cli/input/stick.h"
#include "host/cli/many/many_tables.h"
#include "host/cli/many/table_list.h"
#include "host/cli/output/json.h"
#include "host/cli/output/output_file.h"
#include "host/cli/report/index_page.h"
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
    "FILE is a captured table, or a state, of which the page shows the table. Without FILE, the\n"
    "table of this machine is read, which takes root rights. Of several, and of folders, -o names "
    "a\n"
    "folder, which gets an index as well.",
    "  sudo tvq report -o server.html\n"
    "  tvq report dump.bin -o server.html\n"
    "  tvq report after.bin --against before.bin -o changes.html\n"
    "  sudo tvq report --against /var/lib/tvq -o changes.html\n"
    "  tvq report /mnt/TVQ/machine-ABC1234 -o server.html\n"
    "  tvq report dumps/ -o pages\n",
    "0 nothing is to be looked at; 1 `tvq lint` finds something, a device has no record or\n"
    "something changed since; 2 there is no table that can be used, or the page cannot be "
    "written;\n"
    "3 no state was saved yet."};

struct ReportOptions {
  TableOptions table;
  ManyOptions many;
  std::string output;
  std::string earlier;
  bool showsSerials = false;
};

// The bytes of a table, and as the page shows them.
struct Source {
  TableBytes plain;
  bool wasRedacted = false;  // of a saved state: the table is masked also where it is plain
  TableBytes shown;
  std::optional<Masker> masker;
};

Source ReadSource(const ReportOptions& options, const Console& console) {
  TableOptions plain = options.table;
  plain.redact.isWanted = false;
  Source source;
  TableOrState read = ReadTableOrState(plain, console);
  source.plain = std::move(read.bytes);
  source.wasRedacted = read.wasRedacted;
  source.shown = source.plain;
  if (!options.showsSerials) {
    source.masker = MakePageMasker(options.table.redact);
    source.shown = Redacted(source.plain, options.table, *source.masker, console);
  }
  return source;
}

// A table's name on the page: what the agent named it after is masked like the number itself.
std::string ShownName(const std::string& name, const ReportOptions& options) {
  return options.showsSerials ? name : WithoutMachineNumbers(name);
}

Side SideOf(run::DriverRun& driver, const ReportOptions& options, const Source& source,
            const Side& before, const Console& console) {
  Side side;
  side.name = NameOf(options.table);
  side.isAsIs = !options.table.conform;
  // A state that was saved redacted knows masks alone.
  const bool isMasked = before.origin.isRedacted && source.masker && !source.wasRedacted;
  side.origin.isRedacted = isMasked || source.wasRedacted;
  side.table = TableOf(driver, isMasked ? source.shown : source.plain, options.table, console);
  return side;
}

// The state of the table as it is.
run::Bytes StateNow(run::DriverRun& driver, const ReportOptions& options, const Source& source,
                    const Console& console) {
  Side side = SideOf(driver, options, source, {}, console);
  MakeState(driver, side, console);
  return std::move(*side.state);
}

Earlier CompareWith(const ReportOptions& options, const Source& source, const Console& console) {
  const std::string earlier = FolderOfMachine(
      options.earlier,
      [&](run::DriverRun& driver, const Console& quiet) {
        return StateNow(driver, options, source, quiet);
      },
      console);
  Side before;
  {
    run::DriverRun driver;
    before = LoadSide(driver, earlier, options.table.conform, console);
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
  return {ShownName(options.earlier, options), CompareSides(driver, before, after, how, console)};
}

Report MakeReport(const ReportOptions& options, const Console& console) {
  const Source source = ReadSource(options, console);
  Report report;
  report.name = ShownName(NameOf(options.table), options);
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

// What a line of --ndjson says of a page.
std::string SummaryLine(const Report& report, const std::string& page) {
  const ReportSummary summary = Summarize(report);
  nlohmann::ordered_json json = SchemaJson("tvq-report");
  json["page"] = page;
  json["machine"] = summary.machine;
  json["serial"] = summary.serial;
  json["processors"] = summary.processors;
  json["memoryInBytes"] = summary.memoryInBytes;
  json["modules"] = summary.modules;
  json["firmware"] = summary.firmware;
  json["errors"] = summary.errors;
  json["warnings"] = summary.warnings;
  json["changes"] = summary.changes;
  return json.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

IndexRow RowOf(const std::string& table, const std::string& line) {
  const nlohmann::json json = nlohmann::json::parse(line, nullptr, false);
  IndexRow row;
  row.table = table;
  if (json.is_discarded() || !json.contains("page")) {
    row.trouble =
        json.is_discarded() ? "nothing is known" : json.value("error", "nothing is known");
    return row;
  }
  row.page = json["page"];
  row.summary = {json["machine"],       json["serial"],   json["processors"],
                 json["memoryInBytes"], json["modules"],  json["firmware"],
                 json["errors"],        json["warnings"], json["changes"]};
  return row;
}

// A name for the page of each table: that of its file, and a number where several have it.
std::map<std::string, std::string> NamePages(const std::vector<std::string>& tables,
                                             const ReportOptions& options) {
  constexpr std::string_view kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";
  std::map<std::string, std::string> pages;
  std::set<std::string> taken = {"index"};
  for (const std::string& table : tables) {
    std::string stem = std::filesystem::path(ShownName(table, options)).stem().native();
    for (char& character : stem) {
      character = kPlain.find(character) == std::string_view::npos ? '_' : character;
    }
    std::string name = stem;
    for (int number = 2; pages.count(table) == 0 && !taken.insert(name).second; ++number) {
      name = fmt::format("{}-{}", stem, number);
    }
    pages.emplace(table, name + ".html");
  }
  return pages;
}

ExitStatus WriteReports(const ReportOptions& options, Console& console) {
  if (options.output.empty() || options.output == "-") {
    throw InputError("the pages about several tables go to a folder", "name it with -o FOLDER");
  }
  ManyOptions many = options.many;
  if (std::vector<std::string> tables = ListTables(many.arguments); !tables.empty()) {
    many.arguments = std::move(tables);
  }
  many.areLines = true;
  const std::map<std::string, std::string> pages = NamePages(many.arguments, options);
  MakeOutputFolder(options.output);
  std::vector<IndexRow> rows;
  const ExitStatus worst = RunMany(
      many, console,
      [&](const std::string& table, Console& own) {
        ReportOptions one = options;
        one.table.file = table;
        const Report report = MakeReport(one, own);
        WriteOutput(options.output + "/" + pages.at(table), ReportPage(report), own);
        own.out << SummaryLine(report, pages.at(table));
        return StatusOfReport(report);
      },
      [&](const std::string& table, ExitStatus, std::string&& line) {
        rows.push_back(RowOf(ShownName(table, options), line));
        if (options.many.areLines && !line.empty()) {
          console.out << LineOf(table, line);
        }
      });
  WriteOutput(options.output + "/index.html",
              IndexPage(rows, !options.showsSerials, !options.earlier.empty()), console);
  return worst;
}

ExitStatus WriteReport(ReportOptions options, Console& console) {
  if (AreMany(options.many.arguments)) {
    return WriteReports(options, console);
  }
  if (!options.many.arguments.empty()) {
    options.table.file = options.many.arguments.front();
  }
  if (options.output.empty() && !console.terminal.isPipe) {
    throw InputError("a page is not for a terminal",
                     "name a file with -o report.html; `-o -` prints it all the same");
  }
  const Report report = MakeReport(options, console);
  WriteOutput(options.output, ReportPage(report), console);
  if (options.many.areLines && !options.output.empty() && options.output != "-") {
    console.out << LineOf(report.name, SummaryLine(report, options.output));
  }
  return StatusOfReport(report);
}

}  // namespace

void AddReport(Commands& commands) {
  const auto options = std::make_shared<ReportOptions>();
  Parameters parameters =
      commands.Add(kText, [options](Console& console) { return WriteReport(*options, console); });
  AddTableOptions(parameters, options->table);
  AddTableFiles(parameters, options->many);
  AddMany(parameters, options->many);
  AddConform(parameters, options->table);
  parameters
      .Value("-o,--output", options->output,
             "The file that the page is written to; of several tables, a folder")
      .Named("FILE");
  parameters
      .Value("--against", options->earlier,
             "Show what changed since: a table, a state, a folder with states, or an agent's stick")
      .Named("BEFORE");
  parameters
      .Flag("--show-serials", options->showsSerials,
            "Serial numbers, tags, UUIDs and OEM strings as they are")
      .Excludes(parameters.Get("--redact"));
}

}  // namespace tvq::cli
