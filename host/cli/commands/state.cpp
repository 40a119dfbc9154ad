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
#include "host/cli/input/state_run.h"
#include "host/cli/output/json.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr CommandText kSaveText = {
    "save", "Saves the state of every device, to be compared later",
    "Runs the driver on an SMBIOS table and saves the state of every device in a folder, for\n"
    "`tvq verify`: beside the states that are there, of which the last ten stay. Devices that\n"
    "nothing could be compared with are named; a state without them does not replace a complete\n"
    "one, nor one of another machine, unless that is asked for. Nothing signs a state: whoever "
    "may\n"
    "write the folder decides what it says.",
    "  sudo tvq save /var/lib/tvq\n"
    "  tvq save before --from-dump dump.bin\n",
    "0 the state is saved, or it is what was saved already; 2 it is not, and what\n"
    "was there still is."};

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

Json SavedJson(const std::string& path, const run::Results& results) {
  Json devices = Json::array();
  for (const run::Record& record : results.records) {
    devices.push_back(record.fqdd ? Json(Utf8OfWide(*record.fqdd)) : Json());
  }
  Json json = SchemaJson("tvq-save");
  json["state"] = path;
  json["devices"] = devices;
  return json;
}

// A state that cannot be read is in no save's way.
std::optional<LoadedState> StateBefore(run::DriverRun& driver, const std::string& folder,
                                       const Console& console) {
  try {
    return LoadStateIfAny(driver, folder, console);
  } catch (const InputError& error) {
    console.Warning(error.what());
    return std::nullopt;
  }
}

ExitStatus Save(const StateOptions& options, Console& console) {
  run::DriverRun driver;
  const run::Results results = CollectRecords(driver, options, console);
  const run::Origin origin = OriginOf(options);
  const std::string path = SaveChecked(
      driver, options, StateBefore(driver, options.folder, console),
      [&](uint64_t number) { return driver.State(origin, number); }, console);
  if (options.json) {
    console.out << SavedJson(path, results).dump(1) << '\n';
  } else {
    console.out << "Saved in " << path << '\n';
  }
  return kExitNothingFound;
}

ExitStatus Verify(const StateOptions& options, Console& console) {
  run::DriverRun driver;
  const LoadedState state = LoadState(driver, options.folder, console);
  CollectRecords(driver, options, console);
  CheckFit(driver, state, options, console);
  const run::Comparison comparison = driver.Compare(state.bytes);
  if (options.json) {
    console.out << ToJson(comparison).dump(1) << '\n';
  } else {
    PrintFindings(comparison, console.out);
  }
  return StatusOf(comparison);
}

}  // namespace

void AddSave(Commands& commands) {
  const auto options = std::make_shared<StateOptions>();
  CLI::App& app =
      commands.Add(kSaveText, [options](Console& console) { return Save(*options, console); });
  AddStateOptions(app, "The folder of the states; made when it is missing", *options);
  AddSaveOptions(app, *options);
}

void AddVerify(Commands& commands) {
  const auto options = std::make_shared<StateOptions>();
  CLI::App& app =
      commands.Add(kVerifyText, [options](Console& console) { return Verify(*options, console); });
  AddStateOptions(app, "The folder that `tvq save` was given", *options);
}

}  // namespace tvq::cli
