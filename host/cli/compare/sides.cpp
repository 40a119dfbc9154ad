/*
 * The two sides of a comparison: tables or saved states.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/compare/sides.h"

#include <fmt/format.h>

#include <string_view>

#include "host/cli/device/document.h"
#include "host/cli/input/input.h"
#include "host/cli/input/state_file.h"
#include "host/cli/input/state_run.h"
#include "host/cli/input/stick.h"
#include "host/cli/input/table_input.h"
#include "host/cli/redact/redact.h"

namespace tvq::cli {
namespace {

// Runs the driver on the side's table.
void Run(run::DriverRun& driver, const Side& side, const Console& console) {
  TableOptions options;
  options.file = side.name;
  options.conform = !side.isAsIs;
  run::Table table = *side.table;
  if (options.conform) {
    run::Conformed conformed = driver.Conform(table);
    if (conformed.isRefused) {
      throw InputError(fmt::format("{} cannot be conformed: {}", side.name, conformed.summary),
                       "run with --as-is");
    }
    table = std::move(conformed.table);
  }
  if (RunDriver(driver, table, options, console).records.empty()) {
    throw InputError(
        fmt::format("the driver made no record of {}", side.name),
        options.conform ? "`tvq show` tells why" : "without --as-is, the table is made fit for it");
  }
}

void SayFit(run::DriverRun& driver, const Side& before, const Side& after, bool isRedacted,
            const Console& console) {
  for (const std::string& line : DescribeFit(driver, before, after, isRedacted)) {
    console.Warning(line);
  }
}

// The changes as a document, in which the secrets are found by the names of its elements.
Element DocumentOf(const std::vector<run::FieldChange>& changes) {
  constexpr std::string_view kNumber = "SerialNumber";
  Element document;
  for (const run::FieldChange& change : changes) {
    const std::string name = change.field.substr(change.field.rfind('/') + 1);
    for (const std::optional<std::string>& text : {change.before, change.after}) {
      Element element;
      element.name = name == kNumber ? "WWN" : name;
      element.text = text.value_or("");
      document.children.push_back(std::move(element));
    }
  }
  return document;
}

}  // namespace

Side LoadSide(run::DriverRun& driver, const std::string& path, bool conform,
              const Console& console) {
  Side side;
  side.name = path;
  side.state = StateIn(driver, path, console);
  if (!side.state) {
    TableOptions table;
    table.file = path;
    side.isAsIs = !conform;
    side.table = ReadTable(driver, table, console);
    return side;
  }
  try {
    run::StateTable kept = driver.ReadStateTable(*side.state);
    side.table = std::move(kept.table);
    side.isAsIs = kept.isAsIs;
    side.origin = kept.origin;
  } catch (const run::StateError& error) {
    throw InputError(fmt::format("{} {}", path, error.what()),
                     "name another state, or the table that it was saved of");
  }
  return side;
}

std::string SideOnStick(const std::string& path, const std::string& other, bool conform,
                        const Console& console) {
  return FolderOfMachine(
      path,
      [&](run::DriverRun& driver, const Console& quiet) {
        Side side = LoadSide(driver, other, conform, quiet);
        MakeState(driver, side, quiet);
        return *side.state;
      },
      console);
}

std::vector<std::string> DescribeFit(run::DriverRun& driver, const Side& before, const Side& after,
                                     bool isRedacted) {
  const run::StateFit fit = driver.FitOf(*before.state, *after.state);
  std::vector<std::string> lines;
  if (fit.machine == run::StateFit::Machine::kAnother) {
    lines.push_back(isRedacted
                        ? "these are two machines"
                        : fmt::format("these are two machines: {} is {}; {} is {}", before.name,
                                      fit.savedMachine, after.name, fit.thisMachine));
  }
  const auto add = [&lines](const Side& side, const std::vector<run::StateHole>& holes) {
    for (const run::StateHole& hole : holes) {
      lines.push_back(DescribeHole(side.name + " lacks", hole));
    }
  };
  add(before, fit.holes);
  add(after, driver.FitOf(*after.state, *before.state).holes);
  return lines;
}

void MakeState(run::DriverRun& driver, Side& side, const Console& console) {
  if (!side.state) {
    Run(driver, side, console);
    side.state = driver.State(side.origin);
  }
}

run::Comparison CompareSides(run::DriverRun& driver, const Side& before, Side& after,
                             const run::CompareOptions& how, const Console& console) {
  const bool isRedacted = how.mask != nullptr;
  if (!after.table) {
    SayFit(driver, before, after, isRedacted, console);
    return driver.CompareStates(*before.state, *after.state, how);
  }
  Run(driver, after, console);
  after.state = driver.State(after.origin);
  SayFit(driver, before, after, isRedacted, console);
  return driver.Compare(*before.state, after.origin, how);
}

void MaskSides(Side& before, Side& after, const Masker& masker, SecretList& secrets,
               std::vector<run::FieldChange>& changes) {
  std::vector<std::vector<uint8_t>*> tables;
  for (Side* const side : {&before, &after}) {
    if (side->table) {
      tables.push_back(&side->table->structures);
    }
  }
  Element document = DocumentOf(changes);
  RedactTogether(tables, {&document}, masker, secrets);
  auto masked = document.children.begin();
  for (run::FieldChange& change : changes) {
    for (std::optional<std::string>* const text : {&change.before, &change.after}) {
      if (*text) {
        *text = masked->text;
      }
      ++masked;
    }
  }
}

}  // namespace tvq::cli
