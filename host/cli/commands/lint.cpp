/*
 * `tvq lint`: what in a table the driver, or the agent behind it, will trip over.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <memory>
#include <ostream>

#include "host/cli/input/input.h"
#include "host/cli/commands/lint_baseline.h"
#include "host/cli/commands/lint_report.h"
#include "host/cli/commands/lint_subject.h"
#include "host/cli/input/table_input.h"
#include "host/cli/many/many_tables.h"
#include "host/cli/many/table_list.h"
#include "host/lint/lint.h"
#include "host/table/text.h"

namespace tvq::cli {
namespace {

constexpr CommandText kText = {
    "lint", "Says what in a table the driver or its agent will trip over",
    "One line for each fault: where it is in the file, how grave it is, which structure, what "
    "will\n"
    "happen, what to change, and the rule. Below it stands where else it shows, and what follows "
    "from\n"
    "it. The profile says who reads the table: the driver, anybody who goes by the SMBIOS "
    "standard\n"
    "(table), or both (all). RULE is the name of a rule or 'all'; --disable all --enable RULE "
    "looks\n"
    "for one thing alone.",
    "  sudo tvq lint\n"
    "  tvq lint dump.bin\n"
    "  tvq lint --profile table --fail-on error dump.bin\n"
    "  tvq lint --json dump.bin > known.json; tvq lint --baseline known.json dump.bin\n"
    "  tvq lint --profile all --format sarif dump.bin > dump.sarif\n"
    "  tvq lint --explain locator-clash\n",
    "0 nothing was found; 1 something was, that is as grave as --fail-on says;\n"
    "2 there is no table that can be used, or the command line is wrong."};

constexpr std::size_t kUsualMaximum = 8;

enum class Format {
  kText,
  kJson,
  kSarif,
};

struct LintOptions {
  TableOptions table;
  ManyOptions many;
  lint::Profile profile = lint::kDriver;
  lint::Severity failOn = lint::Severity::kNote;
  std::vector<std::string> enable;
  std::vector<std::string> disable;
  std::size_t maximum = kUsualMaximum;
  std::string explain;
  std::string baseline;
  Format format = Format::kText;
  bool list = false;
  bool json = false;
  bool hex = false;
};

[[noreturn]] void ThrowUnknownRule(const std::string& name) {
  std::vector<std::string_view> names = {"all"};
  for (const lint::Rule* rule : lint::AllRules()) {
    names.push_back(rule->name);
  }
  const std::string meant = table::DidYouMean(name, names);
  throw InputError(fmt::format("there is no rule '{}'", name),
                   meant.empty() ? "`tvq lint --list` lists the rules" : meant);
}

lint::Selection Select(const LintOptions& options) {
  lint::Selection selection(options.profile);
  for (const std::string& name : options.disable) {
    if (!selection.Disable(name)) {
      ThrowUnknownRule(name);
    }
  }
  for (const std::string& name : options.enable) {
    if (!selection.Enable(name)) {
      ThrowUnknownRule(name);
    }
  }
  return selection;
}

void LeaveKnownOut(const LintOptions& options, LintReport& report) {
  if (options.baseline.empty()) {
    return;
  }
  const std::vector<uint8_t> text =
      ReadFile(options.baseline, "`tvq lint --json TABLE > FILE` writes what is known into a file");
  LintBaseline baseline({text.begin(), text.end()}, options.baseline);
  report.baseline = options.baseline;
  report.findings = baseline.KeepNew(std::move(report.findings), report.known);
}

void Print(const LintReport& report, const LintOptions& options, const Console& console) {
  switch (options.json ? Format::kJson : options.format) {
    case Format::kText:
      PrintLines(report, options.maximum, console);
      break;
    case Format::kJson:
      PrintJson(report, console);
      break;
    case Format::kSarif:
      PrintSarif(report, console);
      break;
  }
}

ExitStatus Examine(const LintOptions& options, Console& console) {
  const lint::Selection selection = Select(options);
  const TableBytes bytes = ReadTableBytes(options.table, console);
  const lint::Subject subject = ReadSubject(bytes, options.table, console);
  LintReport report;
  report.name = NameOf(options.table);
  report.profile = options.profile;
  report.files = options.table.file.empty()
                     ? lint::FileNames{options.table.systemFolder + "/DMI",
                                       options.table.systemFolder + "/smbios_entry_point"}
                     : lint::FileNames{report.name, report.name};
  report.findings = lint::Examine(subject, selection);
  report.bytes = options.hex ? &subject : nullptr;
  LeaveKnownOut(options, report);
  Print(report, options, console);
  const bool isGrave = std::any_of(
      report.findings.begin(), report.findings.end(),
      [&](const lint::Finding& finding) { return SeverityOf(finding) >= options.failOn; });
  return isGrave ? kExitFound : kExitNothingFound;
}

ExitStatus ExamineAll(const LintOptions& options, Console& console) {
  LintOptions one = options;
  const bool isJson = options.json || options.format == Format::kJson;
  const bool areMany = AreMany(options.many.arguments);
  if (options.many.areLines && options.format == Format::kSarif) {
    throw UsageError("--ndjson prints lines of its own, and a SARIF log is none");
  }
  if (areMany && options.format == Format::kSarif) {
    throw InputError("a SARIF log is about one table", "--ndjson prints a line for each table");
  }
  one.json = isJson || options.many.areLines;
  one.many.areLines = options.many.areLines || (isJson && areMany);
  return RunOnTables(options.table, one.many, console,
                     [&one](const TableOptions& table, Console& own) {
                       one.table = table;
                       return Examine(one, own);
                     });
}

ExitStatus Explain(const std::string& name, Console& console) {
  if (name == "all") {
    console.Text(lint::RulesInMarkdown());
    return kExitNothingFound;
  }
  const lint::Rule* rule = lint::FindRule(name);
  if (rule == nullptr) {
    ThrowUnknownRule(name);
  }
  console.Page(lint::ExplainRule(*rule));
  return kExitNothingFound;
}

ExitStatus Lint(const LintOptions& options, Console& console) {
  if (options.list) {
    console.Page(lint::ListRules());
    return kExitNothingFound;
  }
  return options.explain.empty() ? ExamineAll(options, console) : Explain(options.explain, console);
}

}  // namespace

void AddLint(Commands& commands) {
  const auto options = std::make_shared<LintOptions>();
  Parameters parameters =
      commands.Add(kText, [options](Console& console) { return Lint(*options, console); });
  AddTableOptions(parameters, options->table);
  AddTableFiles(parameters, options->many);
  AddMany(parameters, options->many);
  parameters.Value("--profile", options->profile,
                   {{"driver", lint::kDriver}, {"table", lint::kTable}, {"all", lint::kBoth}},
                   "Who reads the table (driver)");
  parameters.List("--enable", options->enable, "Look for what this rule is about, too")
      .Named("RULE");
  parameters.List("--disable", options->disable, "Leave a rule out; --enable counts more")
      .Named("RULE");
  parameters.Value("--fail-on", options->failOn,
                   {{"error", lint::Severity::kError},
                    {"warning", lint::Severity::kWarning},
                    {"note", lint::Severity::kNote}},
                   "End with status 1 only for findings as grave as that (note)");
  parameters
      .Value("--max", options->maximum,
             "Show no more places and consequences of each fault, 0 for all (8)")
      .Named("N");
  parameters
      .Value("--baseline", options->baseline,
             "Leave out what this document has, which --json wrote earlier")
      .Named("FILE");
  parameters.Value("--format", options->format,
                   {{"text", Format::kText}, {"json", Format::kJson}, {"sarif", Format::kSarif}},
                   "How the findings are printed (text)");
  parameters.Flag("--json", options->json, "The same as --format json");
  commands.AddWide(parameters);
  parameters.Flag("--hex", options->hex, "Show the bytes of the structures, too");
  parameters
      .Value("--explain", options->explain,
             "Tell all about a rule; 'all' prints the manual of all rules in Markdown")
      .Named("RULE");
  parameters.Flag("--list", options->list, "List the rules");
}

}  // namespace tvq::cli
