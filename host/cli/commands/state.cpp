/*
 * `tvq save` and `tvq verify`.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <ostream>

#include "host/cli/compare/comparison_journal.h"
#include "host/cli/compare/comparison_output.h"
#include "host/cli/fleet/device_row.h"
#include "host/cli/fleet/rows.h"
#include "host/cli/fleet/metrics_file.h"
#include "host/cli/input/folder.h"
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
    "  sudo tvq save /var/lib/parts\n"
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
    "  sudo tvq verify /var/lib/parts\n"
    "  tvq verify before --from-dump dump.bin -v\n"
    "  sudo tvq verify /var/lib/parts --metrics /srv/metrics/tvq.prom\n",
    "0 nothing is to be looked at; 1 a device moved, is new, gone, replaced\n"
    "or changed; 2 one has no record or could not be verified, or the state or the table cannot "
    "be\n"
    "read or was made with other options, or something cannot be written; 3 no state was saved\n"
    "yet. 1 wins over 2, unless it is the metrics or the output that cannot be written."};

struct VerifyOptions {
  StateOptions state;
  bool saveFirst = false;
  bool ifFound = false;
  bool journal = false;
  MetricsOptions metrics;
  std::string rowsFile;  // empty: nobody wants any
  RowOptions rows;
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

// What a run of `tvq verify` knows when it ends, well or not.
struct Verified {
  std::optional<Collected> run;  // once the driver ran
  std::vector<DeviceRow> rows;
  bool isCompared = false;
  run::Comparison comparison;
  std::vector<run::StateHole> holes;  // of the saved state
};

// Whether both paths name the same file of the same folder, without following links.
bool AreOnePath(const std::string& left, const std::string& right) {
  namespace fs = std::filesystem;
  return fs::absolute(left).lexically_normal() == fs::absolute(right).lexically_normal();
}

// Throws a UsageError for a file that is none, or would take the place of another one.
void CheckFile(const char* option, const std::string& file, const std::string& states) {
  if (file == "-") {
    throw UsageError(fmt::format("{} - is no file; name one", option));
  }
  if (!file.empty() && NamesState(NameOfFile(file)) && AreOnePath(FolderOf(file), states + "/")) {
    throw UsageError(fmt::format("{} {} has the name of a saved state", option, file));
  }
}

void CheckFiles(const VerifyOptions& options) {
  CheckFile("--metrics", options.metrics.file, options.state.folder);
  CheckFile("--rows", options.rowsFile, options.state.folder);
  if (!options.rowsFile.empty() && !options.metrics.file.empty() &&
      AreOnePath(options.rowsFile, options.metrics.file)) {
    throw UsageError("--metrics and --rows name the same file");
  }
}

// Nothing where there is no state, and the first one is to be saved.
std::optional<LoadedState> LoadToCompare(run::DriverRun& driver, const VerifyOptions& options,
                                         const std::optional<Journal>& journal,
                                         const Console& console) {
  const std::string& folder = options.state.folder;
  std::optional<LoadedState> state = options.saveFirst
                                         ? LoadStateIfAny(driver, folder, Damaged::kFails, console)
                                         : std::optional(LoadState(driver, folder, console));
  if (!state && HasStates(folder)) {
    // Nobody decided that the machine is as it should be.
    throw InputError(
        fmt::format("no state in {} is whole", folder),
        fmt::format("`{}` takes the machine as it is now",
                    IsServiceFolder(folder) ? "systemctl start tvq-save" : "tvq save " + folder));
  }
  if (state && journal) {
    for (const std::string& what : state->passedOver) {
      WritePassedOver(what, *journal);
    }
  }
  return state;
}

LoadedState SaveFirst(run::DriverRun& driver, const StateOptions& options,
                      const std::optional<Journal>& journal, const Console& console) {
  const run::Origin origin = OriginOf(options);
  const SavedState saved = SaveChecked(
      driver, options, std::nullopt, [&](uint64_t number) { return driver.State(origin, number); },
      console);
  if (journal) {
    WriteFirstState(saved.path, *journal);
  }
  return LoadState(driver, options.folder, console);
}

// Throws an InputError; `verified` has what is known by then.
void CompareWithState(const VerifyOptions& options, const std::optional<Journal>& journal,
                      const Console& console, Verified& verified) {
  run::DriverRun driver;
  std::optional<LoadedState> state = LoadToCompare(driver, options, journal, console);
  const Collected& run = verified.run.emplace(Collect(driver, options.state, console));
  verified.rows = MakeRows(run.table, run.results);
  verified.isCompared = !state && verified.rows.empty() && run.results.records.empty();
  if (verified.isCompared) {
    verified.comparison = run::ComparisonOfNothing("the table describes no device");
    return;
  }
  RequireRecords(run, options.state);
  if (!state) {
    state = SaveFirst(driver, options.state, journal, console);
  }
  verified.holes = CheckFit(driver, *state, options.state, console).holes;
  run::CompareOptions how;
  how.isVerbose = options.state.isVerbose;
  how.isAscii = console.terminal.isAscii;
  verified.comparison = driver.Compare(state->bytes, OriginOf(options.state), how);
  if (!verified.comparison.hasOtherOptions) {
    AddVerdicts(verified.comparison, verified.rows);
    verified.isCompared = true;
  }
}

// Of a machine that was not compared with anything, too.
void WriteRows(const VerifyOptions& options, const Verified& verified, const Console& console) {
  if (!options.rowsFile.empty() && verified.run) {
    WriteWhole({options.rowsFile, "rows"},
               RowLines(verified.rows, verified.run->table, options.state.table, options.rows,
                        console.terminal),
               Readers::kGroup);
  }
}

void Print(const Verified& verified, const VerifyOptions& options, Console& console) {
  const run::Comparison& comparison = verified.comparison;
  if (options.ifFound && comparison.status == run::ComparisonStatus::kNothingFound) {
    return;
  }
  if (options.state.json) {
    Json json = SchemaJson("tvq-verify");
    AddComparison(comparison, "findings", json);
    json["savedWithout"] = HolesJson(verified.holes);
    PrintJson(json, console);
  } else {
    PrintComparison(comparison, console);
  }
}

// What a run leaves behind. Each part is tried, whatever became of the others; the metrics come last,
// because they say what became of the others.
class Verification {
 public:
  Verification(const VerifyOptions& options, Console& console)
      : mOptions(options), mConsole(console) {}

  ExitStatus Run() {
    Compare();
    mStatus = StatusOf(mVerified.comparison);
    Try([this] { WriteRows(mOptions, mVerified, mConsole); });
    PrintAll();
    Try([this] { WriteJournal(); });
    Measure();
    return mStatus;
  }

 private:
  void Compare() {
    try {
      if (mOptions.journal) {
        mJournal.emplace(mConsole.journal);
      }
      mOptions.state.folder = FolderOfMachine(mOptions.state, mConsole);
      CompareWithState(mOptions, mJournal, mConsole, mVerified);
    } catch (const NoStateError& error) {
      LeaveFailure(kExitNoState, error.what());
      throw;
    } catch (const std::exception& error) {
      LeaveFailure(kExitTrouble, error.what());
      throw;
    }
  }

  void LeaveFailure(ExitStatus status, const char* why) {
    mStatus = status;
    WriteFailureToJournal(why);
    Try([this] { WriteRows(mOptions, mVerified, mConsole); });
    mStatus = status;
    Measure();
  }

  // False: it could not be done, which is said. A finding is what the run ends with nevertheless.
  bool Try(const std::function<void()>& step) {
    try {
      step();
      return true;
    } catch (const InputError& error) {
      mIsAllWritten = false;
      mStatus = mStatus == kExitFound ? kExitFound : kExitTrouble;
      mConsole.Error(error.what(), error.Hint());
      WriteFailureToJournal(error.what());
      return false;
    }
  }

  // What cannot be printed ends every command with trouble.
  void PrintAll() {
    Print(mVerified, mOptions, mConsole);
    if (mConsole.out.flush().fail()) {
      mIsAllWritten = false;
      mStatus = kExitTrouble;
      WriteFailureToJournal("the output cannot be written");
    }
  }

  void WriteJournal() const {
    if (!mJournal) {
      return;
    }
    if (mVerified.comparison.notComparedWhy.empty()) {
      WriteToJournal(mVerified.comparison, mStatus, *mJournal);
    } else {
      WriteNotCompared(mVerified.comparison.notComparedWhy, mStatus, *mJournal);
    }
  }

  void WriteFailureToJournal(const std::string& why) const {
    if (!mJournal) {
      return;
    }
    try {
      WriteFailure(why, mStatus, *mJournal);
    } catch (const InputError&) {
      // Standard error has it.
    }
  }

  // Whoever waits for metrics hears of nothing else: without them even a finding is trouble.
  void Measure() {
    MeasuredRun run;
    run.status = mStatus;
    run.isAllWritten = mIsAllWritten;
    if (mVerified.isCompared) {
      const run::Comparison& comparison = mVerified.comparison;
      run.devices = {mVerified.rows, comparison.counts, comparison.firmware.has_value()};
    }
    if (!Try([&] { WriteMetrics(mOptions.metrics, run, mConsole); })) {
      mStatus = kExitTrouble;
    }
  }

  VerifyOptions mOptions;
  Console& mConsole;
  std::optional<Journal> mJournal;
  Verified mVerified;
  ExitStatus mStatus = kExitTrouble;
  bool mIsAllWritten = true;
};

ExitStatus Verify(const VerifyOptions& options, Console& console) {
  CheckFiles(options);
  return Verification(options, console).Run();
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
  parameters.Flag(
      "--save-first", options->saveFirst,
      "Where no state was saved yet, save one and compare with that; a table without any "
      "device is nothing to compare, and no failure");
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
  parameters
      .Value("--host", options->rows.host, "The machine's name in the rows, instead of its own")
      .Named("NAME")
      .Needs(parameters.Get("--rows"));
  commands.AddWide(parameters);
}

}  // namespace tvq::cli
