/*
 * A run of the driver for commands that save a state or compare with one.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/input/state_run.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <ctime>
#include <nlohmann/json.hpp>

#include "host/cli/input/input.h"
#include "host/cli/output/json.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

// The first year that no state was saved in.
constexpr uint64_t kEndOfTime = 253402300800;

std::string TimeText(uint64_t seconds) {
  return seconds == 0 || seconds >= kEndOfTime
             ? "at an unknown time"
             : fmt::format("{:%Y-%m-%d %H:%M} UTC", fmt::gmtime(static_cast<time_t>(seconds)));
}

std::string OptionsText(const run::StateOptions& options) {
  std::string text = options.isAsIs ? "--as-is" : "";
  if (options.isRedacted) {
    text += text.empty() ? "--redact" : " --redact";
  }
  return text.empty() ? "without --as-is and --redact" : "with " + text;
}

std::string OtherOptionsText(const run::StateFit& fit, const LoadedState& state,
                             const StateOptions& options) {
  return fmt::format("{} was saved {}, and this is a run {}", state.path, OptionsText(fit.options),
                     OptionsText({!options.table.conform, options.table.redact.isWanted}));
}

void CheckMachine(const run::StateFit& fit, const LoadedState& state, const StateOptions& options,
                  const Console& console) {
  using Machine = run::StateFit::Machine;
  const std::string both =
      fmt::format("this machine is {}; saved was {}", fit.thisMachine, fit.savedMachine);
  switch (fit.machine) {
    case Machine::kSame:
      return;
    case Machine::kBoardReplaced:
      console.Warning(
          fmt::format("{} is of this machine with another board: {}", state.path, both));
      return;
    case Machine::kUnknown:
      if (fit.version > 1 && !fit.options.isRedacted) {
        console.Warning(fmt::format(
            "{} may be of another machine: nothing in the table tells this one from others",
            state.path));
      }
      return;
    case Machine::kAnother:
      break;
  }
  if (!options.otherMachine) {
    throw InputError(fmt::format("{} is of another machine: {}", state.path, both),
                     "name the folder of this machine's states, or add --other-machine");
  }
  console.Warning(fmt::format("{} is of another machine: {}", state.path, both));
}

run::StateFit FitOf(run::DriverRun& driver, const LoadedState& state, const StateOptions& options) {
  try {
    return driver.FitOf(state.bytes, OriginOf(options));
  } catch (const run::StateError& error) {
    throw InputError(fmt::format("{} {}", state.path, error.what()),
                     "move it away to use the state before it, which `tvq save` kept");
  }
}

Json ToJson(const SavedState& saved, const run::Results& results) {
  Json devices = Json::array();
  for (const run::Record& record : results.records) {
    devices.push_back(record.fqdd ? Json(Utf8OfWide(*record.fqdd)) : Json());
  }
  Json json = SchemaJson("tvq-save");
  json["state"] = saved.path;
  json["isNew"] = saved.isNew;
  json["devices"] = devices;
  json["missing"] = HolesJson(saved.holes);
  return json;
}

}  // namespace

void SayHoles(const std::vector<run::StateHole>& holes, const std::string& what,
              const Console& console) {
  for (const run::StateHole& hole : holes) {
    console.Warning(DescribeHole(what, hole));
  }
}

std::string DescribeHole(const std::string& what, const run::StateHole& hole) {
  return fmt::format("{} {}: {}", what, hole.fqdd.empty() ? "a device without a name" : hole.fqdd,
                     hole.why);
}

Json HolesJson(const std::vector<run::StateHole>& holes) {
  Json list = Json::array();
  for (const run::StateHole& hole : holes) {
    list.push_back({{"fqdd", hole.fqdd.empty() ? Json() : Json(hole.fqdd)}, {"why", hole.why}});
  }
  return list;
}

void AddStateOptions(Parameters parameters, const char* folder, StateOptions& options) {
  parameters.Value("DIR", options.folder, folder).Named("").Required();
  AddTableOptions(parameters, options.table);
  AddConform(parameters, options.table);
  parameters.Flag("--other-machine", options.otherMachine,
                  "Take the state of another machine for one of this machine");
  parameters.Flag("--json", options.json, "Print one JSON document");
}

void AddSaveOptions(Parameters parameters, StateOptions& options) {
  constexpr unsigned kMostKept = 1000;
  parameters.Value("--keep", options.kept, "How many states stay in the folder (10)")
      .Named("N")
      .Between(1, kMostKept);
  parameters.Flag("--incomplete", options.incomplete,
                  "Put a state that lacks devices in place of one that lacks none");
}

Collected Collect(run::DriverRun& driver, const StateOptions& options, const Console& console) {
  run::Table table = ReadTable(driver, options.table, console);
  if (options.table.conform && !ConformTable(driver, table, console)) {
    throw InputError("the table cannot be conformed", "run with --as-is");
  }
  run::Results results = RunDriver(driver, table, options.table, console);
  return {std::move(table), std::move(results)};
}

Collected CollectRecords(run::DriverRun& driver, const StateOptions& options,
                         const Console& console) {
  Collected collected = Collect(driver, options, console);
  RequireRecords(collected, options);
  return collected;
}

void RequireRecords(const Collected& collected, const StateOptions& options) {
  if (collected.results.records.empty()) {
    throw InputError("the driver made no record of this table",
                     options.table.conform ? "`tvq export` shows the driver's log"
                                           : "without --as-is, the table is made fit for it");
  }
}

run::Origin OriginOf(const StateOptions& options) {
  run::Origin origin;
  origin.isRedacted = options.table.redact.isWanted;
  origin.time = static_cast<uint64_t>(std::time(nullptr));
  return origin;
}

run::StateFit CheckFit(run::DriverRun& driver, const LoadedState& state,
                       const StateOptions& options, const Console& console) {
  run::StateFit fit = FitOf(driver, state, options);
  if (fit.hasOtherOptions) {
    throw InputError(OtherOptionsText(fit, state, options) + ": not compared",
                     "run with the options that the state was saved with");
  }
  CheckMachine(fit, state, options, console);
  SayHoles(fit.holes, fmt::format("the state, saved {}, is incomplete:", TimeText(fit.time)),
           console);
  return fit;
}

SavedState SaveChecked(run::DriverRun& driver, const StateOptions& options,
                       const std::optional<LoadedState>& before,
                       const std::function<run::Bytes(uint64_t number)>& encode,
                       const Console& console) {
  const run::Bytes state = encode(1);
  const LoadedState now = {"this state", state};
  const std::vector<run::StateHole> holes = FitOf(driver, now, options).holes;
  if (before) {
    const run::StateFit fit = FitOf(driver, *before, options);
    if (fit.hasOtherOptions) {
      throw InputError(OtherOptionsText(fit, *before, options) + ", and not replaced",
                       "save in a folder of its own what is made with other options");
    }
    CheckMachine(fit, *before, options, console);
    if (!holes.empty() && fit.holes.empty() && !options.incomplete) {
      SayHoles(holes, "missing:", console);
      throw InputError("this state is incomplete and does not replace the complete one",
                       "find out why devices are missing, or add --incomplete");
    }
    if (before->IsNewest() && driver.AreEqual(state, before->bytes)) {
      console.Line(fmt::format("{} says the same; nothing is written", before->path));
      return {before->path, holes, false};
    }
  }
  SayHoles(holes, "saved without", console);
  return {SaveState(options.folder, options.kept, encode), holes, true};
}

void PrintSaved(const SavedState& saved, const run::Results& results, bool isJson,
                const Console& console) {
  if (isJson) {
    PrintJson(ToJson(saved, results), console);
  } else {
    console.Page(fmt::format("Saved in {}\n", saved.path));
  }
}

}  // namespace tvq::cli
