/*
 * `tvq save` and `tvq verify`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <nlohmann/json.hpp>
#include <ostream>

#include "host/cli/compare/comparison_journal.h"
#include "host/cli/compare/comparison_output.h"
#include "host/cli/fleet/device_row.h"
#include "host/cli/fleet/rows.h"
#include "host/cli/fleet/metrics_file.h"
#include "host/cli/input/input.h"
#include "host/cli/input/state_run.h"
#include "host/cli/input/stick.h"
#include "host/cli/output/json.h"
#include "host/cli/output/paragraph.h"
#include "host/cli/output/whole_file.h"
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
    "was there still is, or it may be gone after a power cut, which is said."};

constexpr CommandText kVerifyText = {
    "verify", "Compares every device with the saved state",
    "Runs the driver on an SMBIOS table and says of every device what became of it since the "
    "state\n"
    "was saved: whether it moved, is new, gone, replaced or changed, why it has no record or "
    "could\n"
    "not be verified, and what to do. A machine on which nothing changed is one line. With "
    "--redact\n"
    "the state has to be one that was saved with --redact.",
    "  sudo tvq verify /var/lib/tvq\n"
    "  tvq verify before --from-dump dump.bin -v\n"
    "  tvq verify /var/lib/tvq --metrics /var/lib/prometheus/node-exporter/tvq.prom\n",
    "0 nothing is to be looked at; 1 a device moved, is new, gone, replaced\n"
    "or changed; 2 one has no record or could not be verified, or the state or the table cannot "
    "be\n"
    "read or was made with other options, or a file cannot be written; 3 no state was saved\n"
    "yet. 1 wins over 2."};

struct VerifyOptions {
  StateOptions state;
  bool saveFirst = false;
  bool ifFound = false;
  bool journal = false;
  MetricsOptions metrics;
  std::string rowsFile;  // empty: nobody wants any
};

ExitStatus Save(const StateOptions& options, Console& console) {
  run::DriverRun driver;
  const run::Results results = CollectRecords(driver, options, console).results;
  const run::Origin origin = OriginOf(options);
  const SavedState saved = SaveChecked(
      driver, options, LoadStateIfAny(driver, options.folder, Damaged::kIsSaid, console),
      [&](uint64_t number) { return driver.State(origin, number); }, console);
  PrintSaved(saved, results, options.json, console);
  return kExitNothingFound;
}

// A run, and the state that it is compared with.
struct RunAndState {
  Collected run;
  LoadedState state;
};

// Where there is no state, and that is wanted, it is the one of this run, saved.
RunAndState RunAndLoad(run::DriverRun& driver, const VerifyOptions& options,
                       const std::optional<Journal>& journal, const Console& console) {
  const std::string& folder = options.state.folder;
  std::optional<LoadedState> state = options.saveFirst
                                         ? LoadStateIfAny(driver, folder, Damaged::kFails, console)
                                         : std::optional(LoadState(driver, folder, console));
  if (!state && HasStates(folder)) {
    // Nobody decided that the machine is as it should be.
    throw InputError(fmt::format("no state in {} is whole", folder),
                     "`tvq save` takes the machine as it is now");
  }
  Collected run = CollectRecords(driver, options.state, console);
  if (!state) {
    const run::Origin origin = OriginOf(options.state);
    const SavedState saved = SaveChecked(
        driver, options.state, std::nullopt,
        [&](uint64_t number) { return driver.State(origin, number); }, console);
    if (journal) {
      WriteFirstState(saved.path, *journal);
    }
    state = LoadState(driver, folder, console);
  }
  return {std::move(run), std::move(*state)};
}

struct Verified {
  run::Comparison comparison;
  std::vector<run::StateHole> holes;  // of the saved state
  // Where somebody wants metrics or rows, and they were compared:
  std::optional<MeasuredDevices> devices;
  std::string rows;
};

Verified CompareWithState(const VerifyOptions& options, const std::optional<Journal>& journal,
                          const Console& console) {
  run::DriverRun driver;
  const RunAndState both = RunAndLoad(driver, options, journal, console);
  Verified verified;
  verified.holes = CheckFit(driver, both.state, options.state, console).holes;
  run::CompareOptions how;
  how.isVerbose = options.state.isVerbose;
  how.isAscii = console.terminal.isAscii;
  verified.comparison = driver.Compare(both.state.bytes, OriginOf(options.state), how);
  const bool areRowsWanted = !options.metrics.file.empty() || !options.rowsFile.empty();
  if (areRowsWanted && !verified.comparison.hasOtherOptions) {
    verified.devices = {MakeRows(both.run.table, both.run.results), verified.comparison.counts,
                        verified.comparison.firmware.has_value()};
    AddVerdicts(verified.comparison, verified.devices->rows);
    verified.rows =
        RowLines(verified.devices->rows, both.run.table, options.state.table, {}, console.terminal);
  }
  return verified;
}

// The metrics say that it failed, too.
Verified CompareOrSayWhyNot(VerifyOptions options, const std::optional<Journal>& journal,
                            const Console& console) {
  try {
    options.state.folder = FolderOfMachine(options.state, console);
    return CompareWithState(options, journal, console);
  } catch (const NoStateError&) {
    WriteMetrics(options.metrics, kExitNoState, std::nullopt, console);
    throw;
  } catch (...) {
    WriteMetrics(options.metrics, kExitTrouble, std::nullopt, console);
    throw;
  }
}

void Print(const run::Comparison& comparison, const std::vector<run::StateHole>& holes,
           const VerifyOptions& options, Console& console) {
  if (options.ifFound && comparison.status == run::ComparisonStatus::kNothingFound) {
    return;
  }
  if (options.state.json) {
    Json json = SchemaJson("tvq-verify");
    AddComparison(comparison, "findings", json);
    json["savedWithout"] = HolesJson(holes);
    PrintJson(json, console);
  } else {
    PrintComparison(comparison, console);
  }
}

ExitStatus Verify(const VerifyOptions& options, Console& console) {
  const std::optional<Journal> journal =
      options.journal ? std::optional<Journal>(std::in_place) : std::nullopt;
  Verified verified = CompareOrSayWhyNot(options, journal, console);
  const ExitStatus status = StatusOf(verified.comparison);
  const bool areRowsWritten =
      options.rowsFile.empty() || !verified.devices ||
      WriteWhole({options.rowsFile, "rows"}, verified.rows, Readers::kOwner, console);
  const bool isMeasured =
      WriteMetrics(options.metrics, status, std::move(verified.devices), console);
  Print(verified.comparison, verified.holes, options, console);
  if (journal) {
    WriteToJournal(verified.comparison, *journal);
  }
  const bool isAllWritten = isMeasured && areRowsWritten;
  return isAllWritten || status == kExitFound ? status : kExitTrouble;
}

}  // namespace

void AddSave(Commands& commands) {
  const auto options = std::make_shared<StateOptions>();
  Parameters parameters =
      commands.Add(kSaveText, [options](Console& console) { return Save(*options, console); });
  AddStateOptions(parameters, "The folder of the states; made when it is missing", *options);
  AddSaveOptions(parameters, *options);
}

void AddVerify(Commands& commands) {
  const auto options = std::make_shared<VerifyOptions>();
  Parameters parameters =
      commands.Add(kVerifyText, [options](Console& console) { return Verify(*options, console); });
  AddStateOptions(parameters, "The folder that `tvq save` was given, or an agent's stick",
                  options->state);
  parameters.Flag("-v,--verbose", options->state.isVerbose,
                  "Every device, also where nothing is to be looked at");
  parameters.Flag("--save-first", options->saveFirst,
                  "Where no state was saved yet, save one and compare with that");
  parameters.Flag("--if-found", options->ifFound, "Print only where something is to be looked at");
  parameters.Flag(
      "--journal", options->journal,
      "Write to the system's journal, too: an entry for each device that is to be looked "
      "at, and one that sums up");
  AddMetrics(parameters, options->metrics);
  parameters
      .Value("--rows", options->rowsFile,
             "Write what `tvq export --rows` prints there, for whatever sends it on")
      .Named("FILE");
  commands.AddWide(parameters);
}

}  // namespace tvq::cli
