/*
 * `tvq diff`: what became of the devices between two tables or two saved states.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <nlohmann/json.hpp>
#include <ostream>

#include "host/cli/compare/comparison_output.h"
#include "host/cli/compare/diff_fields.h"
#include "host/cli/input/input.h"
#include "host/cli/input/state_file.h"
#include "host/cli/input/state_run.h"
#include "host/cli/input/table_input.h"
#include "host/cli/output/json.h"
#include "host/cli/output/text.h"

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr CommandText kText = {
    "diff", "Compares two tables, or two saved states, device by device",
    "BEFORE and AFTER are captured tables, '-', states (the folder that `tvq save` was given, or "
    "the\n"
    "file in it), or one of each. Every device gets its verdict as from `tvq verify`, with the "
    "fields\n"
    "of its document that changed; below stand the structures that changed, where both sides have "
    "a\n"
    "table; after a firmware update they are no difference by themselves. Devices on which nothing "
    "is\n"
    "to be looked at are only counted.",
    "  tvq diff before.bin after.bin\n"
    "  tvq diff /var/lib/tvq dump.bin\n"
    "  tvq diff --json state-1 state-2\n",
    "0 nothing differs; 1 something does; 2 something could not be compared or read; 3 a folder "
    "has\n"
    "no state yet. 1 wins over 2."};

struct DiffOptions {
  std::string before;
  std::string after;
  bool conform = true;
  bool json = false;
  bool isVerbose = false;
  RedactOptions redact;
};

// One of the two.
struct Side {
  std::string name;
  std::optional<run::Bytes> state;  // of a table: none until it ran
  std::optional<run::Table> table;  // as the machine published it; none in a state without one
  bool isAsIs = false;
  run::Origin origin;
};

struct Difference {
  run::Comparison comparison;
  std::vector<StructureChange> structures;
};

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

Side Load(run::DriverRun& driver, const std::string& path, const DiffOptions& options,
          const Console& console) {
  Side side;
  side.name = path;
  side.state = StateIn(driver, path, console);
  if (!side.state) {
    TableOptions table;
    table.file = path;
    side.isAsIs = !options.conform;
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

// Once the driver has compared them.
void Redact(Side& before, Side& after, const Masker& masker,
            std::vector<run::FieldChange>& changes) {
  std::vector<std::vector<uint8_t>*> tables;
  for (Side* const side : {&before, &after}) {
    if (side->table) {
      tables.push_back(&side->table->structures);
    }
  }
  Element document = DocumentOf(changes);
  RedactTogether(tables, {&document}, masker);
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

// Says what makes the two hard to compare: they are of two machines, or lack devices.
void SayFit(run::DriverRun& driver, const Side& before, const Side& after, bool isRedacted,
            const Console& console) {
  const run::StateFit fit = driver.FitOf(*before.state, *after.state);
  if (fit.machine == run::StateFit::Machine::kAnother && isRedacted) {
    console.Warning("these are two machines");
  } else if (fit.machine == run::StateFit::Machine::kAnother) {
    console.Warning(fmt::format("these are two machines: {} is {}; {} is {}", before.name,
                                fit.savedMachine, after.name, fit.thisMachine));
  }
  SayHoles(fit.holes, before.name + " lacks", console);
  SayHoles(driver.FitOf(*after.state, *before.state).holes, after.name + " lacks", console);
}

Difference Compare(const DiffOptions& options, const Console& console) {
  const std::optional<Masker> masker = MakeMasker(options.redact);
  Side before;
  {
    run::DriverRun driver;
    before = Load(driver, options.before, options, console);
    if (!before.state) {
      Run(driver, before, console);
      before.state = driver.State(before.origin);
    }
  }
  run::DriverRun driver;
  Side after = Load(driver, options.after, options, console);
  run::CompareOptions how;
  how.isVerbose = options.isVerbose;
  how.isAscii = console.terminal.isAscii;
  if (masker) {
    how.mask = [&](std::vector<run::FieldChange>& changes) {
      Redact(before, after, *masker, changes);
    };
  }
  Difference difference;
  if (after.table) {
    Run(driver, after, console);
    after.state = driver.State(after.origin);
    SayFit(driver, before, after, masker.has_value(), console);
    difference.comparison = driver.Compare(*before.state, after.origin, how);
  } else {
    SayFit(driver, before, after, masker.has_value(), console);
    difference.comparison = driver.CompareStates(*before.state, *after.state, how);
  }
  if (before.table && after.table && !difference.comparison.hasOtherOptions) {
    difference.structures = DiffTables(*before.table, *after.table);
  }
  return difference;
}

std::string FieldText(const run::FieldChange& change, const Terminal& terminal) {
  const auto side = [&terminal](const std::optional<std::string>& text, Ink ink) {
    return text ? Painted(terminal, ink, text->empty() ? "(empty)" : *text) : "(none)";
  };
  return fmt::format("    {}: {} -> {}\n", change.field, side(change.before, Ink::kRed),
                     side(change.after, Ink::kGreen));
}

void PrintStructures(const Difference& difference, const Console& console) {
  if (!difference.structures.empty()) {
    console.Page("\n" + Painted(console.terminal, Ink::kBold, "Structures") + "\n");
  }
  for (const StructureChange& change : difference.structures) {
    console.Page(fmt::format("  {}{}\n", change.structure,
                             change.isAdded     ? ": added"
                             : change.isRemoved ? ": gone"
                                                : ""));
    for (const run::FieldChange& field : change.fields) {
      console.Page(FieldText(field, console.terminal));
    }
  }
}

Json ToJson(const Difference& difference) {
  Json json = SchemaJson("tvq-diff");
  AddComparison(difference.comparison, "devices", json);
  Json& structures = json["structures"] = Json::array();
  for (const StructureChange& change : difference.structures) {
    structures.push_back({{"structure", change.structure},
                          {"change", change.isAdded     ? "added"
                                     : change.isRemoved ? "gone"
                                                        : "changed"},
                          {"fields", FieldsJson(change.fields)}});
  }
  return json;
}

ExitStatus Diff(const DiffOptions& options, Console& console) {
  const Difference difference = Compare(options, console);
  if (options.json) {
    PrintJson(ToJson(difference), console);
  } else {
    PrintComparison(difference.comparison, console);
    PrintStructures(difference, console);
  }
  // Other firmware describes the same parts in other structures.
  const bool decidedByDevices = difference.structures.empty() || difference.comparison.firmware;
  return decidedByDevices ? StatusOf(difference.comparison) : kExitFound;
}

}  // namespace

void AddDiff(Commands& commands) {
  const auto options = std::make_shared<DiffOptions>();
  CLI::App& app =
      commands.Add(kText, [options](Console& console) { return Diff(*options, console); });
  app.add_option("BEFORE", options->before, "A table or a state")->type_name("")->required();
  app.add_option("AFTER", options->after, "A table or a state")->type_name("")->required();
  AddConform(app, options->conform);
  app.add_flag("-v,--verbose", options->isVerbose,
               "Every device, also where nothing is to be looked at");
  commands.AddWide(app);
  app.add_flag("--json", options->json, "Print one JSON document");
  AddRedact(app, options->redact);
}

}  // namespace tvq::cli
