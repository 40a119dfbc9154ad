/*
 * `tvq report`: a page about a machine, to look at and to send on.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <cctype>
#include <map>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string_view>

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
#include "host/cli/report/page_names.h"
#include "host/cli/report/report.h"
#include "host/lint/lint.h"

namespace tvq::cli {
namespace {

constexpr CommandText kText = {
    "report", "Writes a page about a machine, to look at and to send on",
    "One HTML file that needs no network and no scripts: what the machine is, what `tvq lint` "
    "finds\n"
    "in its table by all of its rules (--profile all), sockets, channels and slots as a picture, "
    "as far as the table states them, and\n"
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
    "  sudo tvq report --against /var/lib/parts -o changes.html\n"
    "  tvq report /mnt/TVQ/machine-ABC1234 -o server.html\n"
    "  tvq report dumps/ -o pages\n",
    "0 nothing is to be looked at; 1 `tvq lint` finds something, a device has no record or\n"
    "something changed since; 2 there is no table that can be used, or the page cannot be "
    "written;\n"
    "3 no state was saved yet, of several tables for none of them. 1 wins over 2, and 2 over 3."};

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
  SecretList secrets;  // of the table, and of the one that it is compared with
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
    source.shown = Redacted(source.plain, options.table, *source.masker, source.secrets, console);
  }
  return source;
}

// Whether the name of a folder goes on here, as an agent makes it of a machine's number.
bool IsOfFolderName(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0 ||
         std::string_view("-_.+").find(character) != std::string_view::npos;
}

// A text without the numbers that an agent names folders after.
std::string WithoutFolderNumbers(const std::string& text) {
  constexpr std::string_view kFolder = "machine-";
  std::string plain;
  for (std::size_t at = 0; at < text.size();) {
    const bool begins = at == 0 || text[at - 1] == '/' || text[at - 1] == ' ';
    if (begins && text.compare(at, kFolder.size(), kFolder) == 0) {
      plain += kFolder.substr(0, kFolder.size() - 1);
      while (at < text.size() && IsOfFolderName(text[at])) {
        ++at;
      }
    } else {
      plain += text[at++];
    }
  }
  return plain;
}

// A path as the page shows it: what the agent named it after is masked like the number itself.
std::string ShownName(const std::string& path, const ReportOptions& options) {
  return path == "-" ? "standard input" : options.showsSerials ? path : WithoutMachineNumbers(path);
}

// The same, without the numbers of the table that its name repeats.
std::string ShownName(const std::string& path, const ReportOptions& options, const Source& source) {
  return source.secrets.WithMasks(ShownName(path, options));
}

Side SideOf(run::DriverRun& driver, const ReportOptions& options, const Source& source,
            const Side& before, const Console& console) {
  Side side;
  side.name = ShownName(NameOf(options.table), options);
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

Side LoadEarlier(const ReportOptions& options, const Source& source, const Console& console) {
  const std::string path = FolderOfMachine(
      options.earlier,
      [&](run::DriverRun& driver, const Console& quiet) {
        return StateNow(driver, options, source, quiet);
      },
      console);
  run::DriverRun driver;
  Side side = LoadSide(driver, path, options.table.conform, console);
  MakeState(driver, side, console);
  side.name = ShownName(options.earlier, options);
  return side;
}

Earlier CompareWith(const ReportOptions& options, Source& source, const Console& console) {
  Side before = LoadEarlier(options, source, console);
  run::DriverRun driver;
  Side after = SideOf(driver, options, source, before, console);
  run::CompareOptions how;
  if (source.masker && !after.origin.isRedacted) {
    how.mask = [&](std::vector<run::FieldChange>& changes) {
      MaskSides(before, after, *source.masker, source.secrets, changes);
    };
  }
  Earlier earlier;
  earlier.comparison = CompareSides(driver, before, after, how, console);
  earlier.name = ShownName(options.earlier, options, source);
  if (before.table && !earlier.comparison.hasOtherOptions) {
    earlier.structures = DiffTables(*before.table, *after.table);
    earlier.machine = ReadMachine(*before.table);
  }
  for (const std::string& line : DescribeFit(driver, before, after, source.masker.has_value())) {
    earlier.remarks.push_back(source.secrets.WithMasks(line));
  }
  return earlier;
}

// What becomes of the table when nobody fits it with names.
Overview OverviewAsIs(const Source& source, const ReportOptions& options, const Console& console) {
  TableOptions asIs = options.table;
  asIs.conform = false;
  Console quiet = console;
  quiet.isQuiet = true;
  return MakeOverview(source.shown, asIs, quiet, Documents::kDropped);
}

Report MakeReport(const ReportOptions& options, const Console& console) {
  Source source = ReadSource(options, console);
  Report report;
  report.isRedacted = source.masker.has_value();
  report.wasRedacted = source.wasRedacted;
  report.overview = MakeOverview(source.shown, options.table, console, Documents::kDropped);
  if (report.overview.table.original) {
    report.asIs = OverviewAsIs(source, options, console);
  }
  report.findings = lint::Examine(ReadSubject(source.shown, options.table, console),
                                  lint::Selection(lint::kBoth));
  if (!options.earlier.empty()) {
    report.earlier = CompareWith(options, source, console);
  }
  report.name = ShownName(NameOf(options.table), options, source);
  report.memory = GroupMemory(report.overview.machine);
  report.marks = MarkMemory(report.overview.machine, report.memory);
  return report;
}

ExitStatus StatusOfReport(const Report& report) {
  if (!report.findings.empty() || !report.overview.missing.empty()) {
    return kExitFound;
  }
  return report.earlier ? StatusOf(report.earlier->comparison, report.earlier->structures)
                        : kExitNothingFound;
}

// What a line of --ndjson says of a page.
std::string SummaryLine(const Report& report, const std::string& page, const Terminal& terminal) {
  const ReportSummary summary = Summarize(report);
  nlohmann::ordered_json json = SchemaJson("tvq-report");
  json["page"] = page;
  json["name"] = report.name;
  json["machine"] = summary.machine;
  json["serial"] = summary.serial;
  json["processors"] = summary.processors;
  json["memoryInBytes"] = summary.memoryInBytes;
  json["modules"] = summary.modules;
  json["firmware"] = summary.firmware;
  json["errors"] = summary.errors;
  json["warnings"] = summary.warnings;
  json["changes"] = summary.changes ? nlohmann::ordered_json(*summary.changes) : nullptr;
  return JsonLine(json, terminal);
}

// Of the line of a page, or of the one that says why there is none.
IndexRow RowOf(const std::string& table, const std::string& line, const ReportOptions& options) {
  const nlohmann::json json = nlohmann::json::parse(line);
  IndexRow row;
  row.table = ShownName(table, options);
  if (!json.contains("page")) {
    const std::string trouble = json["error"];
    row.trouble = options.showsSerials ? trouble : WithoutFolderNumbers(trouble);
    return row;
  }
  row.page = json["page"];
  row.table = json["name"];
  row.summary = {json["machine"],       json["serial"],   json["processors"],
                 json["memoryInBytes"], json["modules"],  json["firmware"],
                 json["errors"],        json["warnings"], std::nullopt};
  if (!json["changes"].is_null()) {
    row.summary.changes = json["changes"].get<std::size_t>();
  }
  return row;
}

// For one table.
struct PageNames {
  std::string byName;
  std::string withoutName;

  // Whether the table's name gives a number away shows when the table is read.
  const std::string& For(bool repeatsNumber) const { return repeatsNumber ? withoutName : byName; }
};

std::map<std::string, PageNames> NamePages(const std::vector<TableFile>& tables,
                                           const ReportOptions& options) {
  PageNamer namer;
  std::map<std::string, PageNames> pages;
  for (const TableFile& table : tables) {
    if (pages.count(table.path) == 0) {
      pages[table.path].byName = namer.NameAfter(ShownName(table.path, options));
    }
  }
  for (auto& [path, names] : pages) {
    names.withoutName = namer.NameWithout();
  }
  return pages;
}

ExitStatus WriteReports(const ReportOptions& options, Console& console) {
  if (options.output.empty() || options.output == "-") {
    throw InputError("the pages about several tables go to a folder", "name it with -o FOLDER");
  }
  if (options.earlier == "-") {
    throw UsageError("--against - is read once, and there are several tables");
  }
  ManyOptions many = options.many;
  many.areLines = true;
  const std::vector<TableFile> tables = TablesOf(many);
  const std::map<std::string, PageNames> pages = NamePages(tables, options);
  MakeOutputFolder(options.output);
  std::vector<IndexRow> rows;
  const ExitStatus worst = RunMany(
      tables, many, console,
      [&](const std::string& table, Console& own) {
        ReportOptions one = options;
        one.table.file = table;
        const Report report = MakeReport(one, own);
        const bool repeatsNumber = report.name != ShownName(table, options);
        const std::string page = pages.at(table).For(repeatsNumber);
        WriteOutput(options.output + "/" + page, ReportPage(report), own);
        own.out << SummaryLine(report, page, own.terminal);
        return StatusOfReport(report);
      },
      [&](const std::string& table, ExitStatus, std::string&& line) {
        rows.push_back(RowOf(table, line, options));
        if (options.many.areLines) {
          console.out << LineOf(table, line);
        }
      });
  WriteOutput(options.output + "/index.html",
              IndexPage(rows, !options.showsSerials, !options.earlier.empty()), console);
  return worst;
}

ExitStatus WriteReport(const ReportOptions& options, Console& console) {
  if (AreMany(options.many.arguments)) {
    return WriteReports(options, console);
  }
  const bool toStandardOutput = options.output.empty() || options.output == "-";
  if (options.many.areLines && toStandardOutput) {
    throw InputError("standard output has the line of --ndjson, or the page",
                     "name a file for the page with -o report.html");
  }
  if (options.output.empty() && !console.terminal.isPipe) {
    throw InputError("a page is not for a terminal",
                     "name a file with -o report.html; `-o -` prints it all the same");
  }
  return RunOnTables(
      options.table, options.many, console, [&options](const TableOptions& table, Console& own) {
        ReportOptions one = options;
        one.table = table;
        if (one.earlier == "-" && table.file == "-") {
          throw UsageError("'-' is given twice, and standard input can be read once");
        }
        const Report report = MakeReport(one, own);
        WriteOutput(one.output, ReportPage(report), own);
        if (one.many.areLines) {
          own.out << SummaryLine(report, one.output, own.terminal);
        }
        return StatusOfReport(report);
      });
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
