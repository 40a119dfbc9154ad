/*
 * `tvq save` and `tvq verify`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "host/cli/compare/comparison_summary.h"
#include "host/cli/input/input.h"
#include "host/cli/input/state_file.h"
#include "host/cli/input/table_input.h"
#include "host/cli/output/json.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr CommandText kSaveText = {
    "save", "Saves the state of every device, to be compared later",
    "Runs the driver on an SMBIOS table and saves the state of every device in a folder, for\n"
    "`tvq verify`. A state that is there is replaced as a whole.",
    "  sudo tvq save /var/lib/tvq\n"
    "  tvq save before --from-dump dump.bin\n",
    "0 the state is saved; 2 it is not, and what was there still is."};

constexpr CommandText kVerifyText = {
    "verify", "Compares every device with the saved state",
    "Runs the driver on an SMBIOS table and has it compare every device with the saved state: "
    "same,\n"
    "replaced, new, moved, gone, or why it could not be compared. With --redact the state has to "
    "be\n"
    "one that was saved with --redact.",
    "  sudo tvq verify /var/lib/tvq\n"
    "  tvq verify before --from-dump dump.bin\n",
    "0 all devices are the same; 1 one was replaced, is new, moved or gone; 2 one\n"
    "could not be compared, or there is no table or no state."};

struct StateOptions {
  TableOptions table;
  std::string folder;
  bool json = false;
};

// Runs the driver, and insists on records.
run::Results CollectRecords(run::DriverRun& driver, const StateOptions& options,
                            const Console& console) {
  run::Table table = ReadTable(driver, options.table, console);
  if (options.table.conform && !ConformTable(driver, table, console)) {
    throw InputError("the table cannot be conformed", "run with --as-is");
  }
  run::Results results = RunDriver(driver, table, options.table, console);
  if (results.records.empty()) {
    throw InputError("the driver made no record of this table",
                     options.table.conform ? "`tvq export` shows the driver's log"
                                           : "without --as-is, the table is made fit for it");
  }
  return results;
}

std::string FqddText(const run::Finding& finding) {
  return finding.fqdd.empty() ? "-" : Utf8OfWide(finding.fqdd);
}

void PrintFindings(const run::Comparison& comparison, std::ostream& out) {
  size_t width = 4;
  size_t labelWidth = 1;
  for (const run::Finding& finding : comparison.findings) {
    width = std::max(width, finding.fqdd.size());
    labelWidth = std::max(labelWidth, WidthOf(LabelText(finding.label)));
  }
  for (const run::Finding& finding : comparison.findings) {
    const std::string label = LabelText(finding.label);
    out << fmt::format("{:<{}}  {}{:{}}  {}{}{}\n", FqddText(finding), width, label, "",
                       labelWidth - WidthOf(label), finding.verdict,
                       finding.detail.empty() ? "" : ": ", finding.detail);
  }
  out << "Summary: " << SummaryInWords(comparison) << '\n';
}

Json ToJson(const run::Comparison& comparison) {
  Json findings = Json::array();
  for (const run::Finding& finding : comparison.findings) {
    findings.push_back(
        {{"fqdd", Utf8OfWide(finding.fqdd)},
         {"label", finding.label.empty() ? Json() : Json(Utf8OfBytes(finding.label))},
         {"verdict", finding.verdict},
         {"movedFrom", finding.movedFrom ? Json(Utf8OfWide(*finding.movedFrom)) : Json()},
         {"status", finding.status ? Json(*finding.status) : Json()},
         {"detail", finding.detail.empty() ? Json() : Json(finding.detail)}});
  }
  Json json = SchemaJson("tvq-verify");
  json["findings"] = findings;
  json["summary"] = SummaryJson(comparison);
  return json;
}

Json SavedJson(const std::string& folder, const run::Results& results) {
  Json devices = Json::array();
  for (const run::Record& record : results.records) {
    devices.push_back(record.fqdd ? Json(Utf8OfWide(*record.fqdd)) : Json());
  }
  Json json = SchemaJson("tvq-save");
  json["state"] = StatePath(folder);
  json["devices"] = devices;
  return json;
}

ExitStatus Save(const StateOptions& options, Console& console) {
  run::DriverRun driver;
  const run::Results results = CollectRecords(driver, options, console);
  SaveStateFile(options.folder, driver.State());
  if (options.json) {
    console.out << SavedJson(options.folder, results).dump(1) << '\n';
  } else {
    console.out << "Saved in " << StatePath(options.folder) << '\n';
  }
  return kExitNothingFound;
}

ExitStatus Verify(const StateOptions& options, Console& console) {
  const run::Bytes state = LoadStateFile(options.folder);
  run::DriverRun driver;
  CollectRecords(driver, options, console);
  run::Comparison comparison;
  try {
    comparison = driver.Compare(state);
  } catch (const run::StateError& error) {
    throw InputError(fmt::format("{} {}", StatePath(options.folder), error.what()),
                     "save a new state with `tvq save " + options.folder + "`");
  }
  if (options.json) {
    console.out << ToJson(comparison).dump(1) << '\n';
  } else {
    PrintFindings(comparison, console.out);
  }
  return StatusOf(comparison);
}

void AddStateCommand(Commands& commands, const CommandText& text, const char* folder,
                     ExitStatus (*run)(const StateOptions&, Console&)) {
  const auto options = std::make_shared<StateOptions>();
  CLI::App& app =
      commands.Add(text, [options, run](Console& console) { return run(*options, console); });
  app.add_option("DIR", options->folder, folder)->type_name("")->required();
  AddTableOptions(app, options->table);
  AddConform(app, options->table);
  app.add_flag("--json", options->json, "Print one JSON document");
}

}  // namespace

void AddSave(Commands& commands) {
  AddStateCommand(commands, kSaveText, "The folder of the state; made when it is missing", Save);
}

void AddVerify(Commands& commands) {
  AddStateCommand(commands, kVerifyText, "The folder that `tvq save` was given", Verify);
}

}  // namespace tvq::cli
